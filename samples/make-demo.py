#!/usr/bin/env python3
"""Writes the demonstration that run.sh imports: an invented datafile and ROM files to go with it.

    samples/make-demo.py FOLDER

FOLDER gets "Nimbus 8 - TOSEC.dat", a RomCenter 2.00 datafile of 320 games for a home computer that never was, and
"Roms" with the files of most of them. Everything is made up here, from a fixed seed: each run writes the same bytes.
"""

import pathlib
import random
import sys
import zlib

SEPARATOR = "\u00ac"
GAMES = 320
SHARE_WITH_FILE = 0.8

FIRST = ("Amber", "Astral", "Binary", "Brass", "Captain", "Cobalt", "Crystal", "Desert", "Doctor", "Electric",
         "Emerald", "Forgotten", "Frozen", "Galactic", "Ghost", "Iron", "Jungle", "Lunar", "Midnight", "Mirror",
         "Neon", "Paper", "Phantom", "Pixel", "Quantum", "Rocket", "Silent", "Silver", "Solar", "Thunder", "Turbo",
         "Velvet", "Café")
SECOND = ("Alchemist", "Arena", "Bandits", "Builder", "Caverns", "Chess", "Circus", "Courier", "Duel", "Engineer",
          "Express", "Fields", "Fortress", "Garden", "Gliders", "Harbour", "Hunters", "Islands", "Labyrinth",
          "Machine", "Orchard", "Patrol", "Pinball", "Pirates", "Quest", "Racer", "Raiders", "Runner", "Sailor",
          "Snowball", "Tower", "Voyage")
PUBLISHERS = ("Brightwater", "Copperleaf Software", "Dovetail Games", "Eastgate", "Fennel & Sons", "Hilltop Byte",
              "Kestrel Soft", "Lanternworks", "Marbles Inc.", "Northlight", "O'Hara Systems", "Plumtree", "-")
CREWS = ("The Night Shift", "Hexagon", "Old Socks", "Static")
LANGUAGES = ("", "", "", "", "(de)", "(fr)", "(en-fr)", "(it)", "(M3)", "(sp)")
VIDEO = ("", "", "(PAL)", "(PAL)", "(NTSC)")
KINDS = ((".n8t", 6000), (".n8d", 12000), (".crt", 8192))


def tosec_name(title, pick):
    year = pick.choice((f"(19{pick.randint(82, 96)})",) * 8 + ("(19xx)", "(198x)"))
    name = f"{title} {year}({pick.choice(PUBLISHERS)})" if pick.random() < 0.7 else \
        f"{title} {year}({pick.choice(PUBLISHERS[:-1])})"
    name += pick.choice(LANGUAGES) + pick.choice(VIDEO)
    if pick.random() < 0.06:
        name += "(PD)"
    chance = pick.random()
    if chance < 0.12:
        name += f"[cr {pick.choice(CREWS)}]"
    elif chance < 0.16:
        name += "[cr]"
    chance = pick.random()
    if chance < 0.10:
        name += f"[t +{pick.randint(1, 9)}]"
    elif chance < 0.14:
        name += "[t]"
    if pick.random() < 0.03:
        name += "[f save]"
    return name


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    roms = folder / "Roms"
    pick = random.Random(1987)
    titles = sorted({f"{a} {b}" for a in FIRST for b in SECOND})
    lines = ["[CREDITS]", "Author=The Marrowkit developers", "Version=1.00",
             "Comment=A demonstration. The Nimbus 8 and its games are invented.", "[DAT]", "version=2.00", "split=0",
             "merge=0", "[EMULATOR]", "refname=Nimbus 8", "version=", "[GAMES]"]
    for title in sorted(pick.sample(titles, GAMES)):
        ending, size = pick.choice(KINDS)
        name = tosec_name(title, pick)
        content = pick.randbytes(pick.randint(size // 2, size))
        crc = f"{zlib.crc32(content):08x}"
        file_name = name + ending
        lines.append(SEPARATOR.join(("", name, name, name, name, file_name, crc, str(len(content)), "", "", "")))
        if pick.random() < SHARE_WITH_FILE:
            # Collections are kept in a folder per letter, under names of their own.
            target = roms / title[0].upper() / (title.lower().replace(" ", "_").replace("é", "e") + ending)
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(content)
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "Nimbus 8 - TOSEC.dat").write_bytes("".join(line + "\r\n" for line in lines).encode("cp1252"))


main()
