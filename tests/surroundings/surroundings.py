"""What the tests of this folder share: the programs, a library to run them on, and ways to run them oddly.

CTest names the programs by MARROWKIT_CLI and MARROWKIT_PROGRAM (empty without windows).
"""

import contextlib
import os
import pathlib
import random
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

CLI = os.environ["MARROWKIT_CLI"]
PROGRAM = os.environ.get("MARROWKIT_PROGRAM", "")
SECONDS_LIMIT = 60
NOBODY = 65534
STOPPING = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)

# A shell has Ctrl-C ignored for what runs in its background, and nohup SIGHUP; the programs would inherit that.
for stopping in STOPPING:
    if signal.getsignal(stopping) == signal.SIG_IGN:
        signal.signal(stopping, signal.SIG_DFL)


class Run:
    """How a run of the command line ended. A signal's number is negative in `code`."""

    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err

    def __repr__(self):
        return f"exit code {self.code}\n--- out\n{self.out}\n--- err\n{self.err}"


def run(*arguments, env=None, stdin="", **options):
    """Runs marrowkit-cli; hanging counts as an error."""
    done = subprocess.run([CLI, *map(str, arguments)], env=env, input=stdin.encode(), capture_output=True,
                          timeout=SECONDS_LIMIT, check=False, **options)
    return Run(done.returncode, done.stdout.decode(errors="replace"), done.stderr.decode(errors="replace"))


def environment(**changes):
    """This process's variables with some changed; None takes one away."""
    env = dict(os.environ)
    for name, value in changes.items():
        if value is None:
            env.pop(name, None)
        else:
            env[name] = str(value)
    return env


def write_datafile(path, games, seed=1):
    """A RomCenter 2.00 datafile of invented games."""
    pick = random.Random(seed)
    head = ["[CREDITS]", "author=A", "version=1", "comment=", "[DAT]", "version=2.00", "split=0", "merge=0",
            "[EMULATOR]", "refname=x", "version=y", "[GAMES]"]
    lines = []
    for number in range(games):
        name = f"Game {number} {pick.randrange(1 << 30):x}"
        crc, size = f"{pick.randrange(1 << 32):08x}", pick.randrange(1 << 16)
        lines.append(f"¬{name}¬{name}¬{name}¬{name}¬{name}.bin¬{crc}¬{size}¬¬¬")
    path.write_bytes("\r\n".join([*head, *lines, ""]).encode("cp1252"))


class LibraryTest(unittest.TestCase):
    """A folder of its own with a library: Empty.mdb and one database, Arcade."""

    games = 0

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="mk-surroundings-"))
        self.addCleanup(self.remove_folder)
        self.folder.chmod(0o755)
        self.settings = self.folder / "settings"
        self.library = self.folder / "library"
        self.library.mkdir()
        os.environ["XDG_CONFIG_HOME"] = str(self.settings)
        self.must("create-template", self.library / "Empty.mdb")
        self.must("--library", self.library, "new", "Arcade")
        self.database = self.library / "Arcade" / "Arcade.mdb"
        if self.games:
            datafile = self.folder / "games.dat"
            write_datafile(datafile, self.games)
            self.must("--library", self.library, "import", datafile, "--into", "Arcade")

    def remove_folder(self):
        for path, _, _ in os.walk(self.folder):
            with contextlib.suppress(OSError):
                os.chmod(path, 0o755)
        shutil.rmtree(self.folder, ignore_errors=True)

    def cli(self, *arguments, **options):
        return run("--library", self.library, *arguments, **options)

    def must(self, *arguments, **options):
        result = run(*arguments, **options)
        self.assertEqual(result.code, 0, result)
        return result

    def count(self, table="Games", database=None):
        result = self.must("sql", database or self.database, f"SELECT COUNT(*) FROM {table}")
        return int(result.out.splitlines()[1])

    def assert_sound(self, database=None):
        self.must("check", database or self.database)

    def assert_told(self, result, code=1):
        """A failure that was explained: the exit code, and a message (check's problems are results)."""
        self.assertEqual(result.code, code, result)
        self.assertTrue(result.err.strip() or result.out.strip(), result)
        self.assertNotIn("terminate called", result.err)

    def assert_nothing_left_behind(self, folder=None):
        """No temporary files, and no journal: a program that knows nothing of ours may open the database."""
        folder = folder or self.library
        left = [str(path) for path in folder.rglob("*")
                if path.name == "vltemp.mdb" or ".mk" in path.name or path.name.endswith(".sort")]
        self.assertEqual(left, [])


def in_own_mounts(test):
    """Decorates a test that mounts something: it runs again in a process with mounts of its own."""

    def again(self):
        if os.environ.get("MARROWKIT_OWN_MOUNTS"):
            return test(self)
        unshare = ["unshare", "--mount"] + ([] if os.geteuid() == 0 else ["--user", "--map-root-user"])
        if not shutil.which("unshare") or subprocess.run([*unshare, "true"], capture_output=True,
                                                         check=False).returncode != 0:
            self.skipTest("this machine does not let us mount")
        name = f"{pathlib.Path(__import__(test.__module__).__file__).stem}.{type(self).__name__}.{test.__name__}"
        done = subprocess.run([*unshare, "python3", "-m", "unittest", "-q", name], cwd=pathlib.Path(__file__).parent,
                              env=environment(MARROWKIT_OWN_MOUNTS=1), capture_output=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr.decode(errors="replace"))

    again.__name__, again.__doc__ = test.__name__, test.__doc__
    return again


def mount(*arguments):
    subprocess.run(["mount", *map(str, arguments)], check=True)


def as_nobody():
    """For preexec_fn: without a superuser's rights, where we have them."""
    if os.geteuid() == 0:
        os.setgroups([])
        os.setgid(NOBODY)
        os.setuid(NOBODY)


class Signalled:
    """Starts marrowkit-cli, sends it a signal after some seconds, and waits for its end."""

    def __init__(self, arguments, number, after, env=None):
        with subprocess.Popen([CLI, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, env=env) as process:
            time.sleep(after)
            self.was_running = process.poll() is None
            if self.was_running:
                process.send_signal(number)
            out, err = process.communicate(timeout=SECONDS_LIMIT)
        self.code, self.out, self.err = process.returncode, out.decode(), err.decode()

    def __repr__(self):
        return f"exit code {self.code}\n--- out\n{self.out}\n--- err\n{self.err}"
