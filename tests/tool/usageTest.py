#!/usr/bin/env python3
"""The command line of walletcaller: complaints, help, colour, width, and the pages made from it."""

import os
import pty
import re
import subprocess
import unittest

import node as nodes
from node import NodeTest

COMMANDS = ("doctor", "explain", "why", "version")
LINES, COLUMNS = 24, 80


class UsageTest(NodeTest):
    def complaint(self, *words):
        result = self.run_command(*words)
        self.assertEqual((result.status, result.out), (2, ""), (words, result))
        return result.err.splitlines()[0]

    def test_a_wrong_word_is_named_and_the_nearest_right_one_suggested(self):
        for words, said in [
                (["doctr"], 'there is no command "doctr"; did you mean "doctor"?'),
                (["xyzzy"], 'there is no command "xyzzy"'),
                (["doctor", "--dpeth", "files"], 'there is no option "--dpeth"; did you mean "--depth"?'),
                (["doctor", "--depht=files"], 'there is no option "--depht"; did you mean "--depth"?'),
                (["explain", "--txt", "a"], 'there is no option "--txt"; did you mean "--text"?'),
                (["doctor", "--depth", "fles"],
                 '--depth: "fles" is not files, load, open or call; did you mean "files"?'),
                (["explain", "secret"],
                 '"secret" is not expected here; --text gives a text, --file a file, "-" standard input'),
                (["doctor", "extra"], '"extra" is one word too many'),
                (["--frobnicate"], 'there is no option "--frobnicate"'),
                ([], "a command is missing")]:
            self.assertEqual(self.complaint(*words), "walletcaller: " + said)

    def test_a_value_that_is_wrong_or_missing_is_named_with_its_option(self):
        for words in (["doctor", "--timeout", "0"], ["doctor", "--timeout", "soon"], ["doctor", "--dir"],
                      ["version", "--pid", "-1"], ["doctor", "--tmp", "a", "--dir", "b"]):
            self.assertIn(words[1], self.complaint(*words))

    def test_help_fits_a_screen_and_has_one_example(self):
        for words in ([], *([command] for command in COMMANDS)):
            result = self.run_command(*words, "--help")
            self.assertEqual((result.status, result.err), (0, ""))
            rows = result.out.splitlines()
            self.assertLessEqual(len(rows), LINES, result.out)
            self.assertLessEqual(max(map(len, rows)), COLUMNS, result.out)
            self.assertEqual(result.out.count("Example:"), 1, result.out)

    def test_examples_are_understood(self):
        for words in ([], *([command] for command in COMMANDS)):
            example = self.run_command(*words, "--help").out.split("Example:\n")[1]
            given = example.split("walletcaller ", 1)[1].split()
            self.assertNotEqual(self.run_command(*given).status, 2, example)

    def test_version(self):
        self.assertRegex(self.run_command("--version").out, r"^\d+\.\d+\.\d+\n$")

    def test_version_of_a_file_and_of_what_a_process_has_loaded(self):
        notes = subprocess.run(["readelf", "-nW", nodes.LIBRARY], capture_output=True, text=True, check=True)
        build_id = re.search(r"Build ID: (\w+)", notes.stdout)[1]
        told = f"version  {self.run_command('--version').out}build id {build_id}\n"
        self.assertEqual(self.run_command("version", nodes.LIBRARY).out, f"{nodes.LIBRARY}\n{told}")
        file = self.node.private() + nodes.LIBRARY_NAME
        holder = subprocess.Popen(
            ["python3", "-c", "import ctypes, sys; ctypes.CDLL(sys.argv[1]); print(flush=True); sys.stdin.read()", file],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        try:
            holder.stdout.readline()
            self.assertEqual(self.run_command("version", "--pid", str(holder.pid)).out, f"{file}\n{told}")
            os.remove(file)
            self.assertEqual(self.run_command("version", "--pid", str(holder.pid)).out,
                             f"{file} (deleted)\n{told}")
        finally:
            holder.communicate()
        self.assertEqual(self.run_command("version", "--pid", str(os.getpid())).status, 3)

    def test_texts_keep_to_80_columns_but_for_long_words(self):
        for words in (["doctor"], ["explain", "--text", "$ovwallet(a b)$ovwallet(c"],
                      ["why", "Array is too long for Java."]):
            for row in self.run_command(*words).out.splitlines():
                longest = max(map(len, row.split()), default=0)
                self.assertTrue(len(row) <= COLUMNS or longest > COLUMNS // 2, row)

    def in_terminal(self, environment):
        parent, child = pty.openpty()
        process = self.node.start("explain", "--text", "$ovwalletX", stdout=child, stdin=child, stderr=child,
                                  environment=environment)
        os.close(child)
        process.wait()
        out = os.read(parent, 65536).decode()
        os.close(parent)
        return out

    def test_colour_is_for_terminals_and_not_for_those_who_want_none(self):
        self.assertIn("\033[", self.in_terminal({}))
        self.assertNotIn("\033[", self.in_terminal({"NO_COLOR": "1"}))
        self.assertNotIn("\033[", self.run_command("explain", "--text", "$ovwalletX").out)


class PagesTest(NodeTest):
    """The manual page and the completion name what the parser knows, and nothing else."""

    def options(self):
        known = {}
        for command in COMMANDS:
            known[command] = set(re.findall(r"^  (?:-h,)?(--[\w-]+)",
                                            self.run_command(command, "--help").out, re.M))
        return known

    def read(self, name):
        with open(os.path.join(nodes.TOP, "tool", name), encoding="utf-8") as file:
            return file.read()

    def test_manual_page(self):
        page = self.read("walletcaller.1").replace("\\-", "-")
        parts = {part.split("\n", 1)[0].split()[0]: part for part in re.split(r"^\.SS ", page, flags=re.M)[1:]}
        self.assertEqual(sorted(parts), sorted(COMMANDS))
        for command, options in self.options().items():
            described = set(re.findall(r"^\.BR? (--[\w-]+)", re.split(r"^\.SH ", parts[command], flags=re.M)[0], re.M))
            self.assertEqual(described | {"--help"}, options)

    def test_completion(self):
        for command, options in self.options().items():
            script = (f'source {nodes.TOP}/tool/completion.bash; COMP_WORDS=({nodes.COMMAND} {command} --); '
                      'COMP_CWORD=2; _walletcaller; printf "%s\\n" "${COMPREPLY[@]}"')
            words = subprocess.run(["bash", "-c", script], capture_output=True, text=True, check=True).stdout
            self.assertEqual(set(words.split()), options)


if __name__ == "__main__":
    unittest.main()
