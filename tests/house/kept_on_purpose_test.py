"""Checks docs/KEPT-ON-PURPOSE.md: every mark in the sources has an entry, and every test that an entry names exists."""

import re
import sys
import unittest
from collections import Counter
from pathlib import Path

PAGE = "docs/KEPT-ON-PURPOSE.md"
MARKED_FOLDERS = ["include", "platform", "src", "tools"]
MARKS = ["kept on purpose", "kept as it always was"]  # the second one is the public header's

ROOT = None  # the repository's folder, set from the command line


def cpp_files(folder):
    found = sorted(path for path in (ROOT / folder).rglob("*") if path.suffix in {".h", ".cpp"})
    assert found, f"{folder} has no sources"
    return found


def marks_in(text):
    """How many marks a source has; one may go on in the next line of a comment."""
    words = re.sub(r"\s+(?:[/*]+[<!]?)?\s*", " ", text).lower()
    return sum(words.count(mark) for mark in MARKS)


def entries_of(page):
    """Of each entry its title, the sources and the tests that it names."""
    for entry in re.split(r"^### ", page, flags=re.MULTILINE)[1:]:
        title, _, text = entry.partition("\n")
        items = {}
        for name, item in re.findall(r"^- (\w+): (.*(?:\n  .*)*)", text, flags=re.MULTILINE):
            items.setdefault(name, []).extend(re.findall(r"`([^`]+)`", item))
        yield title, items.get("Source", []), items.get("Tests", [])


class KeptOnPurposeTest(unittest.TestCase):
    def setUp(self):
        self.entries = list(entries_of((ROOT / PAGE).read_text(encoding="utf-8")))
        self.assertGreater(len(self.entries), 20)

    def test_entries_are_told_apart_and_name_sources_and_tests(self):
        titles = Counter(title for title, _, _ in self.entries)
        for title, sources, tests in self.entries:
            self.assertEqual(titles[title], 1, title)
            self.assertTrue(sources, f"'{title}' names no source")
            self.assertTrue(tests, f"'{title}' names no test")
            self.assertEqual(len(set(sources)), len(sources), title)

    def test_tests_that_are_named_exist(self):
        existing = set()
        for path in cpp_files("tests"):
            text = path.read_text(encoding="utf-8")
            for suite, name in re.findall(r"^\s*TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", text, flags=re.MULTILINE):
                existing.add(f"{suite}.{name}")
        self.assertGreater(len(existing), 100)
        for title, _, tests in self.entries:
            for test in tests:
                self.assertTrue(test in existing, f"'{title}' names {test}, which is not there")

    def test_every_mark_has_an_entry(self):
        named = Counter(source for _, sources, _ in self.entries for source in sources)
        marked = {}
        for folder in MARKED_FOLDERS:
            for path in cpp_files(folder):
                marks = marks_in(path.read_text(encoding="utf-8"))
                if marks != 0:
                    marked[path.relative_to(ROOT).as_posix()] = marks
        self.assertGreater(len(marked), 20)
        for source, marks in marked.items():
            self.assertGreaterEqual(named[source], marks, f"{source} has more marks than {PAGE} has entries for it")
        for source in named:
            self.assertTrue(source in marked, f"{PAGE} names {source}, which has no mark")


if __name__ == "__main__":
    ROOT = Path(sys.argv.pop(1))
    unittest.main()
