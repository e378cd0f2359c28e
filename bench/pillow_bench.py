#!/usr/bin/python3
"""Times one job as Pillow does it; prints the fields that table.py reads of Google Benchmark.

Pillow has pixels and results of its own, so pages are read before the time is taken, and each
result is allocated within it. Jobs that Pillow does not do give an empty list.
"""

import argparse
import io
import json
import shutil
import sys
import tempfile
import time
from pathlib import Path
from typing import Callable, NamedTuple

import PIL
from PIL import Image, ImageOps, ImageStat

Image.MAX_IMAGE_PIXELS = None  # the pages are our own
FOUR_BYTES = "4 bytes a pixel inside"
TRANSLUCENT = "RGBA with the red channel as alpha"
MODES = {"8": "L", "16": "I;16", "24": "RGB", "32": "RGBA"}


class Peer(NamedTuple):
    mode: str  # of the page, or the name of the encoded page
    difference: str  # from the library's result; empty: none
    run: Callable  # from the page to the result
    is_right: Callable  # of the page and the result


# ------------------------------------------------------------------- checks

def moves_to(position):
    """A check that pixels all over the page moved as told; `position` gets x, y, width, height."""
    def is_right(page, result):
        places = [(x, y) for x in range(0, page.width, 97) for y in range(0, page.height, 101)]
        return all(page.getpixel((x, y)) ==
                   result.getpixel(position(x, y, page.width, page.height)) for x, y in places)
    return is_right


def mean(image):
    return ImageStat.Stat(image.convert("L")).mean[0]


def is_as_bright(page, result):
    return abs(mean(page) - mean(result)) < 8


def is_stretched(page, result):
    channels = zip(result.split(), page.split())
    return all(new.getextrema() == (0, 255) and new.tobytes() != old.tobytes()
               for new, old in channels)


def decodes_to(mode):
    """A check that the encoded page was decoded to pixels of the mode."""
    return lambda _encoded, result: result.mode == mode and result.width > 2000


def is_encoded(page, result):
    result.seek(0)
    with Image.open(result) as decoded:
        return is_as_bright(page, decoded)


# --------------------------------------------------------------------- jobs

MOVES = {
    "right-turn": (Image.Transpose.ROTATE_270, lambda x, y, w, h: (h - 1 - y, x)),
    "left-turn": (Image.Transpose.ROTATE_90, lambda x, y, w, h: (y, w - 1 - x)),
    "half-turn": (Image.Transpose.ROTATE_180, lambda x, y, w, h: (w - 1 - x, h - 1 - y)),
    "mirror": (Image.Transpose.FLIP_LEFT_RIGHT, lambda x, y, w, h: (w - 1 - x, y)),
}


def balance(page):
    return ImageOps.autocontrast(page, cutoff=1)


def encoding(name, **options):
    def run(page):
        encoded = io.BytesIO()
        page.save(encoded, name, **options)
        return encoded
    return run


def decode(encoded):
    with Image.open(io.BytesIO(encoded)) as image:
        image.load()
        return image


# The formats with Pillow's mode, what differs from the library's file, and the options that make it
# the same otherwise.
FORMATS = {
    "bmp-24": ("RGB", "", {"format": "BMP"}),
    "png-8": ("L", "gray instead of a palette", {"format": "PNG"}),
    "png-24": ("RGB", "zlib at level 6 instead of 4", {"format": "PNG"}),
    "tiff-24": ("RGB", "", {"format": "TIFF", "compression": "tiff_lzw"}),
    "jpeg-24": ("RGB", "", {"format": "JPEG"}),
    "gif-8": ("L", "", {"format": "GIF"}),
}


def codec_peers():
    found = {}
    for name, (mode, difference, options) in FORMATS.items():
        options = dict(options)
        written = encoding(options.pop("format"), **options)
        difference = ", ".join(filter(None, [difference, FOUR_BYTES if mode == "RGB" else ""]))
        found[f"encode-{name}"] = Peer(mode, difference or "own settings", written, is_encoded)
        decoded_mode = "P" if name == "png-8" else mode
        found[f"decode-{name}"] = Peer(name, FOUR_BYTES if mode == "RGB" else "", decode,
                                       decodes_to(decoded_mode))
    return found


# PCX goes through a file, in memory where the system has a folder for such, as the library's does.
FOLDER = tempfile.TemporaryDirectory(dir="/dev/shm" if Path("/dev/shm").is_dir() else None)
PCX_FILE = Path(FOLDER.name) / "page.pcx"


def write_pcx(page):
    page.save(PCX_FILE, "PCX")
    return PCX_FILE


def read_pcx(path):
    with Image.open(path) as image:
        image.load()
        return image


def is_written(page, path):
    return is_as_bright(page, read_pcx(path))


PCX_PEERS = {
    "encode-pcx-24": Peer("RGB", FOUR_BYTES, write_pcx, is_written),
    "decode-pcx-24": Peer("pcx-24", FOUR_BYTES, read_pcx, decodes_to("RGB")),
}


def peers():
    found = {
        "gray-24": Peer("RGB", f"other weights, {FOUR_BYTES}", lambda page: page.convert("L"),
                        is_as_bright),
        "diffusion-8": Peer("L", "Floyd-Steinberg, 8 bits a pixel out",
                            lambda page: page.convert("1"), is_as_bright),
        "balance-8": Peer("L", "other rule for the cuts", balance, is_stretched),
        "balance-24": Peer("RGB", f"other rule for the cuts, {FOUR_BYTES}", balance, is_stretched),
    }
    for name, (method, position) in MOVES.items():
        for bits, mode in MODES.items():
            found[f"{name}-{bits}"] = Peer(mode, FOUR_BYTES if bits == "24" else "",
                                           lambda page, method=method: page.transpose(method),
                                           moves_to(position))
    return found | resample_peers() | codec_peers() | PCX_PEERS


RESIZINGS = {
    "half": lambda size, _width: size // 2,
    "thumbnail": lambda size, width: size * 200 // width,
    "larger": lambda size, _width: size // 2 * 3,
}
# Modes and what differs; Pillow's filter is the library's.
RESAMPLED = {
    "8": ("L", "coefficients of 22 bits"),
    "24": ("RGB", FOUR_BYTES),
    "32": ("RGBA", "premultiplies and divides again"),
    "32-alpha": (TRANSLUCENT, "other alpha, premultiplies and divides again"),
}


def resizing_to(size):
    def size_of(page):
        return size(page.width, page.width), size(page.height, page.width)

    def run(page):
        return page.resize(size_of(page), Image.Resampling.BICUBIC)

    def is_right(page, result):
        # Without alpha, which would weigh the colours in the result only.
        opaque = page.mode != "RGBA" or page.getextrema()[3] == (255, 255)
        return result.size == size_of(page) and (not opaque or is_as_bright(page, result))
    return run, is_right


def resample_peers():
    found = {}
    for name, size in RESIZINGS.items():
        for bits, (mode, difference) in RESAMPLED.items():
            found[f"resample-{name}-{bits}"] = Peer(mode, difference, *resizing_to(size))
    return found


def open_page(folder, dpi, mode):
    if mode == TRANSLUCENT:
        page = open_page(folder, dpi, "RGBA")
        page.putalpha(page.getchannel("R"))
        return page
    if mode in FORMATS:
        return (folder / f"{mode}-{dpi}").read_bytes()
    if mode == "pcx-24":
        return Path(shutil.copy(folder / f"{mode}-{dpi}", PCX_FILE))
    name = f"color-{dpi}.ppm" if mode in ("RGB", "RGBA") else f"gray-{dpi}.pgm"
    with Image.open(folder / name) as page:
        page.load()
        # Pillow has no conversion from 8 to 16 bits: two neighbours make one pixel.
        if mode == "I;16":
            doubled = bytes(byte for value in page.tobytes() for byte in (value, value ^ 0x5A))
            return Image.frombytes(mode, page.size, doubled)
        return page.convert(mode)


# ------------------------------------------------------------------- timing

def time_once(peer, page, seconds):
    """Milliseconds of processor time of one run, averaged over at least `seconds`."""
    runs = 0
    start = time.process_time()
    while True:
        peer.run(page)
        runs += 1
        elapsed = time.process_time() - start
        if elapsed >= seconds:
            return elapsed / runs * 1000


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("job")
    parser.add_argument("dpi", choices=("300", "600"))
    parser.add_argument("pages", type=Path, help="the folder that pixtola_bench wrote them to")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--min-time", type=float, default=0.02, help="seconds for a repetition")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    peer = peers().get(arguments.job)
    lines = []
    if peer:
        page = open_page(arguments.pages, arguments.dpi, peer.mode)
        if not peer.is_right(page, peer.run(page)):
            sys.exit(f"pillow_bench: {arguments.job}: Pillow's result is not what is measured")
        for _ in range(arguments.repetitions):
            elapsed = time_once(peer, page, arguments.min_time)
            lines.append({"run_name": "Pillow", "run_type": "iteration", "real_time": elapsed,
                          "time_unit": "ms", "label": peer.difference})
    context = {"job": arguments.job, "dpi": arguments.dpi, "peers": f"Pillow {PIL.__version__}"}
    json.dump({"context": context, "benchmarks": lines}, sys.stdout, indent=1)


if __name__ == "__main__":
    main()
