"""Checks the layers by their folders: files include only their own layer or lower ones. Of the platform, src includes its door only."""

import re
import sys
import unittest
from pathlib import Path

# The layers of src and of the platform's stand-in, lowest first; folders in one set may include one
# another. A folder of the name "pixels" has a rank of its own, wherever it stands.
LAYERS = [
    {"base", "format"},
    {"pixels"},
    {"bitmap"},
    {"convert", "process", "transform"},
    {"io"},
    {"library.cpp"},
]
PORTABLE_LAYERS = [
    {"pixtola"},  # the public headers
    {"shared"},  # with the Windows build
    {"base"},
    {"pixels"},
    {"imaging"},
    {"drawing"},
    {"codecs"},
    {"system"},
    {"door"},  # the stand-in's part of platform.h
]
PLATFORM_DOORS = {"platform.h", "Pixtola.h"}
LIBRARIES = {"hwy/cache_control.h", "hwy/foreach_target.h", "hwy/highway.h", "tiffio.h"}

SOURCE = None  # the folder src, set from the command line


def layer_of(name, layers=LAYERS):
    folders = name.split("/")
    key = "pixels" if "pixels" in folders[:-1] else folders[0]
    for rank, layer in enumerate(layers):
        if key in layer:
            return rank
    raise AssertionError(f"{name} belongs to no layer")


def includes_of(path):
    for line in path.read_text(encoding="utf-8").splitlines():
        match = re.match(r'\s*#\s*include\s*(["<])([^">]+)[">]', line)
        if match:
            yield match.group(1), match.group(2)


def everything_included_by(path):
    """The names of all files that a file brings in, directly or through others."""
    found = set()
    waiting = [path]
    while waiting:
        for quote, included in includes_of(waiting.pop()):
            if quote == '"' and included not in found:
                found.add(included)
                if (SOURCE / included).is_file():
                    waiting.append(SOURCE / included)
    return found


def files_in(folders):
    return sorted(path for folder in folders for path in folder.rglob("*")
                  if path.suffix in {".h", ".cpp"})


def name_in(bases, path):
    """The path by which others include the file."""
    return next(path.relative_to(base).as_posix() for base in bases if path.is_relative_to(base))


class LayersTest(unittest.TestCase):
    def files(self):
        found = files_in([SOURCE])
        self.assertGreater(len(found), 20)
        return found

    def check_layers(self, files, bases, layers, doors=frozenset()):
        for path in files:
            name = name_in(bases, path)
            for quote, included in includes_of(path):
                if quote == "<" or included in doors:
                    continue
                self.assertTrue(any((base / included).is_file() for base in bases),
                                f"{name} includes {included}")
                self.assertLessEqual(layer_of(included, layers), layer_of(name, layers),
                                     f"{name} includes {included} from a higher layer")

    def test_files_include_only_their_own_layer_or_lower(self):
        self.check_layers(self.files(), [SOURCE], LAYERS, PLATFORM_DOORS)

    def test_the_stand_in_includes_only_its_own_layer_or_lower(self):
        platform = SOURCE.parent / "platform"
        portable = platform / "portable"
        files = files_in([platform / "shared", portable])
        self.assertGreater(len(files), 20)
        self.check_layers(files, [portable / "include", portable, platform], PORTABLE_LAYERS)

    def test_no_include_line_could_mean_two_files(self):
        portable = SOURCE.parent / "platform" / "portable"
        names = {path.relative_to(SOURCE).as_posix() for path in self.files()}
        both = names & {path.relative_to(portable).as_posix() for path in files_in([portable])}
        self.assertFalse(both, "tests know both trees")

    def test_files_name_nothing_of_a_platform_but_its_door(self):
        for path in self.files():
            name = path.relative_to(SOURCE).as_posix()
            for quote, included in includes_of(path):
                if quote == "<" and "." in included:
                    self.assertIn(included, LIBRARIES, name)
            if name == "library.cpp":
                continue  # systems start and end libraries in ways of their own
            text = path.read_text(encoding="utf-8")
            self.assertNotRegex(text, r"#\s*if(n?def)?.*(_WIN32|WIN32|__linux|__APPLE__|__unix)",
                                f"{name} asks for the platform")

    def test_pixel_rooms_know_no_platform(self):
        found = [path for path in self.files() if "pixels" in path.relative_to(SOURCE).parts]
        self.assertGreater(len(found), 20)
        for path in found:
            name = path.relative_to(SOURCE).as_posix()
            reached = everything_included_by(path) & PLATFORM_DOORS
            self.assertFalse(reached, f"{name} brings in {sorted(reached)}")


if __name__ == "__main__":
    SOURCE = Path(sys.argv.pop(1)) / "src"
    unittest.main()
