"""Signals during every operation that changes something: nothing is lost, and nothing is left half done."""

import os
import resource
import shutil
import signal
import subprocess
import time
import unittest

from surroundings import CLI, STOPPING, LibraryTest, Signalled, write_datafile

# Each operation meets the signals at so many moments of its run.
MOMENTS = 6


class Signals(LibraryTest):
    games = 6000

    def setUp(self):
        super().setUp()
        self.datafile = self.folder / "more.dat"
        write_datafile(self.datafile, 6000, seed=2)
        self.saved = self.folder / "saved"
        shutil.copytree(self.library, self.saved)

    def start_over(self):
        shutil.rmtree(self.library)
        shutil.copytree(self.saved, self.library)

    def seconds_of(self, arguments):
        self.start_over()
        start = time.monotonic()
        self.must(*arguments)
        return time.monotonic() - start

    def at_all_moments(self, *arguments, verify):
        arguments = ("--yes", "--library", self.library, *arguments)
        seconds = self.seconds_of(arguments)
        stopped = 0
        for moment in range(1, MOMENTS + 1):
            for number in STOPPING:
                self.start_over()
                result = Signalled(arguments, number, seconds * moment / (MOMENTS + 1))
                with self.subTest(number=number, moment=moment):
                    self.assertIn(result.code, (0, 1, -number), result)
                    self.assertNotIn("Run-time error", result.err)
                    if result.code != 0 and result.was_running:
                        stopped += 1
                    self.assert_nothing_left_behind()
                    self.assert_sound()
                    verify(result)
        return stopped

    def games_are_all_there(self, _result):
        self.assertEqual(self.count(), 6000)

    def test_import_into_a_database(self):
        def verify(_result):
            self.assertGreaterEqual(self.count(), 6000)

        self.assertGreater(self.at_all_moments("import", self.datafile, "--into", "Arcade", verify=verify), 0)

    def test_import_into_a_new_database(self):
        def verify(_result):
            made = self.library / "More" / "More.mdb"
            if made.exists():
                self.assert_sound(made)
            self.assertEqual(self.count(), 6000)

        self.at_all_moments("import", self.datafile, "--name", "More", verify=verify)

    def test_compact(self):
        self.assertGreater(self.at_all_moments("compact", "Arcade", verify=self.games_are_all_there), 0)

    def test_fix(self):
        self.at_all_moments("fix", "Arcade", verify=self.games_are_all_there)

    def test_clear_extras(self):
        self.at_all_moments("clear-extras", "Arcade", verify=self.games_are_all_there)

    def test_remove_views(self):
        self.at_all_moments("remove-views", "Arcade", verify=self.games_are_all_there)

    def test_delete_record(self):
        self.at_all_moments("delete-record", "Arcade", "Languages", "2", "--replace-with", "1",
                            verify=self.games_are_all_there)

    def test_a_statement_is_done_as_a_whole_or_not_at_all(self):
        def verify(result):
            self.assertIn(self.count("Games WHERE Comment = 'x'"), (0, 6000), result)
            if result.code == 0:
                self.assertEqual(self.count("Games WHERE Comment = 'x'"), 6000)

        stopped = self.at_all_moments("sql", self.database, "UPDATE Games SET Comment = 'x', Name = Name & 'y'",
                                      verify=verify)
        self.assertGreater(stopped, 0)

    def test_new(self):
        self.at_all_moments("new", "Other", verify=self.games_are_all_there)

    def test_create_template(self):
        def verify(result):
            made = self.library / "Made.mdb"
            # A signal may also come when the file is finished and the program is only ending.
            if made.exists():
                self.assert_sound(made)
            else:
                self.assertNotEqual(result.code, 0)

        self.at_all_moments("create-template", self.library / "Made.mdb", verify=verify)

    def test_delete_is_finished(self):
        """A folder that is half gone would be worse than one that is gone."""
        folder = self.library / "Big"
        self.start_over()
        folder.mkdir()
        shutil.copy(self.database, folder / "Big.mdb")
        for number in range(3000):
            (folder / f"{number}.txt").touch()
        result = Signalled(("--yes", "--library", self.library, "delete", "Big"), signal.SIGTERM, 0.02)
        if result.code == 0:
            self.assertFalse(folder.exists())
        else:
            self.assertEqual(result.code, -signal.SIGTERM)
            self.assertTrue(not folder.exists() or len(list(folder.iterdir())) == 3001, result)

    def test_commands_that_only_look_end_at_once(self):
        for command in (("check", self.database), ("export", self.database, "Games"), ("crc", "/dev/zero")):
            for number in STOPPING:
                result = Signalled(command, number, 0.01)
                if result.was_running:
                    self.assertIn(result.code, (-number, 0), result)

    def test_a_question_can_be_left_by_ctrl_c(self):
        with subprocess.Popen([CLI, "--library", self.library, "clear-extras", "Arcade"], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            question = b""
            while not question.endswith(b"/c] "):
                question += os.read(process.stderr.fileno(), 1)
            time.sleep(0.1)
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(timeout=10), -signal.SIGINT)
        self.assert_sound()

    def test_nobody_reads_the_messages_of_a_change(self):
        """`marrowkit-cli import ... 2>&1 | head -1` must not end the import in its middle."""
        reading, writing = os.pipe()
        os.close(reading)
        with subprocess.Popen([CLI, "--library", self.library, "import", self.datafile, "--into", "Arcade"],
                              stdout=writing, stderr=writing) as process:
            os.close(writing)
            process.wait(timeout=60)
        self.assertEqual(process.returncode, -signal.SIGPIPE)  # of its last line, when all was done
        self.assertEqual(self.count(), 12000)
        self.assert_nothing_left_behind()
        self.assert_sound()

    def test_nobody_reads_the_rows(self):
        with subprocess.Popen([CLI, "export", self.database, "Games"], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as process:
            process.stdout.read(10)
            process.stdout.close()
            self.assertEqual(process.wait(timeout=10), -signal.SIGPIPE)
            self.assertEqual(process.stderr.read(), b"")

    def test_a_limit_of_file_sizes_is_a_full_disk(self):
        limit = self.database.stat().st_size + 8192
        with subprocess.Popen([CLI, "--library", self.library, "import", self.datafile, "--into", "Arcade"],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))) as process:
            _, err = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 1, err)
        self.assertIn(b"isk", err)
        self.assert_sound()
        self.assertGreaterEqual(self.count(), 6000)

    def test_started_to_ignore_hanging_up(self):
        """nohup: the work goes on when the terminal closes."""
        with subprocess.Popen([CLI, "--library", self.library, "import", self.datafile, "--into", "Arcade"],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)) as process:
            time.sleep(0.1)
            process.send_signal(signal.SIGHUP)
            self.assertEqual(process.wait(timeout=60), 0)
        self.assertEqual(self.count(), 12000)


if __name__ == "__main__":
    unittest.main()
