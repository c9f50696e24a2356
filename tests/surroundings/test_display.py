"""The desktop program without a display, with one that goes away, and ended by signals."""

import pathlib
import shutil
import signal
import subprocess
import time
import unittest

from screen import Screen
from surroundings import PROGRAM, STOPPING, LibraryTest, environment, write_datafile

EXPERT = "-expert"  # no message box at the start
STARTED_SECONDS = 20


def import_from_where_choosing_begins(screen, datafile):
    """Expects the file of that name there, which opens the import's options."""
    screen.press("ctrl+r")
    screen.focus("Select the RC-2.0 Datafile")
    screen.write(datafile)
    screen.press("Return")
    screen.focus("RomCenter 2.00 Datafile Import")


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
        self.screen = Screen(self)
        program = subprocess.Popen([PROGRAM, EXPERT], env=self.variables(DISPLAY=self.screen.display),
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(program.communicate)
        self.addCleanup(program.kill)
        self.screen.focus("Vellora Marrowkit")
        return program

    def start_compacting(self):
        """By the keyboard, as a person does: down to the database's file, its menu, the first entry."""
        self.screen.press("Home", "Right", "Down", "Right", "Down", "Menu")
        temporary = self.library / "Arcade" / "vltemp.mdb"
        end = time.monotonic() + STARTED_SECONDS
        # Watched from before the key: it is done sooner than xdotool would come back.
        last_key = self.screen.start_pressing("c")
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

    def test_looks_for_datafiles_in_the_library_first(self):
        write_datafile(self.library / "here.dat", 1)
        self.start_on_x()
        import_from_where_choosing_begins(self.screen, "here.dat")

    def test_signals_close_an_idle_window(self):
        for number in STOPPING:
            program = self.start_on_x()
            program.send_signal(number)
            self.assertEqual(program.wait(timeout=20), -number)
        # The window's place was kept, as it is when the person closes it.
        saved = (pathlib.Path(self.settings) / "marrowkit" / "registry.reg").read_text("utf-16")
        self.assertIn("MainWidth", saved)

    def test_a_signal_at_the_first_message(self):
        shown = Screen(self)
        with subprocess.Popen([PROGRAM], env=self.variables(DISPLAY=shown.display), stderr=subprocess.PIPE) as program:
            time.sleep(3)
            program.send_signal(signal.SIGTERM)
            self.assertEqual(program.wait(timeout=20), -signal.SIGTERM)

    def test_signals_stop_an_operation(self):
        for number in STOPPING:
            program = self.start_on_x()
            self.start_compacting()
            program.send_signal(number)
            self.assertEqual(program.wait(timeout=30), -number)
            self.assert_intact()
            self.assert_nothing_left_behind()

    def test_the_display_goes_away(self):
        program = self.start_on_x()
        self.screen.end()
        self.assertEqual(program.wait(timeout=20), 1)
        self.assert_intact()

    def test_the_display_goes_away_during_an_operation(self):
        program = self.start_on_x()
        self.start_compacting()
        self.screen.end()
        self.assertIn(program.wait(timeout=60), (0, 1))
        self.assert_intact()


class Installed(LibraryTest):
    """The program in a folder "bin" with its desktop entry beside it, which has to know its library."""

    MAIN, CHOICE = "Vellora Marrowkit", "Choose the folder"

    def setUp(self):
        if not PROGRAM:
            self.skipTest("built without windows")
        super().setUp()
        self.program = self.folder / "usr" / "bin" / "marrowkit"
        self.program.parent.mkdir(parents=True)
        shutil.copy(PROGRAM, self.program)
        entry = self.folder / "usr" / "share" / "applications" / "marrowkit.desktop"
        entry.parent.mkdir(parents=True)
        entry.touch()
        self.screen = Screen(self)

    def remember(self, library):
        choice = self.settings / "marrowkit" / "library"
        choice.parent.mkdir(parents=True, exist_ok=True)
        choice.write_text(f"{library}\n", encoding="utf-8")

    def first_window(self, **changes):
        """Starts the program; the title of what it shows first."""
        env = environment(WAYLAND_DISPLAY=None, XDG_RUNTIME_DIR=None, QT_QPA_PLATFORM="xcb",
                          DISPLAY=self.screen.display, **{"MARROWKIT_LIBRARY": None, **changes})
        program = subprocess.Popen([self.program, EXPERT], env=env, stderr=subprocess.DEVNULL)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        return self.screen.focus(f"{self.MAIN}|{self.CHOICE}")

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
        import_from_where_choosing_begins(self.screen, "here.dat")


if __name__ == "__main__":
    unittest.main()
