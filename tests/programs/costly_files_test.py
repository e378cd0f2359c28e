"""What small files can cost at most. With --table it prints what each of them does, for docs/platform.md."""

import os
import subprocess
import sys
import tempfile
import unittest
from dataclasses import dataclass
from pathlib import Path

from costly_files import costly_files

MEBIBYTE = 1 << 20


@dataclass
class Cost:
    is_opened: bool
    seconds: float  # of the processor
    memory: int  # bytes, at most at one time


def measure(command):
    program = subprocess.Popen(command)
    _, status, usage = os.wait4(program.pid, 0)
    program.returncode = os.waitstatus_to_exitcode(status)
    if program.returncode not in (0, 1):
        raise RuntimeError(f"{command} ended with {program.returncode}")
    return Cost(program.returncode == 0, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)


def open_with_platform(path):
    return measure([os.environ["PIXTOLA_DECODE_DUMP"], path, "none"])


def open_with_library(path):
    return measure([os.environ["PIXTOLA_PAGE_DUMP"], path, "-", "none"])


class CostlyFilesTest(unittest.TestCase):
    def test_claims_are_refused_before_they_are_believed(self):
        with tempfile.TemporaryDirectory(prefix="pixtola-") as folder:
            path = Path(folder) / "file"
            idle = open_with_platform(path).memory
            for costly in costly_files():
                if costly.is_heavy:
                    continue
                with self.subTest(costly.name):
                    path.write_bytes(costly.contents)
                    for cost in [open_with_platform(path), open_with_library(path)]:
                        self.assertEqual(cost.is_opened, costly.is_opened)
                        if not costly.is_opened and not costly.is_started:
                            self.assertLess(cost.memory - idle, 64 * MEBIBYTE)


def print_table():
    def cells(cost):
        return f"{'opened' if cost.is_opened else 'refused'} | {cost.seconds:.2f} | {cost.memory // MEBIBYTE}"
    print("| file | bytes | stand-in | s | MiB | library | s | MiB |\n|---|---|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory(prefix="pixtola-") as folder:
        path = Path(folder) / "file"
        for costly in costly_files():
            path.write_bytes(costly.contents)
            print(f"| {costly.name} | {len(costly.contents):,} | {cells(open_with_platform(path))} | "
                  f"{cells(open_with_library(path))} |", flush=True)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--table"]:
        print_table()
    else:
        unittest.main(warnings="ignore")
