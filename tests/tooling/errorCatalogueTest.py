#!/usr/bin/env python3
"""docs/errors.md and src/ have the same messages, each entry says where it is seen and what foresees it, and the
files of the tests that it names expect them."""

import os
import re
import unittest

TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
CATALOGUE = os.path.join(TOP, "docs", "errors.md")
FOREIGN = "In the words of others"  # the section whose messages no source of ours has

TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|^[ \t]*#[^\n]*|\'(?:\\.|[^\'\\\n])+\'|"((?:\\.|[^"\\\n])*)"',
                   re.S | re.M)


def literals(text):
    """The strings of a C++ or Java source, those that stand side by side joined."""
    found = []
    end_of_last = None
    for token in TOKEN.finditer(text):
        if token.group(1) is None:
            continue
        value = re.sub(r"\\(.)", lambda m: {"n": "\n", "t": "\t"}.get(m.group(1), m.group(1)),
                       token.group(1))
        if end_of_last is not None and not TOKEN.sub("", text[end_of_last:token.start()]).strip():
            found[-1] += value
        else:
            found.append(value)
        end_of_last = token.end()
    return found


def fragments_of_sources(sources):
    """What the sources contribute to messages: their strings of more than one word, cut at "%s"."""
    fragments = {}
    for name, text in sources.items():
        for literal in literals(text):
            if re.search("[A-Za-z]", literal) and " " in literal:
                for fragment in literal.split("%s"):
                    if re.search("[A-Za-z]", fragment):
                        fragments.setdefault(fragment, name)
    return fragments


class Entry:
    def __init__(self, section):
        self.section = section
        self.messages = []
        self.text = ""

    def tests(self):
        return re.findall(r"^Test: `([\w.]+)` in (\S+)$", self.text, re.M)

    def missing_lines(self):
        return [line for line in ("In a log", "Foreseen by")
                if not re.search(rf"^{line}: .*\.$", self.text, re.M)]

    def explanation(self):
        return re.sub(r"^(?:In a log|Foreseen by|Test): .*$", "", self.text, flags=re.M).strip()


def entries_of(catalogue):
    entries = []
    section = ""
    for line in catalogue.splitlines():
        if line.startswith("## "):
            section = line[3:]
        elif line.startswith("### "):
            message = re.fullmatch(r"### `(.+)`", line)
            if not entries or entries[-1].text.strip() or entries[-1].section != section:
                entries.append(Entry(section))
            entries[-1].messages.append(message.group(1) if message else line)
        elif entries and entries[-1].section == section:
            entries[-1].text += line + "\n"
    return entries


def pieces(message):
    """What is fixed in a message."""
    return [piece for piece in re.split(r"<[A-Z]+>", message) if re.search("[A-Za-z]", piece)]


def without(text, fragments):
    """What is left of a text when the fragments are cut out, the longest first."""
    for fragment in sorted(fragments, key=len, reverse=True):
        text = text.replace(fragment, "\0")
    return text


def test_names(text):
    names = {".".join(m) for m in re.findall(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", text, re.M)}
    for declaration in re.findall(r"^class (\w+)", text, re.M):
        names |= {f"{declaration}.{name}" for name in re.findall(r"^    void (\w+)\(\)", text, re.M)}
    return names


def problems(catalogue, sources, tests):
    """Everything that is wrong, a line each. sources and tests: pathname -> text."""
    found = []
    fragments = fragments_of_sources(sources)
    entries = entries_of(catalogue)
    all_pieces = [p for entry in entries for message in entry.messages for p in pieces(message)]
    for fragment, name in fragments.items():
        if not any(fragment.strip('"') in piece for piece in all_pieces):
            found.append(f'{name}: "{fragment}" is not in the catalogue')
    for entry in entries:
        title = entry.messages[0]
        if entry.section != FOREIGN:
            for message in entry.messages:
                for piece in pieces(message):
                    if re.search("[A-Za-z]", without(piece, fragments)):
                        found.append(f"{message}: no source has all of it")
        if not entry.explanation():
            found.append(f"{title}: there is no explanation")
        found += [f'{title}: no line "{line}: ..."' for line in entry.missing_lines()]
        if not entry.tests():
            found.append(f"{title}: no test is named")
        for test, path in entry.tests():
            if test not in test_names(tests.get(path, "")):
                found.append(f"{title}: there is no test {test} in {path}")
                continue
            said = "\0".join(literals(tests[path]))
            in_test = [fragment for fragment in fragments if fragment in said]
            for piece in (p for message in entry.messages for p in pieces(message)):
                if piece not in said and re.search("[A-Za-z]", without(piece, in_test)):
                    found.append(f'{title}: {path} does not have "{piece}"')
    return found


def read_all(directory, suffixes):
    texts = {}
    for folder, _, names in os.walk(os.path.join(TOP, directory)):
        for name in names:
            if name.endswith(suffixes):
                path = os.path.join(folder, name)
                with open(path, encoding="utf-8") as file:
                    texts[os.path.relpath(path, TOP)] = file.read()
    return texts


class ErrorCatalogueTest(unittest.TestCase):
    CATALOGUE = """
## Ours

### `Cannot open "<PATH>" (errno = <TEXT>)`

Make it readable.

In a log: alone.
Foreseen by: doctor, step `software`.
Test: `Opening.Fails` in tests/OpeningTest.cpp

## In the words of others

### `Invalid UTF-8`

Not a text.

In a log: alone.
Foreseen by: not foreseen.
Test: `Opening.Fails` in tests/OpeningTest.cpp
"""
    SOURCES = {"src/a.cpp": 'throw Failure("Cannot open \\"" + path +\n    "\\" (errno = " // why\n'
                            '    + text + ")");'}
    TESTS = {"tests/OpeningTest.cpp": 'TEST(Opening, Fails) {\n    EXPECT_EQ(text, "Cannot open "\n'
                                      '        "\\"/x\\" (errno = No)" "Invalid UTF-8");\n}'}

    def test_the_catalogue_the_sources_and_the_tests_agree(self):
        with open(CATALOGUE, encoding="utf-8") as file:
            catalogue = file.read()
        self.assertGreater(len(entries_of(catalogue)), 40)
        found = problems(catalogue, read_all("src", (".cpp", ".h", ".def")),
                         {**read_all("tests", (".cpp", ".java")), **read_all("hadoop/src", (".java",))})
        self.assertEqual(found, [], "\n".join(found))

    def test_agreement_is_recognised(self):
        self.assertEqual(problems(self.CATALOGUE, self.SOURCES, self.TESTS), [])

    def test_a_message_that_is_not_in_the_catalogue_is_found(self):
        sources = {**self.SOURCES, "src/b.cpp": 'const char* kNew = "Something new: %s failed.";'}
        self.assertEqual(problems(self.CATALOGUE, sources, self.TESTS),
                         ['src/b.cpp: "Something new: " is not in the catalogue',
                          'src/b.cpp: " failed." is not in the catalogue'])

    def test_a_message_that_was_reworded_is_found_on_both_sides(self):
        sources = {"src/a.cpp": self.SOURCES["src/a.cpp"].replace("Cannot open", "Could not open")}
        self.assertEqual(problems(self.CATALOGUE, sources, self.TESTS),
                         ['src/a.cpp: "Could not open "" is not in the catalogue',
                          'Cannot open "<PATH>" (errno = <TEXT>): no source has all of it'])

    def test_a_test_that_is_gone_is_found(self):
        tests = {"tests/OpeningTest.cpp": self.TESTS["tests/OpeningTest.cpp"].replace("Fails", "Works")}
        self.assertEqual(problems(self.CATALOGUE, self.SOURCES, tests),
                         [f"{title}: there is no test Opening.Fails in tests/OpeningTest.cpp"
                          for title in ('Cannot open "<PATH>" (errno = <TEXT>)', "Invalid UTF-8")])

    def test_a_test_without_the_text_is_found(self):
        tests = {"tests/OpeningTest.cpp": 'TEST(Opening, Fails) { "Invalid UTF-8"; }'}
        self.assertEqual(problems(self.CATALOGUE, self.SOURCES, tests),
                         ['Cannot open "<PATH>" (errno = <TEXT>): tests/OpeningTest.cpp does not have '
                          '"Cannot open ""',
                          'Cannot open "<PATH>" (errno = <TEXT>): tests/OpeningTest.cpp does not have '
                          '"" (errno = "'])

    def test_an_entry_without_words_lines_or_test_is_found(self):
        catalogue = re.sub(r"Make it readable.*?OpeningTest.cpp\n", "", self.CATALOGUE, count=1, flags=re.S)
        self.assertEqual(problems(catalogue, self.SOURCES, self.TESTS),
                         ['Cannot open "<PATH>" (errno = <TEXT>): there is no explanation',
                          'Cannot open "<PATH>" (errno = <TEXT>): no line "In a log: ..."',
                          'Cannot open "<PATH>" (errno = <TEXT>): no line "Foreseen by: ..."',
                          'Cannot open "<PATH>" (errno = <TEXT>): no test is named'])


if __name__ == "__main__":
    unittest.main()
