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


def decode(path, frame=0):
    """None when the platform does not decode the file."""
    done = subprocess.run([os.environ["PIXTOLA_DECODE_DUMP"], str(path), str(frame)], capture_output=True)
    if done.returncode != 0:
        return None
    header, pixels = done.stdout.split(b"ENDHDR\n", 1)
    fields = {}
    for line in header.decode("ascii").splitlines()[1:]:
        key, *values = line.removeprefix("# ").split()
        fields[key] = values
    size = int(fields["WIDTH"][0]), int(fields["HEIGHT"][0])
    return Decoded(fields["format"][0], tuple(map(float, fields["dpi"])), int(fields["pages"][0]),
                   Image.frombytes("RGBA", size, pixels))


def encode(source, target, mime_type, value=None):
    """False when the platform does not encode `source` so."""
    command = [os.environ["PIXTOLA_ENCODE_FILE"], str(source), str(target), mime_type]
    return subprocess.run(command + ([str(value)] if value is not None else [])).returncode == 0
