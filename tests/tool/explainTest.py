#!/usr/bin/env python3
"""walletcaller explain: its lints, its answers, and that nothing secret leaves it."""

import base64
import fcntl
import json
import os
import re
import signal
import struct
import subprocess
import termios
import unittest

import node as nodes
from node import NodeTest

URL = "jdbc:orvanta://db/"
SECRET = "Zq7Marker"


def encoded(data):
    return base64.b64encode(data).decode()


class LintTest(NodeTest):
    # lint: (URL, texts on which it fires, texts on which it does not)
    CASES = {
        "E1": (URL, ["$ovwallet($(user))", "a$ovwallet(a)$ovwallet($())"], ["$ovwallet($(ovpid))", "$(user)"]),
        "E2": (URL, [b"$ovwallet(\xff)"], ["$ovwallet(gr\u00fcn)", b"\xff$ovwallet(a)"]),
        "W1": (URL, ["$ovwallet(a", "$ovwallet(a\\)", "$ovwallet($(ovpid)"], ["$ovwallet(a)", "$ovwallet"]),
        "W2": (URL, ["$OvWallet(a)", "${ovwallet(a)}", "ovwallet(a)", "$ovwalet(a)", "$ovwallte(a)"],
               ["$ovwallet(a)", "$wallet(a)", "f(a)", "$ovwallet (a)"]),
        "W3": (URL, ["$ovwalletX", "$ovwallet1"], ["$ovwallet", "$ovwallet-", "$ovwallet(a)b"]),
        "W4": (URL, ["$(ovpid)", "$ovwallet(a)$(ovpid)"], ["$ovwallet($(ovpid))", "$(ovpi)"]),
        "W5": (URL, ["$ovwallet( a)", "$ovwallet(a\t)", "$ovwallet(a(b)", "$ovwallet(a\\b)", "$ovwallet(a\0b)"],
               ["$ovwallet(a b)", "$ovwallet(a\\)b)", "( $ovwallet(a)"]),
        "S1": (URL, ["(db.password)", "x(pw_1)"], ["$ovwallet(db.password)", "()", "(two words)", "a(b"]),
        "S2": (URL, ["pw\n", "$ovwallet(a)\r\n"], ["pw", "a\nb"]),
        "U1": ("jdbc:orvanta://db", ["a"], []),
        "U2": ("JDBC:orvanta://db/", ["a"], []),
        "U3": ("jdbc:orvanta://db:1025/", ["a"], []),
        "U4": ("jdbc:orvanta://db/LOGMECH=LDAP", ["a"], []),
        "U5": ("jdbc:orvanta:///", ["$ovwallet($(ovpid))"], ["$ovwallet(a)"]),
    }

    def lints(self, url, texts):
        """Of each text, through one batch."""
        lines = [json.dumps({"url": url and encoded(url.encode()),
                             "text": encoded(t if isinstance(t, bytes) else t.encode())}) for t in texts]
        result = self.run_command("explain", "--batch", text="".join(line + "\n" for line in lines))
        self.assertEqual(result.status, 0, result)
        return [json.loads(line)["lints"] for line in result.out.splitlines()]

    def test_each_lint_fires_and_does_not(self):
        for name, (url, firing, silent) in self.CASES.items():
            for text, lints in zip(firing, self.lints(url, firing)):
                self.assertIn(name, lints, (name, text))
            for text, lints in zip(silent, self.lints(url, silent)):
                self.assertNotIn(name, lints, (name, text))

    def test_further_urls(self):
        for url, wanted in [("jdbc:other://db/", ["U2"]), ("", []), ("jdbc:orvanta://db/DATABASE=x", []),
                            ("jdbc:orvanta://[::1]/", ["U3"]), ("jdbc:orvanta://d\u00f6/", ["U3"]),
                            ("jdbc:orvanta://db?x/", ["U3"]), ("jdbc:orvanta://a b", ["U1", "U3"]),
                            ("jdbc:orvanta://db/a,logmech=x", ["U4"])]:
            self.assertEqual(self.lints(url, ["plain"]), [wanted], url)
        self.assertEqual(self.lints(None, ["plain", "$ovwallet($(ovpid))"]), [[], ["U5"]])

    def test_the_tables_of_the_readme_have_the_lints_that_they_speak_of_and_no_others(self):
        with open(os.path.join(nodes.TOP, "README.md"), encoding="utf-8") as file:
            rows = re.findall(r"^\| (`.*) \|", file.read(), re.M)
        self.assertGreater(len(rows), 6)
        outside = {"$ovwallet(NAME)": [], "$ovwallet": [], "$ovwallet()": [], "$ovwallet(NAME": ["W1"],
                   "$ovwalletX": ["W3"]}
        for text, wanted in outside.items():
            self.assertTrue(any(text in row for row in rows) or text == "$ovwalletX", text)
            self.assertEqual(self.lints(URL, [text]), [wanted], text)
        inside = {"\\)": [], "\\$": [], "\\\\": [], "$(ovpid)": [], "$": [], "a": []}
        for name, wanted in inside.items():
            self.assertEqual(self.lints(URL, [f"$ovwallet(n{name}n)"]), [wanted], name)

    def test_a_lint_is_a_failure_with_strict_only(self):
        self.assertEqual(self.run_command("explain", "--text", "$ovwalletX").status, 0)
        self.assertEqual(self.run_command("explain", "--strict", "--text", "$ovwalletX").status, 1)
        self.assertEqual(self.run_command("explain", "--strict", "--text", "x").status, 0)


class ExplanationTest(NodeTest):
    def test_of_a_name_with_pieces(self):
        result = self.run_command("explain", "--url", "jdbc:orvanta://sales-db/DATABASE=orders", "--text",
                                  r"u_$ovwallet(pw_$(ovpid)\))")
        self.assertEqual(result.out, '''\
URL    database id "sales-db"; default entry com.orvanta.OV2
Text   26 bytes, 1 reference, 2 bytes kept as they are
[2,26) $ovwallet(...)   entry "pw_sales-db)"
       "pw_"            as written
       $(ovpid)         "sales-db"
       \\)               ")"
Nothing here makes a job fail, if the entry exists (--fetch asks the wallet).
''')
        self.assertEqual(result.status, 0)

    def test_of_a_name_that_is_never_closed_shows_nothing_of_the_rest(self):
        result = self.run_command("explain", "-", text="$ovwallet(" + SECRET)
        self.assertIn("W1  [0,9) never closed: the entry", result.out)
        self.assertNotIn(SECRET, result.out + result.err)

    def test_of_what_is_not_printable(self):
        result = self.run_command("explain", "-", text=b"$ovwallet(a\x1b[31m\xff\xe2\x80\xae)")
        self.assertIn(r'"a\x1B[31m\xFF\xE2\x80\xAE"', result.out)

    def test_of_an_unknown_macro_is_the_text_of_the_failure(self):
        result = self.run_command("explain", "--json", "--text", "$ovwallet(a)$ovwallet($(user))")
        answer = json.loads(result.out)
        self.assertEqual(answer["failure"],
                         'Unsupported replacement macro, "$(user)", found in credential information.')
        self.assertEqual([r["entry"] for r in answer["references"]], [encoded(b"a")])
        self.assertEqual(result.status, 1)

    def test_reads_a_file(self):
        path = self.node.path("text")
        with open(path, "w", encoding="utf-8") as file:
            file.write("$ovwallet(a)")
        self.assertIn('entry "a"', self.run_command("explain", "--file", path).out)
        missing = self.run_command("explain", "--file", path + "x")
        self.assertEqual((missing.status, missing.out), (3, ""))
        self.assertIn("No such file or directory", missing.err)


class FetchTest(NodeTest):
    def setUp(self):
        super().setUp()
        self.node.install()
        self.node.wallet("add", "known", "--", SECRET)
        self.node.wallet("add", "nested", "--", SECRET + "$ovwallet(known)")

    def fetch(self, text):
        return self.run_command("explain", "--fetch", "--json", "--text", text)

    def test_tells_what_is_there_and_no_value(self):
        result = self.fetch("$ovwallet(known)$ovwallet(nested)")
        fetched = [(row["there"], row["holdsReferences"]) for row in json.loads(result.out)["fetched"]]
        self.assertEqual(fetched, [(True, False), (True, True)])
        self.assertEqual(result.status, 0)
        plain = self.run_command("explain", "--fetch", "--text", "$ovwallet(known)")
        self.assertNotIn(SECRET, plain.out + plain.err + result.out + result.err)

    def test_tells_the_failure_that_a_job_is_told(self):
        result = self.fetch("$ovwallet(known)$ovwallet(missing)$ovwallet(nested)")
        rows = json.loads(result.out)["fetched"]
        self.assertEqual([row["there"] for row in rows], [True, False])
        self.assertEqual(rows[1]["failure"], "Attempt to get value from Orvanta Wallet failed because: "
                         'There is no string named "missing" in the wallet.')
        self.assertEqual(result.status, 1)

    def test_tells_why_the_wallet_cannot_be_opened(self):
        os.unlink(self.node.command)
        rows = json.loads(self.fetch("$ovwallet(known)").out)["fetched"]
        self.assertEqual(rows[0]["failure"],
                         'Cannot open directory "/var/lib/rpm" (errno = No such file or directory)')


class SecrecyTest(NodeTest):
    def test_a_text_from_standard_input_is_nowhere_to_be_seen(self):
        text = f"{SECRET}1$ovwallet(name){SECRET}2$ovwallet({SECRET}3"
        for options in ([], ["--json"], ["--strict"]):
            result = self.run_command("explain", *options, "-", text=text)
            self.assertNotIn(SECRET, result.out + result.err)

    def status_after_abort(self, *command):
        """Of a process that has read a text and waits for more of it."""
        process = self.node.start(*command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                  before=["prlimit", "--core=unlimited"])
        process.stdin.write((SECRET + "$ovwallet(a)").encode() * 100)
        process.stdin.flush()
        while struct.unpack("i", fcntl.ioctl(process.stdin, termios.FIONREAD, b"0000"))[0] > 0:
            pass
        with open(f"/proc/{process.pid}/cmdline", "rb") as file:
            self.assertNotIn(SECRET.encode(), file.read())
        process.send_signal(signal.SIGABRT)
        _, status = os.waitpid(process.pid, 0)
        process.returncode = 0
        process.stdin.close()
        process.stdout.close()
        return status

    def test_a_process_that_has_read_a_text_leaves_no_core_and_no_trace_on_its_command_line(self):
        os.chmod(self.node.root, 0o777)
        if not os.WCOREDUMP(self.status_after_abort("why")):
            self.skipTest("this system writes no core of any process")
        self.assertFalse(os.WCOREDUMP(self.status_after_abort("explain", "-")))


if __name__ == "__main__":
    unittest.main()
