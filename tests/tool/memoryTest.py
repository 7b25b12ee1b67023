#!/usr/bin/env python3
"""What doctor says can be locked is what a job has locked, over limits, capability and user."""

import re
import unittest

from jobs import Jobs, as_root
from node import BASE, NOBODY, Node

KIBI = 1024
# Of the passwords. The longest needs more than each limit allows.
SIZES = [100, 1000, *range(4 * KIBI, 72 * KIBI, 2 * KIBI)]
ACTORS = {
    "root": [],
    "root without the capability": ["setpriv", "--bounding-set=-ipc_lock", "--inh-caps=-ipc_lock"],
    "a user": ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"],
    "a user with the capability": [
        "setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups",
        "--inh-caps=+ipc_lock", "--ambient-caps=+ipc_lock"],
}
# Below two pages it depends on where the heap begins whether a block fits at all.
LIMITS = ["0", "65536", "69000", "1024:65536"]


@unittest.skipUnless(as_root, "needs root to give up rights")
class MemoryTest(unittest.TestCase):
    def foreseen(self, node, before):
        report = node.doctor(before=before)
        return next(step for step in report["steps"] if step["id"] == "memory")["found"][0]

    def locked(self, node, before):
        """Of jobs with passwords of each size."""
        jobs = Jobs(node, before)
        try:
            found = []
            for number, size in enumerate(SIZES):
                directory = node.private(f"private{number}/")
                node.give(directory)
                found.append(jobs.locked(directory, "$ovwallet(a)" + "x" * size))
            return found
        finally:
            jobs.end()

    def test_what_can_be_locked_is_what_is_locked(self):
        for actor, become in ACTORS.items():
            for limit in LIMITS:
                with self.subTest(actor=actor, limit=limit):
                    node = Node()
                    self.addCleanup(node.remove)
                    node.install(BASE)
                    node.wallet("add", "a", "b")
                    node.give(node.home)
                    before = ["prlimit", "--memlock=" + limit, *become]
                    self.compare(self.foreseen(node, before), self.locked(node, before))

    def compare(self, said, locked):
        if bounded := re.search(r"up to (\d+) KiB of memory is locked", said):
            self.assertEqual(max(locked), int(bounded[1]), (said, locked))
        elif "no text is locked" in said:
            self.assertEqual(max(locked), 0, said)
        else:
            self.assertIn("all text is locked", said)
            for size, kilobytes in zip(SIZES, locked):
                self.assertGreaterEqual(kilobytes * KIBI, size, said)


if __name__ == "__main__":
    unittest.main()
