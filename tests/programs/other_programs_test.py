"""Files that the tool writes, as other programs read them: Pillow, libtiff's tools, ImageMagick, netpbm.

The tool's path comes from PIXTOLA_TOOL. Bilevel pages of many sizes go in as PNG files made by Pillow;
what the other programs decode must be the same pixels.
"""

import os
import random
import unittest

from PIL import Image

from program_tests import FolderTest, bilevel_page, run

TOOL = os.environ["PIXTOLA_TOOL"]
TIFF_TYPES = ["tiff-g3", "tiff-g4", "tiff-lzw", "tiff-packbits", "tiff-none"]

# One pixel, rows that end within a byte, heights of less than one strip, strips that end within the
# image, and a whole page.
SIZES = [(1, 1), (3, 2), (8, 8), (9, 1), (1, 9), (17, 33), (33, 7), (64, 64), (100, 818), (100, 819),
         (511, 129), (2480, 20), (2480, 3508)]


class OtherProgramsTest(FolderTest):
    def write(self, image, kind, *options, dpi=(300, 300)):
        image.save(self.folder / "in.png", dpi=dpi)
        output = self.folder / "out"
        run(TOOL, "convert", self.folder / "in.png", output, "--type", kind, *options)
        return output

    def test_pillow_reads_every_bilevel_size_and_compression(self):
        for number, size in enumerate(SIZES):
            page = bilevel_page(size, number)
            for kind in TIFF_TYPES:
                with self.subTest(size=size, type=kind):
                    with Image.open(self.write(page, kind)) as read:
                        self.assertEqual(read.mode, "1")
                        self.assertEqual(read.size, size)
                        self.assertEqual(read.tobytes(), page.tobytes())
                        for dpi in read.info["dpi"]:
                            self.assertAlmostEqual(float(dpi), 300, delta=0.01)

    def test_libtiffs_tools_decode_the_same_pixels(self):
        for number, size in enumerate(SIZES):
            page = bilevel_page(size, number)
            for kind in TIFF_TYPES:
                with self.subTest(size=size, type=kind):
                    written = self.write(page, kind)
                    plain = self.folder / "plain.tif"
                    done = run("tiffcp", "-c", "none", "-r", size[1], written, plain)
                    self.assertEqual(done.stderr, b"")
                    with Image.open(plain) as read:
                        self.assertEqual(read.tobytes(), page.tobytes())

    def test_imagemagick_decodes_the_same_pixels(self):
        for number, size in enumerate([(9, 1), (33, 7), (511, 129)]):
            page = bilevel_page(size, number)
            for kind in [*TIFF_TYPES, "png", "bmp"]:
                with self.subTest(size=size, type=kind):
                    written = self.write(page, kind)
                    prefix = kind.split("-")[0]
                    done = run("convert", f"{prefix}:{written}", "-depth", "8", "gray:-")
                    self.assertEqual(done.stdout, page.convert("L").tobytes())

    def test_netpbm_decodes_the_same_pixels(self):
        for number, size in enumerate([(8, 8), (33, 7), (511, 129)]):
            page = bilevel_page(size, number)
            for kind, program in [("tiff-g4", "tifftopnm"), ("tiff-g3", "tifftopnm"),
                                  ("png", "pngtopnm"), ("bmp", "bmptopnm")]:
                with self.subTest(size=size, type=kind):
                    pnm = self.folder / "out.pnm"
                    pnm.write_bytes(run(program, self.write(page, kind)).stdout)
                    with Image.open(pnm) as read:
                        self.assertEqual(read.convert("L").tobytes(), page.convert("L").tobytes())

    def test_colour_and_gray_survive_lossless_types(self):
        randomness = random.Random(7)
        for size in [(1, 1), (7, 5), (200, 300)]:
            colour = Image.frombytes("RGB", size, randomness.randbytes(size[0] * size[1] * 3))
            for kind in ["png", "bmp", "tiff-lzw", "tiff-none"]:
                with self.subTest(size=size, type=kind):
                    with Image.open(self.write(colour, kind)) as read:
                        self.assertEqual(read.convert("RGB").tobytes(), colour.tobytes())
                        self.assertAlmostEqual(float(read.info["dpi"][0]), 300, delta=0.01)
                    gray = self.write(colour, kind, "--method", "gray")
                    expected = bytes((r * 7680 // 100 + g * 15104 // 100 + b * 2816 // 100) >> 8
                                     for r, g, b in colour.getdata())
                    with Image.open(gray) as read:
                        self.assertEqual(read.convert("L").tobytes(), expected)

    def test_unequal_resolutions_survive(self):
        page = bilevel_page((64, 64), 1)
        for kind in ["tiff-g3", "tiff-none", "png", "bmp"]:
            with Image.open(self.write(page, kind, dpi=(204, 98))) as read:
                # The page itself came in a PNG file, which holds whole pixels per metre.
                for dpi, expected in zip(read.info["dpi"], (204, 98)):
                    held = round(expected / 0.0254) * 0.0254
                    self.assertAlmostEqual(float(dpi), held, delta=0.001)

    def test_files_of_other_programs_are_read(self):
        page = bilevel_page((123, 77), 3)
        source = self.folder / "source.tif"
        page.save(source, compression="group4", dpi=(300, 300))
        for options in [["-c", "g3:2d"], ["-c", "zip"], ["-c", "lzw", "-r", "5"], ["-c", "packbits"],
                        ["-t", "-w", "16", "-l", "16", "-c", "none"]]:
            with self.subTest(options=options):
                run("tiffcp", *options, source, self.folder / "theirs.tif")
                run(TOOL, "convert", self.folder / "theirs.tif", self.folder / "ours.png")
                with Image.open(self.folder / "ours.png") as read:
                    self.assertEqual(read.convert("L").tobytes(), page.convert("L").tobytes())


if __name__ == "__main__":
    unittest.main()
