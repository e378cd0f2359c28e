"""TIFF pages that other programs write, as the library opens them, and pages that the library writes, as other programs
read them: libtiff's tools, Pillow, ImageMagick, netpbm.

PIXTOLA_PAGE_DUMP names the program that opens pages with the library, PIXTOLA_DECODE_DUMP the one that asks the
platform's decoders alone.
"""

import os
import random
import subprocess
import unittest
from dataclasses import dataclass
from pathlib import Path

from PIL import Image

from platform_codecs import decode
from program_tests import FolderTest, bilevel_page, largest_difference, run

IMAGES = Path(__file__).resolve().parent.parent / "data" / "images"
TIFF_TYPES = {5: "CCITT Group 3", 6: "CCITT Group 4", 7: "LZW", 8: "PackBits", 9: "None"}
BITS = {0x00030101: 1, 0x00030402: 4, 0x00030803: 8, 0x00021808: 24, 0x0026200A: 32}
ARGB = 0x0026200A

GRAY = [0xFF000000 | level * 0x010101 for level in range(256)]
BLACK_FIRST = [0xFF000000, 0xFFFFFFFF]


@dataclass
class Page:
    format: int
    size: tuple
    dpi: tuple
    palette: list  # of ARGB values, None for deep formats
    rows: bytes

    @property
    def bits(self):
        return BITS[self.format]

    def rgba(self):
        """As an image."""
        width, height = self.size
        if self.palette is None:
            raw = {24: "BGR", 32: "BGRA"}[self.bits]
            return Image.frombytes("RGBA" if self.bits == 32 else "RGB", self.size, self.rows, "raw", raw).convert("RGBA")
        row_bytes = (width * self.bits + 7) // 8
        image = Image.new("RGBA", self.size)
        mask = (1 << self.bits) - 1
        pixels = []
        for y in range(height):
            for x in range(width):
                bit = x * self.bits
                index = self.rows[y * row_bytes + bit // 8] >> (8 - self.bits - bit % 8) & mask
                color = self.palette[index]
                pixels.append((color >> 16 & 255, color >> 8 & 255, color & 255, color >> 24))
        image.putdata(pixels)
        return image


def open_page(path, page="-"):
    """None when it is not opened. "-": PxtOpenImageFile."""
    done = subprocess.run([os.environ["PIXTOLA_PAGE_DUMP"], str(path), str(page)], capture_output=True)
    if done.returncode == 1:
        return None
    assert done.returncode == 0 and done.stderr == b"", done
    header, rows = done.stdout.split(b"rows\n", 1)
    fields = {key: values for key, *values in map(str.split, header.decode("ascii").splitlines())}
    palette = [int(entry, 16) for entry in fields["palette"]] if "palette" in fields else None
    return Page(int(fields["format"][0], 16), tuple(map(int, fields["size"])), tuple(map(float, fields["dpi"])), palette,
                rows)


def save_page(source, output, kind):
    run(os.environ["PIXTOLA_PAGE_DUMP"], source, "-", output, kind)


def noise(mode, size, seed=1):
    randomness = random.Random(f"{mode} {size} {seed}")
    if mode == "1":
        return Image.frombytes("L", size, randomness.randbytes(size[0] * size[1])).point(
            lambda level: 255 if level > 127 else 0, "1")
    if mode == "I;16":
        return Image.frombytes(mode, size, randomness.randbytes(size[0] * size[1] * 2))
    image = Image.frombytes(mode, size, randomness.randbytes(size[0] * size[1] * len(Image.new(mode, (1, 1)).getbands())))
    if mode == "P":
        image.putpalette(randomness.randbytes(768))
    return image


class TiffProgramsTest(FolderTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "file.tif"

    def plain_rows(self, path, page):
        """The page's tags and its rows without any compression, as libtiff's tool decodes them."""
        plain = self.folder / "plain.tif"
        plain.unlink(missing_ok=True)
        run("tiffcp", "-c", "none", "-s", "-r", "1000000", "-f", "msb2lsb", f"{path},{page}", plain)
        with Image.open(plain) as image:
            tags = dict(image.tag_v2)
        contents = plain.read_bytes()
        return tags, b"".join(contents[at:at + count] for at, count in zip(tags[273], tags[279]))

    def assert_follows_the_rules(self, page, path, index):
        """`page` is what the library's own reader must make of a page with up to eight bits per pixel in rows."""
        tags, rows = self.plain_rows(path, index)
        bits = tags.get(258, (1,))[0] * tags.get(277, 1)
        photometric = tags[262]
        palette = {1: BLACK_FIRST, 8: GRAY}.get(bits)
        is_inverted = bits == 1 and photometric == 0
        if photometric == 3:
            count = 1 << bits
            colors = [value & 255 for value in tags[320]]
            palette = [0xFF000000 | colors[i] << 16 | colors[count + i] << 8 | colors[2 * count + i] for i in range(count)]
            if bits == 1 and palette[0] == 0xFFFFFFFF:
                is_inverted, palette = True, BLACK_FIRST
        width, height = tags[256], tags[257]
        row_bytes = (width * bits + 7) // 8
        expected = bytearray(255 - byte for byte in rows) if is_inverted else bytearray(rows)
        if width * bits % 8:
            for y in range(height):
                expected[(y + 1) * row_bytes - 1] &= 0xFF00 >> width * bits % 8
        self.assertEqual(page.bits, bits)
        self.assertEqual(page.size, (width, height))
        self.assertEqual(page.palette, palette)
        self.assertEqual(page.rows, bytes(expected))
        has_resolution = tags.get(282, 0) > 0 and tags.get(283, 0) > 0
        for actual, tag in zip(page.dpi, (282, 283)):
            self.assertAlmostEqual(actual, float(tags[tag]) if has_resolution else 96, delta=0.02)

    def sources(self):
        """Pages and the compressions that libtiff's tool is to give them."""
        anything = [["-c", "none"], ["-c", "lzw"], ["-c", "packbits"], ["-c", "zip"], ["-c", "lzw:2", "-r", "3"],
                    ["-B"], ["-s", "-r", "1"], ["-c", "zstd"], ["-c", "zstd:2", "-r", "3"]]
        fax = [["-c", "g3:1d"], ["-c", "g3:2d:fill"], ["-c", "g4"], ["-c", "g4", "-f", "lsb2msb"], ["-c", "none"],
               ["-c", "lzw"], ["-c", "packbits"], ["-c", "zip"]]
        deep = anything[:4] + [["-p", "separate"], ["-t", "-w", "16", "-l", "16", "-c", "lzw"],
                              ["-c", "zstd"], ["-t", "-w", "16", "-l", "16", "-c", "zstd"]]
        for mode, options in [("1", fax), ("L", anything), ("P", anything), ("RGB", deep), ("RGBA", deep),
                              ("I;16", anything[:4]), ("CMYK", anything[:2])]:
            for i, option in enumerate(options):
                yield mode, noise(mode, (37 + i, 11 + 2 * i), i), option

    def test_pages_that_libtiffs_tool_has_put_together(self):
        files, images = [], []
        for i, (mode, image, option) in enumerate(self.sources()):
            single, copied = self.folder / f"{i}.tif", self.folder / f"{i}-copied.tif"
            image.save(single, dpi=(200 + i, 100))
            run("tiffcp", *option, single, copied)
            files.append(copied)
            images.append((mode, image, option))
        # Copied without a compression of its own, each page keeps the one that it has.
        run("tiffcp", *files, self.file)
        for index, (mode, image, option) in enumerate(images):
            with self.subTest(index=index, mode=mode, option=option):
                page = open_page(self.file, index)
                self.assertIsNotNone(page)
                self.assertEqual(page.size, image.size)
                if page.bits <= 8:
                    self.assert_follows_the_rules(page, self.file, index)
                if mode == "1":
                    self.assertEqual(page.rows, image.tobytes())
                    self.assertEqual(page.palette, BLACK_FIRST)
                elif mode in ("L", "P"):
                    self.assertEqual(page.rows, image.tobytes())
                else:
                    self.assertEqual(page.format, ARGB)
                    self.assertEqual(page.dpi, (200 + index, 100))
                    self.assertLessEqual(largest_difference(page.rgba(), self.shown(image)), 1)
                with self.subTest(alone=True):
                    self.assertEqual(open_page(files[index]), page)
        self.assertIsNone(open_page(self.file, len(images)))
        self.assertEqual(open_page(self.file, -1), open_page(self.file, 0))

    @staticmethod
    def shown(image):
        """A deep image with 8 bits a channel, its colours multiplied by alpha."""
        if image.mode.startswith("I"):
            levels = [round((level & 0xFFFF) / 257) for level in image.getdata()]  # also of signed samples
            gray = Image.new("L", image.size)
            gray.putdata(levels)
            return gray.convert("RGBA")
        if image.mode == "CMYK":
            rgb = Image.new("RGB", image.size)
            rgb.putdata([tuple(round((255 - ink) * (255 - black) / 255) for ink in inks)
                         for *inks, black in image.getdata()])
            return rgb.convert("RGBA")
        if image.mode == "RGBA":
            image = image.copy()
            image.putdata([(*(round(value * alpha / 255) for value in colors), alpha)
                           for *colors, alpha in image.getdata()])
        return image.convert("RGBA")

    def test_pages_with_webp_compression(self):
        for mode in ["RGB", "RGBA"]:
            for option in [["-r", "4"], ["-t", "-w", "16", "-l", "16"]]:
                with self.subTest(mode=mode, option=option):
                    image = noise(mode, (37, 11), 1)
                    image.save(self.folder / "in.tif")
                    run("tiffcp", "-c", "webp:p100", *option, self.folder / "in.tif", self.file)
                    page = open_page(self.file)
                    self.assertEqual(page.format, ARGB)
                    self.assertLessEqual(largest_difference(page.rgba(), self.shown(image)), 1)

    def test_pages_of_compressions_without_limits_of_their_own(self):
        noise("L", (37, 11), 1).save(self.folder / "in.tif")
        for compression in ["lzma", "lerc"]:
            with self.subTest(compression=compression):
                run("tiffcp", "-c", compression, self.folder / "in.tif", self.file)
                self.assertIsNone(open_page(self.file))

    def test_pages_with_jpeg_compression(self):
        image = Image.linear_gradient("L").resize((64, 48)).convert("RGB")
        image.save(self.file, compression="jpeg", quality=95)
        page = open_page(self.file)
        self.assertEqual(page.format, ARGB)
        with Image.open(self.file) as read:
            self.assertLessEqual(largest_difference(page.rgba(), read.convert("RGBA")), 4)
        image.convert("L").save(self.file, compression="jpeg", quality=95)
        page = open_page(self.file)
        self.assertEqual((page.bits, page.palette), (8, GRAY))
        with Image.open(self.file) as read:
            self.assertEqual(page.rows, read.tobytes())

    def test_every_page_of_the_worlds_images(self):
        count = 0
        for path in sorted([*(IMAGES / "libtiff").iterdir(), *(IMAGES / "pillow").iterdir()]):
            if path.suffix not in (".tif", ".tiff"):
                continue
            with Image.open(path) as image:
                pages = getattr(image, "n_frames", 1)
            for index in range(pages):
                with self.subTest(file=path.name, page=index):
                    count += 1
                    self.check_page_of_the_world(path, index)
            self.assertIsNone(open_page(path, pages))
        self.assertGreaterEqual(count, 12)

    def check_page_of_the_world(self, path, index):
        with Image.open(path) as image:
            image.seek(index)
            tags = dict(image.tag_v2)
        bits = tags.get(258, (1,))[0] * tags.get(277, 1)
        photometric = tags[262]
        page = open_page(path, index)
        if index == 0:
            self.assertEqual(open_page(path), page)
        if bits > 8:
            self.assertEqual(page.format, ARGB)
            if tags.get(259) == 6:  # Pillow does not read the older JPEG
                return
            with Image.open(path) as image:
                image.seek(index)
                self.assertLessEqual(largest_difference(page.rgba(), self.shown(image)), 1)
        elif 322 not in tags and (bits == 1 or bits == 8 or (bits == 4 and photometric == 3)):
            self.assert_follows_the_rules(page, path, index)
        elif index > 0:
            self.assertIsNone(page)
        else:
            self.assertEqual(largest_difference(page.rgba(), decode(path).image), 0)

    def test_other_files_are_what_the_platform_decodes(self):
        count = 0
        for path in sorted([*(IMAGES / "giflib").iterdir(), *(IMAGES / "pillow").iterdir()]):
            if path.suffix not in (".gif", ".jpg"):
                continue
            with self.subTest(file=path.name):
                count += 1
                decoded = decode(path)
                page = open_page(path)
                self.assertEqual(f"{page.bits}bpp", decoded.format[:len(str(page.bits)) + 3])
                if page.palette is None:
                    self.assertEqual(page.rgba().tobytes(), decoded.image.tobytes())
                else:  # the copy's palette is opaque
                    self.assertEqual(page.rgba().tobytes(), decoded.image.convert("RGB").convert("RGBA").tobytes())
                self.assertEqual(open_page(path, 0), page)
                self.assertIsNone(open_page(path, 1))
        self.assertGreaterEqual(count, 8)

    # What the library writes.

    def test_other_programs_read_every_bilevel_type(self):
        source = self.folder / "source.png"
        for number, size in enumerate([(1, 1), (3, 2), (8, 8), (9, 1), (1, 9), (33, 7), (100, 818), (511, 129)]):
            page = bilevel_page(size, number)
            page.save(source, dpi=(300, 150))
            for kind in TIFF_TYPES:
                with self.subTest(size=size, kind=kind):
                    save_page(source, self.file, kind)
                    with Image.open(self.file) as read:
                        for actual, expected in zip((read.tag_v2[282], read.tag_v2[283]), (300, 150)):
                            self.assertAlmostEqual(float(actual), expected, delta=0.02)
                        self.assertNotIn(296, read.tag_v2)  # ResolutionUnit
                    self.check_pixels(page, kind)

    def check_pixels(self, page, kind):
        """`page` is the bilevel picture that everybody must see in the file."""
        info = run("tiffinfo", "-D", self.file)
        self.assertEqual(info.stderr, b"")
        self.assertIn(f"Compression Scheme: {TIFF_TYPES[kind]}".encode(), info.stdout)
        gray = page.convert("L").tobytes()
        with Image.open(self.file) as read:
            self.assertEqual((read.mode, read.size), ("1", page.size))
            self.assertEqual(read.convert("L").tobytes(), gray)
        self.assertEqual(run("convert", f"tiff:{self.file}", "-depth", "8", "gray:-").stdout, gray)
        pnm = self.folder / "out.pnm"
        pnm.write_bytes(run("tifftopnm", self.file).stdout)
        with Image.open(pnm) as read:
            self.assertEqual(read.convert("L").tobytes(), gray)
        self.assertEqual(open_page(self.file).rows, page.tobytes())

    def test_white_first_palettes_show_the_same_picture(self):
        page = bilevel_page((123, 77), 3)
        indexes = page.convert("L").point(lambda level: 0 if level else 1)  # 0 is white
        image = Image.frombytes("P", page.size, indexes.tobytes())
        image.putpalette([255, 255, 255, 0, 0, 0])
        source = self.folder / "source.png"
        image.save(source, bits=1)
        self.assertEqual(open_page(source).palette, [0xFFFFFFFF, 0xFF000000])
        for kind in TIFF_TYPES:
            with self.subTest(kind=kind):
                save_page(source, self.file, kind)
                with Image.open(self.file) as read:
                    self.assertEqual(read.tag_v2[262], 0)
                self.check_pixels(page, kind)


if __name__ == "__main__":
    unittest.main()
