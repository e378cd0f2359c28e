"""A decoder of PCX files, as plain as can be, that follows the library's rules for them to the letter, also where
these are not what other programs do. It is slow."""

import struct
from dataclasses import dataclass

# As the platform numbers them: bits 8 to 15 are the bits of a pixel.
INDEXED_1, INDEXED_4, INDEXED_8, RGB_24, ARGB_32 = 0x30101, 0x30402, 0x30803, 0x21808, 0x26200A

# (bits, planes): (whether version 5 is needed, the bitmap's format, entries of its palette)
LAYOUTS = {
    (1, 1): (False, INDEXED_1, 0), (1, 2): (False, INDEXED_4, 4), (1, 3): (False, INDEXED_4, 8),
    (1, 4): (False, INDEXED_4, 16), (2, 1): (False, INDEXED_4, 4), (2, 2): (False, INDEXED_4, 16),
    (2, 3): (True, INDEXED_8, 64), (2, 4): (True, INDEXED_8, 256), (4, 1): (False, INDEXED_4, 16),
    (4, 2): (True, INDEXED_8, 256), (8, 1): (True, INDEXED_8, 256), (8, 3): (True, RGB_24, 0),
    (8, 4): (True, ARGB_32, 0),
}


@dataclass
class Picture:
    format: int
    size: tuple
    dpi: tuple
    palette: list  # AARRGGBB; empty when there is none
    rows: bytes  # each packed into whole bytes


def decode(contents):
    """None when the file is refused."""
    if len(contents) < 128:
        return None
    manufacturer, version, encoding, bits, left, top, right, bottom, dpi_x, dpi_y = struct.unpack_from(
        "<4B6H", contents)
    planes, bytes_per_line = struct.unpack_from("<BH", contents, 65)
    if (manufacturer, encoding) != (10, 1) or version > 5 or left > right or top > bottom or bytes_per_line % 2:
        return None
    if (bits, planes) not in LAYOUTS:
        return None
    needs_version_5, pixel_format, colors = LAYOUTS[bits, planes]
    depth = pixel_format >> 8 & 255
    size = (right - left + 1) % 65536, (bottom - top + 1) % 65536
    if (needs_version_5 and version != 5) or 0 in size:
        return None
    rest = iter(contents[128:])
    lines = unpacked_lines(rest, planes * bytes_per_line, size[1])
    length = size[0] * depth // 8  # a last byte that is not whole stays empty
    row_bytes = (size[0] * depth + 7) // 8
    rows = b"".join(
        converted(bits, planes, line, bytes_per_line, length).ljust(row_bytes, b"\0") for line in lines)
    palette = read_palette(rest, version, colors) if colors else []
    if depth == 1:
        palette = [0xFF000000, 0xFFFFFFFF]
    dpi = (dpi_x, dpi_y) if dpi_x and dpi_y else (96, 96)
    return Picture(pixel_format, size, dpi, palette, rows)


def unpacked_lines(source, length, count):
    """Runs go on over the ends of lines; where the bytes end, a line keeps what it had."""
    line, repeats, value, lines = bytearray(length), 0, 0, []
    for _ in range(count):
        at = 0
        while at < length:
            if repeats:
                line[at], at, repeats = value, at + 1, repeats - 1
                continue
            byte = next(source, None)
            if byte is None:
                break
            if byte < 192:
                line[at], at = byte, at + 1
                continue
            repeats = byte - 192
            following = next(source, None)
            if following is None:
                break
            value = following
        lines.append(bytes(line))
    return lines


def converted(bits, planes, line, bytes_per_line, length):
    row = bytearray()
    position = 0
    while len(row) < length:
        at = [plane * bytes_per_line + position for plane in range(planes)]
        row += group(bits, [line[i] if i < len(line) else 0 for i in at])
        if bits > 1 or planes < 3:  # else the first group is repeated
            position += 1
    return bytes(row[:length])


def group(bits, planes):
    """What a byte of each plane becomes. Strings of binary digits are the pixels' bits from the left."""
    if len(planes) == 1 and bits != 2:
        return bytes(planes)
    if bits == 8:
        return bytes([planes[2], planes[1], planes[0], *planes[3:]])
    digits = [f"{plane:08b}" for plane in planes]
    pixels = ["".join(plane[i:i + bits] for plane in digits) for i in range(0, 8, bits)]
    if bits == 2 and len(planes) >= 3:
        # Each pixel after the first one lacks one plane more.
        pixels = [pixel[:max(0, 2 * (len(planes) - i))] for i, pixel in enumerate(pixels)]
        return bytes(int("0" + pixel, 2) for pixel in pixels)
    if bits == 4:
        return bytes(int(pixel, 2) for pixel in pixels)
    nibbles = [int(pixel, 2) for pixel in pixels]
    result = bytearray(16 * a + b for a, b in zip(nibbles[::2], nibbles[1::2]))
    if len(planes) == 4 and planes[0] & 64:
        result[0] = (result[0] - 8 + 16) % 256  # the first plane's second bit is taken for 16
    return bytes(result)


def read_palette(source, version, size):
    count = min(size, 255)
    found = []
    if version == 5 and 12 in source:  # reads on just behind it
        tail = bytes(source)[:3 * count]
        found = [int.from_bytes(tail[i:i + 3], "big") for i in range(0, len(tail) - 2, 3)]
    colors = found or [i * (256 // count) % 256 * 0x010101 for i in range(count)]
    return [0xFF000000 | color for color in colors + [0] * (size - len(colors))]
