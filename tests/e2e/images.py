"""Reading pictures, as rows of RGBA from top to bottom."""

import struct
import zlib


def read_png(path):
    """(width, height, RGBA bytes) of an 8-bit RGB or RGBA PNG without interlacing."""
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", f"{path} is no PNG"
    at, packed = 8, b""
    while at < len(data):
        size, kind = struct.unpack_from(">I4s", data, at)
        body = data[at + 8:at + 8 + size]
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
            assert depth == 8 and colour in (2, 6) and not interlace, f"{path}: unexpected kind of PNG"
        elif kind == b"IDAT":
            packed += body
        at += 12 + size
    channels = 4 if colour == 6 else 3
    return width, height, _to_rgba(_unfilter(zlib.decompress(packed), width * channels, height, channels), channels)


def _unfilter(raw, stride, height, step):
    previous, rows = bytearray(stride), []
    for y in range(height):
        kind = raw[y * (stride + 1)]
        row = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for x in range(stride if kind else 0):
            left = row[x - step] if x >= step else 0
            above = previous[x]
            corner = previous[x - step] if x >= step else 0
            row[x] = (row[x] + (0, left, above, (left + above) // 2, _paeth(left, above, corner))[kind]) & 255
        rows.append(row)
        previous = row
    return b"".join(rows)


def _paeth(left, above, corner):
    estimate = left + above - corner
    return min((left, above, corner), key=lambda value: abs(estimate - value))


def _to_rgba(pixels, channels):
    if channels == 4:
        return bytes(pixels)
    result = bytearray(b"\xff") * (len(pixels) // 3 * 4)
    for channel in range(3):
        result[channel::4] = pixels[channel::3]
    return bytes(result)


def flip(pixels, width):
    """The rows the other way round: GL reads the bottom row first."""
    stride = width * 4
    return b"".join(pixels[at:at + stride] for at in range(len(pixels) - stride, -1, -stride))
