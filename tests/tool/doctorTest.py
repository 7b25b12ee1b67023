#!/usr/bin/env python3
"""walletcaller doctor: its steps and verdicts, and what it must never do."""

import glob
import os
import pty
import re
import shutil
import signal
import subprocess
import time
import unittest

import node as nodes
from node import BASE, CLIENT_FILES, CONNECTOR_EXCEPTION, NodeTest, variant

PROMPTING = os.environ["WALLETCALLER_PROMPTING"]
LYING = os.environ["WALLETCALLER_LYING"]
DEPTHS = ("files", "load", "open", "call")
FACTORY = "OvWalletFactory_generateOvWalletV1"
LONG_DELAY = "600000000"  # microseconds


def states(report):
    return {step["id"]: step["state"] for step in report["steps"]}


class VerdictTest(NodeTest):
    def test_of_a_good_node(self):
        self.node.install()
        for depth in DEPTHS:
            report = self.node.doctor("--depth", depth)
            self.assertEqual((report["verdict"]["outcome"], report["exit"], report["exit status"]),
                             ("returns", 0, 0), report)
            self.assertEqual(states(report)["functions"], "ok")
        self.assertEqual(report["rehearsal"]["outcome"], "returns")
        self.assertEqual(states(report)["wallet"], "ok")

    def test_of_links_in_a_circle_is_that_no_message_comes(self):
        os.symlink("/usr/bin/ovwallet", self.node.command)
        for depth in DEPTHS:
            report = self.node.doctor("--depth", depth)
            self.assertEqual((report["verdict"]["outcome"], report["exit status"]), ("hangs", 1), report)

    def test_of_a_record_that_is_a_pipe_is_that_no_message_comes(self):
        os.makedirs(os.path.join(self.node.packages, "ovwallet"))
        os.mkfifo(os.path.join(self.node.packages, "ovwallet", "inst.dir"))
        self.assertEqual(self.node.doctor()["verdict"]["outcome"], "hangs")

    def test_at_depth_files_of_a_library_without_a_function(self):
        self.node.record("ovwallet", variant("missing-getversion") + "\n")
        files = self.node.doctor("--depth=files")["verdict"]
        loaded = self.node.doctor("--depth=load")["verdict"]
        self.assertEqual((files["message"], files["exact"]), (loaded["message"], False))
        self.assertTrue(loaded["exact"])
        self.assertIn("OvWallet_getVersion", loaded["message"])

    def test_names_the_entry_of_the_catalogue(self):
        verdict = self.node.doctor()["verdict"]
        self.assertEqual((verdict["class"], verdict["catalogue"]),
                         (CONNECTOR_EXCEPTION, 'Cannot open directory "<DIRECTORY>" (errno = <TEXT>)'))

    def test_of_a_damaged_elf_file_is_reached(self):
        base = self.node.path("base")
        shutil.copytree(BASE, base, symlinks=True)
        self.node.record("ovwallet", base + "\n")
        library = os.path.join(base, CLIENT_FILES, "libovwallet.so")
        with open(library, "rb") as file:
            whole = file.read()
        # Wherever the file is cut, and whatever stands in its header, it is only looked at.
        damaged = [whole[:size] for size in (0, 1, 63, 64, 100, 4096, len(whole) // 2, len(whole) - 1)]
        damaged += [whole[:at] + b"\xff" * 8 + whole[at + 8:] for at in range(16, 64, 4)]
        for content in damaged:
            with open(library, "wb") as file:
                file.write(content)
            self.assertIn(self.node.doctor("--depth=files")["exit status"], (0, 1, 3))

    def test_brief_and_strict(self):
        with open(self.node.command, "w", encoding="utf-8") as file:
            file.write("a script")
        result = self.run_command("doctor", "--brief")
        self.assertTrue(result.out.startswith("A job fails with\n  " + CONNECTOR_EXCEPTION), result)
        os.unlink(self.node.command)
        self.node.record("ovwallet", "base\n")
        private = self.node.private()
        for directory in (self.node.root, private):
            os.symlink(BASE, os.path.join(directory, "base"))
        for options, status in (([], 0), (["--strict"], 1)):
            report = self.node.doctor("--dir", private, *options)
            self.assertEqual((states(report)["software"], report["exit status"]), ("warn", status), report)

    def test_a_rehearsal_that_differs_is_a_defect_of_the_command(self):
        self.node.install()
        report = self.node.doctor("--depth=call", "--library", LYING)
        self.assertEqual((report["exit status"], report["rehearsal"]["class"], report["rehearsal"]["message"]),
                         (4, "java.lang.IllegalStateException", "not foreseen"))


class HarmTest(NodeTest):
    def setUp(self):
        super().setUp()
        self.node.install()

    def snapshot(self):
        found = {}
        for directory, names, files in os.walk(self.node.root):
            for name in [".", *names, *files]:
                path = os.path.normpath(os.path.join(directory, name))
                status = os.lstat(path)
                times = (status.st_mtime_ns, status.st_ctime_ns) if path != self.node.path("tmp") else ()
                found[path] = (status.st_mode, status.st_uid, status.st_size, *times)
        return found

    def test_the_node_stays_as_it_is(self):
        self.node.wallet("add", "a", "b")
        private = self.node.private()
        for depth in DEPTHS[:-1]:
            for where in ([], ["--dir", private], ["--tmp", self.node.path("tmp")]):
                before = self.snapshot()
                self.node.doctor("--depth", depth, *where)
                self.assertEqual(self.snapshot(), before)
        before = self.snapshot()
        self.node.doctor("--depth=call", "--tmp", self.node.path("tmp"))
        self.assertEqual(self.snapshot(), before)

    CHANGING = re.compile(r"\b(creat|mkdir|mkdirat|mknod|mknodat|symlink|symlinkat|link|linkat|unlink|unlinkat|"
                          r"rename|renameat|renameat2|rmdir|chmod|fchmod|fchmodat|chown|lchown|fchown|fchownat|"
                          r"truncate|ftruncate|utimensat|socket|connect|sendto|sendmsg|bind|setuid|setreuid|"
                          r"setresuid|mount)\(")

    def test_below_a_call_nothing_is_made_written_or_connected_to(self):
        for depth in DEPTHS[:-1]:
            # A file for each process: in one, calls of two processes would cut each other's lines.
            trace = self.node.path("tmp", "trace-" + depth)
            self.run_command("doctor", "--depth", depth, before=["strace", "-ff", "-qq", "-o", trace])
            calls = []
            for path in glob.glob(trace + ".*"):
                with open(path, encoding="utf-8", errors="replace") as file:
                    calls += file.read().splitlines()
            self.assertGreater(len(calls), 50)
            self.assertEqual([call for call in calls if self.CHANGING.search(call)], [])
            opened = [call for call in calls if re.search(r"\bopen(at)?\(", call)]
            writing = [call for call in opened if re.search("O_WRONLY|O_RDWR|O_CREAT", call)]
            # The sandbox looks for a ledger, and there is none.
            self.assertEqual([call for call in writing if "ENOENT" not in call], [])

    def wait_for(self, condition):
        end = time.monotonic() + nodes.HUNG_AFTER_SECONDS
        while not condition():
            self.assertLess(time.monotonic(), end, "it never came to be")

    def hang(self):
        self.node.wallet("add", "a", "b")
        self.node.wallet("ledger", "start")
        self.node.wallet("delay", FACTORY, LONG_DELAY)

    def made(self):
        return os.listdir(self.node.path("tmp"))

    def test_a_client_library_that_hangs_is_ended_in_time(self):
        self.hang()
        for depth in ("open", "call"):
            report = self.node.doctor("--depth", depth, "--timeout", "1", "--tmp", self.node.path("tmp"))
            self.assertEqual((report["exit status"], report["verdict"]["outcome"]), (3, "unknown"), report)
            self.assertEqual(self.made(), [])

    def test_signals_leave_no_directory(self):
        self.hang()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.node.start("doctor", "--depth=call", "--timeout", "600", "--tmp",
                                      self.node.path("tmp"), stdout=subprocess.DEVNULL)
            self.wait_for(self.made)
            process.send_signal(number)
            self.assertEqual(process.wait(nodes.HUNG_AFTER_SECONDS), -number)
            self.assertEqual(self.made(), [])

    def test_a_client_library_that_prompts_is_given_nothing(self):
        base = self.node.path("base")
        files = os.path.join(base, CLIENT_FILES)
        os.makedirs(files)
        os.mkdir(os.path.join(base, "orvanta/client/ovwallet"))
        shutil.copy(PROMPTING, os.path.join(files, "libovwallet.so"))
        os.unlink(self.node.command)
        self.node.record("ovwallet", base + "\n")
        marker = self.node.path("tmp", "marker")
        for depth in ("load", "open", "call"):
            pid, terminal = pty.fork()
            if pid == 0:
                os.execvpe(nodes.COMMAND, ["walletcaller", "doctor", "--depth", depth, "--tmp",
                                           self.node.path("tmp")],
                           {**self.node.environment, "PROMPTING_MARKER": marker})
            os.write(terminal, b"typed\n")
            shown = b""
            try:
                while piece := os.read(terminal, 4096):
                    shown += piece
            except OSError:
                pass  # the other end is closed
            os.waitpid(pid, 0)
            os.close(terminal)
            self.assertNotIn(b"Password", shown)
            self.assertIn(b"41 of 41", shown)
            self.assertEqual(b"opened and freed" in shown, depth != "load", shown)
            self.assertFalse(os.path.exists(marker))


if __name__ == "__main__":
    unittest.main()
