"""A server without measure, and a program without file handles: an error, and an end."""

import http.server
import os
import resource
import subprocess
import threading
import unittest
import zlib

from support import CLI, LIMIT, ProgramTest

MEGABYTE = 1 << 20


class Hostile(http.server.BaseHTTPRequestHandler):
    def log_message(self, *_):
        pass


class Endless(Hostile):
    """Answers with a body that does not end; for the folder 17 with headers that do not, for 18 with a single one."""

    packed = False

    def do_GET(self):
        pack = zlib.compressobj(wbits=31).compress if self.packed else bytes
        self.send_response(200)
        try:
            if "parent_id=0" not in self.path:
                self.flush_headers()
                while "18" in self.path:
                    self.wfile.write(b"x" * 1000)
                while True:
                    self.wfile.write(b"X-Filler: " + b"x" * 1000 + b"\r\n")
            if self.packed:
                self.send_header("Content-Encoding", "gzip")
            self.end_headers()
            while True:
                self.wfile.write(pack(b" " * MEGABYTE))
        except OSError:
            pass  # the other side has heard enough


class Redirecting(Hostile):
    """Sends questions on with a name and a password, and commands to another server."""

    status, elsewhere = 302, None

    def do_GET(self):
        self.asked.append((self.path, self.headers["Authorization"]))
        if self.path == "/there":
            self.send_response(200)
            self.end_headers()
            self.wfile.write(b'{"files": [], "status": "OK"}')
        else:
            self.redirect(f"http://me:secret@{self.headers['Host']}/there")

    def do_POST(self):
        self.rfile.read(int(self.headers["Content-Length"]))
        self.redirect(self.elsewhere)

    def redirect(self, target):
        self.send_response(self.status)
        self.send_header("Location", target)
        self.send_header("Content-Length", "0")
        self.end_headers()


class Bounds(ProgramTest):
    def serve_with(self, handler, **members):
        """A server whose handler has these members; the origin, which the program takes for put.io's."""
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), type("Handler", (handler,), members))
        server.daemon_threads = True
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        origin = f"http://127.0.0.1:{server.server_port}"
        self.environment.update({"TOVRI_API_URL": origin, "TOVRI_TOKEN": "token"})
        return origin

    def test_an_answer_without_an_end_is_an_error(self):
        for packed in (False, True):
            with self.subTest(packed=packed):
                self.serve_with(Endless, packed=packed)
                _, messages = self.run_cli("ls", status=1)
                self.assertIn("sent more than 268.4 MB", messages)
                _, messages = self.run_cli("ls", "17", status=1)
                self.assertIn("sent headers of more than 262 KB", messages)
                _, messages = self.run_cli("ls", "18", status=1)
                self.assertIn("sent a header of more than 102 KB", messages)

    def test_no_redirect_takes_a_password_or_a_command_anywhere(self):
        for status in (302, 307):
            with self.subTest(status):
                there, here = [], []
                elsewhere = self.serve_with(Redirecting, asked=there)
                self.serve_with(Redirecting, asked=here, status=status, elsewhere=f"{elsewhere}/there")
                self.run_cli("ls")
                self.assertEqual(here[-1], ("/there", "Bearer token"))
                _, messages = self.run_cli("transfers", "add", "http://example.com/file", status=1)
                self.assertIn("redirects to another server, and nothing was sent there", messages)
                self.assertEqual(there, [])

    @unittest.skipIf("SANITIZER" in os.environ, "a sanitizer needs handles of its own to look at memory")
    def test_it_ends_with_however_few_handles(self):
        self.serve()
        for handles in (6, 8, 10, 12, 14, 16, 20, 24):
            with self.subTest(handles=handles):
                done = subprocess.run(
                    [CLI, "get", "/", "--to", str(self.downloads)], env=self.environment, cwd=self.home, text=True,
                    capture_output=True, stdin=subprocess.DEVNULL, timeout=LIMIT,
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (handles, handles)))
                self.assertEqual(done.returncode, 1, f"{done.stdout}\n{done.stderr}")
                self.assertRegex(done.stderr, "too many files are open|Too many open files|had no file handle left")
        self.run_cli("get", "/", "--to", str(self.downloads))
