#!/usr/bin/env python3
"""What marrowkit-cli needs for the largest libraries we care about: time and peak memory of every command.

Everything is done twice, with a half and with the whole of it, so that what grows faster than its input shows:
a datafile of 1,000,000 games with a tree of 200,000 ROM files, a library of 2,000 databases, and a database of more
than 1 GB. Needs some 8 GB of disk and several minutes.

    scale.py CLI FOLDER [--part N]     with a Nth part of it all, to try it out
"""

import argparse
import os
import shutil
import subprocess
import sys
import time
import zlib
from pathlib import Path

GAMES = 1_000_000
ROMS = 200_000
FILES_IN_A_FOLDER = 500
DATABASES = 2_000
SEPARATOR = "\xac"


class Runs:
    """Runs the program and remembers what each step cost."""

    def __init__(self, cli, library):
        self.cli = cli
        self.library = library
        self.costs = {}

    def __call__(self, step, *arguments):
        command = [self.cli, "--library", str(self.library), "--quiet", "--yes", *map(str, arguments)]
        began = time.monotonic()
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        failure = process.stderr.read().decode(errors="replace")
        _, status, usage = os.wait4(process.pid, 0)
        seconds = time.monotonic() - began
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f"{' '.join(command)}\n{failure}")
        self.costs[step] = (seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024)


def rom(number):
    """Bytes of their own for each ROM, short: it is the number of files that counts here."""
    return f"ROM {number:08d} ".encode() * 8


def line(number):
    name = f"Game {number * 2654435761 % 2**32:08X} ({1980 + number % 20})(Publisher {number // 200})"
    crc = f"{zlib.crc32(rom(number)):08x}"
    return SEPARATOR + SEPARATOR.join([name, name, name, name, name + ".st", crc, str(len(rom(number))), "", ""]) + \
        SEPARATOR + "\r\n"


def make_datafile(path, games):
    with open(path, "w", encoding="latin-1", newline="") as datafile:
        datafile.write("[DAT]\r\nversion=2.00\r\n[GAMES]\r\n")
        datafile.writelines(line(number) for number in range(games))


def make_roms(folder, files):
    for number in range(files):
        sub = folder / f"Disk {number // FILES_IN_A_FOLDER:04d}"
        if number % FILES_IN_A_FOLDER == 0:
            sub.mkdir(parents=True)
        (sub / f"{number:07d}.st").write_bytes(rom(number))


def measure(cli, folder, part):
    """The costs of all steps with a `part`th of everything, and the size of the large database in MB."""
    shutil.rmtree(folder, ignore_errors=True)
    library = folder / "Library"
    library.mkdir(parents=True)
    run = Runs(cli, library)
    datafile = folder / "Scale - TOSEC.dat"
    make_datafile(datafile, GAMES // part)
    make_roms(folder / "Roms", ROMS // part)
    run("create-template", "create-template", library / "Empty.mdb")

    run("import, with TOSEC and ROM scan", "import", datafile, "--name", "Big", "--roms", folder / "Roms")
    run("import --dry-run --report", "import", datafile, "--name", "Dry", "--dry-run", "--roms", folder / "Roms",
        "--report", folder / "report.csv")
    database = library / "Big" / "Big.mdb"
    while database.stat().st_size < 1e9 / part:
        run("import --into, the last one", "import", datafile, "--into", "Big")
    size = database.stat().st_size / 1e6
    run("check", "check", database)
    run("show", "show", "Big")
    run("fix", "fix", "Big")
    run("export Games", "export", database, "Games")
    run("sql, counting by a text", "sql", database, "SELECT COUNT(*) FROM Games WHERE Name = 'Nothing'")
    run("sql, sorting all games", "sql", database, "SELECT Name FROM Games ORDER BY Comment, Name")
    run("sql, one game by its key", "sql", database, "SELECT Name FROM Games WHERE GA_Id = 4711")
    run("clear-extras", "clear-extras", "Big")
    run("sql, deleting half of the games", "sql", database, "DELETE * FROM Games WHERE GA_Id MOD 2 = 0")
    run("compact", "compact", "Big")
    run("delete", "delete", "Big")

    for number in range(DATABASES // part):
        name = f"Database {number:05d}"
        (library / name).mkdir()
        shutil.copyfile(library / "Empty.mdb", library / name / f"{name}.mdb")
    run("list", "list")
    run("check, the whole library", "check", *sorted(library.glob("Database*/*.mdb")))
    shutil.rmtree(folder)
    return run.costs, size


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("cli")
    parser.add_argument("folder", type=Path, help="is emptied first")
    parser.add_argument("--part", type=int, default=1)
    arguments = parser.parse_args()
    half, half_size = measure(arguments.cli, arguments.folder, 2 * arguments.part)
    whole, size = measure(arguments.cli, arguments.folder, arguments.part)
    print(f"{GAMES // arguments.part} games, {ROMS // arguments.part} ROM files, a database of {size:.0f} MB "
          f"(half: {half_size:.0f} MB), {DATABASES // arguments.part} databases")
    print(f"{'':36}{'seconds':>9}{'CPU':>9}{'peak MB':>9}{'CPU, to the half':>18}")
    for step, (seconds, cpu, memory) in whole.items():
        print(f"{step:36}{seconds:9.2f}{cpu:9.2f}{memory:9.0f}{cpu / max(half[step][1], 1e-9):17.2f}x")


if __name__ == "__main__":
    main()
