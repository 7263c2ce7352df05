#!/usr/bin/env python3
"""The check of the library's neighbours: hosts that break the contract, each in one way, and what is said of it.

    mc_check_test.py HOSTS_DIR MC_CHECK MC_HAL MC_NODE [EMULATOR ...]      MC_NODE: may be empty
"""
import os
import pathlib
import re
import signal
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
PREFIX = "mc_check: "
CALL_BACKS = ("igmp_send", "igmp_add", "igmp_del", "mld_send", "mld_add", "mld_del")
CHANGES = ("igmp_add", "igmp_del", "mld_add", "mld_del")
REGISTERED_BY = {f"{side}_{kind}": f"{side}_register_switch_{what}" for side in ("igmp", "mld")
                 for kind, what in (("send", "send_pkt"), ("add", "add_table"), ("del", "del_table"))}


def back(name, text):
    return f"call-back {name}: {text}"


def backs(text, names=CALL_BACKS):
    return [back(name, text) for name in names]


def read(text):
    return ["L2_multicast_read_msg: " + text]


# Of each case, what is said of it, whatever else is.
BREACHES = {
    # When a call-back comes, and from where.
    "during": [back(name, f"called before {REGISTERED_BY[name]} has returned") for name in CALL_BACKS],
    "refused": [back(name, f"called although {REGISTERED_BY[name]} has answered 7") for name in CALL_BACKS],
    "before_driver": backs("called before L2_multicast_init"),
    "inside_time": backs("called from inside igmp_time_now"),
    "inside_driver": backs("called from inside L2_multicast_set_port_iptv_entry", ("igmp_send", "mld_send")),
    "from_nowhere": backs("called on the packet task, which is in no call of the core"),
    # What it points to.
    "send_port": backs("port 6 is none of 0 to 5, 29 and 65535", ("igmp_send", "mld_send")) +
                 ["L2_multicast_send_msg: is given port 6, none of 0 to 5 and 29"],
    "send_nothing": [back("igmp_send", "no packet, and a length of 28"),
                     back("mld_send", "no packet, and a length of 40")],
    "send_short": [back("igmp_send", "a packet of 19 bytes: its IP header alone has 20"),
                   back("mld_send", "a packet of 19 bytes: its IP header alone has 40")],
    "send_long": backs("a packet of 1501 bytes is not sent: no more than 1500 fit a frame", ("igmp_send", "mld_send")),
    "send_edge": [back("igmp_send", "a packet of 31 bytes, of which not all can be read"),
                  back("mld_send", "a packet of 30 bytes, of which not all can be read")],
    "send_nowhere": [back("igmp_send", "a packet of 28 bytes, of which not all can be read")],
    "send_claim": [back("igmp_send", "a packet of 27 bytes, whose header claims 28"),
                   back("mld_send", "a packet of 40 bytes, whose header claims 41")],
    "send_version": [back("igmp_send", "a packet with version 6 in its header, not 4"),
                     back("mld_send", "a packet with version 4 in its header, not 6")],
    "no_tag": [back("igmp_send", "no tag: the packet is not sent")],
    "wild_tag": [back("igmp_send", "a tag that can not be read")],
    "odd_tag": [back("igmp_send", "a tag at an odd address")],
    "constant_tag": [back("igmp_send", "a tag that can not be written: a translated vid is stored there")],
    "no_entry": backs("no group record", CHANGES),
    "wild_entry": backs("a group record of 56 bytes, of which not all can be read", CHANGES),
    "odd_entry": backs("a group record at an address that is no multiple of 4", ("igmp_add", "igmp_del")) +
                 backs("a group record at an address that is no multiple of 2", ("mld_add", "mld_del")),
    "entry_port": backs("port 65535 in the group record is none of 0 to 5 and 29", CHANGES),
    "entry_group": backs("group 1.1.1.239 is no multicast address; it stands in host order", ("igmp_add", "igmp_del")),
    # What the core does with packets, and stores.
    "change_packet": ["igmp_pkt_recv: changes byte 8 of the packet, which is forwarded next",
                      "mld_pkt_recv: changes byte 7 of the packet, which is forwarded next"],
    "no_time": ["igmp_time_now: stores no time and answers 3: the library takes 0"],
    "status_word": ["igmp_if_gather_if_status: answers 16 bytes and has not stored word 3"],
    "status_short": ["igmp_if_gather_if_status: answers 12 bytes: a status has 16"],
    "status_long": ["igmp_if_gather_if_status: answers 20 bytes in a buffer of 16"],
    "status_beyond": ["igmp_if_gather_if_status: writes 8 bytes behind the buffer of 16"],
    "groups_answer_1": ["igmp_gather_grp_info: answers 1 bytes: the number of records alone has 4"],
    "groups_order": ["igmp_gather_grp_info: 33554432 records, where 512 fit: the number is a word in native byte order"],
    "groups_fewer": ["igmp_gather_grp_info: answers 54 bytes: 3 records take 79"],
    "groups_not_stored": ["igmp_gather_grp_info: record 2 of 3 is not stored: all its bytes are 0"],
    "groups_long": ["igmp_gather_grp_info: answers 12805 bytes in a buffer of 12804"],
    "groups_beyond": ["igmp_gather_grp_info: writes 1000 bytes behind the buffer of 12804"],
    # What the driver delivers, and is given.
    "no_length": read("answers 0, a frame, and stores no length"),
    "no_port": read("answers 0, a frame, and stores no port"),
    "length_0": read("a frame of 0 bytes, less than an Ethernet header"),
    "length_13": read("a frame of 13 bytes, less than an Ethernet header"),
    "length_2001": read("a frame of 2001 bytes: the library drops what has more than 2000"),
    "length_2049": read("a frame of 2049 bytes in a buffer of 2048"),
    "port_6": read("port 6 is none of 0 to 5 and 29"),
    "beyond": read("writes 100 bytes behind the buffer of 2048"),
    "no_onu_id": ["L2_multicast_get_onu_id: stores no id and answers 5: the library takes 0"],
    "frames": ["L2_multicast_send_msg: is given a frame of 2009 bytes: no more than 2008 leave",
               "L2_multicast_send_msg: is given a frame of 13 bytes, less than an Ethernet header",
               "L2_multicast_send_msg: is given port 7, none of 0 to 5 and 29",
               "L2_multicast_send_msg: is given no frame, and a length of 64"],
    # Tasks.
    "no_number": ["pal_task_create: answers 0 for tMCPktRecv and stores no number"],
    "not_started": ["pal_task_create: tMCCmd was to run, and has not begun for 1000 milliseconds"],
    "refused_task": ["pal_task_create: tMCCmd runs, although the answer is 1"],
    "refused_late": ["pal_task_create: tMCCmd runs, although the answer is 1"],
    "twice": ["pal_task_create: tMCCmd runs 2 times"],
    "again": ["pal_task_create: tMCPktRecv is asked for again: IgmpInit was called before"],
}
# With the same breach at growing times.
OFTEN = ["L2_multicast_read_msg: port 6 is none of 0 to 5 and 29" + more
         for more in ("", ", 2 times so far", ", 4 times so far", ", 8 times so far")]

PRELOADED = {"one piece": "check_host_of_one_piece", "libraries": "check_host_of_libraries"}
AGAIN = re.compile(r", \d+ times so far$")
OF_THEM = re.compile(r"\d+ of them: ")
TASK = re.compile(r"tMC\w+ has taken \d+ bytes of a stack of \d+$")

hosts, check, library, node, emulator = None, None, None, None, None


def run(*words, preload=(), **variables):
    """The lines on standard error, and the status."""
    done = start(*words, preload=preload, **variables)
    return done.stderr.splitlines(), done.returncode


def start(*words, preload=(), **variables):
    variables = {key: str(value) for key, value in variables.items()}
    if preload:
        variables["LD_PRELOAD"] = " ".join(map(str, preload))
    options = [f"-E{key}={value}" for key, value in variables.items()] if emulator else []
    own = {key: value for key, value in os.environ.items() if key not in ("MC_CHECK", "LD_PRELOAD")}
    return subprocess.run([*emulator[:1], *(word for option in options for word in (option[:2], option[2:])),
                           *emulator[1:], *map(str, words)], env=own if emulator else own | variables,
                          capture_output=True, text=True, timeout=60, check=False)


def said(lines):
    """The breaches, and how many there were, without what is said of each task and function."""
    texts = [line.removeprefix(PREFIX) for line in lines]
    return [text for text in texts if not TASK.match(text) and not OF_THEM.match(text)]


class ABreach(unittest.TestCase):
    maxDiff = None

    def check_cases(self, host, cases=None, **how):
        for case in cases or BREACHES:
            breaches = BREACHES[case]
            with self.subTest(case=case, host=host):
                lines, status = run(hosts / host, case, **how)
                self.assertEqual(status, 0, lines)
                self.assertTrue(all(line.startswith(PREFIX) for line in lines), lines)
                *found, summary = said(lines)
                self.assertEqual(sorted(line for line in found if not AGAIN.search(line)), sorted(breaches))
                self.assertRegex(summary, r"^\d+ breaches in \d+ calls$")

    def test_is_found_where_core_and_driver_are_linked_into_the_program(self):
        self.check_cases("check_host_of_one_piece", preload=[check])

    def test_is_found_where_core_and_driver_are_shared_libraries(self):
        # What is said is the same; under an emulator each case takes its time.
        some = ("during", "change_packet", "beyond", "groups_beyond", "no_number") if emulator else None
        self.check_cases("check_host_of_libraries", some, preload=[check])

    def test_is_found_where_the_check_is_linked_to_the_program(self):
        lines, _ = run(hosts / "check_host_with_check", "during")
        self.assertEqual(said(lines)[:-1], BREACHES["during"])

    def test_is_found_where_the_program_loads_the_library_that_was_preloaded_too(self):
        lines, status = run(hosts / "check_host_loads_later", "during", library, preload=[check, library])
        self.assertEqual(status, 0, lines)
        self.assertEqual(said(lines)[:-1], BREACHES["during"])

    def test_is_found_by_the_check_and_by_nobody_else(self):
        for case in ("during", "beyond", "groups_beyond", "port_6"):
            for host in PRELOADED.values():
                self.assertEqual(run(hosts / host, case), ([], 0))

    def test_is_said_at_its_first_second_fourth_and_eighth_time(self):
        lines, _ = run(hosts / "check_host_of_one_piece", "often", preload=[check])
        *found, summary = said(lines)
        self.assertEqual(found, OFTEN)
        self.assertRegex(summary, r"^9 breaches in \d+ calls$")
        self.assertEqual(lines[-1], PREFIX + "9 of them: L2_multicast_read_msg")

    def test_ends_the_process_where_that_is_wanted(self):
        lines, status = run(hosts / "check_host_of_one_piece", "during", preload=[check], MC_CHECK="abort")
        self.assertEqual(said(lines)[:1], BREACHES["during"][:1])
        self.assertEqual([line for line in lines if line.startswith(PREFIX)][1:], [])
        self.assertIn(status, (-signal.SIGABRT, 128 + signal.SIGABRT))

    def test_is_summed_up_by_the_process_that_runs_the_library_alone(self):
        for case in ("forks", "becomes_a_daemon"):
            lines, _ = run(hosts / "check_host_of_one_piece", case, preload=[check])
            self.assertRegex("\n".join(said(lines)), r"\Ano breach in \d+ calls\Z")

    def test_of_the_summary_is_told_where_the_process_leaves_by_exit_without_handlers(self):
        lines, _ = run(hosts / "check_host_of_one_piece", "leaves", preload=[check])
        self.assertRegex(said(lines)[-1], r"^no breach in \d+ calls$")


class Stacks(unittest.TestCase):
    def test_that_are_smaller_than_was_asked_are_found(self):
        if emulator:
            self.skipTest("the C library of the target gives no stack as small")
        lines, _ = run(hosts / "check_host_of_one_piece", "small_stack", preload=[check])
        *found, _ = said(lines)
        self.assertRegex(found[0], r"^pal_task_create: tMC\w+ has a stack of \d+ bytes and was to have \d+(, 2 times so far)?$")

    def test_that_are_nearly_used_up_are_found(self):
        lines, _ = run(hosts / "check_host_of_one_piece", "deep", preload=[check])
        *found, _ = said(lines)
        match = re.match(r"pal_task_create: tMCPktRecv has taken (\d+) bytes of the stack of 51200 that it was to have$",
                         found[0])
        self.assertTrue(match, lines)
        self.assertTrue(46000 < int(match[1]) < 50000, match[1])

    def test_are_measured(self):
        lines, _ = run(hosts / "check_host_of_one_piece", "clean", preload=[check])
        used = dict(re.findall(r"(tMC\w+) has taken (\d+) bytes", "\n".join(lines)))
        self.assertEqual(set(used), {"tMCPktRecv", "tMCCmd"})
        self.assertTrue(all(500 < int(bytes_) < 20000 for bytes_ in used.values()), used)


class ATask(unittest.TestCase):
    def test_that_has_ended_is_not_looked_at_any_more(self):
        lines, _ = run(hosts / "check_host_of_one_piece", "no_queue", preload=[check])
        self.assertEqual(len([line for line in lines if TASK.search(line)]), 1, lines)

    def test_that_runs_on_the_thread_that_asked_for_it_is_found(self):
        # That thread does not come back, so it is the first breach that ends the process.
        lines, _ = run(hosts / "check_host_of_one_piece", "same_thread", preload=[check], MC_CHECK="abort")
        self.assertEqual(said(lines)[0],
                         "pal_task_create: tMCCmd runs on the thread that asked for it, which does not go on")


class Neighbours(unittest.TestCase):
    def test_that_are_missing_are_named_in_one_line(self):
        names = []
        for header in ("l2_multicast", "pal", "protocol_core"):
            text = (ROOT / "platform" / (header + ".h")).read_text(encoding="utf-8")
            names += re.findall(r"^int32_t (\w+)\(", text, re.M)
        lines, status = run(hosts / "check_host_alone", preload=[check])
        self.assertEqual(status, 0)
        what, *named = said(lines)[0].split()
        self.assertEqual(what, "missing:")
        self.assertEqual(sorted(named), sorted(set(names)))
        self.assertEqual(said(lines)[1], "the library: functions that it calls are missing")

    def test_that_keep_to_the_contract_are_not_complained_of(self):
        for host in PRELOADED.values():
            lines, status = run(hosts / host, "clean", preload=[check], MC_CHECK="abort")
            self.assertEqual(status, 0, lines)
            self.assertRegex("\n".join(said(lines)), r"\Ano breach in (\d{3,}|[5-9]\d) calls\Z")

    def test_of_the_node_keep_to_the_contract(self):
        if not node:
            self.skipTest("mc_node is not built")
        lines, status = run(node, "replay", ROOT / "scenario/home", preload=[check], MC_CHECK="abort")
        self.assertEqual(status, 0, lines)
        self.assertRegex("\n".join(said(lines)), r"\Ano breach in \d{4,} calls\Z")


class TheLibrary(unittest.TestCase):
    def test_gets_what_its_neighbours_answer(self):
        for case in ("clean", "status_word", "status_short", "groups_not_stored", "no_onu_id", "no_time", "no_port"):
            outputs = [sorted(start(hosts / "check_host_of_one_piece", case, preload=preload).stdout.splitlines())
                       for preload in ((), (check,))]
            self.assertGreater(len(outputs[0]), 5)
            self.assertEqual(outputs[1], outputs[0], case)


class AProgramWithoutTheLibrary(unittest.TestCase):
    def test_that_has_nothing_to_do_with_it_is_left_alone(self):
        if emulator:
            self.skipTest("no other program is there for the target")
        self.assertEqual(run("true", preload=[check]), ([], 0))

    def test_that_has_what_the_library_asks_for_is_told_that_nothing_is_checked(self):
        lines, _ = run(hosts / "check_host_loads_later", "clean", "no-such-library", preload=[check])
        self.assertEqual(lines[0], PREFIX + "the library is not loaded: nothing is checked")
        self.assertFalse([line for line in lines if "no breach" in line])


if __name__ == "__main__":
    hosts, check, library = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
    node, emulator = sys.argv[4], sys.argv[5:]
    unittest.main(argv=sys.argv[:1])
