"""How the built programs and the service are closed, and what a killed one leaves."""

import os
import pathlib
import re
import resource
import shutil
import signal
import socket
import ssl
import subprocess
import tempfile
import unittest

from support import CLI, LIMIT, ProgramTest, wait_until

ROOT = pathlib.Path(__file__).resolve().parents[3]
# The window's program is named where it is built too; then it has to be there.
PROGRAMS = [CLI, *filter(None, [os.environ.get("TOVRI")])]


def read_elf(*options):
    return subprocess.run(["readelf", "-W", *options], check=True, capture_output=True, text=True, timeout=LIMIT).stdout


@unittest.skipIf(os.environ.get("SANITIZER"), "a sanitizer's build has checks of its own")
class Programs(unittest.TestCase):
    def test_are_hardened(self):
        for program in PROGRAMS:
            with self.subTest(program):
                self.assertRegex(read_elf("-h", program), r"Type: +DYN")
                segments = read_elf("-l", program)
                self.assertIn("GNU_RELRO", segments)
                self.assertNotRegex(segments, r"GNU_STACK.* RWE ")
                dynamic = read_elf("-d", program)
                self.assertIn("BIND_NOW", dynamic)
                self.assertRegex(dynamic, r"FLAGS_1.*PIE")
                symbols = read_elf("--dyn-syms", program)
                self.assertIn("__stack_chk_fail", symbols)
                self.assertRegex(symbols, r"__(memcpy|memmove|strncpy|read|pread|realpath|snprintf|vsnprintf|FD_SET|fdelt)_chk")
                self.assertIn("__glibcxx_assert_fail", symbols)


class Service(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="tovri-test-"))
        self.addCleanup(shutil.rmtree, self.root)
        self.units = self.root / "etc/systemd/system"
        self.units.mkdir(parents=True)
        (self.root / "usr/bin").mkdir(parents=True)
        shutil.copy("/bin/true", self.root / "usr/bin/tovri-cli")
        shutil.copy(ROOT / "packaging/tovri-watch.service", self.units)

    def add_drop_in(self):
        (self.units / "tovri-watch.service.d").mkdir()
        shutil.copy(ROOT / "packaging/system-wide.conf", self.units / "tovri-watch.service.d")

    def analyze(self, *arguments):
        if not shutil.which("systemd-analyze"):
            self.skipTest("systemd-analyze is missing")
        done = subprocess.run(["systemd-analyze", *arguments, f"--root={self.root}", "tovri-watch.service"],
                              capture_output=True, text=True, timeout=LIMIT)
        return done.returncode, done.stdout + done.stderr

    def test_is_understood_with_and_without_the_drop_in(self):
        for add in (lambda: None, self.add_drop_in):
            add()
            self.assertEqual(self.analyze("verify", "--man=no", "--recursive-errors=no"), (0, ""))

    def test_as_a_system_service_is_exposed_little(self):
        self.add_drop_in()
        _, told = self.analyze("security", "--offline=true")
        level = re.search(r"Overall exposure level for \S+: ([0-9.]+)", told)
        self.assertTrue(level, told)
        self.assertLessEqual(float(level[1]), 2.5)

    def test_as_a_user_service_keeps_to_itself(self):
        unit = (ROOT / "packaging/tovri-watch.service").read_text()
        for line in ("NoNewPrivileges=yes", "UMask=0077", "LimitCORE=0"):
            self.assertIn(f"\n{line}\n", unit)
        for key in ("MemoryMax", "TasksMax"):
            self.assertRegex(unit, rf"\n{key}=\d")
        # What needs a mount or user namespace fails where a user may have none.
        self.assertNotRegex(unit, r"\n(Private|Protect|ReadOnly|ReadWrite|Inaccessible)")


class Process(ProgramTest):
    def begin_upload(self):
        (self.home / "temporary").mkdir(exist_ok=True)
        self.environment["TMPDIR"] = str(self.home / "temporary")
        (self.home / "large").write_bytes(bytes(3_000_000))
        self.sandbox.fault("upload:*:rate=1KiB")
        process = self.start("put", "large")
        wait_until(lambda: list((self.home / "temporary").iterdir()), "the upload to begin")
        return process

    @unittest.skipUnless(shutil.which("openssl"), "openssl is missing")
    def test_speaks_no_tls_older_than_1_2_also_where_the_system_would(self):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=localhost", "-days", "2",
                        "-keyout", "key.pem", "-out", "certificate.pem"], cwd=self.home, check=True, capture_output=True,
                       timeout=LIMIT)
        lax = self.home / "openssl.cnf"
        lax.write_text("openssl_conf = a\n[a]\nssl_conf = b\n[b]\nsystem_default = c\n[c]\nMinProtocol = TLSv1\n"
                       "CipherString = ALL:@SECLEVEL=0\n")
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.set_ciphers("ALL:@SECLEVEL=0")
        context.minimum_version = ssl.TLSVersion.TLSv1
        context.maximum_version = ssl.TLSVersion.TLSv1_1
        context.load_cert_chain(self.home / "certificate.pem", self.home / "key.pem")
        with socket.create_server(("localhost", 0)) as server:
            server.settimeout(LIMIT)
            self.environment |= {"TOVRI_API_URL": f"https://localhost:{server.getsockname()[1]}", "TOVRI_TOKEN": "x",
                                 "OPENSSL_CONF": str(lax)}
            process = self.start("ls")
            connection, _ = server.accept()
            with connection, self.assertRaises(ssl.SSLError) as refused:
                context.wrap_socket(connection, server_side=True)
        self.assertEqual(process.wait(LIMIT), 1)
        self.assertEqual(refused.exception.reason, "UNSUPPORTED_PROTOCOL")

    def test_leaves_no_memory_image_and_no_copy(self):
        self.serve("--demo")
        process = self.begin_upload()
        self.assertEqual(resource.prlimit(process.pid, resource.RLIMIT_CORE), (0, 0))
        self.run_cli("ls")
        self.assertEqual(len(list((self.home / "temporary").iterdir())), 1)  # it is still needed
        process.send_signal(signal.SIGKILL)
        process.wait(LIMIT)
        self.run_cli("ls")
        self.assertEqual(list((self.home / "temporary").iterdir()), [])
