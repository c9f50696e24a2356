"""What a session may lack or have otherwise: variables, locales, clocks, standard streams."""

import os
import shutil
import subprocess
import unittest

from surroundings import CLI, LibraryTest, environment, run, write_datafile

LOCALES = ("C", "C.UTF-8", "POSIX", "tr_TR.UTF-8", "tr_TR", "de_DE", "de_DE.UTF-8", "no_SUCH")


class Variables(LibraryTest):
    def test_an_empty_environment(self):
        for arguments in (("list",), ("show", "Arcade"), ("fix", "Arcade"), ("compact", "Arcade"),
                          ("--yes", "clear-extras", "Arcade"), ("new", "Other"), ("--yes", "delete", "Other")):
            result = self.cli(*arguments, env={})
            self.assertEqual(result.code, 0, result)

    def test_settings_without_a_place(self):
        """Views are removed before the frontend's setting is written; without a place for it that is told."""
        for env in ({}, {"HOME": ""}, {"XDG_CONFIG_HOME": ""}):
            result = self.cli("--yes", "remove-views", "Arcade", env=env)
            self.assert_told(result, 70)
            self.assertIn("neither XDG_CONFIG_HOME nor HOME is set", result.err)
            self.assert_sound()

    def test_settings_in_a_place_that_cannot_be(self):
        for place in ("/dev/null", "/proc/none", str(self.database)):
            result = self.cli("--yes", "remove-views", "Arcade", env=environment(XDG_CONFIG_HOME=place))
            self.assert_told(result, 70)

    def test_a_current_folder_that_is_gone(self):
        gone = self.folder / "gone"
        gone.mkdir()
        result = run("--library", self.library, "list", cwd=gone, preexec_fn=lambda: os.rmdir(gone))
        self.assertEqual(result.code, 0, result)

    def test_library_named_by_the_environment(self):
        result = run("list", env=environment(MARROWKIT_LIBRARY=self.library))
        self.assertIn('"Arcade"', result.out)
        result = run("list", env=environment(MARROWKIT_LIBRARY="/no/such/folder"))
        self.assertIn(result.code, (0, 1), result)


class Locales(LibraryTest):
    """Nothing that is read or written changes with the locale."""

    def setUp(self):
        super().setUp()
        self.must("sql", self.database,
                  "INSERT INTO Games (Name, Comment, Filesize) VALUES ('ISTANBUL ışık İ Ärger', 'i', 1234567)")

    def in_all_locales(self, *arguments):
        results = {}
        for locale in LOCALES:
            result = self.cli(*arguments, env=environment(LC_ALL=locale, LANG=locale))
            results[locale] = (result.code, result.out, result.err)
        self.assertEqual(len(set(results.values())), 1, results)
        return results["C"]

    def test_what_is_printed(self):
        for arguments in (("list",), ("list", "--json"), ("show", "Arcade"), ("schema", self.database),
                          ("export", self.database, "Games"), ("export", "--json", self.database, "Games"),
                          ("export", self.database, "Config"), ("check", self.database),
                          ("tosec", "Nimbus (1985)(Korp)(PAL)(de).d64"), ("crc", self.database)):
            self.assertEqual(self.in_all_locales(*arguments)[0], 0)

    def test_numbers_and_letters_in_statements(self):
        code, out, _ = self.in_all_locales(
            "sql", self.database, "SELECT 1.5 + 0.25, Val('2.5'), CDbl('1.25'), UCase('istanbul'), LCase('ISTANBUL'),"
            " Format(1234.5, '#,##0.00'), #12/31/1999#, CStr(0.5), StrComp('I', 'i')")
        self.assertEqual(code, 0)
        self.assertEqual(out.splitlines()[1],
                         '1.75,2.5,1.25,"ISTANBUL","istanbul","1,234.50",1999-12-31T00:00:00,"0.5",0')

    def test_names_are_found_whatever_their_case(self):
        shutil.copytree(self.library / "Arcade", self.library / "Invaders")
        (self.library / "Invaders" / "Arcade.mdb").rename(self.library / "Invaders" / "Invaders.mdb")
        self.assertEqual(self.in_all_locales("show", "INVADERS")[0], 0)
        self.assertEqual(self.in_all_locales("show", "invaders")[0], 0)

    def test_imports_write_the_same_records(self):
        datafile = self.folder / "a.dat"
        write_datafile(datafile, 20)
        exports = set()
        for locale in LOCALES:
            env = environment(LC_ALL=locale)
            self.must("--library", self.library, "import", datafile, "--name", "Made", env=env)
            made = self.library / "Made" / "Made.mdb"
            exports.add(self.must("export", made, "Games", env=env).out)
            self.must("--yes", "--library", self.library, "delete", "Made", env=env)
        self.assertEqual(len(exports), 1)

    def test_file_names_that_are_no_text(self):
        """Names in another encoding are no names that Windows could know: left out, and told when typed."""
        odd = os.fsencode(self.library) + b"/\xe4\xff"
        os.mkdir(odd)
        with open(odd + b"/\xe4\xff.mdb", "wb"):
            pass
        code, out, _ = self.in_all_locales("list")
        self.assertEqual(code, 0)
        self.assertEqual(len(out.splitlines()), 2)
        for locale in LOCALES:
            done = subprocess.run([CLI.encode(), b"check", odd + b"/\xe4\xff.mdb"], capture_output=True, check=False,
                                  env=environment(LC_ALL=locale), timeout=60)
            self.assertEqual(done.returncode, 1)
            self.assertTrue(done.stderr.strip() or done.stdout.strip())


class Clocks(LibraryTest):
    def at(self, moment, *arguments):
        if not shutil.which("faketime"):
            self.skipTest("faketime is not installed")
        done = subprocess.run(["faketime", moment, CLI, *map(str, arguments)], capture_output=True, check=False,
                              timeout=60)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout.decode()

    def test_every_change_at_odd_times(self):
        datafile = self.folder / "a.dat"
        write_datafile(datafile, 20)
        for moment in ("1970-01-01 00:00:00", "1970-01-02 12:00:00", "2038-01-19 03:14:08", "2100-02-28 23:59:59"):
            with self.subTest(moment=moment):
                here = ("--yes", "--library", self.library)
                self.at(moment, "create-template", self.library / "Made.mdb")
                self.at(moment, *here, "new", "Old")
                self.at(moment, *here, "import", datafile, "--into", "Old")
                self.at(moment, *here, "fix", "Old")
                self.at(moment, *here, "compact", "Old")
                self.assertIn(",20,", self.at(moment, *here, "list"))
                self.at(moment, "check", self.library / "Old" / "Old.mdb", self.library / "Made.mdb")
                self.assertIn(moment[:4], (self.library / "Old" / "Credits.txt").read_text("cp1252"))
                (self.library / "Made.mdb").unlink()
                self.at(moment, *here, "delete", "Old")

    def test_a_clock_that_was_set_back_between_two_runs(self):
        self.at("2038-01-01 00:00:00", "sql", self.database, "INSERT INTO Games (Name) VALUES ('later')")
        self.at("1970-01-01 00:00:00", "sql", self.database, "INSERT INTO Games (Name) VALUES ('earlier')")
        self.assert_sound()
        self.assertEqual(self.count(), 2)


class Streams(LibraryTest):
    def closed(self, *descriptors):
        def close():
            for descriptor in descriptors:
                os.close(descriptor)

        return close

    def run_closed(self, descriptors, *arguments):
        return subprocess.run([CLI, "--library", str(self.library), *map(str, arguments)], check=False, timeout=60,
                              stderr=subprocess.PIPE if 2 not in descriptors else None,
                              preexec_fn=self.closed(*descriptors))

    def test_messages_never_go_into_a_database(self):
        """The first file that is opened would get the number of the stream that is closed."""
        datafile = self.folder / "a.dat"
        write_datafile(datafile, 20)
        for number, descriptors in enumerate(((0,), (1,), (2,), (1, 2), (0, 1, 2)), start=1):
            with self.subTest(closed=descriptors):
                for arguments in (("import", datafile, "--into", "Arcade"), ("fix", "Arcade"), ("compact", "Arcade"),
                                  ("--yes", "clear-extras", "Arcade")):
                    self.run_closed(descriptors, *arguments)
                self.assert_sound()
                self.assertEqual(self.count(), 20 * number)

    def test_results_that_cannot_be_written_are_an_error(self):
        done = self.run_closed((1,), "list")
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"The results could not be written.", done.stderr)
        with open("/dev/full", "wb") as full:
            done = subprocess.run([CLI, "export", self.database, "Languages"], stdout=full, stderr=subprocess.PIPE,
                                  check=False, timeout=60)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"The results could not be written.", done.stderr)

    def test_a_question_without_an_input_is_no(self):
        done = self.run_closed((0,), "delete", "Arcade")
        self.assertEqual(done.returncode, 1)
        self.assertTrue(self.database.exists())


if __name__ == "__main__":
    unittest.main()
