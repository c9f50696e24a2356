"""An import on a terminal: what is drawn there, and Ctrl-C in each of its stages."""

import contextlib
import fcntl
import os
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import termios
import time
import unittest

from surroundings import CLI, SECONDS_LIMIT, LibraryTest, environment, write_datafile

LOADING = "Loading Datafile into memory..."
CHECKSUMS = "Grabbing CRC-32 values"
MATCHING = "CRC-32/Size Matches found:"
NAMES = "Obtaining DB info from TOSEC"
WRITING = "Adding games to database..."


class Terminal:
    """Runs marrowkit-cli on a terminal of its own, the one that its Ctrl-C comes from."""

    def __init__(self, arguments, columns=80, env=None, press_at=None, stdout=None):
        ours, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        self.pressed = False
        seen = b""
        with subprocess.Popen([CLI, *map(str, arguments)], stdin=theirs, stdout=stdout or theirs, stderr=theirs,
                              env=env, start_new_session=True,
                              preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0)) as process:
            os.close(theirs)
            end = time.monotonic() + SECONDS_LIMIT
            with contextlib.suppress(OSError):  # as reading ends when nobody has the terminal open any more
                while time.monotonic() < end:
                    if not select.select([ours], [], [], 1)[0]:
                        continue
                    piece = os.read(ours, 65536)
                    if not piece:
                        break
                    seen += piece
                    if press_at and not self.pressed and press_at.encode() in seen:
                        os.write(ours, b"\x03")
                        self.pressed = True
            if process.poll() is None and time.monotonic() >= end:
                process.kill()
        os.close(ours)
        self.code = process.returncode
        self.text = seen.decode()
        # The lines as they were drawn one over the other, and as they stayed.
        self.drawn = [line for line in re.split(r"[\r\n]+", self.text) if line.strip()]
        self.left = [line.split("\r")[-1] for line in self.text.replace("\r\n", "\n").split("\n")]

    def __repr__(self):
        return f"exit code {self.code}\n--- terminal\n{self.text!r}"


class ImportOnATerminal(LibraryTest):
    def setUp(self):
        super().setUp()
        self.datafile = self.folder / "games.dat"
        write_datafile(self.datafile, 60000)
        self.roms = self.folder / "roms"
        self.roms.mkdir()
        (self.roms / "game.bin").write_bytes(b"123456789")

    def arguments(self, *more):
        return ("--library", self.library, "import", self.datafile, "--name", "Other", "--tosec", "--roms", self.roms,
                *more)

    def put_large_rom(self):
        """A file that takes seconds to read and no place on the disk: Ctrl-C comes before its end."""
        with open(self.roms / "disc.iso", "wb") as file:
            file.truncate((1 << 32) - 1)

    def press(self, stage, **options):
        run = Terminal(self.arguments(), press_at=stage, **options)
        self.assertTrue(run.pressed, run)
        return run

    def assert_cancelled(self, run):
        self.assertEqual(run.code, 1, run)
        self.assertEqual([line for line in run.left if line.strip()], ["The import was cancelled."], run)
        self.assertFalse((self.library / "Other").exists())
        self.assert_nothing_left_behind()

    def test_ctrl_c_while_loading(self):
        self.put_large_rom()
        run = self.press(LOADING)
        self.assert_cancelled(run)
        self.assertNotIn(MATCHING, run.text)

    def test_ctrl_c_while_checksumming(self):
        self.put_large_rom()
        run = self.press(CHECKSUMS)
        self.assert_cancelled(run)
        self.assertNotIn(MATCHING, run.text)

    def test_ctrl_c_in_the_short_stages_before_the_writing(self):
        """They may be over before the key has come through; then the import is complete."""
        for stage in (MATCHING, NAMES):
            with self.subTest(stage=stage):
                run = self.press(stage)
                if run.code != 0:
                    self.assert_cancelled(run)
                    continue
                self.assertEqual(self.count(database=self.library / "Other" / "Other.mdb"), 60000)
                shutil.rmtree(self.library / "Other")

    def test_ctrl_c_while_writing_is_answered_and_does_not_stop_it(self):
        run = self.press(WRITING)
        self.assertEqual(run.code, 0, run)
        self.assertIn("The database is being written; this cannot be cancelled any more.", run.left)
        self.assertEqual(self.count(database=self.library / "Other" / "Other.mdb"), 60000)
        self.assert_sound(self.library / "Other" / "Other.mdb")
        self.assert_nothing_left_behind()

    def test_ctrl_c_while_adding_to_a_database_that_exists(self):
        self.put_large_rom()
        run = Terminal(("--library", self.library, "import", self.datafile, "--into", "Arcade", "--roms", self.roms),
                       press_at=LOADING)
        self.assertEqual(run.code, 1, run)
        self.assertEqual(self.count(), 0)
        self.assert_sound()
        self.assert_nothing_left_behind()

    def test_no_line_is_wider_than_the_terminal(self):
        for columns in (20, 40, 80, 200):
            with self.subTest(columns=columns):
                run = Terminal(self.arguments("--dry-run", "--report", self.folder / "report.csv"), columns=columns)
                self.assertEqual(run.code, 0, run)
                drawn = [line for line in run.drawn if line.startswith(("Load", "Grab", "Adding", "Obtain"))]
                self.assertTrue(drawn)
                self.assertLess(max(map(len, drawn)), columns, drawn)

    def test_a_bar_with_its_count_rate_and_time_left(self):
        run = Terminal(self.arguments())
        self.assertEqual(run.code, 0, run)
        bars = [line for line in run.drawn if line.startswith(WRITING)]
        self.assertTrue(any(re.search(r"\[#+\.+\] +\d+%", line) for line in bars), bars)
        long = [line for line in bars if "left" in line]
        for line in long:
            self.assertRegex(line, r" \d+/60000, \d+/s, \d+:\d\d left")
        # The bar is gone in the end, and only the messages and the result stay.
        self.assertTrue(run.left[0].startswith("You will need to run"), run.left)

    def test_the_share_that_is_done_is_seen_on_a_narrow_terminal(self):
        run = Terminal(self.arguments(), columns=24)
        self.assertEqual(run.code, 0, run)
        self.assertTrue(any(re.fullmatch(r"Adding games.* \d+%.*", line) for line in run.drawn), run.drawn)

    def test_no_sequences_that_a_terminal_may_not_know(self):
        for env in ({}, {"NO_COLOR": "1"}, {"TERM": None}, {"TERM": "vt52"}):
            with self.subTest(env=env):
                run = Terminal(self.arguments("--dry-run", "--report", self.folder / "report.csv"),
                               env=environment(**env))
                self.assertEqual(run.code, 0, run)
                self.assertNotIn("\x1b", run.text)

    def test_a_dumb_terminal_gets_a_line_for_each_stage(self):
        run = Terminal(self.arguments(), env=environment(TERM="dumb"))
        self.assertEqual(run.code, 0, run)
        self.assertNotIn("\r", run.text.replace("\r\n", ""))
        self.assertIn(LOADING, run.left)
        self.assertIn(WRITING, run.left)

    def test_the_result_may_go_to_a_file_while_the_terminal_shows_progress(self):
        with open(self.folder / "out", "wb") as out:
            run = Terminal(self.arguments(), stdout=out)
        self.assertEqual(run.code, 0, run)
        self.assertIn(WRITING, run.text)
        self.assertNotIn("Database,", run.text)
        self.assertTrue((self.folder / "out").read_text().startswith("Database,Entries,Written,Found,Files\n"))

    def test_messages_in_a_file_are_lines(self):
        result = self.cli("import", self.datafile, "--name", "Other")
        self.assertEqual(result.code, 0, result)
        self.assertNotIn("\r", result.err)
        self.assertEqual(result.err.splitlines()[0], LOADING)

    def test_a_second_ctrl_c_does_not_break_the_writing(self):
        process = subprocess.Popen([CLI, *map(str, self.arguments("--json"))], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        with process:
            line = b""
            while not line.startswith(WRITING.encode()):
                line = process.stderr.readline()
                self.assertTrue(line)
            for _ in range(5):
                process.send_signal(signal.SIGINT)
                time.sleep(0.02)
            process.communicate(timeout=SECONDS_LIMIT)
        self.assertEqual(process.returncode, 0)
        self.assertEqual(self.count(database=self.library / "Other" / "Other.mdb"), 60000)


if __name__ == "__main__":
    unittest.main()
