#!/usr/bin/env python3
"""What must be true of the files of the repository, whatever they do."""

import os
import re
import subprocess
import unittest

TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
LONGEST_SOURCE = 300


def read(path):
    with open(os.path.join(TOP, path), encoding="utf-8", errors="replace") as file:
        return file.read()


def sources():
    """The files of src/ that the compiler reads, rooted there."""
    found = []
    for directory, _, names in os.walk(os.path.join(TOP, "src")):
        found += [os.path.relpath(os.path.join(directory, name), os.path.join(TOP, "src"))
                  for name in names if name.endswith((".h", ".cpp", ".def"))]
    return sorted(found)


def stem(path):
    return os.path.splitext(path)[0]


def kept_files():
    """The files of the repository; in a tree without one, all but what was built."""
    if os.path.exists(os.path.join(TOP, ".git")):
        listed = subprocess.run(["git", "-c", "safe.directory=*", "ls-files", "-z"], cwd=TOP,
                                capture_output=True, check=True).stdout
        names = listed.decode().split("\0")
    else:
        names = [os.path.relpath(os.path.join(directory, name), TOP)
                 for directory, _, files in os.walk(TOP) for name in files]
        names = [name for name in names if not re.match(r"build/|hadoop/target/", name)]
    return [name for name in names if os.path.isfile(os.path.join(TOP, name))]


def file_order():
    """The list in ARCHITECTURE.md: each line a header with its source, the lowest first."""
    block = re.search(r"^```file-order\n(.*?)^```$", read("ARCHITECTURE.md"), re.M | re.S)
    return block[1].split()


def order_breaks(order, includes):
    """Includes that do not go upwards in the list; `includes` has the included files by file."""
    place = {name: number for number, name in enumerate(order)}
    return [f"{file} includes {included}" for file in includes for included in includes[file]
            if stem(included) != stem(file)
            and place.get(stem(included), len(order)) >= place.get(stem(file), -1)]


class FileOrderTest(unittest.TestCase):
    def test_every_source_is_listed_once(self):
        self.assertEqual(sorted(file_order()), sorted({stem(path) for path in sources()}))

    def test_includes_name_only_files_that_stand_earlier(self):
        includes = {path: re.findall(r'^#include "([^"]+)"', read("src/" + path), re.M)
                    for path in sources()}
        self.assertGreater(sum(len(names) for names in includes.values()), 50)
        self.assertEqual(order_breaks(file_order(), includes), [])

    def test_an_include_of_a_later_or_unlisted_file_is_found(self):
        order = ["support/low", "wallet/high"]
        includes = {"support/low.cpp": ["support/low.h", "wallet/high.h"],
                    "wallet/high.h": ["support/low.h", "wallet/unlisted.h"]}
        self.assertEqual(order_breaks(order, includes),
                         ["support/low.cpp includes wallet/high.h",
                          "wallet/high.h includes wallet/unlisted.h"])


class SourceTest(unittest.TestCase):
    def test_every_source_file_has_its_test_file(self):
        missing = [path for path in sources() if path.endswith(".cpp")
                   and not os.path.exists(os.path.join(TOP, "tests", stem(path) + "Test.cpp"))]
        self.assertEqual(missing, [])

    def test_no_source_file_is_long(self):
        lengths = {path: len(read("src/" + path).splitlines()) for path in sources()}
        self.assertEqual({path: lines for path, lines in lengths.items() if lines > LONGEST_SOURCE}, {})


class TextTest(unittest.TestCase):
    """No file leans on what only its author can open."""

    # Put together from halves, so that this file does not match itself.
    WORDS = re.compile("|".join([
        r"(?<!un)specific" + r"ation", r"\bspec" + r"\.md\b", r"\b(?:the|per) sp" + r"ec\b",
        r"\bPart " + r"\d+(?:\.\d+)?\b", r"\b(?:design|style)" + r"\.md\b",
        r"(?:^|[^A-Za-z0-9_.])/(?:wo" + r"rk|fa" + r"rm)/"]), re.I | re.M)

    def test_no_file_names_a_document_or_a_directory_of_its_author(self):
        found = []
        files = kept_files()
        self.assertIn("README.md", files)
        for path in files:
            text = read(path)
            if "\0" not in text:
                found += [f"{path}: {match[0]}" for match in self.WORDS.finditer(text)]
        self.assertEqual(found, [])

    def test_such_words_are_found(self):
        for text in ["see Part" + " 1.2", "as the sp" + "ec says", "a Specific" + "ation", "in /wo" + "rk/x"]:
            self.assertRegex(text, self.WORDS)
        self.assertNotRegex("an unspecific" + "ation", self.WORDS)


if __name__ == "__main__":
    unittest.main()
