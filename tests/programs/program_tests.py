"""What the tests beside other programs share: a folder for files, running programs, pages and their comparison."""

import random
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from PIL import Image, ImageChops


class FolderTest(unittest.TestCase):
    """Each test has a folder of its own."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="pixtola-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)


def run(*command, **options):
    return subprocess.run([str(part) for part in command], check=True, capture_output=True, **options)


def output_of(*command):
    return run(*command).stdout


def bilevel_page(size, seed):
    """Blocks and specks of black on white, so that all of a fax code is used."""
    randomness = random.Random(seed)
    image = Image.new("1", size, 1)
    for _ in range(12 + size[0] * size[1] // 20000):
        x, y = randomness.randrange(size[0]), randomness.randrange(size[1])
        width, height = randomness.choice([(1, 1), (2, 5), (17, 3), (200, 2), (40, 40)])
        image.paste(randomness.randrange(2), (x, y, min(x + width, size[0]), min(y + height, size[1])))
    return image


def largest_difference(first, second):
    return max(high for _, high in ImageChops.difference(first, second).getextrema())
