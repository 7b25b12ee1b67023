#!/usr/bin/env python3
"""German system texts, in UTF-8 and in Latin-1: the command foresees what a real job is told."""

import os
import shutil
import subprocess
import unittest

from jobs import Jobs, as_user
from node import CLIENT_FILES, LIBRARY_NAME, Node, variant


class LocaleTest(unittest.TestCase):
    maxDiff = None

    def german(self, charset):
        """A node where the system speaks German."""
        node = Node()
        self.addCleanup(node.remove)
        locale = "de_DE." + charset
        subprocess.run(["localedef", "-i", "de_DE", "-f", charset, node.path(locale)], check=True)
        node.environment.update(LC_ALL=locale, LOCPATH=node.root)
        return node

    def fresh(self, node):
        """A private directory: a JVM loads a file once."""
        self.count += 1
        directory = node.private(f"private{self.count}/")
        node.give(directory)
        return directory

    def scenes(self, node):
        """Lays out one after the other; gives its name and the private directory."""
        yield "no software", self.fresh(node)
        for name in ("no-library", "text-file", "missing-first"):
            node.record("ovwallet", variant(name) + "\n")
            yield name, self.fresh(node)
        base = node.path("base")
        shutil.copytree(variant("text-file"), base, symlinks=True)
        library = os.path.join(base, CLIENT_FILES, "libovwallet.so")
        node.record("ovwallet", base + "\n")
        os.unlink(library)
        os.mkdir(library)
        yield "a directory as library", self.fresh(node)
        os.rmdir(library)
        with open(library, "w", encoding="ascii") as file:
            file.write("x" * 5000)
        yield "no ELF file", self.fresh(node)
        os.chmod(library, 0)
        yield "a library that nobody may read", self.fresh(node)
        directory = self.fresh(node)
        os.mkdir(directory + "ovwalletdir")
        yield "a directory in the link's place", directory

    def compare(self, charset):
        node = self.german(charset)
        jobs = Jobs(node)
        self.addCleanup(jobs.end)
        self.count = 0
        messages = []
        for scene, directory in self.scenes(node):
            report = node.doctor("--depth=call", "--dir", directory, "--library", directory + LIBRARY_NAME,
                                 before=as_user, cwd=node.path("tmp"))
            verdict = report["verdict"]
            told = jobs.set_up(directory, directory)
            self.assertEqual((verdict["class"] or "", verdict["message"] or ""), told, scene)
            self.assertNotEqual(report["exit status"], 4, report)
            messages.append(told[1])
        return messages, {step["id"]: step["state"] for step in report["steps"]}["texts"]

    def test_in_utf_8_the_reasons_are_german(self):
        messages, texts = self.compare("UTF-8")
        self.assertIn("nicht \u00f6ffnen", " ".join(messages))
        self.assertEqual(texts, "ok")

    def test_in_latin_1_reasons_with_umlauts_are_lost(self):
        messages, texts = self.compare("ISO-8859-1")
        self.assertIn("Invalid UTF-8", " ".join(messages))
        self.assertIn("Datei oder Verzeichnis nicht gefunden", " ".join(messages))
        self.assertEqual(texts, "warn")


if __name__ == "__main__":
    unittest.main()
