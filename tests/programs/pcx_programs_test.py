"""PCX files of other programs, as the library opens them, and the library's, as they decode them: netpbm, ImageMagick,
Pillow.

PIXTOLA_PAGE_DUMP names the program that asks the library.
"""

import os
import random
import subprocess
import unittest

from PIL import Image

import plain_pcx
from program_tests import FolderTest, output_of, run

PAGE_DUMP = os.environ["PIXTOLA_PAGE_DUMP"]
PCX = 3  # a PxtFileType

SIZES = [(1, 1), (2, 3), (7, 5), (16, 3), (61, 43), (64, 2), (130, 31)]


def spotted(size, color_count, seed=0):
    """Spots and noise of exactly so many colours, should there be as many pixels."""
    randomness = random.Random(f"{size} {color_count} {seed}")
    colors = [tuple(randomness.randbytes(3)) for _ in range(color_count)]
    indexes = [randomness.randrange(color_count) for _ in range(size[0] * size[1])]
    for i in range(1, len(indexes)):
        if randomness.random() < 0.6:
            indexes[i] = indexes[i - 1]
    for color, place in enumerate(randomness.sample(range(len(indexes)), min(color_count, len(indexes)))):
        indexes[place] = color
    image = Image.new("RGB", size)
    image.putdata([colors[i] for i in indexes])
    return image


def bilevel(size, seed=0):
    """Black and white, both of them when there is room."""
    randomness = random.Random(f"{size} {seed}")
    image = Image.new("1", size)
    image.putdata([randomness.choice([0, 255]) for _ in range(size[0] * size[1])])
    return image


def opened(path):
    """None when the library does not open the file."""
    done = subprocess.run([PAGE_DUMP, str(path), "-"], capture_output=True)
    if done.returncode != 0:
        return None
    header, rows = done.stdout.split(b"rows\n", 1)
    fields = {key: values for key, *values in map(str.split, header.decode("ascii").splitlines())}
    return plain_pcx.Picture(int(fields["format"][0], 16), tuple(map(int, fields["size"])),
                             tuple(map(float, fields["dpi"])), [int(entry, 16) for entry in fields.get("palette", [])],
                             rows)


def image_of(picture):
    """As RGB, from 8 or more bits per pixel."""
    if picture.format == plain_pcx.INDEXED_8:
        image = Image.frombytes("P", picture.size, picture.rows)
        image.putpalette(b"".join((entry & 0xFFFFFF).to_bytes(3, "big") for entry in picture.palette))
        return image.convert("RGB")
    return Image.frombytes("RGB", picture.size, picture.rows, "raw", "BGR" if picture.format == plain_pcx.RGB_24 else "BGRX")


class PcxProgramsTest(FolderTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "file.pcx"

    # ------------------------------------------------------------------ files of other programs

    def assert_opened(self, layout, expected=None, dpi=None):
        """The library opens the file as the plain decoder does and, where the format's own sense is kept, as the
        image that it was made of. Lines of an odd length it refuses."""
        contents = self.file.read_bytes()
        self.assertEqual((contents[3], contents[65]), layout)
        plain, picture = plain_pcx.decode(contents), opened(self.file)
        if contents[66] % 2:
            self.assertIsNone(plain)
            self.assertIsNone(picture)
            return 0
        self.assertIsNotNone(plain)
        self.assertIsNotNone(picture)
        for name in ["format", "size", "palette", "rows"]:
            self.assertEqual(getattr(picture, name), getattr(plain, name), name)
        for value, wanted, in zip(picture.dpi, dpi or plain.dpi):
            # Indexed bitmaps come back through a BMP file, which holds whole pixels per metre.
            self.assertAlmostEqual(value, wanted, delta=0.02)
        if expected is not None:
            self.assertEqual(image_of(picture).tobytes(), expected.convert("RGB").tobytes())
        return 1

    def make_with_netpbm(self, image, *options):
        image.convert("RGB").save(self.folder / "in.ppm")
        self.file.write_bytes(output_of("ppmtopcx", "-quiet", *options, self.folder / "in.ppm"))

    def test_netpbms_planes_and_packed_pixels(self):
        count = 0
        for size in SIZES[1:]:
            for colors, options, layout in [
                    (2, [], (1, 1)), (2, ["-planes=2"], (1, 2)), (2, ["-planes=3"], (1, 3)),
                    (2, ["-planes=4"], (1, 4)), (4, [], (1, 2)), (3, ["-planes=4"], (1, 4)), (5, [], (1, 3)),
                    (6, ["-planes=4"], (1, 4)), (2, ["-packed"], (1, 1)), (4, ["-packed"], (2, 1)),
                    (6, ["-packed"], (4, 1)), (4, ["-xpos=5", "-ypos=700"], (1, 2))]:
                with self.subTest(size=size, colors=colors, options=options):
                    self.make_with_netpbm(spotted(size, colors), *options)
                    count += self.assert_opened(layout)
        for size in SIZES[3:]:
            for options, layout in [([], (1, 4)), (["-packed"], (4, 1))]:
                with self.subTest(size=size, options=options):
                    self.make_with_netpbm(spotted(size, 16), *options)
                    count += self.assert_opened(layout)
        self.assertGreater(count, 40)

    def test_netpbms_palettes(self):
        image = spotted((62, 9), 4)
        (self.folder / "palette.ppm").write_bytes(b"P6 4 1 255 " + b"".join(
            bytes(color) for _, color in sorted(image.getcolors(), key=lambda pair: pair[1])))
        self.make_with_netpbm(image, f"-palette={self.folder / 'palette.ppm'}", "-packed")
        self.assertTrue(self.assert_opened((2, 1)))
        standard = Image.new("RGB", (62, 9), (255, 255, 255))
        standard.paste((0, 0, 0), (5, 2, 40, 6))
        self.make_with_netpbm(standard, "-stdpalette", "-packed")
        self.assertEqual(self.assert_opened((4, 1)), 0)  # its lines have 31 bytes
        self.make_with_netpbm(standard.resize((64, 9), Image.Resampling.NEAREST), "-stdpalette", "-packed")
        self.assertTrue(self.assert_opened((4, 1)))

    def test_netpbms_bytes(self):
        count = 0
        for size in SIZES:
            for colors, options, layout in [(255, [], (8, 1)), (3, ["-8bit"], (8, 1)), (100, ["-24bit"], (8, 3)),
                                            (1000, [], (8, 3)), (3, ["-24bit", "-xpos=300"], (8, 3))]:
                image = spotted(size, colors)
                found = len(image.getcolors(1 << 20))
                if not options and (found <= 16 or (found <= 256) != (layout == (8, 1))):
                    continue
                with self.subTest(size=size, colors=colors, options=options):
                    self.make_with_netpbm(image, *options)
                    count += self.assert_opened(layout, image)
        self.assertGreater(count, 12)

    def test_files_of_imagemagick(self):
        count = 0
        for size in SIZES:
            image = spotted(size, 1000)
            image.save(self.folder / "in.png")
            alpha = Image.frombytes("L", size, random.Random(2).randbytes(size[0] * size[1]))
            image.putalpha(alpha)
            image.save(self.folder / "alpha.png")
            bilevel(size).save(self.folder / "in.bmp")
            density = ["-density", "300x200", "-units", "PixelsPerInch"]
            for name, options, layout, dpi in [
                    ("in.png", [], (8, 3), None), ("in.png", density, (8, 3), (300, 200)),
                    ("in.png", ["-colors", "200", "-type", "Palette", *density], (8, 1), (300, 200)),
                    ("alpha.png", density, (8, 4), (300, 200)),
                    ("in.bmp", density, (1, 1), (300, 200))]:
                with self.subTest(size=size, options=options):
                    run("convert", self.folder / name, "-strip", *options, f"pcx:{self.file}")
                    expected = image if layout in [(8, 3), (8, 4)] else None
                    count += self.assert_opened(layout, expected, dpi)
                    if layout == (8, 4) and size[0] % 2 == 0:
                        self.assertEqual(opened(self.file).rows[3::4], alpha.tobytes())
        self.assertGreater(count, 15)

    def test_refuses_what_is_not_packed(self):
        spotted((64, 2), 300).save(self.folder / "in.png")
        run("convert", self.folder / "in.png", "-compress", "None", f"pcx:{self.file}")
        self.assertEqual(self.file.read_bytes()[2], 0)
        self.assertIsNone(plain_pcx.decode(self.file.read_bytes()))
        self.assertIsNone(opened(self.file))

    def test_files_of_pillow(self):
        for size in SIZES:
            with self.subTest(size=size):
                bilevel(size).save(self.file)
                self.assertTrue(self.assert_opened((1, 1), dpi=(100, 100)))
                gray = spotted(size, 300).convert("L").point(lambda level: min(level, 254))
                gray.save(self.file)
                self.assertTrue(self.assert_opened((8, 1), gray))
                few = spotted(size, 255).quantize(255)
                few.save(self.file)
                self.assertTrue(self.assert_opened((8, 1), few))
                many = spotted(size, 1000)
                many.save(self.file)
                # Of single pixels Pillow forgets the last plane.
                self.assertTrue(self.assert_opened((8, 3), many if size[0] > 1 else None))

    def test_whole_bytes_of_bilevel_images(self):
        for size in [(8, 3), (64, 9), (2480, 20)]:
            image = bilevel(size)
            image.save(self.file)
            self.assertEqual(opened(self.file).rows, image.tobytes())

    def test_white_is_the_last_of_256_entries_and_lost(self):
        white = Image.new("L", (4, 4), 255)
        white.save(self.file)
        picture = opened(self.file)
        self.assertEqual(picture.rows, b"\xff" * 16)
        self.assertEqual(picture.palette[254:], [0xFFFEFEFE, 0xFF000000])

    # ------------------------------------------------------------------------- the library's files

    def save(self, image, kind="bmp", **options):
        """As a PCX file, by way of a file that the library opens with as many bits as the image has."""
        source = self.folder / f"in.{kind}"
        image.save(source, dpi=(300, 200), **options)
        run(PAGE_DUMP, source, "-", self.file, PCX)

    def saved_images(self):
        """Each after it has been saved."""
        for size in SIZES:
            for image in [bilevel(size), spotted(size, 300).convert("L"), spotted(size, 255).quantize(256),
                          spotted(size, 1000)]:
                self.save(image)
                contents = self.file.read_bytes()
                self.assertEqual((contents[3], contents[65]), {"1": (1, 1), "RGB": (8, 3)}.get(image.mode, (8, 1)))
                yield image

    def test_netpbm_reads_them(self):
        for image in self.saved_images():
            with self.subTest(mode=image.mode, size=image.size):
                (self.folder / "out.ppm").write_bytes(output_of("pcxtoppm", self.file))
                with Image.open(self.folder / "out.ppm") as read:
                    self.assertEqual(read.convert("RGB").tobytes(), image.convert("RGB").tobytes())

    def test_imagemagick_reads_them(self):
        for image in self.saved_images():
            with self.subTest(mode=image.mode, size=image.size):
                output = output_of("convert", f"pcx:{self.file}", "-format", "%x %y\\n", "-depth", "8", "-write", "info:-",
                             "rgb:-")
                resolution, pixels = output.split(b"\n", 1)
                self.assertEqual(resolution.split(), [b"300", b"200"])
                # Of bilevel images it takes the header's colours, which are all the same.
                if image.mode != "1":
                    self.assertEqual(pixels, image.convert("RGB").tobytes())

    def test_pillow_reads_them(self):
        count = 0
        for image in self.saved_images():
            contents = self.file.read_bytes()
            needed = (image.size[0] * contents[3] + 7) // 8
            if contents[66] + 256 * contents[67] != needed + needed % 2:
                continue  # it does not go by what the header says
            if image.mode == "RGB" and image.size[0] == 1:
                continue  # it takes the planes for shorter than they are
            with self.subTest(mode=image.mode, size=image.size), Image.open(self.file) as read:
                self.assertEqual(read.info["dpi"], (300, 200))
                self.assertEqual(read.convert("RGB").tobytes(), image.convert("RGB").tobytes())
                count += 1
        self.assertGreater(count, 8)

    def test_deeper_and_smaller_pixels_become_true_colour(self):
        image = spotted((61, 43), 12)
        self.save(image.quantize(16), "png", bits=4)
        self.assertEqual(self.file.read_bytes()[65], 3)
        self.assertEqual(image_of(opened(self.file)).tobytes(), image.tobytes())
        image.putalpha(Image.linear_gradient("L").resize(image.size))
        self.save(image, "png")
        self.assertEqual(self.file.read_bytes()[65], 3)
        self.assertEqual(image_of(opened(self.file)).tobytes(), image.convert("RGB").tobytes())

    def test_the_library_reads_them(self):
        for image in self.saved_images():
            with self.subTest(mode=image.mode, size=image.size):
                picture, plain = opened(self.file), plain_pcx.decode(self.file.read_bytes())
                for name in ["format", "size", "palette", "rows"]:
                    self.assertEqual(getattr(picture, name), getattr(plain, name), name)


if __name__ == "__main__":
    unittest.main()
