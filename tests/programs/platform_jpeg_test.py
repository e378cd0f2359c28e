"""JPEG files of other programs, as the platform decodes them, and the platform's, as they decode them: Pillow,
ImageMagick, netpbm."""

import io
import random
import unittest

from PIL import Image, ImageChops

from platform_codecs import decode, encode
from program_tests import FolderTest, largest_difference, run

SIZES = [(1, 1), (8, 8), (17, 33), (200, 150)]


def picture(mode, size):
    """Patches of colour with soft edges, and some grain."""
    randomness = random.Random(f"{mode} {size}")
    bands = len(Image.new(mode, (1, 1)).getbands())
    patches = Image.frombytes(mode, (6, 5), randomness.randbytes(30 * bands)).resize(size, Image.Resampling.BICUBIC)
    grain = Image.frombytes(mode, size, bytes(randomness.randrange(12) for _ in range(size[0] * size[1] * bands)))
    return ImageChops.add(patches, grain)


class PlatformJpegTest(FolderTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "file.jpg"

    def assert_as_pillow_decodes(self, pixel_format, tolerance=0):
        decoded = decode(self.file)
        self.assertIsNotNone(decoded)
        self.assertEqual(decoded.format, pixel_format)
        with Image.open(self.file) as read:
            self.assertEqual(decoded.image.size, read.size)
            self.assertLessEqual(largest_difference(decoded.image, read.convert("RGB").convert("RGBA")), tolerance)
        return decoded

    def test_files_of_pillow(self):
        for size in SIZES:
            for options in [{}, {"quality": 100}, {"quality": 5}, {"subsampling": 0}, {"subsampling": 1},
                            {"progressive": True}, {"optimize": True}]:
                with self.subTest(size=size, options=options):
                    picture("RGB", size).save(self.file, "JPEG", **options)
                    self.assert_as_pillow_decodes("24bppRGB")
                    picture("L", size).save(self.file, "JPEG", **options)
                    self.assert_as_pillow_decodes("8bppIndexed")
                    # Inks become paper by a product that Pillow rounds differently.
                    picture("CMYK", size).save(self.file, "JPEG", **options)
                    self.assert_as_pillow_decodes("24bppRGB", tolerance=1)

    def test_inks_with_and_without_adobes_mark(self):
        for is_marked in [True, False]:
            with self.subTest(is_marked=is_marked):
                picture("CMYK", (200, 150)).save(self.file, "JPEG")
                encoded = self.file.read_bytes()
                mark = encoded.index(b"\xFF\xEE\x00\x0EAdobe")
                if not is_marked:
                    self.file.write_bytes(encoded[:mark] + encoded[mark + 16:])
                decoded = self.assert_as_pillow_decodes("24bppRGB", tolerance=1)
                run("convert", self.file, "-colorspace", "sRGB", self.folder / "magick.png")
                with Image.open(self.folder / "magick.png") as magick:
                    self.assertLessEqual(largest_difference(decoded.image, magick.convert("RGBA")), 1)

    def test_files_of_imagemagick(self):
        picture("RGB", (200, 150)).save(self.folder / "in.png")
        for pixel_format, options in [
                ("24bppRGB", ["-sampling-factor", "4:1:1"]),
                ("24bppRGB", ["-sampling-factor", "4:4:0"]),
                ("24bppRGB", ["-interlace", "JPEG"]),
                ("24bppRGB", ["-define", "jpeg:arithmetic-coding=on"]),
                ("24bppRGB", ["-define", "jpeg:dct-method=float"]),
                ("8bppIndexed", ["-colorspace", "Gray"]),
                ("8bppIndexed", ["-colorspace", "Gray", "-interlace", "JPEG"])]:
            with self.subTest(options=options):
                run("convert", self.folder / "in.png", *options, "-quality", "90", f"jpeg:{self.file}")
                self.assert_as_pillow_decodes(pixel_format)
        run("convert", self.folder / "in.png", "-colorspace", "CMYK", f"jpeg:{self.file}")
        self.assert_as_pillow_decodes("24bppRGB", tolerance=1)

    def test_resolution_and_orientation(self):
        image = picture("RGB", (20, 10))
        image.save(self.file, dpi=(300, 300))
        self.assertEqual(decode(self.file).dpi, (300, 300))
        image.save(self.file)
        self.assertEqual(decode(self.file).dpi, (96, 96))
        exif = Image.Exif()
        exif[274] = 6
        image.save(self.file, exif=exif)
        self.assert_as_pillow_decodes("24bppRGB")
        run("convert", self.file, "-units", "PixelsPerCentimeter", "-density", "100", f"jpeg:{self.file}")
        self.assertEqual(decode(self.file).dpi, (254, 254))

    def test_a_file_that_is_cut_shows_its_beginning(self):
        picture("RGB", (200, 150)).save(self.file)
        whole = decode(self.file).image
        encoded = self.file.read_bytes()
        self.file.write_bytes(encoded[: len(encoded) * 2 // 3])
        cut = decode(self.file).image
        self.assertEqual(cut.size, whole.size)
        self.assertEqual(cut.crop((0, 0, 200, 50)).tobytes(), whole.crop((0, 0, 200, 50)).tobytes())
        self.file.write_bytes(encoded[:20])
        self.assertIsNone(decode(self.file))

    def test_other_programs_decode_what_is_written(self):
        for mode in ["1", "P", "L", "RGB", "RGBA"]:
            for size in SIZES:
                image = picture("RGBA" if mode == "RGBA" else "RGB", size)
                image = image.quantize(200) if mode == "P" else image.convert(mode)
                image.save(self.folder / "in.png", dpi=(300, 150))
                for quality in [None, 0, 30, 85, 100] if size == (17, 33) else [None]:
                    with self.subTest(mode=mode, size=size, quality=quality):
                        self.assertTrue(encode(self.folder / "in.png", self.file, "image/jpeg", quality))
                        self.check_written(image, 75 if quality is None else quality)

    def check_written(self, image, quality):
        with Image.open(self.file) as read:
            self.assertEqual(read.mode, "RGB")
            self.assertEqual(read.info["dpi"], (300, 150))
            pixels = read.convert("RGB")
        # Pillow's encoder is the same library: the same colours in the same steps, whose size it counts from 1.
        own = io.BytesIO()
        image.convert("RGBA").convert("RGB").save(own, "JPEG", quality=max(quality, 1), subsampling=2)
        with Image.open(own) as read:
            self.assertEqual(pixels.tobytes(), read.tobytes())
        self.assertEqual(decode(self.file).image.convert("RGB").tobytes(), pixels.tobytes())
        with Image.open(io.BytesIO(run("jpegtopnm", self.file).stdout)) as read:
            self.assertEqual(read.convert("RGB").tobytes(), pixels.tobytes())
        seen = run("convert", f"jpeg:{self.file}", "-depth", "8", "rgb:-").stdout
        self.assertEqual(seen, pixels.tobytes())
        self.assertEqual(run("identify", "-format", "%x %y %U", self.file).stdout, b"300 150 PixelsPerInch")

    def test_what_is_written_is_near_its_source(self):
        """At quality 75, and chroma at half the resolution, soft pictures keep within a few levels."""
        image = picture("RGB", (200, 150))
        image.save(self.folder / "in.png")
        self.assertTrue(encode(self.folder / "in.png", self.file, "image/jpeg"))
        difference = ImageChops.difference(decode(self.file).image.convert("RGB"), image)
        mean = sum(difference.tobytes()) / len(difference.tobytes())
        self.assertLess(mean, 4)
        self.assertLess(max(high for _, high in difference.getextrema()), 32)


if __name__ == "__main__":
    unittest.main()
