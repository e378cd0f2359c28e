"""TIFF files of other programs, as the platform decodes them, and the platform's, as they decode them: Pillow,
libtiff's tools, ImageMagick."""

import random
import unittest

from PIL import Image, TiffImagePlugin

from platform_codecs import decode, encode
from program_tests import FolderTest, largest_difference, run

SIZES = [(1, 1), (7, 5), (16, 16), (61, 43)]

LZW, FAX3, FAX4, FAX_RUNS, PLAIN = 2, 3, 4, 5, 6  # values of the encoder's parameter


def noise(mode, size, seed=1):
    randomness = random.Random(f"{mode} {size} {seed}")
    if mode == "1":
        return Image.frombytes("L", size, randomness.randbytes(size[0] * size[1])).point(
            lambda level: 255 if level > 127 else 0, "1")
    image = Image.frombytes(mode, size, randomness.randbytes(size[0] * size[1] * len(Image.new(mode, (1, 1)).getbands())))
    if mode == "P":
        image.putpalette(randomness.randbytes(768))
    return image


class PlatformTiffTest(FolderTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "file.tif"

    def assert_decoded(self, path, pixel_format, expected, tolerance=0, frame=0):
        decoded = decode(path, frame)
        self.assertIsNotNone(decoded)
        self.assertEqual(decoded.format, pixel_format)
        self.assertEqual(decoded.image.size, expected.size)
        self.assertLessEqual(largest_difference(decoded.image, expected.convert("RGBA")), tolerance)
        return decoded

    def test_every_layout_that_libtiff_writes(self):
        anywhere = [["-s", "-r", "1"], ["-s", "-r", "7", "-c", "lzw"], ["-t", "-w", "32", "-l", "16"],
                    ["-t", "-w", "16", "-l", "48", "-c", "packbits"], ["-c", "zip"], ["-B"], ["-8", "-c", "lzw"],
                    ["-f", "lsb2msb"]]
        bytewise = [["-c", "lzw:2"], ["-t", "-w", "16", "-l", "16", "-c", "zip:2"]]
        planes = [["-p", "separate", "-s", "-r", "3"], ["-p", "separate", "-c", "lzw:2"],
                  ["-p", "separate", "-t", "-w", "16", "-l", "32", "-c", "zip"]]
        fax = [["-c", "g3:1d"], ["-c", "g3:2d:fill", "-r", "5"], ["-c", "g4"],
               ["-c", "g4", "-t", "-w", "32", "-l", "16"], ["-c", "g4", "-f", "lsb2msb"]]
        for mode, pixel_format, options in [
                ("1", "1bppIndexed", anywhere + fax),
                ("L", "8bppIndexed", anywhere + bytewise),
                ("P", "8bppIndexed", anywhere + bytewise),
                ("LA", "32bppARGB", anywhere + bytewise),
                ("RGB", "24bppRGB", anywhere + bytewise + planes),
                ("RGBA", "32bppARGB", anywhere + bytewise + planes)]:
            for size in SIZES:
                image = noise(mode, size)
                image.save(self.folder / "in.tif")
                self.assert_decoded(self.folder / "in.tif", pixel_format, image)
                for option in options:
                    with self.subTest(mode=mode, size=size, option=option):
                        run("tiffcp", *option, self.folder / "in.tif", self.file)
                        self.assert_decoded(self.file, pixel_format, image)

    def test_jpeg_in_tiff(self):
        for mode, pixel_format in [("L", "8bppIndexed"), ("RGB", "24bppRGB")]:
            image = noise(mode, (61, 43)).resize((200, 150), Image.Resampling.BICUBIC)
            image.save(self.folder / "in.tif")
            for option in [["-c", "jpeg", "-r", "16"], ["-c", "jpeg:r", "-r", "48"], ["-c", "jpeg", "-r", "160"],
                           ["-c", "jpeg", "-t", "-w", "64", "-l", "32"]]:
                with self.subTest(mode=mode, option=option):
                    run("tiffcp", *option, self.folder / "in.tif", self.file)
                    with Image.open(self.file) as other:
                        self.assert_decoded(self.file, pixel_format, other)

    def test_files_of_pillow(self):
        for size in SIZES:
            for compression in [None, "tiff_lzw", "tiff_adobe_deflate", "packbits", "zstd"]:
                with self.subTest(size=size, compression=compression):
                    inks = noise("CMYK", size)
                    inks.save(self.file, compression=compression)
                    # Pillow and libtiff round the product of ink and paper differently.
                    self.assert_decoded(self.file, "24bppRGB", inks.convert("RGB"), tolerance=1)
                    level = noise("L", size)
                    deep = Image.frombytes("I;16", size, bytes(v for byte in level.tobytes() for v in (byte, byte)))
                    deep.save(self.file, compression=compression)
                    self.assert_decoded(self.file, "24bppRGB", level)
            for compression in ["group3", "group4", "tiff_ccitt"]:
                with self.subTest(size=size, compression=compression):
                    page = noise("1", size)
                    page.save(self.file, compression=compression)
                    self.assert_decoded(self.file, "1bppIndexed", page)

    def test_webp_in_tiff(self):
        for mode, pixel_format in [("RGB", "24bppRGB"), ("RGBA", "32bppARGB")]:
            image = noise(mode, (61, 43)).resize((200, 150), Image.Resampling.BICUBIC)
            image.save(self.folder / "in.tif")
            for option in [["-c", "webp:p75"], ["-c", "webp:p100"], ["-c", "webp:p75", "-t", "-w", "64", "-l", "32"]]:
                with self.subTest(mode=mode, option=option):
                    run("tiffcp", *option, self.folder / "in.tif", self.file)
                    with Image.open(self.file) as other:
                        self.assert_decoded(self.file, pixel_format, other)

    def test_compressions_without_limits_of_their_own_are_refused(self):
        noise("L", (61, 43)).save(self.folder / "in.tif")
        for compression in ["lzma", "lerc"]:
            with self.subTest(compression=compression):
                run("tiffcp", "-c", compression, self.folder / "in.tif", self.file)
                self.assertIsNone(decode(self.file))

    def test_files_of_imagemagick(self):
        image = noise("RGB", (61, 43))
        image.save(self.folder / "in.png")
        for pixel_format, options in [
                ("24bppRGB", ["-compress", "Zip"]),
                ("24bppRGB", ["-compress", "LZW", "-define", "tiff:tile-geometry=32x32"]),
                ("24bppRGB", ["-compress", "None", "-interlace", "Plane"]),
                ("8bppIndexed", ["-colors", "200", "-type", "Palette"]),
                ("4bppIndexed", ["-colors", "12", "-type", "Palette"]),
                ("8bppIndexed", ["-colorspace", "Gray"]),
                ("4bppIndexed", ["-colorspace", "Gray", "-depth", "4"]),
                ("4bppIndexed", ["-colorspace", "Gray", "-depth", "2"]),
                ("1bppIndexed", ["-monochrome", "-compress", "Group4"]),
                ("1bppIndexed", ["-monochrome", "-compress", "Fax"])]:
            with self.subTest(options=options):
                run("convert", self.folder / "in.png", *options, f"tiff:{self.file}")
                # ImageMagick's own view of the file: Pillow knows fewer depths.
                run("convert", f"tiff:{self.file}", "-depth", "8", f"PNG32:{self.folder / 'seen.png'}")
                with Image.open(self.folder / "seen.png") as seen:
                    # Colours of its palettes have 16 bits, of which the platform takes the higher eight.
                    self.assert_decoded(self.file, pixel_format, seen, tolerance=int("Palette" in options))

    def test_resolution(self):
        image = noise("L", (3, 3))
        image.save(self.file, dpi=(200, 100))
        self.assertEqual(decode(self.file).dpi, (200, 100))
        image.save(self.file)
        self.assertEqual(decode(self.file).dpi, (96, 96))
        tags = TiffImagePlugin.ImageFileDirectory_v2()
        tags[296], tags[282], tags[283] = 3, 100.0, 50.0  # per centimetre
        image.save(self.file, tiffinfo=tags)
        self.assertEqual(decode(self.file).dpi, (254, 127))

    def test_rows_come_as_they_are_stored(self):
        for mode in ["L", "RGB", "CMYK"]:
            image = noise(mode, (9, 4))
            for orientation in range(1, 9):
                tags = TiffImagePlugin.ImageFileDirectory_v2()
                tags[274] = orientation
                image.save(self.file, tiffinfo=tags)
                with self.subTest(mode=mode, orientation=orientation):
                    self.assertLessEqual(
                        largest_difference(decode(self.file).image, image.convert("RGB").convert("RGBA")), 1)

    def test_pages(self):
        pages = [noise(mode, size) for mode, size in [("1", (9, 3)), ("RGB", (4, 7)), ("P", (5, 5)), ("CMYK", (8, 2))]]
        formats = ["1bppIndexed", "24bppRGB", "8bppIndexed", "24bppRGB"]
        pages[0].save(self.file, save_all=True, append_images=pages[1:])
        for index, (page, pixel_format) in enumerate(zip(pages, formats)):
            with self.subTest(page=index):
                tolerance = 1 if page.mode == "CMYK" else 0
                decoded = self.assert_decoded(self.file, pixel_format, page.convert("RGBA") if tolerance == 0 else
                                              page.convert("RGB"), tolerance, frame=index)
                self.assertEqual(decoded.pages, 4)
        self.assertIsNone(decode(self.file, 4))

    def sources(self, size):
        """Images as PNG files, with the format in which the platform decodes what it writes of them."""
        few = noise("P", size).point(lambda index: index % 16)
        few.putpalette(random.Random(5).randbytes(48))
        for name, image, pixel_format, options in [
                ("bilevel", noise("1", size), "1bppIndexed", {}),
                ("few", few, "4bppIndexed", {"bits": 4}),
                ("palette", noise("P", size), "8bppIndexed", {}),
                ("rgb", noise("RGB", size), "24bppRGB", {}),
                ("rgba", noise("RGBA", size), "32bppARGB", {})]:
            path = self.folder / f"{name}.png"
            image.save(path, dpi=(300, 150), **options)
            yield name, path, image, pixel_format

    def test_other_programs_read_what_is_written(self):
        for size in [(1, 1), (61, 43), (300, 300)]:
            for name, path, image, pixel_format in self.sources(size):
                for value in [None, LZW, PLAIN, FAX3, FAX4, FAX_RUNS]:
                    with self.subTest(size=size, name=name, value=value):
                        is_fax = value in (FAX3, FAX4, FAX_RUNS)
                        is_written = encode(path, self.file, "image/tiff", value)
                        self.assertEqual(is_written, not is_fax or name == "bilevel")
                        if not is_written:
                            continue
                        self.check_written(image, pixel_format)

    def check_written(self, image, pixel_format):
        decoded = self.assert_decoded(self.file, pixel_format, image)
        for actual, expected in zip(decoded.dpi, (300, 150)):
            self.assertAlmostEqual(actual, expected, delta=0.013)  # half a pixel per metre in the PNG
        with Image.open(self.file) as read:
            self.assertEqual(read.convert("RGBA").tobytes(), image.convert("RGBA").tobytes())
        self.assertEqual(run("tiffinfo", "-D", self.file).stderr, b"")
        plain = self.folder / "plain.tif"
        self.assertEqual(run("tiffcp", "-c", "none", self.file, plain).stderr, b"")
        with Image.open(plain) as read:
            self.assertEqual(read.convert("RGBA").tobytes(), image.convert("RGBA").tobytes())


if __name__ == "__main__":
    unittest.main()
