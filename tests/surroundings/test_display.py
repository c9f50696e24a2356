"""The desktop program without a display, with one that goes away, and ended by signals."""

import os
import pathlib
import shutil
import signal
import subprocess
import time
import unittest

from surroundings import PROGRAM, STOPPING, LibraryTest, environment, write_datafile

EXPERT = "-expert"  # no message box at the start
STARTED_SECONDS = 20


def x_server():
    """An X server of our own; its number is the first free one."""
    reading, writing = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "1024x768x24", "-nolisten", "tcp"],
                              pass_fds=(writing,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(writing)
    with os.fdopen(reading) as number:
        return server, ":" + number.readline().strip()


class Display(LibraryTest):
    games = 30000

    def setUp(self):
        if not PROGRAM:
            self.skipTest("built without windows")
        super().setUp()

    def variables(self, **changes):
        return environment(MARROWKIT_LIBRARY=self.library, WAYLAND_DISPLAY=None, XDG_RUNTIME_DIR=None,
                           **{"QT_QPA_PLATFORM": "xcb", "DISPLAY": None, **changes})

    def start_on_x(self):
        if not shutil.which("Xvfb") or not shutil.which("xdotool"):
            self.skipTest("Xvfb and xdotool are not both installed")
        server, self.display = x_server()
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        program = subprocess.Popen([PROGRAM, EXPERT], env=self.variables(DISPLAY=self.display),
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(program.communicate)
        self.addCleanup(program.kill)
        self.window = self.xdotool("search", "--sync", "--onlyvisible", "--name", "Vellora Marrowkit").split()[0]
        self.xdotool("windowfocus", "--sync", self.window)
        return server, program

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=environment(DISPLAY=self.display), check=True,
                              capture_output=True, timeout=STARTED_SECONDS).stdout.decode()

    def press(self, *keys):
        self.xdotool("key", "--delay", "80", *keys)

    def start_compacting(self):
        """By the keyboard, as a person does: down to the database's file, its menu, the first entry."""
        self.press("Home", "Right", "Down", "Right", "Down", "Menu")
        temporary = self.library / "Arcade" / "vltemp.mdb"
        end = time.monotonic() + STARTED_SECONDS
        # Watched from before the key: it is done sooner than xdotool would come back.
        last_key = subprocess.Popen(["xdotool", "key", "c"], env=environment(DISPLAY=self.display))
        self.addCleanup(last_key.wait)
        while not temporary.exists():
            self.assertLess(time.monotonic(), end, "the compaction did not begin")
            time.sleep(0.005)

    def assert_intact(self):
        self.assert_sound()
        self.assertEqual(self.count(), self.games)

    def test_no_display(self):
        for changes in ({}, {"DISPLAY": ""}, {"DISPLAY": ":4711"}, {"DISPLAY": "nonsense"},
                        {"QT_QPA_PLATFORM": "nosuch"}):
            done = subprocess.run([PROGRAM, EXPERT], env=self.variables(**changes), capture_output=True, timeout=60,
                                  check=False)
            self.assertEqual(done.returncode, 1, done)
            self.assertIn(b"Marrowkit needs a display and cannot use one here.", done.stderr)
            self.assertIn(b"marrowkit-cli does the same work without windows.", done.stderr)

    def test_signals_close_an_idle_window(self):
        for number in STOPPING:
            _, program = self.start_on_x()
            program.send_signal(number)
            self.assertEqual(program.wait(timeout=20), -number)
        # The window's place was kept, as it is when the person closes it.
        saved = (pathlib.Path(self.settings) / "marrowkit" / "registry.reg").read_text("utf-16")
        self.assertIn("MainWidth", saved)

    def test_a_signal_at_the_first_message(self):
        server, display = x_server() if shutil.which("Xvfb") else self.skipTest("Xvfb is not installed")
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        with subprocess.Popen([PROGRAM], env=self.variables(DISPLAY=display), stderr=subprocess.PIPE) as program:
            time.sleep(3)
            program.send_signal(signal.SIGTERM)
            self.assertEqual(program.wait(timeout=20), -signal.SIGTERM)

    def test_signals_stop_an_operation(self):
        for number in STOPPING:
            _, program = self.start_on_x()
            self.start_compacting()
            program.send_signal(number)
            self.assertEqual(program.wait(timeout=30), -number)
            self.assert_intact()
            self.assert_nothing_left_behind()

    def test_the_display_goes_away(self):
        server, program = self.start_on_x()
        server.kill()
        self.assertEqual(program.wait(timeout=20), 1)
        self.assert_intact()

    def test_the_display_goes_away_during_an_operation(self):
        server, program = self.start_on_x()
        self.start_compacting()
        server.kill()
        self.assertIn(program.wait(timeout=60), (0, 1))
        self.assert_intact()


class Installed(LibraryTest):
    """The program in a folder "bin" with its desktop entry beside it, which has to know its library."""

    MAIN, CHOICE = "Vellora Marrowkit", "Choose the folder"

    def setUp(self):
        if not PROGRAM or not shutil.which("Xvfb") or not shutil.which("xdotool"):
            self.skipTest("built without windows, or Xvfb and xdotool are not both installed")
        super().setUp()
        self.program = self.folder / "usr" / "bin" / "marrowkit"
        self.program.parent.mkdir(parents=True)
        shutil.copy(PROGRAM, self.program)
        entry = self.folder / "usr" / "share" / "applications" / "marrowkit.desktop"
        entry.parent.mkdir(parents=True)
        entry.touch()
        server, self.display = x_server()
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=environment(DISPLAY=self.display), check=True,
                              capture_output=True, timeout=STARTED_SECONDS).stdout.decode()

    def remember(self, library):
        choice = self.settings / "marrowkit" / "library"
        choice.parent.mkdir(parents=True, exist_ok=True)
        choice.write_text(f"{library}\n", encoding="utf-8")

    def show(self, title):
        window = self.xdotool("search", "--sync", "--onlyvisible", "--name", title).split()[0]
        self.xdotool("windowfocus", "--sync", window)

    def first_window(self, **changes):
        """Starts the program; the title of what it shows first."""
        env = environment(WAYLAND_DISPLAY=None, XDG_RUNTIME_DIR=None, QT_QPA_PLATFORM="xcb", DISPLAY=self.display,
                          **{"MARROWKIT_LIBRARY": None, **changes})
        program = subprocess.Popen([self.program, EXPERT], env=env, stderr=subprocess.DEVNULL)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        either = f"{self.MAIN}|{self.CHOICE}"
        window = self.xdotool("search", "--sync", "--onlyvisible", "--name", either).split()[0]
        return self.xdotool("getwindowname", window)

    def test_asks_at_the_first_start(self):
        self.assertIn(self.CHOICE, self.first_window())

    def test_asks_when_the_variable_is_empty(self):
        self.assertIn(self.CHOICE, self.first_window(MARROWKIT_LIBRARY=""))

    def test_asks_when_the_library_is_gone(self):
        self.remember(self.folder / "gone")
        self.assertIn(self.CHOICE, self.first_window())

    def test_opens_the_remembered_library(self):
        self.remember(self.library)
        self.assertIn(self.MAIN, self.first_window())

    def test_looks_for_datafiles_in_the_library_first(self):
        write_datafile(self.library / "here.dat", 1)
        self.remember(self.library)
        self.assertIn(self.MAIN, self.first_window())
        self.show(self.MAIN)
        self.xdotool("key", "ctrl+r")
        self.show("Select the RC-2.0 Datafile")
        self.xdotool("type", "here.dat")
        self.xdotool("key", "Return")
        self.show("RomCenter 2.00 Datafile Import")


if __name__ == "__main__":
    unittest.main()
