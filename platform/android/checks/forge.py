"""Writes a copy of a library with a fault that no linker makes: forge.py FAULT OBJECT COPY"""

import struct
import sys

LOAD = 1


def main():
    fault, source, target = sys.argv[1:]
    with open(source, "rb") as file:
        data = bytearray(file.read())
    headers, = struct.unpack_from("<Q", data, 32)
    count, = struct.unpack_from("<H", data, 56)
    starts = range(headers, headers + 56 * count, 56)
    loads = [start for start in starts if struct.unpack_from("<I", data, start)[0] == LOAD]
    if fault == "machine":
        struct.pack_into("<H", data, 18, 62)  # x86-64
    elif fault == "level":
        data = data.replace(b"Android\0" + struct.pack("<I", 23), b"Android\0" + struct.pack("<I", 24))
    elif fault == "stated":
        for start in loads:
            struct.pack_into("<Q", data, start + 48, 16384)
    elif fault == "shared":
        struct.pack_into("<Q", data, loads[0] + 40, 1 << 20)  # reaches into the segments behind it
    else:
        sys.exit(f"no such fault: {fault}")
    with open(target, "wb") as file:
        file.write(data)


if __name__ == "__main__":
    main()
