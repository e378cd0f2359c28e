"""Decoders of some BMP and PNG files, as plain as their formats allow: for what other programs leave out or round in
other ways. They are slow, check nothing, and give RGBA."""

import struct
import zlib

from PIL import Image

from corpus_files import png_chunks


def rounded(value, most):
    """A sample that may be up to `most`, as one of 8 bits."""
    return (value * 255 + most // 2) // most


def plain_png(contents):
    width, height, depth, color, _, _, interlace = struct.unpack_from(">IIBBBBB", contents, 16)
    chunks = list(png_chunks(contents))
    named = dict(reversed(chunks))
    packed = zlib.decompress(b"".join(data for name, data in chunks if name == b"IDAT"))
    channels = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[color]
    image = Image.new("RGBA", (width, height))
    passes = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]
    at = 0
    for left, top, step_x, step_y in passes if interlace else [(0, 0, 1, 1)]:
        columns = range(left, width, step_x)
        row_bytes = (len(columns) * channels * depth + 7) // 8
        above = bytearray(row_bytes)
        for y in range(top, height, step_y) if columns else []:
            row = unfiltered(packed[at], packed[at + 1:at + 1 + row_bytes], above, max(1, channels * depth // 8))
            at += 1 + row_bytes
            above = row
            for i, x in enumerate(columns):
                samples = [sample(row, i * channels + channel, depth) for channel in range(channels)]
                image.putpixel((x, y), png_pixel(samples, color, depth, named))
    return image


def unfiltered(kind, row, above, back):
    row = bytearray(row)
    for i in range(len(row)):
        a, b = row[i - back] if i >= back else 0, above[i]
        c = above[i - back] if i >= back else 0
        nearest = min((a, b, c), key=lambda value: abs(a + b - c - value))
        row[i] = (row[i] + (0, a, b, (a + b) // 2, nearest)[kind]) & 255
    return row


def sample(row, index, depth):
    if depth == 16:
        return row[2 * index] << 8 | row[2 * index + 1]
    bit = index * depth
    return row[bit // 8] >> (8 - depth - bit % 8) & ((1 << depth) - 1)


def png_pixel(samples, color, depth, chunks):
    clear = chunks.get(b"tRNS")
    if color == 3:
        index = samples[0]
        alpha = clear[index] if clear is not None and index < len(clear) else 255
        return (*chunks[b"PLTE"][3 * index:3 * index + 3], alpha)
    values = [rounded(value, (1 << depth) - 1) for value in samples]
    is_gray = color in (0, 4)
    alpha = values.pop() if color in (4, 6) else 255
    # Of the 16 bits of a clear sample, as many count as the samples have.
    if clear is not None and all(key & ((1 << depth) - 1) == value for key, value in
                                 zip(struct.unpack(f">{len(samples)}H", clear), samples)):
        alpha = 0
    return (*(values * 3 if is_gray else values), alpha)


def plain_bmp(contents):
    """With 16 or 32 bits per pixel, whose alpha does not count."""
    pixels_at, header_size, width, height = struct.unpack_from("<IIii", contents, 10)
    bits, compression = struct.unpack_from("<HI", contents, 28)
    masks = (0x7C00, 0x3E0, 0x1F) if bits == 16 else (0xFF0000, 0xFF00, 0xFF)
    if compression != 0:
        masks = struct.unpack_from("<III", contents, 54)
    stride = (width * bits + 31) // 32 * 4
    image = Image.new("RGBA", (width, abs(height)))
    for y in range(abs(height)):
        row = y if height < 0 else height - 1 - y
        for x, pixel in enumerate(struct.unpack_from(f"<{width}{'H' if bits == 16 else 'I'}", contents,
                                                     pixels_at + row * stride)):
            colors = (rounded((pixel & mask) // (mask & -mask), mask // (mask & -mask)) if mask else 0 for mask in masks)
            image.putpixel((x, y), (*colors, 255))
    return image
