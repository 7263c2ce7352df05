"""A node that starts from a file, is changed, saved, and made what a file says."""

import os
import re
import shutil
import subprocess
import tempfile

from lab.home import BRIDGE, UPLINK
from live_test import ROOT, LiveTest

NOBODY = "65534"
# What packaging/mc_node.service gives: bits of CAP_NET_ADMIN, CAP_NET_RAW and CAP_SYS_NICE.
CAPABILITIES = ("net_admin", "net_raw", "sys_nice")
CAPABILITY_BITS = 1 << 12 | 1 << 13 | 1 << 23
RULE = "vlan add --port 5 --mode untag --up-in 5 --data-in 4000"
OTHER_RULE = "vlan add --port 4 --mode untag --up-in 6 --data-in 4001"


class Configured(LiveTest):
    runs = False

    def setUp(self):
        super().setUp()
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chmod(folder.name, 0o777)
        self.folder = folder.name

    def file(self, *lines, name="mc_node.conf"):
        path = os.path.join(self.folder, name)
        with open(path, "w") as made:
            made.write("".join(line + "\n" for line in lines))
        return path

    def interfaces(self):
        return ["bridge " + BRIDGE, "uplink " + UPLINK,
                *("port %d %s" % (port.number, port.device) for port in self.home.ports)]

    def start(self, path, *more, user=()):
        self.node.arguments = lambda: [*user, self.node.mc_node, "live", "--config", path, *more]
        self.node.start()

    def mcctl(self, *words, status=0, user=()):
        done = self.home.switch.run([*user, self.node.mcctl, *words])
        self.assertEqual(done.returncode, status, done.stderr)
        return done

    def saved(self, **how):
        """The lines that say something."""
        lines = self.mcctl("save", **how).stdout.splitlines()
        return [line for line in lines if line and not line.startswith("#")]


class FromAFile(Configured):
    def test_a_node_starts_as_its_file_says_and_its_command_line_overrules_it(self):
        path = self.file("# a comment", *self.interfaces(), "most-groups 512", "onu-id 7",
                         "mld-mode control", "robustness 3", RULE)
        self.start(path, "--onu-id", "9")
        options = sorted([*self.interfaces(), "onu-id 9", "most-groups 512"])
        self.assertEqual(sorted(self.saved()), sorted([*options, "mld-mode control",
                                                          "robustness 3", RULE]))
        self.hosts["h0"].join("239.9.1.1")
        self.assert_reaches(self.uplink.stream("239.9.1.1"), 0)

    def test_a_file_that_is_wrong_changes_nothing(self):
        path = self.file(*self.interfaces(), "mode fast")
        self.node.arguments = lambda: [self.node.mc_node, "live", "--config", path]
        self.node.launch(self.node.arguments())
        self.assertEqual(self.node.wait(), 2)
        self.assertEqual(len(self.node.lines), 1, self.node.lines)
        self.assertIn("%s:%d:6: mode: MODE: 'fast'" % (path, len(self.interfaces()) + 1),
                      self.node.lines[0])

    def test_what_was_saved_starts_a_node_like_it(self):
        self.start(self.file(*self.interfaces(), RULE))
        self.node.ctl("fast-leave", "all", "on")
        self.node.ctl("signalling-vlan", "--port", "1", "--outer", "46")
        path = os.path.join(self.folder, "saved.conf")
        self.mcctl("save", path)
        self.assertEqual(os.stat(path).st_mode & 0o777, 0o644)
        self.assertEqual(sorted(os.listdir(self.folder)), ["mc_node.conf", "saved.conf"])
        before = self.saved()
        self.assertIn("fast-leave all on", before)
        self.assertEqual(self.node.stop()[0], 0)
        self.start(path)
        self.assertEqual(self.saved(), before)


class Applied(Configured):
    def test_a_file_that_is_applied_leaves_streams_alone(self):
        self.start(self.file(*self.interfaces(), RULE))
        self.hosts["h0"].join("239.9.1.1")
        stream = self.uplink.stream("239.9.1.1")
        self.assert_reaches(stream, 0)
        since = stream.sent + 1
        path = self.file(*self.interfaces(), RULE, OTHER_RULE, "fast-leave --port 2 on")
        self.assertEqual(self.mcctl("apply", path).stdout.splitlines(),
                         ["fast-leave --port 2 on", OTHER_RULE])
        again = self.mcctl("apply", path)
        self.assertEqual((again.stdout, again.stderr), ("nothing to change\n", ""))
        self.assertIn(OTHER_RULE, self.saved())
        self.assert_whole(0, stream, since)

    def test_a_dry_run_and_a_wrong_file_post_nothing(self):
        self.start(self.file(*self.interfaces(), "robustness 3"))
        before = self.saved()
        path = self.file(*self.interfaces())
        self.assertEqual(self.mcctl("apply", path, "--dry-run").stdout, "robustness 2\n")
        wrong = self.mcctl("apply", self.file("robustness 4", "swim"), status=2)
        self.assertEqual(wrong.stdout, "")
        self.assertIn(":2:1: unknown command 'swim'", wrong.stderr)
        self.assertEqual(self.saved(), before)

    def test_options_of_a_file_wait_for_the_next_start(self):
        self.start(self.file(*self.interfaces()))
        path = self.file(*self.interfaces(), "onu-id 7")
        done = self.mcctl("apply", path)
        self.assertEqual(done.stdout, "nothing to change\n")
        self.assertEqual(done.stderr, "mcctl: note: %s:%d: 'onu-id 7' holds from the next start "
                         "of the node on\n" % (path, len(self.interfaces()) + 1))

    def test_the_address_of_the_bridge_is_not_configured(self):
        self.start(self.file(*self.interfaces()))
        self.node.ctl("proxy-address", "10.9.9.9")
        self.assertIn("proxy-address 10.9.9.9", self.saved())
        self.mcctl("apply", self.file(*self.interfaces()))
        self.assertEqual(self.mcctl("apply", self.file(*self.interfaces())).stdout,
                         "nothing to change\n")


class AsAService(Configured):
    """As the unit in packaging/ starts it: a user of its own with three capabilities."""

    def setUp(self):
        """Programs and library from where the user may look: a checkout of root's may be closed to others."""
        super().setUp()
        listed = subprocess.run(["ldd", self.node.mc_node], check=True, capture_output=True, text=True).stdout
        shutil.copy(re.search(r"libmc_hal\S* => (\S+)", listed)[1], self.folder)
        self.node.mc_node = shutil.copy(self.node.mc_node, self.folder)
        self.node.mcctl = shutil.copy(self.node.mcctl, self.folder)
        self.with_library = ["env", "LD_LIBRARY_PATH=" + self.folder]

    def user(self):
        wanted = "-all," + ",".join("+" + name for name in CAPABILITIES)
        return ["setpriv", "--reuid", NOBODY, "--regid", NOBODY, "--clear-groups",
                "--inh-caps", wanted, "--ambient-caps", wanted, "--bounding-set", wanted,
                "--no-new-privs", "--", *self.with_library]

    def test_a_user_with_three_capabilities_runs_the_node(self):
        self.start(self.file(*self.interfaces(), "fast-leave all on"), user=self.user())
        with open("/proc/%d/status" % self.node.process.pid) as status:
            fields = dict(line.split(":", 1) for line in status)
        self.assertEqual(int(fields["CapEff"], 16), CAPABILITY_BITS)
        self.assertEqual(fields["Uid"].split()[0], NOBODY)
        self.hosts["h0"].join("239.9.1.1")
        self.assert_reaches(self.uplink.stream("239.9.1.1"), 0)
        nobody = ["setpriv", "--reuid", NOBODY, "--regid", NOBODY, "--clear-groups", "--inh-caps",
                  "-all", "--bounding-set", "-all", "--", *self.with_library]
        self.mcctl("robustness", "3", user=nobody)
        self.assertIn("robustness 3", self.saved(user=nobody))
        # Root posts to any node, and hears from its own and root's only.
        self.mcctl("robustness", "4")
        self.assertIn("no node tells us its configuration", self.mcctl("save", status=1).stderr)
        self.assertIn("robustness 4", self.saved(user=nobody))

    def test_the_example_is_a_configuration(self):
        example = os.path.join(ROOT, "packaging", "mc_node.conf")
        self.start(self.file(*self.interfaces()))
        done = self.mcctl("apply", example)
        self.assertIn("nothing to change", done.stdout)
