"""What the tests of the built programs stand on: a sandbox, a home of its own, and terminals."""

import codecs
import fcntl
import hashlib
import json
import os
import pathlib
import pty
import select
import shutil
import signal
import ssl
import struct
import subprocess
import tempfile
import termios
import time
import unittest
import urllib.request

CLI = os.environ["TOVRI_CLI"]
SANDBOX = os.environ["PUTIO_SANDBOX"]

# Seconds. Nothing takes so long, also on a machine that is busy with other things.
LIMIT = 120
# Whoever is to end soon ends within this: it is shorter than any time-out of the program.
SOON = 20


def wait_until(condition, what, seconds=LIMIT):
    """Returns what the condition says as soon as that is true."""
    deadline = time.monotonic() + seconds
    while not (found := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain for {what() if callable(what) else what}")
        time.sleep(0.02)
    return found


class Sandbox:
    """A putio-sandbox that runs until `stop`."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([SANDBOX, "--exit-with-parent", *arguments], stdout=subprocess.PIPE)
        text = ""
        while not text.endswith("ready\n"):
            if not select.select([self.process.stdout], [], [], LIMIT)[0]:
                raise AssertionError(f"the sandbox does not come up: {text!r}")
            text += os.read(self.process.stdout.fileno(), 4096).decode()
        self.environment = dict(line.split("=", 1) for line in text.splitlines() if "=" in line)
        self.url = self.environment["TOVRI_API_URL"]

    def stop(self):
        self.process.terminate()
        try:
            self.process.wait(LIMIT)
        finally:
            self.process.kill()
            self.process.stdout.close()

    def call(self, method, path, body=None):
        request = urllib.request.Request(f"{self.url}/sandbox/{path}", None if body is None else body.encode(), method=method)
        trusting = ssl._create_unverified_context()
        with urllib.request.urlopen(request, timeout=LIMIT, context=trusting) as answer:
            return json.load(answer)

    def requests(self, role=None, path=None):
        return [r for r in self.call("GET", "requests")
                if role in (None, r["role"]) and (path is None or r["path"].endswith(path))]

    def stats(self):
        return self.call("GET", "stats")

    def fault(self, *faults):
        self.call("POST", "faults", "\n".join(faults))


class ProgramTest(unittest.TestCase):
    """Each test has an empty home and, with `account` or `faults`, a sandbox of its own."""

    account = ("--files", "12", "--folders", "3", "--max-size", "200KiB")

    def setUp(self):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="tovri-test-"))
        self.addCleanup(shutil.rmtree, self.home)
        self.sandbox = None
        self.environment = {
            "HOME": str(self.home), "LANG": "C.UTF-8", "TERM": "xterm-256color", "PATH": os.environ["PATH"],
            "XDG_DATA_HOME": str(self.home / "data"), "XDG_CONFIG_HOME": str(self.home / "config"),
            "XDG_STATE_HOME": str(self.home / "state"), "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere",
            # The program leaves without tidying up when it is interrupted, which is no leak.
            "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", ""), "UBSAN_OPTIONS": os.environ.get("UBSAN_OPTIONS", ""),
        }
        self.data = self.home / "data" / "Tovri"
        self.downloads = self.home / "here"

    def serve(self, *arguments):
        self.sandbox = Sandbox(*(arguments or self.account))
        self.addCleanup(self.sandbox.stop)
        self.environment.update(self.sandbox.environment)
        return self.sandbox

    def start(self, *arguments, **options):
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        process = subprocess.Popen([CLI, *arguments], env=self.environment, cwd=self.home, text=True, **options)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        process.wait(LIMIT)
        for stream in (process.stdout, process.stderr):
            if stream:
                stream.close()

    def kill(self, requests, *arguments):
        """Starts the program, and kills it when it has made so many requests, unless it ends before."""
        enough = self.sandbox.stats()["requests"] + requests
        process = self.start(*arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_until(lambda: process.poll() is not None or self.sandbox.stats()["requests"] >= enough, "the requests")
        self.end(process)

    def full_pipe(self):
        """A pipe that takes nothing more, with how many bytes its reader finds in front."""
        reader, writer = os.pipe()
        self.addCleanup(os.close, reader)
        self.addCleanup(os.close, writer)
        fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
        os.set_blocking(writer, False)
        filled = os.write(writer, b"." * 4096)
        os.set_blocking(writer, True)
        return reader, writer, filled

    def run_cli(self, *arguments, status=0, given=None):
        """Runs the program to its end and returns its two outputs."""
        done = subprocess.run([CLI, *arguments], env=self.environment, cwd=self.home, text=True, capture_output=True,
                              input=given, stdin=None if given is not None else subprocess.DEVNULL, timeout=LIMIT)
        self.assertEqual(done.returncode, status, f"{arguments}\n{done.stdout}\n{done.stderr}")
        return done.stdout, done.stderr

    def get(self, *arguments, status=0):
        return self.run_cli("get", *arguments, "--to", str(self.downloads), status=status)

    def queue(self):
        return json.loads(self.run_cli("queue", "--json")[0])["downloads"]

    def interrupt(self, process, number=signal.SIGINT):
        """Has it end soon, and returns its outputs."""
        process.send_signal(number)
        output, messages = process.communicate(timeout=SOON)
        self.assertEqual(process.returncode, 130, messages)
        return output, messages

    def partial_bytes(self):
        partial = [f for f in self.data.glob("Partial/*") if f.suffix != ".note"]
        return sum(f.stat().st_size for f in partial if f.exists())

    def wait_for_partial_bytes(self, least):
        wait_until(lambda: self.partial_bytes() >= least, "the first bytes")

    def assert_tree(self, account=None):
        """Every file of the account's folder has arrived byte for byte, and nothing else is there or left behind."""
        expected = self.home / "expected"
        if not expected.exists():
            subprocess.run([SANDBOX, *(account or self.account), "--write-tree", str(expected)], check=True,
                           stdout=subprocess.DEVNULL, timeout=LIMIT)
        self.assertEqual(tree_of(self.downloads), tree_of(expected))
        left = [*self.data.glob("Staging/*"), *self.data.glob("Partial/*"), *self.downloads.rglob(".tovri-*")]
        self.assertEqual(left, [], "orphans")


def tree_of(folder):
    """Paths, as bytes, with the digests of their files."""
    root = os.fsencode(folder)
    found = {}
    for path, _, names in os.walk(root):
        for name in names:
            with open(os.path.join(path, name), "rb") as file:
                found[os.path.relpath(os.path.join(path, name), root)] = hashlib.sha256(file.read()).hexdigest()
    return found


def bytes_in(pipe):
    """How many there are to read."""
    return struct.unpack("i", fcntl.ioctl(pipe, termios.FIONREAD, bytes(4)))[0]


class Terminal:
    """A program that runs on a terminal of its own."""

    def __init__(self, arguments, environment, cwd, columns=80, rows=24):
        self.text = ""
        self.status = None
        self.decoder = codecs.getincrementaldecoder("utf-8")("replace")
        self.pid, self.file = pty.fork()
        if self.pid == 0:
            self.file = 0
            self.resize(columns, rows)
            os.chdir(cwd)
            os.execve(CLI, [CLI, *arguments], environment)

    def resize(self, columns, rows=24):
        fcntl.ioctl(self.file, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def read(self):
        """Whether there is more to come: what is there is read, or nothing if that takes too long."""
        if not select.select([self.file], [], [], LIMIT)[0]:
            raise AssertionError(f"nothing comes after {self.text!r}")
        try:
            data = os.read(self.file, 65536)
        except OSError:  # what a terminal says when its last program has ended
            data = b""
        self.text += self.decoder.decode(data)
        return bool(data)

    def wait_for(self, text):
        self.read_until(lambda: text in self.text, repr(text))

    def read_until(self, condition, what):
        deadline = time.monotonic() + LIMIT
        while not condition():
            if time.monotonic() > deadline or not self.read():
                raise AssertionError(f"waited in vain for {what} in {self.text!r}")

    def type(self, text):
        os.write(self.file, text.encode())

    def finish(self):
        """Reads to the end; returns the exit status."""
        deadline = time.monotonic() + LIMIT
        while self.read():
            if time.monotonic() > deadline:
                raise AssertionError(f"no end after {self.text!r}")
        wait_until(self.has_ended, "the end of a program that has closed its terminal")
        return self.status

    def has_ended(self):
        ended, status = os.waitpid(self.pid, os.WNOHANG)
        if ended:
            self.status = os.waitstatus_to_exitcode(status)
        return bool(ended)

    def close(self):
        if self.status is None:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        os.close(self.file)
