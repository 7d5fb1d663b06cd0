"""What the tests of the built programs stand on: a sandbox, a home of its own, and terminals."""

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


class Sandbox:
    """A putio-sandbox that runs until `stop`."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([SANDBOX, "--exit-with-parent", *arguments], stdout=subprocess.PIPE, text=True)
        self.environment = {}
        for line in self.process.stdout:
            if line == "ready\n":
                break
            name, _, value = line.strip().partition("=")
            self.environment[name] = value
        self.url = self.environment["TOVRI_API_URL"]

    def stop(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()

    def call(self, method, path, body=None):
        request = urllib.request.Request(f"{self.url}/sandbox/{path}", None if body is None else body.encode(), method=method)
        trusting = ssl._create_unverified_context()
        with urllib.request.urlopen(request, context=trusting) as answer:
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
        process.wait()
        for stream in (process.stdout, process.stderr):
            if stream:
                stream.close()

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
                              input=given, stdin=None if given is not None else subprocess.DEVNULL, timeout=60)
        self.assertEqual(done.returncode, status, f"{arguments}\n{done.stdout}\n{done.stderr}")
        return done.stdout, done.stderr

    def get(self, *arguments, status=0):
        return self.run_cli("get", *arguments, "--to", str(self.downloads), status=status)

    def queue(self):
        return json.loads(self.run_cli("queue", "--json")[0])["downloads"]

    def wait_until(self, condition, what, seconds=20):
        deadline = time.monotonic() + seconds
        while not condition():
            self.assertLess(time.monotonic(), deadline, f"waited in vain for {what}")
            time.sleep(0.02)

    def partial_bytes(self):
        return sum(f.stat().st_size for f in list(self.data.glob("Partial/*")) if f.exists())

    def wait_for_partial_bytes(self, least):
        self.wait_until(lambda: self.partial_bytes() >= least, "the first bytes")

    def assert_tree(self, account=None):
        """Every file of the account's folder has arrived byte for byte, and nothing else is there or left behind."""
        expected = self.home / "expected"
        if not expected.exists():
            subprocess.run([SANDBOX, *(account or self.account), "--write-tree", str(expected)], check=True,
                           stdout=subprocess.DEVNULL)
        self.assertEqual(tree_of(self.downloads), tree_of(expected))
        for folder in ("Staging", "Partial"):
            self.assertEqual(os.listdir(self.data / folder), [], f"orphans in {folder}")


def tree_of(folder):
    """Paths, as bytes, with the digests of their files."""
    root = os.fsencode(folder)
    found = {}
    for path, _, names in os.walk(root):
        for name in names:
            with open(os.path.join(path, name), "rb") as file:
                found[os.path.relpath(os.path.join(path, name), root)] = hashlib.sha256(file.read()).hexdigest()
    return found


class Terminal:
    """A program that runs on a terminal of its own."""

    def __init__(self, arguments, environment, cwd, columns=80, rows=24):
        self.text = ""
        self.status = None
        self.pid, self.file = pty.fork()
        if self.pid == 0:
            os.chdir(cwd)
            os.execve(CLI, [CLI, *arguments], environment)
        self.resize(columns, rows)

    def resize(self, columns, rows=24):
        fcntl.ioctl(self.file, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def read(self, seconds):
        if not select.select([self.file], [], [], seconds)[0]:
            return False
        try:
            data = os.read(self.file, 65536)
        except OSError:  # what a terminal says when its last program has ended
            data = b""
        self.text += data.decode("utf-8", "replace")
        return bool(data)

    def wait_for(self, text, seconds=20):
        deadline = time.monotonic() + seconds
        while text not in self.text:
            if time.monotonic() > deadline:
                raise AssertionError(f"waited in vain for {text!r} in {self.text!r}")
            self.read(0.1)

    def type(self, text):
        os.write(self.file, text.encode())

    def finish(self):
        """Reads to the end; returns the exit status."""
        while self.status is None:
            self.read(0.1)
            ended, status = os.waitpid(self.pid, os.WNOHANG)
            if ended:
                self.status = os.waitstatus_to_exitcode(status)
        while self.read(0.1):
            pass
        return self.status

    def close(self):
        if self.status is None:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        os.close(self.file)
