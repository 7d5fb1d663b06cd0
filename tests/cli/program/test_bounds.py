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


class Endless(http.server.BaseHTTPRequestHandler):
    """Answers with a body that does not end; below /v2/files/1 with headers that do not."""

    packed = False

    def do_GET(self):
        pack = zlib.compressobj(wbits=31).compress if self.packed else bytes
        self.send_response(200)
        try:
            if "parent_id=0" not in self.path:
                self.flush_headers()
                while True:
                    self.wfile.write(b"X-Filler: " + b"x" * 1000 + b"\r\n")
            if self.packed:
                self.send_header("Content-Encoding", "gzip")
            self.end_headers()
            while True:
                self.wfile.write(pack(b" " * MEGABYTE))
        except OSError:
            pass  # the other side has heard enough

    def log_message(self, *_):
        pass


class Bounds(ProgramTest):
    def test_an_answer_without_an_end_is_an_error(self):
        for packed in (False, True):
            with self.subTest(packed=packed):
                handler = type("Handler", (Endless,), {"packed": packed})
                server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
                server.daemon_threads = True
                threading.Thread(target=server.serve_forever, daemon=True).start()
                self.addCleanup(server.server_close)
                self.addCleanup(server.shutdown)
                self.environment.update({"TOVRI_API_URL": f"http://127.0.0.1:{server.server_port}",
                                         "TOVRI_TOKEN": "token"})
                _, messages = self.run_cli("ls", status=1)
                self.assertIn("sent more than 268.4 MB", messages)
                _, messages = self.run_cli("ls", "17", status=1)
                self.assertIn("sent headers of more than 262 KB", messages)

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
