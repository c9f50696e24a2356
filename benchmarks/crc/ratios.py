#!/usr/bin/env python3
"""Turns crc_benchmark's JSON (standard input) into a table: the loop that this processor gets, beside its peers."""

import collections
import json
import sys

OURS = ("wideClmul512", "wideClmul", "clmul", "arm", "slice16")  # the first that was measured is the one in use
PEERS = ("peer/libdeflate", "peer/zlib", "slice8", "plainSum")

speeds = collections.defaultdict(dict)  # loop -> bytes -> best speed in bytes/s
for run in json.load(sys.stdin)["benchmarks"]:
    if run["run_type"] == "iteration":
        loop, size = run["name"].split("/repeats:")[0].rsplit("/", 1)
        speeds[loop][int(size)] = max(speeds[loop].get(int(size), 0), run["bytes_per_second"])

ours = next(loop for loop in OURS if loop in speeds)
print(f"GB/s (best run); behind each peer how many times as fast ours ({ours}) is; plainSum only adds the bytes up")
print(f"{'bytes':>10} {'ours':>8}" + "".join(f" {peer:>16} {'':>7}" for peer in PEERS))
for size, speed in sorted(speeds[ours].items()):
    cells = "".join(f" {speeds[peer][size] / 1e9:16.2f} {speed / speeds[peer][size]:6.2f}x" for peer in PEERS)
    print(f"{size:>10} {speed / 1e9:>8.2f}{cells}")
