"""Small files that claim large images, or that hold what takes long to decode: made by hand, each with what is to come
of it."""

import struct
import zlib
from dataclasses import dataclass

SIDE = 23170  # its square is the largest below the decode limit of 2^29 pixels


@dataclass
class CostlyFile:
    name: str
    contents: bytes
    is_opened: bool  # otherwise refused, before anything large is allocated ...
    is_heavy: bool = False  # decodes to hundreds of megabytes
    is_started: bool = False  # ... or when the decoder has begun


def bmp(bits, compression, data, side=SIDE):
    header = struct.pack("<IiiHHIIiiII", 40, side, side, 1, bits, compression, 0, 0, 0, 2 if bits <= 8 else 0, 0)
    palette = bytes(8) if bits <= 8 else b""
    offset = 14 + len(header) + len(palette)
    return b"BM" + struct.pack("<IHHI", offset + len(data), 0, 0, offset) + header + palette + data


def gif(screen, frame, codes):
    """One frame in two colours. `codes` go in as they are, from the first after the clear code."""
    data = bytes(codes)
    blocks = b"".join(bytes([len(data[i:i + 255])]) + data[i:i + 255] for i in range(0, len(data), 255))
    return (b"GIF89a" + struct.pack("<HHBBB", screen, screen, 0x80, 0, 0) + bytes(6) + b"," +
            struct.pack("<HHHHB", 0, 0, frame, frame, 0) + b"\x08" + blocks + b"\0;")


def packed_codes(codes):
    """Bytes of codes (value, bits), the lowest bits first."""
    buffer, count, packed = 0, 0, bytearray()
    for value, bits in codes:
        buffer |= value << count
        count += bits
        while count >= 8:
            packed.append(buffer & 255)
            buffer >>= 8
            count -= 8
    return bytes(packed) + (bytes([buffer & 255]) if count else b"")


def longest_gif_codes(pixels):
    """Codes of one colour that grow by a pixel each, until the table is full; the last one goes on and on."""
    def codes():
        yield 256, 9
        yield 0, 9
        left, length, free, bits = pixels - 1, 1, 258, 9
        while left > 0:
            if free < 4096:
                length += 1
                yield free, bits
                free += 1
                if free > (1 << bits) - 1 and bits < 12:
                    bits += 1
            else:
                yield 4095, 12
            left -= length
        yield 257, bits
    return packed_codes(codes())


def png(bits, color, rows, side=SIDE):
    """`rows` are compressed as they are, filter bytes and all."""
    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))
    packer = zlib.compressobj(9)
    packed = b"".join(packer.compress(part) for part in rows) + packer.flush()
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", side, side, bits, color, 0, 0, 0)) +
            chunk(b"IDAT", packed) + chunk(b"IEND", b""))


def zeros(count):
    while count > 0:
        yield bytes(min(count, 1 << 20))
        count -= 1 << 20


def jpeg(kind, components, data, side=SIDE):
    """A frame of the marker `kind` whose Huffman codes are all one bit long, a scan, and `data` in it."""
    def segment(marker, contents):
        return bytes([0xFF, marker]) + struct.pack(">H", len(contents) + 2) + contents
    ids = range(1, components + 1)
    table = bytes([1] + [0] * 15 + [0])  # one code, "0": no difference, or the end of a block
    scan = bytes([components]) + b"".join(bytes([i, 0]) for i in ids)
    scan += bytes([0, 0, 0]) if kind in (0xC2, 0xCA) else bytes([0, 63, 0])  # progressive: only the means
    return (b"\xFF\xD8" + segment(0xDB, bytes([0] + [1] * 64)) +
            segment(kind, struct.pack(">BHHB", 8, side, side, components) +
                    b"".join(bytes([i, 0x11, 0]) for i in ids)) +
            segment(0xC4, bytes([0x00]) + table) + segment(0xC4, bytes([0x10]) + table) + segment(0xDA, scan) +
            data + b"\xFF\xD9")


def jpeg_of_scans(kind, scans, side):
    """Gray: the means, then the other coefficients again and again, all blocks of which end at once."""
    again = bytes.fromhex("FFDA0008010100013F00") + b"\0"
    return jpeg(kind, 1, b"", side)[:-2] + again * (scans - 1) + b"\xFF\xD9"


SHORT, LONG = 3, 4


def webp(width, height):
    """A lossless picture of one colour, which takes no bits however large it is."""
    bits = [(0x2F, 8), (width - 1, 14), (height - 1, 14), (0, 1 + 3)]  # no alpha, version 0
    bits += [(0, 1), (0, 1), (0, 1)]  # neither transforms nor cached colours nor several groups of codes
    bits += [(1, 1), (0, 1), (0, 1), (0, 1)] * 5  # each code has one symbol, 0
    data = packed_codes(bits)
    chunk = b"VP8L" + struct.pack("<I", len(data)) + data + bytes(len(data) % 2)
    return b"RIFF" + struct.pack("<I", 4 + len(chunk)) + b"WEBP" + chunk


def zstandard(blocks, window=0x88):
    """A frame without sizes or check sum; 0x88 is a window of 128 MiB, the largest."""
    return b"\x28\xB5\x2F\xFD" + bytes([0, window]) + b"".join(blocks)


def equal_bytes(size):
    """Zstandard's blocks of one byte that is repeated 2^17 times, and an empty last one."""
    yield from (struct.pack("<I", 1 << 17 << 3 | 1 << 1)[:3] + b"\0" for _ in range(size >> 17))
    yield b"\1\0\0"


def tiff(compression, data, *, width=SIDE, height=SIDE, bits=8, samples=1, rows=None, tile=None, chunks=1,
         photometric=1):
    """A page whose strips or tiles all lie at the one place where `data` is."""
    data_at = 8
    sizes, offsets = [len(data)] * chunks, [data_at] * chunks
    data = data + bytes(len(data) % 2)
    tags = [(256, LONG, [width]), (257, LONG, [height]), (258, SHORT, [bits] * samples), (259, SHORT, [compression]),
            (262, SHORT, [photometric]), (277, SHORT, [samples])]
    if tile is None:
        tags += [(273, LONG, offsets), (278, LONG, [rows or height]), (279, LONG, sizes)]
    else:
        tags += [(322, LONG, [tile]), (323, LONG, [tile]), (324, LONG, offsets), (325, LONG, sizes)]
    tags.sort()
    after = data_at + len(data)
    values, entries = b"", b""
    for tag, kind, numbers in tags:
        packed = struct.pack(f"<{len(numbers)}{'H' if kind == SHORT else 'I'}", *numbers)
        if len(packed) > 4:
            entries += struct.pack("<HHII", tag, kind, len(numbers), after + len(values))
            values += packed + bytes(len(packed) % 2)
        else:
            entries += struct.pack("<HHI", tag, kind, len(numbers)) + packed.ljust(4, b"\0")
    directory = struct.pack("<H", len(tags)) + entries + bytes(4)
    return b"II*\0" + struct.pack("<I", after + len(values)) + data + values + directory


def many_values(pages, tags, size):
    """Pages of 8 x 8 pixels with tags that nobody knows, whose values all lie at one place."""
    data = bytes(size)
    known = [(256, SHORT, 1, 8), (257, SHORT, 1, 8), (258, SHORT, 1, 8), (262, SHORT, 1, 1), (273, LONG, 1, 8),
             (279, LONG, 1, 64)]
    entries = b"".join(struct.pack("<HHII", *entry) for entry in
                       known + [(50000 + i, 1, size, 8) for i in range(tags)])
    directories = b""
    for page in range(pages):
        at = 8 + size + len(directories)
        following = at + 6 + len(entries) if page + 1 < pages else 0
        directories += struct.pack("<H", len(known) + tags) + entries + struct.pack("<I", following)
    return b"II*\0" + struct.pack("<I", 8 + size) + data + directories


def pcx(bits, planes, width, height, data):
    header = struct.pack("<4B6H", 10, 5, 1, bits, 0, 0, width - 1, height - 1, 300, 300) + bytes(49)
    line = (width * bits + 15) // 16 * 2
    return header + struct.pack("<BHH", planes, line, 1) + bytes(58) + data


NONE, RLE, FAX3, FAX4, LZW, JPEG, DEFLATE = 1, 2, 3, 4, 5, 7, 8
NEXT, PACKBITS, THUNDERSCAN, PIXARLOG, SGILOG = 32766, 32773, 32809, 32909, 34676
ZSTD, WEBP = 50000, 50001


def costly_tiff_files():
    for compression, name in [(NONE, "uncompressed"), (RLE, "modified Huffman"), (FAX3, "group 3"), (FAX4, "group 4"),
                              (LZW, "LZW"), (JPEG, "JPEG"), (DEFLATE, "Deflate"), (NEXT, "NeXT"),
                              (PACKBITS, "PackBits"), (THUNDERSCAN, "ThunderScan"), (PIXARLOG, "PixarLog"),
                              (SGILOG, "SGILog")]:
        bits = {RLE: 1, FAX3: 1, FAX4: 1, NEXT: 2, THUNDERSCAN: 4, SGILOG: 16}.get(compression, 8)
        photometric = {RLE: 0, FAX3: 0, FAX4: 0, SGILOG: 32844}.get(compression, 1)
        yield CostlyFile(f"TIFF, {name}, 2^29 pixels in 100 bytes",
                         tiff(compression, bytes(100), bits=bits, photometric=photometric), False)
    yield CostlyFile("TIFF, Deflate, 2^29 pixels of 4 samples in 100 bytes",
                     tiff(DEFLATE, bytes(100), samples=4, photometric=2), False)
    yield CostlyFile("TIFF, Deflate, 60,000 samples per pixel",
                     tiff(DEFLATE, bytes(100), width=256, height=256, samples=60000, photometric=2), False)
    yield CostlyFile("TIFF, tiles of one pixel",
                     tiff(DEFLATE, bytes(100), width=8192, height=8192, tile=1, chunks=1), False)
    yield CostlyFile("TIFF, Deflate, a tile of 2^28 pixels for one",
                     tiff(DEFLATE, bytes(100), width=1, height=1, tile=1 << 14), False)
    # A block that begins with tables of codes, of which the end of the block is the only one, and ends at once.
    tables = ([(0, 1), (2, 2), (0, 5), (0, 5), (14, 4)] + [(0, 3)] * 2 + [(1, 3)] + [(0, 3)] * 14 + [(1, 3)] +
              [(1, 1), (127, 7), (1, 1), (107, 7), (0, 1), (0, 1), (0, 1)])
    nothing = {
        "Deflate, empty blocks": (DEFLATE, b"\x78\x01" + b"\0\0\0\xFF\xFF" * 20000),
        "Deflate, tables": (DEFLATE, b"\x78\x01" + packed_codes(tables * 8800)),
        "LZW, clear codes": (LZW, int("100000000" * 80000, 2).to_bytes(90000, "big")),
        "PackBits, no operations": (PACKBITS, b"\x80" * 100000),
        "Zstandard, empty blocks": (ZSTD, zstandard([b"\0\0\0"] * 30000)),
    }
    for name, (compression, data) in nothing.items():
        yield CostlyFile(f"TIFF, {name} for 90,000 strips of a pixel",
                         tiff(compression, data, width=1, height=90000, rows=1, chunks=90000), False)
        yield CostlyFile(f"TIFF, {name} for 160 strips of a pixel",
                         tiff(compression, data, width=1, height=160, rows=1, chunks=160), False)
    yield CostlyFile("TIFF, Zstandard, 2^28 bytes by blocks of equal bytes",
                     tiff(ZSTD, zstandard(equal_bytes(1 << 28)), width=1 << 14, height=1 << 14), True, True)
    yield CostlyFile("TIFF, Zstandard, 2^29 bytes by blocks of equal bytes",
                     tiff(ZSTD, zstandard(equal_bytes(1 << 29)), width=1 << 14, height=1 << 15), False)
    yield CostlyFile("TIFF, WebP, 2^26 pixels of one colour",
                     tiff(WEBP, webp(1 << 13, 1 << 13), width=1 << 13, height=1 << 13, samples=4, photometric=2), True,
                     True)
    yield CostlyFile("TIFF, WebP, 2^27 pixels of one colour",
                     tiff(WEBP, webp(1 << 13, 1 << 14), width=1 << 13, height=1 << 14, samples=4, photometric=2), False)
    yield CostlyFile("TIFF, WebP, 2^28 pixels for a strip of one",
                     tiff(WEBP, webp(16383, 16383), width=1, height=1, samples=4, photometric=2), True)
    yield CostlyFile("TIFF, 4000 unknown tags with the same 800,000 values", many_values(1, 4000, 800000), False)
    yield CostlyFile("TIFF, the same without its last four bytes", many_values(1, 4000, 800000)[:-4], False)
    yield CostlyFile("TIFF, 4400 tiles of 2^25 pixels for one row, JPEG",
                     tiff(JPEG, jpeg(0xC0, 1, bytes(30000), side=5760), width=4400 * 5760, height=1, tile=5760, chunks=4400),
                     False)
    yield CostlyFile("TIFF, progressive JPEG of 90 scans, 2^26 pixels in strips that share their data",
                     tiff(JPEG, jpeg_of_scans(0xC2, 91, 1 << 12), width=1 << 12, height=1 << 14, rows=1 << 12, chunks=4), False)
    yield CostlyFile("TIFF, arithmetic JPEG, 2^26 pixels in 2 kB",
                     tiff(JPEG, jpeg(0xC9, 1, bytes(2000), side=1 << 13), width=1 << 13, height=1 << 13), False)
    packed = zlib.compress(bytes(1 << 20), 9)
    yield CostlyFile("TIFF, Deflate, 2^29 pixels whose strips share their data",
                     tiff(DEFLATE, packed, width=1 << 14, height=1 << 15, rows=64, chunks=512), True, True)


def costly_files():
    yield CostlyFile("BMP, uncompressed, 2^29 pixels in 100 bytes", bmp(24, 0, bytes(100)), False)
    yield CostlyFile("BMP, run lengths, 2^29 pixels in 4 bytes", bmp(8, 1, b"\x02\x01\0\1"), True, True)
    yield CostlyFile("GIF, a frame of 2^29 pixels in 100 bytes", gif(SIDE, SIDE, bytes(100)), False)
    yield CostlyFile("GIF, one pixel on a screen of 2^29",
                     gif(SIDE, 1, packed_codes([(256, 9), (1, 9), (257, 9)])), True, True)
    yield CostlyFile("GIF, a frame of 2^32 pixels on a screen of one",
                     gif(1, 65535, longest_gif_codes(65535 ** 2)), False)
    yield CostlyFile("GIF, a frame of 2^29 pixels, complete", gif(SIDE, SIDE, longest_gif_codes(SIDE ** 2)), True, True)
    yield CostlyFile("PNG, 2^29 pixels in 100 bytes", png(8, 2, [bytes(100)]), False)
    yield CostlyFile("PNG, gray, 2^29 pixels, complete", png(8, 0, zeros((SIDE + 1) * SIDE)), True, True)
    yield CostlyFile("JPEG, 2^29 pixels in 100 bytes", jpeg(0xC0, 3, bytes(100)), False)
    yield CostlyFile("JPEG, progressive, 2^29 pixels in 100 bytes", jpeg(0xC2, 3, bytes(100)), False)
    yield CostlyFile("JPEG, gray, 2^29 pixels, a tenth of the shortest coding",
                     jpeg(0xC0, 1, bytes(SIDE ** 2 // 64 * 2 // 8 // 10 + 1000)), True, True)
    yield CostlyFile("JPEG, gray, progressive, 2^29 pixels, complete",
                     jpeg(0xC2, 1, bytes(SIDE ** 2 // 64 // 8 + 1000)), True, True)
    yield CostlyFile("JPEG, colour, progressive, 2^29 pixels, a tenth of the shortest coding",
                     jpeg(0xC2, 3, bytes(SIDE ** 2 * 3 // 64 // 8 // 10 + 1000)), True, True)
    yield CostlyFile("JPEG, arithmetic coding, 2^29 pixels in 100 bytes", jpeg(0xC9, 1, bytes(100)), False)
    # 5792^2 is the largest square up to 2^25.
    yield CostlyFile("JPEG, arithmetic coding, 2^25 pixels in 100 bytes", jpeg(0xC9, 1, bytes(100), 5792), True)
    yield CostlyFile("JPEG, arithmetic coding, some more pixels", jpeg(0xC9, 1, bytes(100), 5793), False)
    yield CostlyFile("JPEG, arithmetic coding, 2^25 pixels, 4 scans", jpeg_of_scans(0xCA, 4, 5792), True)
    yield CostlyFile("JPEG, arithmetic coding, 2^25 pixels, 5 scans", jpeg_of_scans(0xCA, 5, 5792), False,
                     is_started=True)
    yield CostlyFile("JPEG, progressive, 2^26 pixels, 32 scans", jpeg_of_scans(0xC2, 32, 1 << 13), True)
    yield CostlyFile("JPEG, progressive, 2^26 pixels, 33 scans", jpeg_of_scans(0xC2, 33, 1 << 13), False,
                     is_started=True)
    yield from costly_tiff_files()
    yield CostlyFile("PCX, 8 bits, 2^29 pixels in 4 bytes", pcx(8, 1, SIDE, SIDE, bytes(4)), True, True)
    yield CostlyFile("PCX, 24 bits, 2^29 pixels in 4 bytes", pcx(8, 3, SIDE, SIDE, bytes(4)), True, True)
