"""Reading pictures, as rows of RGBA."""

import struct
import subprocess


def read_png(picture):
    """(width, height, RGBA bytes) of a file or of its bytes, from top to bottom."""
    data = picture if isinstance(picture, bytes) else picture.read_bytes()
    width, height = struct.unpack_from(">II", data, 16)
    read = subprocess.run(["convert", "png:-", "-depth", "8", "rgba:-"], input=data, capture_output=True, check=True)
    return width, height, read.stdout


def flip(pixels, width):
    """The rows the other way round: GL reads the bottom row first."""
    stride = width * 4
    return b"".join(pixels[at:at + stride] for at in range(len(pixels) - stride, -1, -stride))
