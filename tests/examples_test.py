#!/usr/bin/env python3
"""The examples, built from the public headers and the library alone, and run: a host on an interface of its
own, and programs beside mc_node.

    examples_test.py SOURCE_DIR C_COMPILER SANITIZERS LIBRARY [EMULATOR ...] MC_NODE MCCTL

The library is libmc_hal.so, the sanitizers those that it was built with. Status 77 where no namespaces are to be had.
"""
import os
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
from public_headers_test import HEADERS  # noqa: E402

SKIPPED = 77
PATIENCE = 20   # seconds; a machine may be busy

PORT_MARK, VLAN_TAG = 0x88B5, 0x8100
UPLINK = 29


def until(condition, what):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.05)
    raise AssertionError("never came: " + what)


def checksum(data):
    total = sum(struct.unpack("!%dH" % (len(data) // 2), data))
    total = (total >> 16) + (total & 0xFFFF)
    return ~(total + (total >> 16)) & 0xFFFF


def report(group):
    """An IGMPv2 membership report (RFC 2236) as an IPv4 packet with the router alert option."""
    address = socket.inet_aton(group)
    igmp = struct.pack("!BBH4s", 0x16, 0, checksum(b"\x16\0\0\0" + address), address)
    header = [0x46, 0xC0, 32, 0, 0x4000, 1, 2, 0, socket.inet_aton("10.0.0.2"), address, 0x94040000]
    packed = struct.pack("!BBHHHBBH4s4sI", *header)
    header[7] = checksum(packed)
    return struct.pack("!BBHHHBBH4s4sI", *header) + igmp


def marked(port, vlan, packet):
    """A frame as the switch of the example hands it over."""
    return (bytes.fromhex("01005e010101020000000002") + struct.pack("!HHHH", PORT_MARK, port, VLAN_TAG, vlan)
            + b"\x08\x00" + packet)


class Examples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.work = pathlib.Path(cls.folder.name)
        for header in HEADERS:
            place = cls.work / "include" / header
            place.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(SOURCE / header, place)
        headers = "-I%s/include" % cls.work
        options = "-O1 -Werror" + (" -fsanitize=" + SANITIZERS if SANITIZERS else "")
        library = "-L%s -lmc_hal -Wl,-rpath,%s" % (LIBRARY.parent, LIBRARY.parent)
        for name in ("host", "sender", "status"):
            shutil.copytree(SOURCE / "examples" / name, cls.work / name)
            (cls.work / name / name).unlink(missing_ok=True)
            flags = headers + " " + library if name == "host" else headers
            done = subprocess.run(["make", "-s", "-C", cls.work / name, "CC=" + COMPILER, "CFLAGS=" + options,
                                   "MC_FLAGS=" + flags], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                  check=False)
            assert done.returncode == 0, done.stdout

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def setUp(self):
        for kind in ("-Q", "-M"):
            key = "81" if kind == "-Q" else "82"
            subprocess.run(["ipcrm", kind, key], stderr=subprocess.DEVNULL, check=False)

    def example(self, name, *words):
        """What an example prints; it must end with status 0."""
        done = self.try_example(name, *words)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def try_example(self, name, *words):
        return subprocess.run([*EMULATOR, self.work / name / name, *words], stdin=subprocess.DEVNULL, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=PATIENCE, check=False)

    def start(self, *words):
        """A process that is ended at the end of the test, and where its output goes."""
        output = self.work / "output"
        with open(output, "wb") as file:
            process = subprocess.Popen([*EMULATOR, *words], stdin=subprocess.DEVNULL, stdout=file,
                                       stderr=subprocess.STDOUT)

        def end():
            if process.poll() is None:
                process.kill()
            process.wait()
        self.addCleanup(end)
        return process, output

    def queue_length(self):
        for line in pathlib.Path("/proc/sysvipc/msg").read_text(encoding="ascii").splitlines()[1:]:
            if int(line.split()[0]) == 81:
                return int(line.split()[4])
        return None

    # ---- Beside mc_node ----

    def start_node(self):
        _, output = self.start(NODE, "replay", str(SOURCE / "scenario/home"), "--json", "--hold")
        until(lambda: re.search(rb"^}$", output.read_bytes(), re.M), "the node holds")
        return output

    def run_commands_of(self, words):
        """A command, and that it has been run: the one behind it has been taken."""
        for _ in range(2):
            subprocess.run([*EMULATOR, MCCTL, *words], check=True, stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL)
        until(lambda: self.queue_length() == 0, "the queue is empty")

    def test_the_sender_sets_a_rule_of_a_port(self):
        output = self.start_node()
        self.example("sender", "3", "123", "3210")
        until(lambda: self.queue_length() == 0, "the rule is taken")
        self.run_commands_of(["show", "config"])
        text = until(lambda: re.search(r"in_up_vlan\D*123\D.*out_up_vlan\D*3210\D",
                                       output.read_text(errors="replace"), re.S), "the rule is shown")
        self.assertTrue(text)

    def test_the_status_shows_ports_and_groups(self):
        self.start_node()
        self.run_commands_of(["group-limit", "--port", "5", "7"])
        self.run_commands_of(["export", "status", "--port", "0"])
        self.run_commands_of(["export", "groups"])
        text = self.example("status")
        self.assertIn("mode 1, ", text)
        self.assertIn("port 5: 0 groups, limit 7\n", text)
        self.assertIn("group 239.1.1.2 on port 0 in VLAN 4088, IGMPv2\n", text)
        self.assertRegex(text, r"port 0: [1-9] groups, ")

    def test_the_programs_say_that_there_is_no_node(self):
        for name, words in (("sender", ("3", "123", "3210")), ("status", ())):
            done = self.try_example(name, *words)
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertRegex(done.stderr, r"^%s: \w+ 8[12]: No such file" % name)

    def test_the_sender_takes_no_port_and_no_vlan_that_there_is_not(self):
        for words in (("6", "1", "1"), ("0", "0", "1"), ("0", "1", "4095"), ("x", "1", "1"), ("0", "1"), ()):
            self.assertEqual(self.try_example("sender", *words).returncode, 2)

    # ---- The host ----

    def start_host(self):
        process, output = self.start(self.work / "host/host", "sw0")
        until(lambda: b"host: running" in output.read_bytes() or process.poll() is not None, "the host runs")
        self.assertIsNone(process.poll(), output.read_text())
        return process, output

    def test_a_report_of_a_port_leaves_on_the_uplink_in_its_vlan(self):
        self.start_host()
        self.example("sender", "2", "100", "4000")
        until(lambda: self.queue_length() == 0, "the rule is taken")
        packet = report("239.1.1.1")
        with socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(3)) as switch:
            switch.bind(("sw1", 0))
            switch.settimeout(0.2)

            def forwarded():
                switch.send(marked(2, 100, packet))
                try:
                    data, where = switch.recvfrom(2048)
                    while where[2] == socket.PACKET_OUTGOING or packet not in data:
                        data, where = switch.recvfrom(2048)
                except TimeoutError:
                    return None
                return data
            data = until(forwarded, "the report on the uplink")
        self.assertEqual(data[12:22], struct.pack("!HHHHH", PORT_MARK, UPLINK, VLAN_TAG, 4000, 0x0800))
        self.assertEqual(data[22:22 + len(packet)], packet)
        self.assertIn("mode 1, ", self.example("status"))

    def test_the_host_ends_by_a_signal(self):
        process, _ = self.start_host()
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(PATIENCE), 0)

    def test_the_host_ends_when_its_queue_is_removed(self):
        process, output = self.start_host()
        subprocess.run(["ipcrm", "-Q", "81"], check=True)
        self.assertEqual(process.wait(PATIENCE), 3)
        self.assertRegex(output.read_text(), r"host: queue 81: ")

    def test_a_long_message_is_dropped_and_the_next_one_taken(self):
        _, output = self.start_host()
        post = ("import ctypes,sys; libc=ctypes.CDLL(None); q=libc.msgget(81,0); "
                "sys.exit(libc.msgsnd(q, (5001).to_bytes(8,'little')+bytes(200), 200, 0))")
        subprocess.run([sys.executable, "-c", post], check=True)
        self.example("sender", "2", "100", "4000")
        until(lambda: self.queue_length() == 0, "the rule is taken")
        until(lambda: "more than 128 bytes was dropped" in output.read_text(), "the host says so")
        self.assertNotIn("5001", output.read_text())

    def test_the_host_says_why_it_cannot_start(self):
        done = self.try_example("host", "nosuch0")
        self.assertEqual(done.returncode, 1)
        self.assertIn("host: nosuch0: the driver did not open it\n", done.stderr)


def enter_namespaces():
    """This process in an IPC and a network namespace of its own, with a pair of interfaces."""
    if os.environ.get("EXAMPLES_TEST_INSIDE") != "yes":
        os.environ["EXAMPLES_TEST_INSIDE"] = "yes"
        for words in (["unshare", "--net", "--ipc"], ["unshare", "--user", "--map-root-user", "--net", "--ipc"]):
            if subprocess.run([*words, "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0:
                os.execvp(words[0], [*words, sys.executable, *sys.argv])
        print("no namespaces are to be had")
        sys.exit(SKIPPED)
    for words in ("link add sw0 type veth peer name sw1", "link set sw0 up", "link set sw1 up"):
        subprocess.run(["ip", *words.split()], check=True)


if __name__ == "__main__":
    SOURCE, COMPILER, SANITIZERS, LIBRARY = pathlib.Path(sys.argv[1]), *sys.argv[2:4], pathlib.Path(sys.argv[4])
    EMULATOR, NODE, MCCTL = sys.argv[5:-2], sys.argv[-2], sys.argv[-1]
    enter_namespaces()
    unittest.main(argv=sys.argv[:1])
