#!/usr/bin/env python3
"""A warm call in a real JVM makes the system calls that docs/performance.md lists, and no others:

systemCallsTest.py BUILD JAVA
"""

import collections
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", "..", ".."))
LIBRARY = "libWalletCaller-redhatlinux-x8664.so"
PLATFORM = "orvanta/client/14.10/ovwallet/redhatlinux-x8664"
CALLS = 20
# Before these, the heap and the JVM have taken what they keep.
FIRST_WARM = 10


class Node:
    """An installation two directories below the root, a wallet, and a private directory."""

    def __init__(self, build):
        self.build = build
        self.top = os.path.realpath(tempfile.mkdtemp(dir="/tmp"))
        self.private = self.top + "/private/"
        self.client = self.top + "/orvanta/client"
        self.wallet = self.top + "/wallet"
        shutil.copytree(build + "/sandbox/base/orvanta", self.top + "/orvanta")
        os.mkdir(self.private)
        shutil.copy(os.path.join(build, LIBRARY), self.private)
        self.command = self.top + "/command"
        os.symlink(f"{self.top}/{PLATFORM}/ovwallet", self.command)
        for name in ("reader.name", "pw_sales-db", "writer.name", "pw_mart-db"):
            subprocess.run([self.command, "add", name, "value"], check=True, env=self.environment())

    def environment(self):
        return {**os.environ, "OVWALLET_SANDBOX_HOME": self.wallet}

    def traced_calls(self, java):
        """The system calls of each of the calls, as strace writes them."""
        classes = ":".join(f"{self.build}/java/{name}"
                           for name in ("java-bench", "java-connector", "java-hadoop-types"))
        subprocess.run(
            ["strace", "-ff", "-y", "-e", "signal=none", "-o", self.top + "/trace",
             "-E", f"LD_PRELOAD={self.build}/tests/java/redirect.so", "-E", "SHIM_COMMAND=" + self.command,
             "-E", "SHIM_RPM=" + self.top + "/none",
             java, "-Xint", "-XX:+UseSerialGC", "-cp", classes,
             "walletcaller.bench.MarkedCalls", self.private, str(CALLS)],
            check=True, env=self.environment(), stdin=subprocess.DEVNULL)
        for name in os.listdir(self.top):
            if name.startswith("trace."):
                with open(f"{self.top}/{name}", encoding="ascii") as file:
                    found = re.findall(r'^[^\n]*"/a-call-begins"[^\n]*\n(.*?)^[^\n]*"/a-call-ends"',
                                       file.read(), re.M | re.S)
                if found:
                    return [call.splitlines() for call in found]
        return []

    def what(self, pathname):
        """How the page calls a file."""
        if re.fullmatch("/proc/(self|[0-9]+)/maps", pathname):
            return "the memory map"
        if pathname == self.private + LIBRARY:
            return "the library's file"
        if pathname == self.private + "ovwalletdir":
            return "`ovwalletdir`"
        if pathname == f"{self.top}/{PLATFORM}/libovwallet.so":
            return "the client library"
        if pathname.startswith(self.wallet):
            return "the wallet"
        if f"{self.top}/{PLATFORM}".startswith(pathname) or pathname.rstrip("/") == self.client + "/ovwallet":
            return "a directory of the software"
        return pathname

    def summary(self, lines):
        """How often which system call was made on what; the wallet's own are left out."""
        counts = collections.Counter()
        for line in lines:
            name = re.match(r"\w+", line)[0]
            # The file that stands first, by its pathname or behind a descriptor.
            pathname = re.search(r'(?:\b\d+<|")(/[^>"]*)[>"]', line)
            if pathname:
                what = self.what(pathname[1])
            elif name in ("mprotect", "munmap"):
                what = "the client library"
            else:
                what = "memory" if name in ("mlock", "munlock") else ""
            # The sandbox wallet asks for the process's id when it is loaded.
            if what != "the wallet" and name != "getpid":
                counts[name, what] += 1
        return counts

    def remove(self):
        shutil.rmtree(self.top)


def page_rows():
    """The rows of the page's table: system call, on what, how often, why."""
    with open(TOP + "/docs/performance.md", encoding="utf-8") as file:
        text = file.read()
    table = re.search(r"^\| System call \|.*\n\|[-|:]+\|\n((?:\|.*\n)+)", text, re.M)[1]
    return [[cell.strip() for cell in row.strip("|\n").split(" | ")] for row in table.splitlines()]


class SystemCallsTest(unittest.TestCase):
    maxDiff = None
    build = java = None

    def test_a_warm_call_makes_the_system_calls_of_the_page(self):
        node = Node(self.build)
        self.addCleanup(node.remove)
        calls = node.traced_calls(self.java)
        self.assertEqual(len(calls), CALLS)
        wanted = {(name.strip("`"), what): number for name, what, number, why in page_rows()}
        for lines in calls[FIRST_WARM:]:
            found = node.summary(lines)
            # As many as it takes to reach the library's line, which the JVM decides.
            pieces = found.pop(("read", "the memory map"))
            self.assertGreaterEqual(pieces, 1)
            found = {call: str(number) for call, number in found.items()}
            self.assertEqual({**found, ("read", "the memory map"): "1 or more"}, wanted)

    def test_each_row_has_a_reason(self):
        for row in page_rows():
            self.assertEqual(len(row), 4, row)
            self.assertGreater(len(row[3].split()), 3, row)


if __name__ == "__main__":
    SystemCallsTest.build, SystemCallsTest.java = os.path.realpath(sys.argv[1]), sys.argv[2]
    unittest.main(argv=sys.argv[:1])
