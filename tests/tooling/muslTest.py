#!/usr/bin/env python3
"""musl refuses the shipped file in the words of docs/support.md: muslTest.py LIBRARY"""

import os
import re
import subprocess
import sys
import tempfile
import unittest

TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
LINKER = "/lib/ld-musl-x86_64.so.1"


def words_of_page():
    """The error messages in the section on musl, in their order."""
    with open(os.path.join(TOP, "docs", "support.md"), encoding="utf-8") as page:
        section = re.search(r"^## musl$.*?(?=^## |\Z)", page.read(), re.M | re.S)[0]
    return re.findall(r"^Error .*$", section, re.M)


class MuslTest(unittest.TestCase):
    library = ""

    def words(self, library_path):
        """What a program is told that loads the file: dlopen ends with the first line that the linker says."""
        result = subprocess.run([LINKER, self.library], env={"LD_LIBRARY_PATH": library_path},
                                capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 127)
        return result.stderr.splitlines()[0].replace(os.path.dirname(self.library), "DIRECTORY")

    def test_the_words_are_those_of_the_page(self):
        libgcc = subprocess.run(["gcc", "-print-file-name=libgcc_s.so.1"],
                                capture_output=True, text=True, check=True).stdout.strip()
        with tempfile.TemporaryDirectory() as directory:
            without = self.words(directory)
            os.symlink(os.path.realpath(libgcc), os.path.join(directory, "libgcc_s.so.1"))
            self.assertEqual(words_of_page(), [self.words(directory), without])


if __name__ == "__main__":
    MuslTest.library = os.path.realpath(sys.argv.pop())
    unittest.main()
