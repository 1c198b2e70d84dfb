"""Reading pictures, as rows of RGBA from top to bottom."""

import struct
import subprocess


def read_png(path):
    """(width, height, RGBA bytes)."""
    width, height = struct.unpack_from(">II", path.read_bytes(), 16)
    read = subprocess.run(["convert", f"png:{path}", "-depth", "8", "rgba:-"], capture_output=True, check=True)
    return width, height, read.stdout


def flip(pixels, width):
    """The rows the other way round: GL reads the bottom row first."""
    stride = width * 4
    return b"".join(pixels[at:at + stride] for at in range(len(pixels) - stride, -1, -stride))
