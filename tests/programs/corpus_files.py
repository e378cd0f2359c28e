"""What image files say about themselves, read plainly from their bytes, as far as tests need it: the kind of file,
the pixel format that the platform's rules give it, dots per inch."""

import struct

from PIL import Image, TiffImagePlugin

KINDS = {b"BM": "BMP", b"\xff\xd8\xff": "JPEG", b"GIF8": "GIF", b"\x89PNG": "PNG", b"II": "TIFF", b"MM": "TIFF"}


def kind_of(contents):
    """None for a file whose first bytes are no format's."""
    return next((kind for start, kind in KINDS.items() if contents.startswith(start)), None)


def png_chunks(contents):
    at = 8
    while at + 8 <= len(contents):
        size, name = struct.unpack_from(">I4s", contents, at)
        yield name, contents[at + 8:at + 8 + size]
        at += size + 12


def png_depth(contents):
    return contents[24]


def is_gray_png(contents):
    return contents[25] == 0


def png_format(contents):
    depth, color = contents[24], contents[25]
    names = [name for name, _ in png_chunks(contents)]
    has_transparency = b"tRNS" in names[:names.index(b"IDAT")]
    if color == 2 and depth == 8 and not has_transparency:
        return "24bppRGB"
    is_indexed = (color == 3 and depth in (1, 4, 8)) or (color == 0 and depth == 1)
    return f"{depth}bppIndexed" if is_indexed and not has_transparency else "32bppARGB"


def jpeg_segments(contents):
    at = 2
    while at + 4 <= len(contents):
        marker, size = struct.unpack_from(">HH", contents, at)
        yield marker & 0xFF, contents[at + 4:at + 2 + size]
        if marker == 0xFFDA:
            return
        at += 2 + size


def jpeg_components(contents):
    frames = [segment for marker, segment in jpeg_segments(contents)
              if 0xC0 <= marker <= 0xCF and marker not in (0xC4, 0xC8, 0xCC)]
    return frames[0][5]


def bmp_bits(contents):
    header_size, = struct.unpack_from("<I", contents, 14)
    return struct.unpack_from("<H", contents, 24 if header_size == 12 else 28)[0]


def bmp_format(contents):
    header_size, = struct.unpack_from("<I", contents, 14)
    compression = struct.unpack_from("<I", contents, 30)[0] if header_size > 16 else 0
    if compression in (1, 2):
        return "32bppRGB"
    return {1: "1bppIndexed", 4: "4bppIndexed", 8: "8bppIndexed", 24: "24bppRGB"}.get(bmp_bits(contents), "32bppRGB")


def tiff_format(tags):
    """From the tags of a page."""
    samples = tags.get(277, 1)
    bits = tags.get(258, (1,))
    photometric = tags.get(262)
    extra = tags.get(338, ())
    is_coded = tags.get(259) in (6, 32909, 34676, 34677)  # whose decoders give other samples than the tags say
    if tags.get(339, (1,))[0] != 3 and not is_coded:
        if samples == 1 and photometric in (0, 1, 3) and bits[0] in (1, 2, 4, 8):
            return f"{ {1: 1, 2: 4, 4: 4, 8: 8}[bits[0]]}bppIndexed"
    return "32bppARGB" if extra and extra[0] in (1, 2) else "24bppRGB"


def pixel_format(kind, contents, image):
    """That of the current frame, by the platform's rules; `image` is Pillow's view of the file."""
    if kind == "PNG":
        return png_format(contents)
    if kind == "BMP":
        return bmp_format(contents)
    if kind == "JPEG":
        return "8bppIndexed" if jpeg_components(contents) == 1 else "24bppRGB"
    if kind == "GIF":
        return "8bppIndexed" if image.n_frames == 1 else "32bppARGB"
    return tiff_format(image.tag_v2)


def of_metres(per_metre):
    return tuple(count * 0.0254 if count > 0 else 96 for count in per_metre)


def resolution(kind, contents, image):
    """Dots per inch; 96 where the file has none."""
    if kind == "PNG":
        for name, data in png_chunks(contents):
            if name == b"pHYs" and data[8:9] == b"\x01":
                return of_metres(struct.unpack_from(">II", data))
    if kind == "BMP" and struct.unpack_from("<I", contents, 14)[0] > 16:
        return of_metres(struct.unpack_from("<ii", contents, 38))
    if kind == "JPEG":
        for marker, data in jpeg_segments(contents):
            if marker == 0xE0 and data.startswith(b"JFIF\0"):
                unit, x, y = struct.unpack_from(">BHH", data, 7)
                scale = {1: 1, 2: 2.54}.get(unit, 0)
                return tuple(value * scale if value * scale > 0 else 96 for value in (x, y))
    if kind == "TIFF":
        scale = {2: 1, 3: 2.54}.get(image.tag_v2.get(296, 2), 0)
        values = [image.tag_v2.get(tag, 0) for tag in (282, 283)]
        return tuple(dots(value) * scale if dots(value) * scale > 0 else 96 for value in values)
    return 96, 96


def dots(value):
    """A rational number of a TIFF; no number counts as none."""
    if isinstance(value, TiffImagePlugin.IFDRational) and value.denominator == 0:
        return 0
    return float(value)
