"""How image files decode elsewhere: in Pillow; plainly, where Pillow rounds or leaves something out; in ImageMagick."""

import resource
import struct
import subprocess
import warnings
from dataclasses import dataclass

from PIL import Image, ImageSequence

from corpus_files import bmp_bits, is_gray_png, kind_of, pixel_format, png_depth, png_format, resolution
from plain_images import plain_bmp, plain_png, rounded

Image.MAX_IMAGE_PIXELS = None
warnings.simplefilter("ignore")

# Damaged files make programs ask for more than a machine has.
MEMORY = 3 << 30

@dataclass
class Reference:
    program: str
    frames: list  # RGBA images
    formats: list  # of the frames, empty when unknown
    dpi: tuple  # of the first frame, None when unknown


ROUNDED = [rounded(value, 65535) for value in range(65536)]

# What Pillow has done to turn a page upright, done backwards: the platform shows pages as they are stored.
UPRIGHT = {}
if hasattr(Image, "Transpose"):
    T = Image.Transpose
    UPRIGHT = {2: T.FLIP_LEFT_RIGHT, 3: T.ROTATE_180, 4: T.FLIP_TOP_BOTTOM, 5: T.TRANSPOSE, 6: T.ROTATE_90,
               7: T.TRANSVERSE, 8: T.ROTATE_270}


def rgba_of(image):
    if image.mode.startswith("I"):
        levels = bytes(ROUNDED[min(max(value, 0), 65535)] for value in image.convert("I").getdata())
        return Image.frombytes("L", image.size, levels).convert("RGBA")
    return image.convert("RGBA")


def as_stored(image):
    turn = UPRIGHT.get(image.tag_v2.get(274)) if hasattr(image, "tag_v2") else None
    rgba = rgba_of(image)
    return rgba.transpose(turn) if turn is not None else rgba


def by_pillow(contents, path):
    kind = kind_of(contents)
    with Image.open(path) as image:
        frames, formats = [], []
        dpi = resolution(kind, contents, image)
        for frame in ImageSequence.Iterator(image):
            formats.append(pixel_format(kind, contents, image))
            frames.append(as_stored(frame))
            if kind not in ("GIF", "TIFF"):
                break  # other pictures of APNG and MPO files are none of the formats'
        return Reference("Pillow", frames, formats, dpi)


def by_plain_definition(contents, path):
    """PNG of 16 bits or with one clear gray, BMP of 16 or 32 bits."""
    kind = kind_of(contents)
    frame = plain_png(contents) if kind == "PNG" else plain_bmp(contents)
    return Reference("plainly", [frame], [pixel_format(kind, contents, None)], resolution(kind, contents, None))


def by_imagemagick(contents, path):
    kind = kind_of(contents).lower()
    source = f"{kind}:{path}"
    options = ["-coalesce"] if kind == "gif" else []
    sizes = subprocess.run(["convert", source, *options, "-format", "%w %h\n", "info:"], capture_output=True, timeout=60)
    done = subprocess.run(["convert", source, *options, "-depth", "8", "rgba:-"], capture_output=True, timeout=60)
    if sizes.returncode != 0 or done.returncode != 0 or not done.stdout:
        raise OSError("not decoded")
    frames, at = [], 0
    for line in sizes.stdout.decode().splitlines():
        size = tuple(int(word) for word in line.split())
        length = 4 * size[0] * size[1]
        frames.append(Image.frombytes("RGBA", size, done.stdout[at:at + length]))
        at += length
    return Reference("ImageMagick", frames if kind in ("gif", "tiff") else frames[:1], [], None)


def reference_of(contents, path):
    """None when no program decodes the file."""
    before = resource.getrlimit(resource.RLIMIT_AS)
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, before[1]))
    try:
        return reference_of_any_program(contents, path)
    finally:
        resource.setrlimit(resource.RLIMIT_AS, before)


def needs_plain_definition(contents):
    kind = kind_of(contents)
    if kind == "BMP":
        return bmp_bits(contents) in (16, 32)
    # Pillow drops the low half of 16 bits, and compares the clear gray with other numbers than the samples.
    return kind == "PNG" and (png_depth(contents) == 16 or (is_gray_png(contents) and
                                                            png_format(contents) == "32bppARGB"))


def reference_of_any_program(contents, path):
    programs = [by_pillow, by_imagemagick]
    try:
        if needs_plain_definition(contents):
            programs = [by_plain_definition]
    except (IndexError, ValueError, struct.error):
        pass  # cut short
    for program in programs:
        try:
            return program(contents, path)
        except Exception:  # whatever parsers of damaged files come across
            continue
    return None
