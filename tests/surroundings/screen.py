"""An X server of a test's own, with somebody at its keyboard."""

import os
import shutil
import subprocess
import time

from surroundings import SECONDS_LIMIT, environment

BETWEEN_KEYS_MS = 80


class Screen:
    """Starts the server, or skips the test; it ends with the test that asked for it, or by end()."""

    def __init__(self, test):
        if not shutil.which("Xvfb") or not shutil.which("xdotool"):
            test.skipTest("Xvfb and xdotool are not both installed")
        reading, writing = os.pipe()  # the server takes the first free number and tells it
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-screen", "0", "1024x768x24", "-nolisten", "tcp"],
            pass_fds=(writing,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writing)
        test.addCleanup(self.server.wait)
        test.addCleanup(self.server.kill)
        with os.fdopen(reading) as number:
            self.display = ":" + number.readline().strip()

    def end(self):
        self.server.kill()

    def focus(self, title):
        """Waits for a window whose title matches, and gives it the keyboard; its whole title.

        Whatever fails on the way is tried again: while xdotool goes through the windows, one that is just
        closing (the dialog before) ends it with BadWindow.
        """
        end = time.monotonic() + SECONDS_LIMIT
        while True:
            try:
                window = self._xdotool("search", "--onlyvisible", "--name", title).split()[0]
                self._xdotool("windowfocus", "--sync", window)
                return self._xdotool("getwindowname", window).strip()
            except subprocess.CalledProcessError as error:
                if time.monotonic() > end:
                    raise AssertionError(f"no window {title!r} in {SECONDS_LIMIT} s, but {self._titles()}: "
                                         f"{error.stderr}") from error
                time.sleep(0.05)

    def press(self, *keys):
        self._xdotool("key", "--delay", str(BETWEEN_KEYS_MS), *keys)

    def start_pressing(self, key):
        """Does not wait for the key to be pressed."""
        return subprocess.Popen(["xdotool", "key", key], env=environment(DISPLAY=self.display))

    def write(self, text):
        self._xdotool("type", text)

    def _titles(self):
        try:
            windows = self._xdotool("search", "--onlyvisible", "--name", ".").split()
            return [self._xdotool("getwindowname", window).strip() for window in windows]
        except subprocess.CalledProcessError as error:
            return error.stderr

    def _xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=environment(DISPLAY=self.display), check=True,
                              capture_output=True, timeout=SECONDS_LIMIT, text=True).stdout
