#!/usr/bin/env python3
"""Writes src/platform/jet/format/CollationTables.inc: the character weights of Jet's sort order General.

usage: generate-collation.py JET3-WEIGHTS.tsv JET4-WEIGHTS.tsv OUTPUT

JET3-WEIGHTS has a line per byte of code page 1252:
    byte, code point, class (N, G, A), primary weights, placeholders (G), secondary nibble (A)
JET4-WEIGHTS has a line per UTF-16 unit:
    unit, class (N, A, E, K, M, C, X), primary weights, secondary weights, modifier (C), minor code (M), flag (K)
All numbers are hexadecimal; lines that begin with # are comments.

The tables for Jet 4 are two-stage: an index of 256 page numbers and the pages of 256 units, equal pages being
stored once. Primary weights (mostly two bytes, mostly different for every unit) and kinds (class and secondary
weight, the same for most of the pages) are kept apart, which shares far more pages.
"""
import sys

PAGE = 256
# Must match the enumerators of Collation.cpp.
KINDS = {"X": 0, "N": 1, "A": 2, "K2": 3, "K3": 4, "M": 5, "C": 6, "E": 7}


def read(path, width):
    with open(path, encoding="ascii") as file:
        lines = [line.rstrip("\n") for line in file if not line.startswith("#")]
    rows = [(line.split("\t") + [""] * width)[:width] for line in lines]
    for position, row in enumerate(rows):
        if int(row[0], 16) != position:
            raise SystemExit(f"{path}: line for {position:X} expected, {row[0]} found")
    return rows


def primary(weights):
    """One byte as it is, two bytes as a big-endian number; a first byte is never 00, so both can be told apart."""
    data = bytes.fromhex(weights)
    if len(data) > 2 or data[:1] == b"\0":
        raise SystemExit(f"cannot store the weights {weights}")
    return int.from_bytes(data, "big")


def array(out, kind, name, values, digits):
    per_line = 110 // (digits + 3)
    out.append(f"constexpr std::{kind}_t {name}[{len(values)}] = {{")
    texts = [f"{value:#0{digits + 2}x}" for value in values]
    for start in range(0, len(texts), per_line):
        out.append(",".join(texts[start : start + per_line]) + ",")
    out.append("};")


def paged(out, kind, name, values, digits):
    pages, index, known = [], [], {}
    for start in range(0, len(values), PAGE):
        page = tuple(values[start : start + PAGE])
        if page not in known:
            known[page] = len(known)
            pages.extend(page)
        index.append(known[page])
    array(out, "uint8", f"{name}Page", index, 2)
    array(out, kind, name, pages, digits)


def jet4(out, rows):
    primaries, kinds, expansions = [], [], [0]
    for _, kind, inline, extra, modifier, minor, flag in rows:
        secondary = 0
        if kind == "E":
            # Several weights: the primary weight is a position in the expansion list.
            primaries.append(len(expansions))
            weights, extras = bytes.fromhex(inline), bytes.fromhex(extra)
            expansions += [len(weights), *weights, len(extras), *extras]
        else:
            primaries.append(primary(inline))
        if kind == "K":
            kind += flag
            secondary = int(extra, 16) if extra else 2
        elif kind == "N":
            secondary = 2
        elif kind == "A":
            secondary = int(extra, 16)
        elif kind == "M":
            secondary = int(minor, 16)
        elif kind == "C":
            secondary = int(modifier, 16)
        kinds.append(KINDS[kind] << 8 | secondary)
    paged(out, "uint16", "kPrimary", primaries, 4)
    paged(out, "uint16", "kKind", kinds, 4)
    array(out, "uint8", "kExpansion", expansions, 2)


def jet3(out, rows):
    out.append("// Per byte: primary weights, placeholders before a following nibble, nibble (0 = none).")
    array(out, "uint16", "kJet3Primary", [primary(row[3]) for row in rows], 4)
    array(out, "uint8", "kJet3Placeholders", [int(row[4] or "0", 16) for row in rows], 2)
    array(out, "uint8", "kJet3Nibble", [int(row[5] or "0", 16) for row in rows], 2)


def main():
    if len(sys.argv) != 4:
        raise SystemExit(__doc__)
    out = ["// Written by scripts/generate-collation.py; not edited by hand.", "// clang-format off"]
    jet3(out, read(sys.argv[1], 6))
    jet4(out, read(sys.argv[2], 7))
    out.append("// clang-format on")
    with open(sys.argv[3], "w", encoding="ascii") as file:
        file.write("\n".join(out) + "\n")


if __name__ == "__main__":
    main()
