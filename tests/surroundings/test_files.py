"""Places that refuse: files that are no files, libraries that may only be read, disks that are full, long paths."""

import fcntl
import os
import shutil
import stat
import subprocess
import unittest

from surroundings import LibraryTest, as_nobody, in_own_mounts, mount, run, write_datafile

DAMAGED = "Unrecognized database format"


class OddFiles(LibraryTest):
    """Something in the place of a database that is none. No command waits, crashes or changes it."""

    def setUp(self):
        super().setUp()
        self.odd = self.folder / "odd.mdb"
        self.datafile = self.folder / "a.dat"
        write_datafile(self.datafile, 3)

    def every_command_refuses(self, file):
        for arguments in (("check", file), ("tables", file), ("schema", file), ("show", file), ("fix", file),
                          ("compact", file), ("clear-extras", file), ("records", file, "Languages"),
                          ("export", file, "Games"), ("sql", file, "SELECT * FROM Games"),
                          ("sql", file, "DELETE FROM Games"), ("import", self.datafile, "--into", file),
                          ("create-template", file),
                          ("delete-record", file, "Languages", "2", "--replace-with", "1")):
            with self.subTest(arguments=arguments):
                result = self.cli("--yes", *arguments)
                # Some operations do not trap errors; their end is the fatal-error report.
                self.assertIn(result.code, (1, 70), result)
                self.assert_told(result, result.code)
        result = self.cli("--yes", "remove-views", file)
        self.assertIn(result.code, (1, 70), result)

    def test_folder(self):
        self.odd.mkdir()
        self.every_command_refuses(self.odd)
        self.assertTrue(self.odd.is_dir())

    def test_pipe(self):
        os.mkfifo(self.odd)
        self.every_command_refuses(self.odd)
        self.assertTrue(stat.S_ISFIFO(self.odd.stat().st_mode))

    def test_devices(self):
        for device in ("/dev/null", "/dev/zero", "/dev/full", "/dev/tty"):
            self.every_command_refuses(device)

    def test_link_that_leads_nowhere(self):
        self.odd.symlink_to(self.folder / "nowhere")
        self.every_command_refuses(self.odd)
        self.assertFalse((self.folder / "nowhere").exists())

    def test_link_to_itself(self):
        self.odd.symlink_to(self.odd)
        self.every_command_refuses(self.odd)

    def test_empty_file(self):
        self.odd.touch()
        self.every_command_refuses(self.odd)
        self.assertEqual(self.odd.stat().st_size, 0)

    def test_datafiles(self):
        pipe = self.folder / "pipe.dat"
        os.mkfifo(pipe)
        for datafile in (pipe, self.folder, "/dev/zero", "/dev/null"):
            with self.subTest(datafile=datafile):
                self.assert_told(self.cli("import", datafile, "--name", "Other"))
        self.assertFalse((self.library / "Other").exists())

    def test_template_database(self):
        empty = self.library / "Empty.mdb"
        empty.unlink()
        os.mkfifo(empty)
        self.assert_told(self.cli("new", "Other"))
        empty.unlink()
        empty.symlink_to("/dev/zero")
        self.assert_told(self.cli("new", "Another"))
        self.assert_nothing_left_behind()

    def test_template_database_that_another_program_has_locked(self):
        empty = self.library / "Empty.mdb"
        # One byte of the content, all of it, and a byte far behind it as database engines lock them.
        for start, length in ((0, 1), (0, 0), (0x10000001, 1)):
            with self.subTest(start=start), open(empty, "r+b") as file:
                fcntl.lockf(file, fcntl.LOCK_EX | fcntl.LOCK_NB, length, start)
                result = self.cli("import", self.datafile, "--name", "Other")
                self.assert_told(result)
                self.assertIn("Permission denied  (70,", result.err)
                made = self.library / "Other"
                self.assertEqual(sorted(path.name for path in made.iterdir()), ["Gfx", "Scripts", "Sounds", "Splash"])
                self.assertNotIn("Other", self.cli("list").out)
                shutil.rmtree(made)
                self.assertNotEqual(self.cli("new", "Other").code, 0)
                shutil.rmtree(made)
                fcntl.lockf(file, fcntl.LOCK_UN)
        self.assertEqual(self.cli("import", self.datafile, "--name", "Other").code, 0)
        self.assert_nothing_left_behind()

    def test_pipes_among_the_files_of_a_library_and_of_a_scan(self):
        os.mkfifo(self.library / "Arcade" / "Paths.ini")
        os.mkfifo(self.library / "pipe")
        roms = self.folder / "roms"
        roms.mkdir()
        os.mkfifo(roms / "game.bin")
        self.assertEqual(self.cli("list").code, 0)
        self.assertEqual(self.cli("show", "Arcade").code, 0)
        self.assertEqual(self.cli("crc", roms / "game.bin").code, 0)
        result = self.cli("import", self.datafile, "--name", "Other", "--roms", roms)
        self.assertEqual(result.code, 0, result)

    def test_library_that_is_none(self):
        self.odd.touch()
        for library in (self.odd, self.folder / "missing", "/dev/null"):
            result = run("--library", library, "new", "Other")
            self.assertIn(result.code, (1, 2), result)
            self.assertTrue(result.err.strip())


class ReadOnly(LibraryTest):
    games = 50

    def setUp(self):
        super().setUp()
        for statement in ("INSERT INTO Extras (Name) VALUES ('map')", "INSERT INTO ViewData (Name) VALUES ('view')",
                          "UPDATE Games SET Extras = True"):
            self.must("sql", self.database, statement)

    def every_change_is_refused(self, **options):
        before = self.database.read_bytes()
        datafile = self.folder / "games.dat"
        for arguments in (("compact", "Arcade"), ("clear-extras", "Arcade"), ("remove-views", "Arcade"),
                          ("fix", "Arcade"), ("new", "Other"), ("delete", "Arcade"),
                          ("import", datafile, "--name", "Other"), ("import", datafile, "--into", "Arcade"),
                          ("delete-record", "Arcade", "Languages", "2", "--replace-with", "1"),
                          ("sql", self.database, "DELETE FROM Games"),
                          ("create-template", self.library / "Made.mdb")):
            with self.subTest(arguments=arguments):
                result = self.cli("--yes", *arguments, **options)
                self.assertIn(result.code, (1, 70), result)
                self.assert_told(result, result.code)
                self.assertTrue(self.database.exists())
                self.assertEqual(self.database.read_bytes(), before)
        self.assertEqual(sorted(path.name for path in self.library.iterdir()), ["Arcade", "Empty.mdb"])
        self.assert_nothing_left_behind()

    def everything_can_be_read(self, **options):
        for arguments in (("list",), ("show", "Arcade"), ("check", self.database), ("tables", self.database),
                          ("schema", self.database), ("export", self.database, "Games"),
                          ("records", "Arcade", "Languages"), ("sql", self.database, "SELECT Name FROM Games")):
            with self.subTest(arguments=arguments):
                result = self.cli(*arguments, **options)
                self.assertEqual(result.code, 0, result)
                self.assertTrue(result.out.strip() or arguments[0] == "check", result)

    def test_files_of_somebody_else(self):
        everything = [self.library, *self.library.rglob("*")]
        for path in everything:
            path.chmod(0o555 if path.is_dir() else 0o444)
        self.settings.mkdir(exist_ok=True)
        self.settings.chmod(0o777)
        self.everything_can_be_read(preexec_fn=as_nobody)
        self.every_change_is_refused(preexec_fn=as_nobody)

    @in_own_mounts
    def test_file_system_that_is_mounted_read_only(self):
        mount("--bind", self.library, self.library)
        self.addCleanup(subprocess.run, ["umount", self.library], check=True)
        mount("-o", "remount,bind,ro", self.library)
        self.everything_can_be_read()
        self.every_change_is_refused()

    def test_files_that_may_not_even_be_read(self):
        self.database.chmod(0)
        for arguments in (("check", self.database), ("tables", self.database), ("fix", "Arcade"),
                          ("compact", "Arcade")):
            self.assert_told(self.cli(*arguments, preexec_fn=as_nobody))
        self.assertEqual(self.cli("list", preexec_fn=as_nobody).code, 0)


class FullDisk(LibraryTest):
    """The library lies on a small file system, and that fills up at ever later moments."""

    games = 400

    def setUp(self):
        super().setUp()
        self.datafile = self.folder / "more.dat"
        write_datafile(self.datafile, 3000, seed=2)

    def with_free_bytes(self, free, *arguments):
        """Runs a command on a fresh copy of the library with so many bytes free, and gives its result."""
        small = self.folder / "small"
        small.mkdir(exist_ok=True)
        mount("-t", "tmpfs", "-o", "size=64M", "tmpfs", small)
        try:
            shutil.copytree(self.library, small / "library")
            usage = shutil.disk_usage(small)
            with open(small / "filler", "wb") as filler:
                filler.write(b"x" * max(0, usage.free - free))
            result = run("--yes", "--library", small / "library", *arguments)
            if result.code != 0:
                self.assert_told(result, result.code)
            os.unlink(small / "filler")
            database = small / "library" / "Arcade" / "Arcade.mdb"
            self.assert_sound(database)
            self.assertGreaterEqual(self.count(database=database), 400)
            for other in (small / "library").glob("*/*.mdb"):
                self.assert_sound(other)
            self.assertEqual(list((small / "library").glob("Made.mdb")) != [],
                             result.code == 0 and arguments[0] == "create-template")
            self.assert_nothing_left_behind(small / "library")
            return result
        finally:
            mounted = os.system(f"umount '{small}'")
            self.assertEqual(mounted, 0)

    def at_ever_later_moments(self, *arguments, refused_in=("isk",)):
        codes = set()
        for kilobytes in (0, 4, 16, 64, 200, 400, 800, 1600, 40000):
            with self.subTest(kilobytes=kilobytes, arguments=arguments):
                result = self.with_free_bytes(kilobytes * 1024, *arguments)
                codes.add(result.code)
                if result.code != 0:
                    self.assertTrue(any(text in result.err for text in refused_in), result)
        self.assertIn(0, codes, "nothing succeeded, even with room")
        return codes

    @in_own_mounts
    def test_import(self):
        self.assertIn(1, self.at_ever_later_moments("import", self.datafile, "--into", "Arcade"))

    @in_own_mounts
    def test_import_into_a_new_database(self):
        self.assertIn(1, self.at_ever_later_moments("import", self.datafile, "--name", "More"))

    @in_own_mounts
    def test_compact(self):
        self.assertIn(1, self.at_ever_later_moments("compact", "Arcade"))

    @in_own_mounts
    def test_new(self):
        self.assertIn(1, self.at_ever_later_moments("new", "Other"))

    @in_own_mounts
    def test_create_template(self):
        self.assertIn(1, self.at_ever_later_moments("create-template",
                                                    self.folder / "small" / "library" / "Made.mdb"))

    @in_own_mounts
    def test_operations_that_change_records(self):
        for arguments in (("fix", "Arcade"), ("clear-extras", "Arcade"), ("remove-views", "Arcade")):
            # A database whose version cannot be read counts as old; that is all the gate says.
            self.at_ever_later_moments(*arguments, refused_in=("isk", "less than 2.0", "v2.1 or higher"))

    @in_own_mounts
    def test_a_statement(self):
        database = self.folder / "small" / "library" / "Arcade" / "Arcade.mdb"
        codes = self.at_ever_later_moments("sql", database, "UPDATE Games SET MemoText = String(2000, 'x')")
        self.assertIn(1, codes)


class LongPaths(LibraryTest):
    def test_folders_of_four_thousand_characters(self):
        deep = self.library / "Deep"
        deep.mkdir()
        # Host calls take at most 4,095 bytes; the folder itself is made step by step.
        os.chdir(deep)
        self.addCleanup(os.chdir, "/")
        length = len(str(deep))
        while length < 3990:
            name = "d" * min(200, 3990 - length)
            os.mkdir(name)
            os.chdir(name)
            length += len(name) + 1
        shutil.copy(self.database, "a.mdb")
        path = os.getcwd() + "/a.mdb"
        for arguments in (("check", path), ("tables", path), ("fix", path), ("compact", path),
                          ("sql", path, "INSERT INTO Games (Name) VALUES ('x')"),
                          ("export", path, "Games")):
            with self.subTest(command=arguments[0]):
                result = self.cli(*arguments)
                self.assertEqual(result.code, 0, result)
        # From inside, with a short name, it is the same file.
        self.assertEqual(self.cli("check", "a.mdb").code, 0)
        self.assertEqual(self.cli("list").code, 0)
        self.assertEqual(self.cli("new", "Other").code, 0)
        # One that is longer than any path may be.
        self.assert_told(self.cli("check", path + "/" + "x" * 300))

    def test_names_of_255_bytes(self):
        database = self.library / "Arcade" / ("n" * 251 + ".mdb")
        shutil.copy(self.database, database)
        for arguments in (("check", database), ("tables", database), ("export", database, "Games")):
            self.assertEqual(self.cli(*arguments).code, 0)
        # No room for the name of the journal beside it: what changes is refused, or done.
        for arguments in (("fix", database), ("sql", database, "INSERT INTO Games (Name) VALUES ('x')"),
                          ("compact", database)):
            result = self.cli(*arguments)
            self.assertEqual(result.code, 0, result)
        self.assert_sound(database)
        self.assertEqual(self.count(database=database), 1)

    def test_new_databases_have_names_that_fit(self):
        result = self.cli("new", "n" * 300)
        self.assert_told(result)
        self.assert_told(self.cli("create-template", self.library / ("n" * 300)))
        self.assertEqual(self.cli("create-template", self.library / ("n" * 251 + ".mdb")).code, 0)

    def test_rom_files_with_long_names(self):
        roms = self.folder / "roms"
        roms.mkdir()
        (roms / ("r" * 255)).write_bytes(b"rom")
        (roms / ("ä" * 127)).write_bytes(b"rom")
        datafile = self.folder / "a.dat"
        write_datafile(datafile, 3)
        self.assertEqual(self.cli("import", datafile, "--name", "Other", "--roms", roms).code, 0)


if __name__ == "__main__":
    unittest.main()
