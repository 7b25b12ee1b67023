#!/usr/bin/env python3
"""Randomly broken nodes: what the command foresees is what a real job in a real JVM is told.

WALLETCALLER_NODES and WALLETCALLER_SEED change how many there are, and which."""

import os
import random
import shutil
import time
import unittest

from jobs import Jobs, as_root, as_user
from node import BASE, CLIENT_FILES, LIBRARY, LIBRARY_NAME, NOBODY, Node, variant

COUNT = int(os.environ.get("WALLETCALLER_NODES", "500"))
SEED = int(os.environ.get("WALLETCALLER_SEED", str(int(time.time()))))
REHEARSE_EVERY = 5
VARIANTS = ("missing-first", "missing-getversion", "missing-last", "throwing", "text-file", "no-library")


class RandomNode:
    """Breaks a node in a few ways; `story` is all that was done, to be read or done again."""

    def __init__(self, node, number):
        self.node, self.story = node, []
        self.dice = random.Random(f"{SEED} {number}")
        self.ground = node.path(f"node{number}")
        os.mkdir(self.ground)
        for path in (node.path("bin"), node.packages):
            self._clear(path)
        os.mkdir(node.path("bin"))
        self.bases = [BASE] + [variant(self.dice.choice(VARIANTS))]
        self.bases += [self._base(i) for i in range(self.dice.randint(0, 2))]
        self._command()
        self._packages()
        self._directory()

    @staticmethod
    def _clear(path):
        if os.path.islink(path) or os.path.isfile(path):
            os.unlink(path)
        elif os.path.isdir(path):
            for directory, _, _ in os.walk(path):
                os.chmod(directory, 0o700)
            shutil.rmtree(path)

    def clear(self):
        self._clear(self.ground)

    def _tell(self, *words):
        self.story.append(" ".join(str(word) for word in words))

    def _mkdir(self, path):
        os.makedirs(path, exist_ok=True)
        self._tell("mkdir -p", path)

    def _link(self, target, path):
        os.symlink(target, path)
        self._tell("ln -s", repr(target), path)

    def _write(self, path, text):
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        self._tell("write", path, repr(text))

    def _chmod(self, path, mode):
        os.chmod(path, mode)
        self._tell("chmod", oct(mode), path)

    def _base(self, number):
        """A damaged installation."""
        base = os.path.join(self.ground, f"base{number}")
        files = os.path.join(base, CLIENT_FILES)
        self._mkdir(files)
        client = os.path.join(base, "orvanta/client")
        match self.dice.randint(0, 4):
            case 0:
                pass  # no wallet directory
            case 1:
                self._link(self.dice.choice(["14.10", "nowhere", "14.10/ovwallet", "ovwallet"]),
                           os.path.join(client, "ovwallet"))
            case 2:
                self._write(os.path.join(client, "ovwallet"), "a file")
            case _:
                self._mkdir(os.path.join(client, "ovwallet"))
        self._write(os.path.join(files, "ovwallet"), "a program")
        library = os.path.join(files, "libovwallet.so")
        source = os.path.join(self.dice.choice([BASE, variant(self.dice.choice(VARIANTS[:-1]))]),
                              CLIENT_FILES, "libovwallet.so")
        match self.dice.randint(0, 7):
            case 0:
                pass
            case 1:
                self._mkdir(library)
            case 2:
                self._write(library, "x" * self.dice.choice([0, 3, 64, 5000]))
            case 3:
                self._link(self.dice.choice(["nowhere", "libovwallet.so", "/dev/null"]), library)
            case 4:
                shutil.copy(source, library)
                self._tell("cp", source, library)
                with open(library, "r+b") as file:
                    file.truncate(self.dice.choice([10, 64, 1000, 4096]))
                self._tell("truncate", library)
            case _:
                shutil.copy(source, library)
                self._tell("cp", source, library)
                if self.dice.random() < 0.2:
                    self._chmod(library, self.dice.choice([0o000, 0o400, 0o111]))
        if self.dice.random() < 0.3:
            deep = CLIENT_FILES.split("/")
            self._chmod(os.path.join(base, *deep[:self.dice.randint(0, len(deep))]),
                        self.dice.choice([0o000, 0o700, 0o600, 0o711, 0o755]))
        return base

    def _command(self):
        path = self.node.command
        kind = self.dice.randint(0, 9)
        if kind <= 2:
            return
        if kind == 3:
            self._write(path, "a script")
            return
        if kind == 4:
            self._mkdir(path)
            return
        end = os.path.join(self.dice.choice(self.bases), CLIENT_FILES, "ovwallet")
        if kind == 5:
            end = self.dice.choice([os.path.join(self.ground, "nowhere"), "/dev/null", "/", "/usr/bin", "."])
        for hop in reversed(range(self.dice.randint(0, 5))):
            place = os.path.join(self.ground, f"hop{hop}")
            self._mkdir(place)
            here = os.path.join(place, "link")
            self._link(end if self.dice.random() < 0.5 else os.path.relpath(end, place), here)
            if self.dice.random() < 0.08:
                self._chmod(place, self.dice.choice([0o000, 0o600, 0o700, 0o711]))
            end = here
        self._link(end, path)

    def _packages(self):
        kind = self.dice.randint(0, 9)
        if kind == 0:
            return
        if kind == 1:
            self._write(self.node.packages, "a file")
            return
        self._mkdir(self.node.packages)
        for _ in range(self.dice.randint(0, 5)):
            name = self.dice.choice(["ovwallet", "ovwallet1410", "ovwallet9", "ovwallet10", "ovwallet1410x",
                                     "ovwallet-1", "Ovwallet", "ovwalle", "ovwallet 1", "other"])
            record = os.path.join(self.node.packages, name)
            if os.path.lexists(record):
                continue
            if self.dice.random() < 0.1:
                self._write(record, "a file")
                continue
            self._mkdir(record)
            file = os.path.join(record, "inst.dir")
            if self.dice.random() < 0.1:
                self._mkdir(file)
                continue
            base = self.dice.choice(self.bases + ["/", self.ground, "nowhere", "usr", "", file])
            self._write(file, base + self.dice.choice(["\n", "\n", "\n", "", "\r\n", " \n", "\nmore\n", "/\n"]))
            if self.dice.random() < 0.1:
                self._chmod(file, 0o000)
            if self.dice.random() < 0.05:
                self._chmod(record, 0o000)
        if self.dice.random() < 0.05:
            self._chmod(self.node.packages, self.dice.choice([0o000, 0o600, 0o711]))

    def _directory(self):
        """The private directory, and the name that the job passes."""
        self.library_directory = os.path.join(self.ground, self.dice.choice(["job", "a job", "jöb"]))
        os.mkdir(self.library_directory, 0o700)
        shutil.copy(LIBRARY, self.library_directory)
        if as_root:
            os.chown(self.library_directory, NOBODY, NOBODY)
        self._tell("private directory", self.library_directory)
        self.directory = self.library_directory + "/"
        match self.dice.randint(0, 11):
            case 0:
                self.directory = self.library_directory
            case 1:
                self.directory = self.dice.choice([
                    os.path.join(self.ground, "missing/"), LIBRARY + "/", "/", "",
                    self.library_directory + "/" + "x" * 300 + "/", self.library_directory + "//",
                    self.library_directory + "/../" + os.path.basename(self.library_directory) + "/"])
            case 2:
                link = self.library_directory + "/ovwalletdir"
                self.dice.choice([lambda: self._link("nowhere", link), lambda: self._write(link, ""),
                                  lambda: self._mkdir(link)])()
            case 3:
                self._chmod(self.library_directory, self.dice.choice([0o500, 0o100, 0o700]))
            case 4 if as_root:
                os.chown(self.library_directory, 0, 0)
                self._chmod(self.library_directory, 0o755)
        self._tell("passes", repr(self.directory))


class NodesTest(unittest.TestCase):
    maxDiff = None

    def test_what_is_foreseen_is_what_a_job_is_told(self):
        node = Node()
        self.addCleanup(node.remove)
        jobs = Jobs(node)
        self.addCleanup(jobs.end)
        differing, outcomes = [], {}
        print(f"{COUNT} nodes, seed {SEED}")
        for number in range(COUNT):
            broken = RandomNode(node, number)
            rehearse = number % REHEARSE_EVERY == 0
            report = node.doctor(
                "--depth=call" if rehearse else "--depth=load", "--dir", broken.directory, "--library",
                os.path.join(broken.library_directory, LIBRARY_NAME), before=as_user,
                cwd=node.path("tmp"))
            verdict = report["verdict"]
            foreseen = (verdict["class"] or "", verdict["message"] or "") if verdict["outcome"] != "ends" else None
            outcomes[verdict["catalogue"] or verdict["outcome"]] = 1 + outcomes.get(
                verdict["catalogue"] or verdict["outcome"], 0)
            # A job of this node would keep the JVM for ever.
            told = (jobs.set_up(broken.library_directory, broken.directory)
                    if verdict["outcome"] != "hangs" else foreseen)
            if foreseen != told or report["exit status"] == 4:
                differing.append("\n".join([f"node {number} of seed {SEED}", *broken.story,
                                            f"foreseen {foreseen}", f"told     {told}",
                                            f"rehearsal {report['rehearsal']}"]))
            broken.clear()
        for outcome, count in sorted(outcomes.items()):
            print(f"{count:5} {outcome}")
        self.assertEqual(differing, [], "\n\n".join(differing[:5]))
        self.assertGreater(len(outcomes), min(5, COUNT // 20), "the nodes are broken in too few ways")


if __name__ == "__main__":
    unittest.main()
