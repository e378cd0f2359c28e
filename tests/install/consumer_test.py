"""Installs the build into a folder and builds a program against what is there, the sample of README.md in it."""

import argparse
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SETTINGS = None  # from the command line
PAGE = "tests/data/images/pngsuite/basn2c08.png"


def run(*command, **options):
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command[0]} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


class ConsumerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp(prefix="pixtola-consumer-"))
        cls.prefix = cls.folder / "prefix"
        run(SETTINGS.cmake, "--install", SETTINGS.build, "--prefix", cls.prefix)
        sample = re.search(r"```cpp\n(.*?)```", (SETTINGS.source / "README.md").read_text(encoding="utf-8"), re.S)
        cls.sample = cls.folder / "sample.cpp"
        cls.sample.write_text(sample.group(1), encoding="utf-8")

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def configure(self, name, *options):
        build = self.folder / name
        run(SETTINGS.cmake, "-S", SETTINGS.source / "tests/install/consumer", "-B", build, "-G", "Ninja",
            f"-DCMAKE_CXX_COMPILER={SETTINGS.compiler}", f"-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror {SETTINGS.flags}",
            f"-DSAMPLE={self.sample}", f"-DPAGE={SETTINGS.source / PAGE}", *options)
        return build

    def test_a_program_builds_and_runs_against_the_installed_library(self):
        build = self.configure("installed", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run(SETTINGS.cmake, "--build", build)
        fax = self.folder / "fax.tif"
        run(build / "consumer", SETTINGS.source / PAGE, fax)
        self.assertIn(fax.read_bytes()[:4], {b"II*\0", b"MM\0*"})

    def test_only_public_headers_are_installed(self):
        include = self.prefix / "include"
        self.assertEqual(sorted(path.name for path in include.iterdir()), ["Pixtola.h", "pixtola"])
        for path in include.rglob("*.h"):
            for included in re.findall(r'#include "([^"]+)"', path.read_text(encoding="utf-8")):
                self.assertTrue((include / included).is_file() or (path.parent / included).is_file(),
                                f"{path.name} includes {included}, which is not installed")

    def test_the_target_names_one_include_folder(self):
        targets = next(self.prefix.rglob("PixtolaTargets.cmake"))
        folders = re.findall(r'INTERFACE_INCLUDE_DIRECTORIES "([^"]*)"', targets.read_text(encoding="utf-8"))
        self.assertEqual(set(folders), {"${_IMPORT_PREFIX}/include"})

    def test_the_tool_runs_where_it_was_installed(self):
        if not (self.prefix / "bin/pixtola").exists():
            self.skipTest("built without the tool")
        self.assertTrue(run(self.prefix / "bin/pixtola", "--version").startswith("pixtola "))

    def test_a_part_of_another_project_builds_the_libraries_only(self):
        self.configure("part", f"-DPIXTOLA_SOURCE={SETTINGS.source}")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--cmake", required=True)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--flags", default="")
    parser.add_argument("--source", type=Path, required=True)
    parser.add_argument("--build", type=Path, required=True)
    SETTINGS, rest = parser.parse_known_args()
    unittest.main(argv=[__file__, *rest])
