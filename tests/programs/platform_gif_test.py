"""GIF files between the platform's codec and other programs: Pillow and ImageMagick.

Colours of clear pixels are not compared: programs differ in them, and nobody sees them.
"""

import random
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

try:
    from PIL import Image, ImageSequence

    import platform_codecs
except ImportError:
    Image = None

CONVERT = shutil.which("convert")

DISPOSALS = {1: "none", 2: "background", 3: "previous"}


def run(*command):
    done = subprocess.run([str(part) for part in command], check=True, capture_output=True)
    return done.stdout


def seen(rgba):
    """The pixels with all clear ones the same."""
    pixels = (rgba[i:i + 4] for i in range(0, len(rgba), 4))
    return b"".join(pixel if pixel[3] else bytes(4) for pixel in pixels)


def shown(path):
    """Size and frames as the platform shows them."""
    frames = platform_codecs.decode_frames(path)
    assert len(frames) == frames[0].pages
    return frames[0].image.size, [seen(frame.image.tobytes()) for frame in frames]


def blocks(randomness, size, colours):
    """Rectangles of some colours, and holes in most pictures."""
    image = Image.new("RGBA", size, randomness.choice(colours))
    for _ in range(6):
        x, y = randomness.randrange(size[0]), randomness.randrange(size[1])
        box = (x, y, min(size[0], x + randomness.randrange(1, 9)), min(size[1], y + randomness.randrange(1, 9)))
        image.paste(randomness.choice([(0, 0, 0, 0), *colours]), box)
    return image


@unittest.skipIf(Image is None, "Pillow is missing")
class GifProgramsTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="pixtola-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def assert_shown(self, path, size, expected):
        """Compares frame by frame: a list of all their bytes is no message."""
        actual_size, actual = shown(path)
        self.assertEqual(actual_size, size)
        self.assertEqual(len(actual), len(expected))
        for number, (ours, theirs) in enumerate(zip(actual, expected)):
            wrong = [i for i in range(0, len(ours), 4) if ours[i:i + 4] != theirs[i:i + 4]]
            self.assertTrue(ours == theirs, f"frame {number}: {len(wrong)} pixels differ, the first is "
                                            f"{wrong[:1]}, {ours[wrong[0]:][:4] if wrong else None}")

    def as_pillow_shows(self, path):
        with Image.open(path) as image:
            return [seen(frame.convert("RGBA").tobytes()) for frame in ImageSequence.Iterator(image)]

    def as_imagemagick_shows(self, path, size):
        pixels = run(CONVERT, f"gif:{path}", "-coalesce", "-depth", "8", "rgba:-")
        length = 4 * size[0] * size[1]
        return [seen(pixels[i:i + length]) for i in range(0, len(pixels), length)]

    def test_frames_that_pillow_writes_look_as_it_shows_them(self):
        for seed in range(12):
            randomness = random.Random(seed)
            size = (randomness.randrange(1, 40), randomness.randrange(1, 40))
            colours = [(*randomness.randbytes(3), 255) for _ in range(5)]
            frames = [blocks(randomness, size, colours) for _ in range(randomness.randrange(2, 9))]
            path = self.folder / "frames.gif"
            # Pillow shows the background colour where a frame without holes was cleared, and before
            # a first frame without them.
            disposals = [1, *(randomness.choice([1, 3]) for _ in frames[1:])]
            frames[0].save(path, save_all=True, append_images=frames[1:], duration=10,
                           disposal=disposals, interlace=seed % 2)
            with self.subTest(seed=seed):
                self.assert_shown(path, size, self.as_pillow_shows(path))

    @unittest.skipIf(CONVERT is None, "ImageMagick is missing")
    def test_frames_that_imagemagick_writes_look_as_it_shows_them(self):
        for seed in range(12):
            randomness = random.Random(seed)
            # Smaller ones are names of paper sizes to ImageMagick.
            size = (randomness.randrange(18, 30), randomness.randrange(18, 30))
            colours = [(*randomness.randbytes(3), 255) for _ in range(5)]
            command = [CONVERT]
            for number in range(randomness.randrange(2, 7)):
                part = size if number == 0 else (randomness.randrange(1, 20), randomness.randrange(1, 20))
                blocks(randomness, part, colours).save(self.folder / f"{number}.png")
                left, top = (0, 0) if number == 0 else (randomness.randrange(12), randomness.randrange(12))
                # Before a first frame without holes there is the background colour to ImageMagick.
                disposal = DISPOSALS[randomness.randrange(1, 3 if number == 0 else 4)]
                command += ["(", "-dispose", disposal, "-delay", "10",
                            self.folder / f"{number}.png", "-repage",
                            f"{size[0]}x{size[1]}+{left}+{top}", ")"]
            if seed % 2:
                command += ["-interlace", "GIF"]
            path = self.folder / "frames.gif"
            run(*command, path)
            with self.subTest(seed=seed):
                self.assert_shown(path, size, self.as_imagemagick_shows(path, size))

    def test_single_images_of_pillow_are_read(self):
        for seed in range(20):
            randomness = random.Random(seed)
            size = (randomness.randrange(1, 60), randomness.randrange(1, 60))
            count = randomness.choice([2, 4, 17, 256])
            image = Image.new("P", size)
            image.putpalette(randomness.randbytes(3 * count))
            image.putdata([randomness.randrange(count) for _ in range(size[0] * size[1])])
            options = {"transparency": 1} if seed % 3 == 0 else {}
            image.save(self.folder / "single.gif", interlace=seed % 2, **options)
            with self.subTest(seed=seed):
                path = self.folder / "single.gif"
                self.assert_shown(path, size, self.as_pillow_shows(path))

    def test_other_programs_read_what_is_written(self):
        for seed, mode in enumerate(["1", "P", "L", "RGB", "RGBA"] * 3):
            randomness = random.Random(seed)
            size = randomness.choice([(1, 1), (7, 5), (33, 64), (300, 200)])
            if mode == "P":
                image = Image.new("P", size)
                image.putpalette(randomness.randbytes(3 * 16))
                image.putdata([randomness.randrange(16) for _ in range(size[0] * size[1])])
            elif mode == "1":
                image = Image.frombytes("L", size, randomness.randbytes(size[0] * size[1])).convert("1")
            else:
                image = Image.frombytes(mode, size, randomness.randbytes(size[0] * size[1] * len(mode)))
            image.save(self.folder / "in.png")
            path = self.folder / "out.gif"
            self.assertTrue(platform_codecs.encode(self.folder / "in.png", path, "image/gif"))
            with self.subTest(seed=seed, mode=mode, size=size):
                expected = self.as_pillow_shows(path)
                self.assert_shown(path, size, expected)
                if CONVERT is not None:
                    self.assertTrue(self.as_imagemagick_shows(path, size) == expected)
                if mode in ("1", "P"):
                    self.assertTrue([seen(image.convert("RGBA").tobytes())] == expected)


if __name__ == "__main__":
    unittest.main()
