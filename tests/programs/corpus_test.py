"""The platform's codecs on test images that the authors of image libraries collected, beside other programs'.

PIXTOLA_DECODE_DUMP names the program that shows what the platform decodes. The images are the few of
tests/data/images and, if PIXTOLA_CORPORA names the folder that scripts/corpora has fetched, those in there.
Each must come out as the reference shows it, unless corpus_expectations.py names it with a reason; a name there
that is not needed any more is an error, too.

    corpus_test.py --list [PART]   prints what came out for each file (whose name contains PART)
    corpus_test.py --table         prints the tables of docs/corpora.md
"""

import collections
import os
import subprocess
import sys
import unittest
from dataclasses import dataclass
from pathlib import Path

try:
    from PIL import Image, ImageChops

    from corpus_expectations import EXPECTED
    from corpus_files import kind_of
    from corpus_reference import by_imagemagick, reference_of
    from platform_codecs import images_in
except ImportError:
    Image = None

FEW = Path(__file__).parent.parent / "data" / "images"
SUFFIXES = {".bmp", ".dib", ".rle", ".gif", ".jpg", ".jpeg", ".jfif", ".png", ".tif", ".tiff"}

# By kind of file. Decoders of JPEG may round differently; so does the mixing of inks.
TOLERANCE = {"JPEG": 2}
SECONDS = 60


@dataclass
class Outcome:
    name: str
    kind: str
    result: str  # equal, rounds, differs, refused, refused by all, only ours, crashed, as ...
    detail: str = ""
    program: str = "none"


def corpora():
    """The folder of the whole collections, or None."""
    folder = os.environ.get("PIXTOLA_CORPORA")
    return Path(folder) if folder else None


def files_below(folder, part=""):
    """Paths of images with their names in the collections."""
    for path in sorted(folder.rglob("*")):
        name = path.relative_to(folder).as_posix()
        if path.suffix.lower() in SUFFIXES and part in name:
            yield name, path


def opaque(image):
    image = image.copy()
    image.putalpha(255)
    return image


def with_clear_pixels_alike(image):
    clear = Image.new("RGBA", image.size)
    clear.paste(image, mask=image.getchannel("A").point(lambda alpha: 255 if alpha else 0))
    return clear


def largest_difference(first, second):
    return max(high for _, high in ImageChops.difference(first, second).getextrema())


def compare_frame(kind, ours, theirs, number, reference):
    """Says what differs, or nothing."""
    if ours.image.size != theirs.size:
        return f"size {ours.image.size} instead of {theirs.size}"
    if reference.formats and ours.format != reference.formats[number]:
        return f"format {ours.format} instead of {reference.formats[number]}"
    if kind == "BMP":
        theirs = opaque(theirs)  # the platform leaves out the alpha of bitmap files
    pair = [ours.image, theirs]
    if kind == "GIF":
        pair = [with_clear_pixels_alike(image) for image in pair]
    difference = largest_difference(*pair)
    if difference > TOLERANCE.get(kind, 0):
        count = sum(1 for pixel in ImageChops.difference(*pair).getdata() if any(pixel))
        return f"pixels differ by up to {difference}: {count} of {theirs.width * theirs.height}"
    return ""


def compare(kind, frames, reference):
    for axis in range(2):
        if reference.dpi and abs(frames[0].dpi[axis] - float(reference.dpi[axis])) > 0.01:
            return f"dpi {frames[0].dpi} instead of {reference.dpi}"
    for number, (ours, theirs) in enumerate(zip(frames, reference.frames)):
        different = compare_frame(kind, ours, theirs, number, reference)
        if different:
            return different if number == 0 else f"frame {number}: {different}"
    if len(frames) != len(reference.frames) or frames[0].pages != len(reference.frames):
        return f"{len(frames)} frames of {frames[0].pages} instead of {len(reference.frames)}"
    return ""


def try_other_reference(name, path, frames):
    """Beside another program or the file of another name, as the expectation says; None if it says nothing so."""
    expected = EXPECTED.get(name, ("", ""))[0]
    if not expected.startswith("as ") or not frames:
        return None
    other = expected.removeprefix("as ")
    contents = path.read_bytes()
    if other == "ImageMagick":
        reference = by_imagemagick(contents, path)
    else:
        twin = path.parents[len(Path(name).parts) - 1] / other
        reference = reference_of(twin.read_bytes(), twin)
        reference.formats = []  # only the pixels are the same
        reference.dpi = None
    different = compare(kind_of(contents), frames, reference)
    return Outcome(name, kind_of(contents), "differs" if different else expected, different, other)


def try_file(name, path):
    contents = path.read_bytes()
    kind = kind_of(contents) or "none"
    try:
        done = subprocess.run([os.environ["PIXTOLA_DECODE_DUMP"], str(path), "all"], capture_output=True,
                              timeout=SECONDS)
    except subprocess.TimeoutExpired:
        return Outcome(name, kind, "crashed", f"took more than {SECONDS} seconds")
    if done.returncode not in (0, 1) or done.stderr:
        return Outcome(name, kind, "crashed", f"status {done.returncode}: {done.stderr[:400]!r}")
    frames = list(images_in(done.stdout))
    other = try_other_reference(name, path, frames)
    if other is not None:
        return other
    reference = reference_of(contents, path)
    if reference is None:
        return Outcome(name, kind, "only ours" if frames else "refused by all")
    if not frames:
        return Outcome(name, kind, "refused", "", reference.program)
    different = compare(kind, frames, reference)
    result = "equal" if not different else "rounds" if "differ by up to 1:" in different else "differs"
    return Outcome(name, kind, result, different, reference.program)


NEEDS_NO_REASON = ("equal", "refused by all")


def unexpected(outcome):
    """What is wrong with an outcome, or nothing."""
    expected, reason = EXPECTED.get(outcome.name, ("", ""))
    if outcome.result in NEEDS_NO_REASON:
        return f"{outcome.result}, but expected: {expected} ({reason})" if expected else ""
    if outcome.result == expected:
        return ""
    return f"{outcome.result} {outcome.detail} (beside {outcome.program}); expected: {expected or 'equal'}"


@unittest.skipIf(Image is None, "Pillow is missing")
class CorpusTest(unittest.TestCase):
    def check(self, folder):
        names = set()
        for name, path in files_below(folder):
            names.add(name)
            with self.subTest(name):
                wrong = unexpected(try_file(name, path))
                if wrong:
                    self.fail(wrong)
        self.assertTrue(names)
        return names

    def test_few_images_that_are_always_there(self):
        self.check(FEW)

    def test_whole_collections(self):
        folder = corpora()
        if folder is None:
            self.skipTest("PIXTOLA_CORPORA names no folder")
        names = self.check(folder)
        self.assertEqual(set(EXPECTED) - names, set(), "expectations of files that are not there")


def print_list(part):
    for name, path in files_below(corpora() or FEW, part):
        outcome = try_file(name, path)
        print(f"{outcome.result:15} {outcome.kind:5} {outcome.program:12} {name}  {outcome.detail}", flush=True)


COLUMNS = {"equal": "equal", "rounds": "rounded otherwise", "differs": "different", "only ours": "read here only",
           "refused": "refused", "refused by all": "refused by all"}


def row_of(title, outcomes):
    # What another reference confirms is equal, too.
    results = ["equal" if outcome.result.startswith("as ") else outcome.result for outcome in outcomes]
    return f"| {title} | {len(results)} | " + " | ".join(str(results.count(result)) for result in COLUMNS) + " |"


def print_counts(title, outcomes, key):
    groups = collections.defaultdict(list)
    for outcome in outcomes:
        groups[key(outcome)].append(outcome)
    print(f"| {title} | files | " + " | ".join(COLUMNS.values()) + " |")
    print("|---" * (len(COLUMNS) + 2) + "|")
    for name in sorted(groups):
        print(row_of(name, groups[name]))
    print(row_of("all", outcomes) + "\n")


def print_table():
    outcomes = [try_file(name, path) for name, path in files_below(corpora() or FEW)]
    print_counts("Format", outcomes, lambda outcome: outcome.kind)
    print_counts("Collection", outcomes, lambda outcome: outcome.name.split("/")[0])
    print("| File | comes out | why |\n|---|---|---|")
    for outcome in outcomes:
        if outcome.name in EXPECTED:
            print(f"| {outcome.name} | {outcome.result} | {EXPECTED[outcome.name][1]} |")


if __name__ == "__main__":
    if sys.argv[1:2] == ["--list"]:
        print_list(sys.argv[2] if len(sys.argv) > 2 else "")
    elif sys.argv[1:2] == ["--table"]:
        print_table()
    else:
        unittest.main(warnings="ignore")
