#!/usr/bin/env python3
"""Runs the shipped file in one cell, a place and a JVM there:

    cell.py BUILD_TREE PLACE JVM JAVA_HOME [TREE]

The place is the Debian tree that `tree` made, or this machine. Every JVM runs with -Xcheck:jni, whose
warnings are failures. One row with what was seen is left in BUILD_TREE/places/rows for `table`.
Where there is no such tree, or nobody may enter it, the exit status is 77, skipped.
"""

import functools
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

TOP = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = "libWalletCaller-redhatlinux-x8664.so"
PLATFORM = "orvanta/client/14.10/ovwallet/redhatlinux-x8664"
SKIPPED = 77

# JDK 8's launcher causes one for each argument of any program, before the program starts.
LAUNCHER_WARNING = ("WARNING in native method: JNI call made without checking exceptions when required to"
                    " from CallStaticObjectMethod")

# Shows the project under its own name in the tree, and the cell as /cell.
ENTER = """
mount -t proc proc "$1/proc"
mkdir -p "$1$2"
mount --bind "$2" "$1$2"
mount --bind "$3" "$1/cell"
root=$1
shift 3
exec chroot "$root" "$@"
"""


class Cell:
    def __init__(self, build, java_home, tree, directory):
        self.build = build
        self.java_home = java_home
        self.tree = tree
        self.directory = directory
        self.wallet = directory / "wallet"

    def run(self, *command, text=""):
        """What the command prints in the place; it has to succeed."""
        environment = ["env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8",
                       f"OVWALLET_SANDBOX_HOME={self.wallet}"]
        enter = []
        if self.tree:
            enter = ["unshare", "--mount", "sh", "-euc", ENTER, "enter",
                     self.tree, TOP, self.directory]
        else:
            environment += [f"LD_PRELOAD={self.build}/tests/java/redirect.so",
                            f"SHIM_COMMAND={self.directory}/ovwallet", "SHIM_RPM=/no-packages"]
        run = subprocess.run([*enter, *environment, *command], input=text, text=True, encoding="utf-8",
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        print(f"$ {' '.join(map(str, command))}\n{run.stdout}", flush=True)
        expect(run.returncode == 0, f"the exit status is {run.returncode}")
        return run.stdout

    def java(self, classes, main, *arguments, text=""):
        """The lines that the Java program prints."""
        class_path = ":".join(f"{self.build}/java/java-{name}"
                              for name in (classes, "connector", "hadoop-types"))
        lines = self.run(f"{self.java_home}/bin/java", "-Xcheck:jni",
                         "-XX:+IgnoreUnrecognizedVMOptions", "--enable-native-access=ALL-UNNAMED",
                         "-cp", class_path, main, *arguments, text=text).splitlines()
        if self.java_version.startswith("1.8."):
            for _ in arguments:
                expect(lines.pop(0) == LAUNCHER_WARNING, "JDK 8's launcher warns in other words")
        warnings = [line for line in lines if re.search("(?i)warning|fatal", line)]
        expect(not warnings, f"the JVM warns: {warnings[:1]}")
        return lines

    @functools.cached_property
    def java_version(self):
        return re.search('version "([^"]*)"', self.run(f"{self.java_home}/bin/java", "-version"))[1]

    def glibc_version(self):
        return self.run("ldd", "--version").split("\n")[0].split()[-1]

    def jvm_shares_libstdcxx(self):
        return "libstdc++" in self.run("sh", "-c", f"ldd $(find {self.java_home}/ -name libjvm.so)")

    def install(self, base):
        """From now on this is the client software of the place."""
        link = self.directory / "ovwallet"
        link.unlink(missing_ok=True)
        link.symlink_to(base / PLATFORM / "ovwallet")

    def private_directory(self, name):
        """Its pathname, with the library in it, as the library is told it."""
        directory = self.directory / name
        directory.mkdir(mode=0o700)
        shutil.copy(self.build / LIBRARY, directory)
        return f"{directory}/"

    # What is done in each cell.

    def demo(self):
        """A job as the connector sets it up, then a call that fails."""
        self.java("demo", "com.orvanta.connector.demo.Demo", self.build / LIBRARY, self.wallet / "journal")

    def thousand_calls(self):
        """Seven kinds of failure are mixed in."""
        lines = self.java("process-child", "walletcaller.child.SoakCalls", self.private_directory("calls"),
                          "1000")
        expect(re.fullmatch("= .*SUCCESS [1-9].*", "\n".join(lines)), "the calls did not end")

    def throwing_client(self):
        """A client library with a C++ run time of its own throws the first exception of the process."""
        self.install(self.build / "sandbox/variants/own-unwinder")
        private = self.private_directory("throwing")
        lines = self.java("process-child", "walletcaller.child.CallServer", private, text=(
            f"set Input user.name {in_hex('$ovwallet')}\n"
            f"call {in_hex(private)} 1\n"))
        message = "Attempt to get value from Orvanta Wallet failed because: the client library threw"
        expect(lines == ["= done", "= threw com.orvanta.connector.common.exception.ConnectorException"
                         f" {in_hex(message)} other"], "that is not the failure")

    def many_copies(self):
        """300 copies, then a library that needs room in the static thread storage."""
        lines = self.java("process-child", "walletcaller.child.ManyCopies", self.private_directory("copies"),
                          "300", self.build / "tests/java/initial-exec.so")
        expect(lines == ["= 300 copies"], "not all copies were made")

    def command(self):
        """It foresees the job, and says here what it says where it was built."""
        command = self.build / "walletcaller"
        doctor = self.run(command, "doctor", "--depth=call")
        expect("\nfunctions  ok    41 of 41\n" in doctor, "functions are missing")
        expect("\nThe rehearsal ended as foreseen.\n" in doctor, "the rehearsal did not end as foreseen")
        explain = (command, "explain", "--text", "$ovwallet(pw_$(ovpid))$ovwallet(a")
        here = subprocess.run(explain, capture_output=True, text=True, check=True).stdout
        expect(self.run(*explain) == here, "the explanation differs")


class Failed(Exception):
    pass


def expect(condition, otherwise):
    if not condition:
        raise Failed(otherwise)


def in_hex(text):
    return "x" + os.fsencode(text).hex()


def prepare(cell):
    """The client software that any place can load, and the strings of the demo and of the calls."""
    base = cell.directory / "base"
    shutil.copytree(cell.build / "sandbox/base", base)
    shutil.copy(cell.build / "sandbox/portable" / PLATFORM / "libovwallet.so", base / PLATFORM)
    cell.install(base)
    environment = {**os.environ, "OVWALLET_SANDBOX_HOME": str(cell.wallet)}
    ovwallet = base / PLATFORM / "ovwallet"
    subprocess.run([TOP / "scripts/fill-demo-wallet", ovwallet], env=environment, check=True)
    for name, value in (("entry.db0", "a value"), ("other", "another value"), ("loop", "$ovwallet(loop)")):
        subprocess.run([ovwallet, "add", name, value], env=environment, check=True)


def outcome(step):
    try:
        step()
    except Failed as failure:
        print(f"FAILED: {failure}", flush=True)
        return "FAILED"
    return "ok"


def main(build, place, jvm, java_home, tree=None):
    build = pathlib.Path(build).resolve()
    row = build / "places/rows" / f"{place}.{jvm}"
    row.parent.mkdir(parents=True, exist_ok=True)
    if tree and (os.geteuid() != 0 or not pathlib.Path(tree, "made").exists()):
        print(f"SKIPPED: {place} cannot be entered, see places.{place}")
        row.write_text("COULD NOT BE SET UP\n", encoding="utf-8")
        return SKIPPED
    row.write_text("DID NOT END\n", encoding="utf-8")
    root = pathlib.Path(tree, "root").resolve() if tree else None
    began = time.monotonic()
    with tempfile.TemporaryDirectory(prefix=f"{place}.{jvm}.", dir=build / "places") as directory:
        cell = Cell(build, java_home, root, pathlib.Path(directory))
        prepare(cell)
        facts = [cell.glibc_version(), cell.java_version,
                 "shared" if cell.jvm_shares_libstdcxx() else "built in"]
        outcomes = [outcome(step) for step in (cell.demo, cell.thousand_calls, cell.command, cell.many_copies,
                                               cell.throwing_client)]
    seconds = f"{time.monotonic() - began:.0f}"
    row.write_text("\t".join([*facts, *outcomes, seconds]) + "\n", encoding="utf-8")
    return 0 if "FAILED" not in outcomes else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
