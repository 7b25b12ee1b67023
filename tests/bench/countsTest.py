#!/usr/bin/env python3
"""What an operation costs, counted: countsTest.py OPERATIONS

The figures stand in docs/performance.md. Instructions, counted by callgrind, may differ by 5 %: another
compiler of the same version makes as much of a difference. Allocations must be the same.
"""

import os
import re
import subprocess
import sys
import unittest

PAGE = os.path.join(os.path.dirname(__file__), "..", "..", "docs", "performance.md")
TOLERANCE = 0.05

# glibc's functions for strings and memory are then the plain ones (sse2) on every machine.
ENVIRONMENT = os.environ | {
    "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2,-AVX,-BMI2,-AVX_Fast_Unaligned_Load,-SSSE3,-ERMS"}


def recorded():
    """(instructions, allocations, bytes) of each operation on the page."""
    with open(PAGE, encoding="utf-8") as page:
        rows = re.findall(r"^\| `([a-z0-9-]+)` \|[^|]*\| +([\d,]+) \| +(\d+) \| +([\d,]+) \|$", page.read(), re.M)
    return {name: tuple(int(figure.replace(",", "")) for figure in figures) for name, *figures in rows}


def counted(name):
    run = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", "--toggle-collect=countedOperation",
         OPERATIONS, name], capture_output=True, text=True, check=True, env=ENVIRONMENT)
    instructions = re.search(r"Collected : (\d+)", run.stderr)[1]
    return tuple(int(figure) for figure in [instructions, *run.stdout.split()])


def is_like(new, old):
    return abs(new[0] - old[0]) <= TOLERANCE * old[0] and new[1:] == old[1:]


class CountsTest(unittest.TestCase):
    def test_an_operation_costs_what_the_page_says(self):
        page = recorded()
        names = subprocess.run([OPERATIONS], capture_output=True, text=True, check=True).stdout.split()
        self.assertEqual(sorted(page), names)
        costs = {name: counted(name) for name in names}
        different = [f"{name}: recorded {page[name]}, counted {costs[name]}"
                     for name in names if not is_like(costs[name], page[name])]
        self.assertEqual(different, [], "\nAs (instructions, allocations, bytes). If that is meant, write what "
                         "was counted into the table of docs/performance.md, and say why in the commit.")


if __name__ == "__main__":
    OPERATIONS = sys.argv.pop(1)
    unittest.main()
