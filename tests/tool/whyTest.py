#!/usr/bin/env python3
"""walletcaller why finds each message of docs/errors.md, filled in, wherever it stands, and only that one."""

import os
import re
import unittest

import node as nodes
from node import CONNECTOR_EXCEPTION, NodeTest

USE = "Attempt to use Orvanta Wallet failed because: "
GET = "Attempt to get value from Orvanta Wallet failed because: "
FILLED = {"<VERSION>": "14.10", "<SITE>": "https://downloads.example/x", "<TEXT>": "Permission denied",
          "<NAME>": "OvWallet_getVersion", "<MACRO>": "$(user)", "<REASON>": "it does not want to"}


def messages():
    """(message as the page has it, its entry's explanation) of every message that can be recognised."""
    with open(os.path.join(nodes.TOP, "docs", "errors.md"), encoding="utf-8") as file:
        page = file.read()
    found, waiting = [], []
    for part in re.split(r"^(?=### |## )", page, flags=re.M):
        if title := re.match(r"### `(.+)`\n", part):
            waiting.append(title[1])
            text = part[title.end():].strip()
            if text:
                found += [(message, text.splitlines()[0]) for message in waiting]
                waiting = []
    return [(message, text) for message, text in found if message != "<TEXT>"]


def filled_in(message):
    return re.sub("<[A-Z]+>", lambda name: FILLED.get(name[0], "/srv/a dir/x"), message)


class WhyTest(NodeTest):
    def explained(self, line):
        """What stands under the message, on one line."""
        result = self.run_command("why", text=line + "\n")
        self.assertEqual(result.status, 0, line)
        rows = result.out.splitlines()
        self.assertEqual(len([row for row in rows if row.startswith("line ")]), 1, result)
        return re.sub(r"\s+", " ", " ".join(rows[1:])).strip()

    def test_every_message_is_found_with_either_prefix_in_a_line_of_a_log(self):
        all_messages = messages()
        self.assertGreater(len(all_messages), 40)
        for message, begin in all_messages:
            words = re.sub(r"\s+", " ", begin)
            text = filled_in(message)
            lines = [text, f"2026-11-21 10:00:00,123 WARN mapreduce.Job: Job setup failed : "
                           f"{CONNECTOR_EXCEPTION}: {text}"]
            if not message.startswith("Attempt to "):
                lines += [f"{CONNECTOR_EXCEPTION}: {prefix}{text}" for prefix in (USE, GET)]
            for line in lines:
                explained = self.explained(line)
                self.assertTrue(explained.startswith(words), (line, words, explained))
                self.assertNotIn("](", explained)

    def test_lines_of_others_are_left_alone(self):
        log = "\n".join(["java.io.IOException: Not enough space left on device", "INFO: all is well", "",
                         "java.lang.IllegalArgumentException: Invalid UTF-8 in request", "  at a.b(C.java:1)"])
        result = self.run_command("why", text=log)
        self.assertEqual((result.status, result.out), (3, "There is no message of the library that is known here.\n"))

    def test_says_the_line_and_explains_once(self):
        line = f"{CONNECTOR_EXCEPTION}: Array is too long for Java."
        result = self.run_command("why", text=f"a\n{line}\n\n{line}\n")
        self.assertEqual([row.split()[1] for row in result.out.splitlines() if row.startswith("line ")], ["2", "4"])
        self.assertEqual(result.out.count("2,147,483,647"), 1)


if __name__ == "__main__":
    unittest.main()
