"""Second opinion on a PNG from tessiva-convert: Python's zlib checks every
chunk CRC and inflates the image data, which must give one filter byte plus
3 x width bytes per row. Usage: check_png_zlib.py FILE WIDTH HEIGHT"""
import struct
import sys
import zlib


def main(path, width, height):
    data = open(path, "rb").read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        return "no PNG signature"
    at, idat, ihdr = 8, b"", None
    while at < len(data):
        (length,) = struct.unpack(">I", data[at:at + 4])
        kind, body = data[at + 4:at + 8], data[at + 8:at + 8 + length]
        (crc,) = struct.unpack(">I", data[at + 8 + length:at + 12 + length])
        if zlib.crc32(kind + body) != crc:
            return "CRC of %r" % kind
        if kind == b"IHDR":
            ihdr = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
        at += 12 + length
    if ihdr != (width, height, 8, 2, 0, 0, 0):
        return "IHDR %r" % (ihdr,)
    raw = zlib.decompress(idat)  # also checks the Adler-32
    if len(raw) != height * (1 + 3 * width):
        return "inflated to %d bytes" % len(raw)
    filters = {raw[y * (1 + 3 * width)] for y in range(height)}
    if not filters <= {0, 1, 2, 3, 4}:
        return "filter types %r" % sorted(filters)
    return None


if __name__ == "__main__":
    error = main(sys.argv[1], int(sys.argv[2]), int(sys.argv[3]))
    if error:
        print("%s: %s" % (sys.argv[1], error), file=sys.stderr)
        sys.exit(1)
    print("%s: zlib ok" % sys.argv[1])
