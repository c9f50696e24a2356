#!/usr/bin/env python3
"""An independent reading of RomCenter 2.00 datafiles, for comparison with the loader.

    read_datafile.py FILE NAME_COLUMN FILE_COLUMN SKIP_DUPLICATES ADD_ZIP

Writes name, file, CRC and size of every entry: fields separated by U+001F, each entry ended by U+001E. A size
that is no number ends the reading with the entry "!13".
"""
import re
import sys


# The five bytes without a character stand for the control characters of the same number.
TABLE = {b: bytes([b]).decode("cp1252") for b in range(0x80, 0xA0) if b not in (0x81, 0x8D, 0x8F, 0x90, 0x9D)}


def cp1252(data):
    return data.decode("latin-1").translate(TABLE)


def main():
    file, name_column, file_column, skip, add_zip = sys.argv[1], *map(int, sys.argv[2:6])
    with open(file, "rb") as stream:
        data = stream.read()
    out, seen = [], set()
    for line in re.split(rb"\r\n|\r", data):
        fields = line.split(b"\xac")
        if line[:1] != b"\xac" or len(fields) != 11:
            continue
        name = cp1252(fields[name_column])
        if skip and name in seen:
            continue
        seen.add(name)
        size = cp1252(fields[9] if fields[7] == b"N" else fields[7])
        if not re.fullmatch(r"[0-9]+", size.strip(" ")):
            out.append("!13")
            break
        out.append("\x1f".join(
            [name, cp1252(fields[file_column]) + (".zip" if add_zip else ""), cp1252(fields[6]).upper(),
             str(int(size))]))
    sys.stdout.buffer.write("".join(entry + "\x1e" for entry in out).encode("utf-8"))


if __name__ == "__main__":
    main()
