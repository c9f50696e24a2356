#!/usr/bin/env python3
"""Prints gcovr's summary (--json-summary) as a table: lines and branches of each folder."""

import collections
import json
import os
import re
import sys


def share(covered, total):
    return f"{100 * covered / total:6.1f} %" if total else "       -"


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        files = json.load(file)["files"]
    folders = collections.defaultdict(lambda: [0, 0, 0, 0])
    for entry in files:
        name = os.path.basename(entry["filename"])
        # Headers are included through the links that cmake/Folders.cmake makes for each library.
        folder = re.sub(r"^build/[^/]*/include/[^/]*/", "src/", os.path.dirname(entry["filename"]))
        if name.startswith("frm") or folder in ("src/forms", "src/shell"):
            folder += " (windows)"
        for key in (folder, "all", "all but windows" if "windows" not in folder else "windows"):
            counts = folders[key]
            counts[0] += entry["line_covered"]
            counts[1] += entry["line_total"]
            counts[2] += entry["branch_covered"]
            counts[3] += entry["branch_total"]
    print("| folder | lines | lines covered | branches covered |\n|---|---:|---:|---:|")
    for folder, (lines, total, branches, all_branches) in sorted(folders.items()):
        print(f"| {folder} | {total} | {share(lines, total)} | {share(branches, all_branches)} |")


if __name__ == "__main__":
    main()
