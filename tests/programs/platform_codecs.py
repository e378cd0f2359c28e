"""What the platform's codecs make of files, for tests: PIXTOLA_DECODE_DUMP and PIXTOLA_ENCODE_FILE name the
programs that ask them."""

import os
import subprocess
from dataclasses import dataclass

from PIL import Image


@dataclass
class Decoded:
    format: str  # as the platform names it, without "PixelFormat"
    dpi: tuple
    pages: int
    image: Image.Image  # RGBA


def images_in(output):
    """What PIXTOLA_DECODE_DUMP printed."""
    while output:
        header, output = output.split(b"ENDHDR\n", 1)
        fields = {}
        for line in header.decode("ascii").splitlines()[1:]:
            key, *values = line.removeprefix("# ").split()
            fields[key] = values
        size = int(fields["WIDTH"][0]), int(fields["HEIGHT"][0])
        pixels, output = output[:4 * size[0] * size[1]], output[4 * size[0] * size[1]:]
        yield Decoded(fields["format"][0], tuple(map(float, fields["dpi"])), int(fields["pages"][0]),
                      Image.frombytes("RGBA", size, pixels))


def decode_frames(path, frame="all"):
    """Those that the platform decodes, in their order: of a damaged file, fewer than it has."""
    command = [os.environ["PIXTOLA_DECODE_DUMP"], str(path), str(frame)]
    return list(images_in(subprocess.run(command, capture_output=True).stdout))


def decode(path, frame=0):
    """None when the platform does not decode the frame."""
    frames = decode_frames(path, frame)
    return frames[0] if frames else None


def encode(source, target, mime_type, value=None):
    """False when the platform does not encode `source` so."""
    command = [os.environ["PIXTOLA_ENCODE_FILE"], str(source), str(target), mime_type]
    return subprocess.run(command + ([str(value)] if value is not None else [])).returncode == 0
