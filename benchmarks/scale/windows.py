#!/usr/bin/env python3
"""What the desktop program needs for the largest libraries we care about: time and peak memory, driven by its keyboard.

A library of 2,000 databases and one of more than 1 GB is opened, the large database fixed and compacted, and a datafile
of 1,000,000 games imported with a tree of 200,000 ROM files, as a person does it: on a display (Xvfb), with keys
(xdotool). Needs some 8 GB of disk and several minutes.

    windows.py PROGRAM CLI FOLDER [--part N]     with a Nth part of it all, to try it out
"""

import argparse
import os
import shutil
import subprocess
import time
from pathlib import Path

import scale

LIMIT_SECONDS = 600


class Display:
    """An X server of our own, and a person's hands on it."""

    def __init__(self):
        reading, writing = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "1024x768x24"],
                                       pass_fds=(writing,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as number:
            self.name = ":" + number.readline().strip()
        self.environment = dict(os.environ, DISPLAY=self.name, QT_QPA_PLATFORM="xcb")

    def xdotool(self, *arguments):
        done = subprocess.run(["xdotool", *map(str, arguments)], env=self.environment, check=False,
                              capture_output=True, timeout=LIMIT_SECONDS)
        return done.stdout.decode()

    def window(self, title):
        """Waits for a window and gives it the keyboard; not all of xdotool's own ways to wait come back."""
        end = time.monotonic() + LIMIT_SECONDS
        while not (found := self.xdotool("search", "--onlyvisible", "--name", title).split()):
            if time.monotonic() > end:
                raise TimeoutError(f"no window {title}")
            time.sleep(0.02)
        self.xdotool("windowfocus", found[-1])

    def answer(self, title):
        """Takes a message's default button, and waits until it is gone."""
        while message := self.xdotool("search", "--onlyvisible", "--name", title).split():
            self.xdotool("windowfocus", message[-1])
            self.press("Return")
            time.sleep(0.3)

    def press(self, *keys):
        self.xdotool("key", "--delay", "60", *keys)

    def type(self, text):
        self.xdotool("type", "--delay", "5", text)


class Program:
    """The running program: what it did since the last question, and its memory."""

    def __init__(self, display, program, library):
        self.began = time.monotonic()
        self.process = subprocess.Popen([program, "-expert"],
                                        env=dict(display.environment, MARROWKIT_LIBRARY=str(library)))
        self.costs = {}
        self.cpu_before = 0

    def cpu(self):
        fields = Path(f"/proc/{self.process.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def start(self):
        Path(f"/proc/{self.process.pid}/clear_refs").write_text("5")  # the step has a peak of its own
        self.cpu_before = self.cpu()
        self.began = time.monotonic()

    def done(self, step):
        """REQUIRES: the step's end was just seen."""
        seconds = time.monotonic() - self.began
        status = Path(f"/proc/{self.process.pid}/status").read_text()
        peak = next(int(line.split()[1]) for line in status.splitlines() if line.startswith("VmHWM"))
        self.costs[step] = (seconds, self.cpu() - self.cpu_before, peak / 1024)


def make_library(cli, folder, part):
    shutil.rmtree(folder, ignore_errors=True)
    library = folder / "Library"
    library.mkdir(parents=True)
    run = scale.Runs(cli, library)
    run("create-template", "create-template", library / "Empty.mdb")
    scale.make_datafile(folder / "Scale - TOSEC.dat", scale.GAMES // part)
    scale.make_roms(folder / "Roms", scale.ROMS // part)
    run("import", "import", folder / "Scale - TOSEC.dat", "--name", "A large one")
    while (library / "A large one" / "A large one.mdb").stat().st_size < 1e9 / part:
        run("import", "import", folder / "Scale - TOSEC.dat", "--into", "A large one")
    for number in range(scale.DATABASES // part):
        name = f"Database {number:05d}"
        (library / name).mkdir()
        shutil.copyfile(library / "Empty.mdb", library / name / f"{name}.mdb")
    return library


MAIN_WINDOW = "^Vellora Marrowkit"
RESULT = "^Vellora$"
REMINDER = "^Marrowkit$"


def operation(display, program, step, key):
    """By the menu over the large database's file, until its message."""
    display.window(MAIN_WINDOW)
    display.press("Menu")
    program.start()
    display.press(key)
    display.window(RESULT)
    program.done(step)
    display.answer(RESULT)


def drive(display, program, folder):
    display.window(MAIN_WINDOW)
    program.done("start, with the whole tree")
    display.press("Home")
    display.type("A large")
    time.sleep(2)  # letters typed later begin a new search
    display.press("Right", "Down")
    operation(display, program, "fix the large database", "s")
    operation(display, program, "compact it", "c")

    display.window(MAIN_WINDOW)
    display.press("ctrl+r")
    display.window("^Select the RC-2.0 Datafile")
    display.type(folder / "Scale - TOSEC.dat")
    display.press("Return")
    display.window("^RomCenter 2.00 Datafile Import")
    display.press("alt+r", "alt+p")
    display.type("Z:" + str(folder / "Roms").replace("/", "\\"))
    program.start()
    display.press("Return")
    display.window(REMINDER)
    program.done("import with TOSEC and ROM scan")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("cli")
    parser.add_argument("folder", type=lambda path: Path(path).resolve(), help="is emptied first")
    parser.add_argument("--part", type=int, default=1)
    arguments = parser.parse_args()
    library = make_library(arguments.cli, arguments.folder, arguments.part)
    display = Display()
    program = Program(display, arguments.program, library)
    try:
        drive(display, program, arguments.folder)
    finally:
        program.process.terminate()
        program.process.wait()
        display.server.terminate()
    print(f"{scale.GAMES // arguments.part} games, {scale.ROMS // arguments.part} ROM files, "
          f"{scale.DATABASES // arguments.part} databases")
    print(f"{'':36}{'seconds':>9}{'CPU':>9}{'peak MB':>9}")
    for step, (seconds, cpu, memory) in program.costs.items():
        print(f"{step:36}{seconds:9.2f}{cpu:9.2f}{memory:9.0f}")
    shutil.rmtree(arguments.folder)


if __name__ == "__main__":
    main()
