"""Destinations that cannot take a file now: it waits, says why, and the others come."""

import os
import shutil
import signal
import subprocess
import urllib.parse

from support import LIMIT, ProgramTest, wait_until

MEGABYTE = 1_000_000


class Holding(ProgramTest):
    account = ("--demo",)

    def setUp(self):
        super().setUp()
        self.serve()
        self.disk = self.home / "Archive"
        self.disk.mkdir()

    def add(self, name, size):
        self.sandbox.call("POST", "files/add", urllib.parse.urlencode({"path": f"/News/{name}", "text": "x" * size}))

    def mount(self, size, *options):
        made = subprocess.run(["mount", "-t", "tmpfs", "-o", ",".join([f"size={size}", *options]), "tmpfs", self.disk],
                              capture_output=True, text=True, check=False)
        if made.returncode != 0:
            self.skipTest(f"no disk can be mounted here: {made.stderr.strip()}")
        self.addCleanup(subprocess.run, ["umount", "--lazy", self.disk], check=False, capture_output=True)

    def remount(self, *options):
        subprocess.run(["mount", "-o", ",".join(["remount", *options]), self.disk], check=True)

    def unmount(self):
        subprocess.run(["umount", self.disk], check=True)

    def get_news(self, folder=None, status=1):
        return self.run_cli("get", "/News", "--to", str(folder or self.disk), status=status)

    def test_a_full_disk_keeps_the_others_coming_and_goes_on_when_there_is_room(self):
        self.mount("3m")
        self.add("small.txt", 1000)
        self.add("large.bin", 4 * MEGABYTE)
        self.add("tiny.txt", 10)
        output, messages = self.get_news()
        self.assertIn("Waiting for 4 MB on Archive: large.bin\n", output)
        self.assertIn("2 arrived, 1 waiting\n", output)
        self.assertEqual(messages, f"Waiting for 4 MB on Archive: {self.disk}/News/large.bin. "
                                   "Go on with: tovri-cli run\n")
        self.assertEqual(sorted(os.listdir(self.disk / "News")), ["small.txt", "tiny.txt"])
        waiting = [(i["name"], i["status"], i["waiting"]) for i in self.queue() if "waiting" in i]
        self.assertEqual(waiting, [("large.bin", "queued", "Waiting for 4 MB on Archive")])
        self.assertRegex(self.run_cli("queue")[0], r"  large\.bin  Waiting for 4 MB on Archive\n")

        # It comes by itself, in a process that goes on.
        self.run_cli("rules", "add", "/Films", str(self.downloads))
        said = self.home / "said"
        with open(said, "w") as file:
            watching = self.start("watch", stdout=file, stderr=file)
        wait_until(lambda: "Waiting for 4 MB on Archive: large.bin" in said.read_text(), "the wait")
        self.assertEqual(self.sandbox.requests("storage", "large.bin"), [])
        self.remount("size=10m")
        wait_until(lambda: f"Arrived: {self.disk}/News/large.bin" in said.read_text(), "the file to arrive")
        watching.send_signal(signal.SIGINT)
        self.assertEqual(watching.wait(LIMIT), 130)

    def test_a_disk_that_fills_up_on_the_way_keeps_what_has_arrived(self):
        self.mount("9m")
        self.environment["XDG_DATA_HOME"] = str(self.disk / "data")
        self.data = self.disk / "data" / "Tovri"
        self.sandbox.fault("storage:*large.bin:rate=1MiB")
        self.add("large.bin", 6 * MEGABYTE)
        run = self.start("get", "/News", "--to", str(self.disk / "here"))
        others = self.disk / "others"
        received = lambda: sum(f.stat().st_size for f in self.disk.rglob("*") if f.is_file() and f != others)
        wait_until(lambda: received() > MEGABYTE, "the first bytes")
        free = shutil.disk_usage(self.disk).free
        others.write_bytes(b"." * (free - MEGABYTE))
        output, messages = run.communicate(timeout=LIMIT)
        self.assertEqual(run.returncode, 1, output + messages)
        self.assertRegex(messages, r"Waiting for [1-5](\.\d)? MB on Archive: .*large\.bin\. Go on with")
        self.assertGreater(received(), 1.5 * MEGABYTE)

        others.unlink()
        self.run_cli("run")
        self.assertEqual((self.disk / "here/News/large.bin").stat().st_size, 6 * MEGABYTE)

    def test_room_is_counted_for_all_that_runs(self):
        self.mount("5m")
        self.sandbox.fault("storage:*:rate=1MiB")
        for name in "abcd":
            self.add(name, 2 * MEGABYTE)
        output, _ = self.get_news()
        self.assertIn("2 arrived, 2 waiting\n", output)
        self.assertEqual({r["bytesSent"] for r in self.sandbox.requests("storage")}, {2 * MEGABYTE})
        shutil.rmtree(self.disk / "News")
        self.run_cli("run")
        self.assertEqual(sorted(os.listdir(self.disk / "News")), ["a", "b"])

    def test_some_room_is_left_to_others(self):
        self.mount("200m")
        size = 198_500_000  # of 209,715,200, of which a hundredth is left
        self.sandbox.call("POST", "files/add", f"path=/News/large.bin&size={size}")
        others = self.disk / "others"
        others.write_bytes(b"." * 9_700_000)
        self.assertIn("Waiting for 198.5 MB on Archive", self.get_news()[1])
        self.assertEqual(self.sandbox.requests("storage"), [])
        self.run_cli("config", "reservedMebibytes", "1")
        self.run_cli("run")
        self.assertEqual((self.disk / "News/large.bin").stat().st_size, size)

    def test_a_name_that_is_too_long_is_not_fetched_at_all(self):
        name = "n" * 300
        self.add(name, 10)
        self.add("short.txt", 10)
        _, messages = self.get_news(self.home)
        self.assertRegex(messages, r"^Waiting: its name has 300 bytes, .* allows 255: .*n\. Go on with: tovri-cli run\n$")
        self.assertEqual(self.sandbox.requests("storage", name), [])
        self.assertEqual(os.listdir(self.home / "News"), ["short.txt"])

    def test_a_folder_that_cannot_be_written_to_is_waited_for(self):
        self.mount("3m")
        self.add("a.txt", 10)
        self.remount("ro")
        _, messages = self.get_news()
        self.assertIn(f"Waiting: cannot write to {self.disk}: {self.disk}/News/a.txt. ", messages)
        self.assertEqual(self.sandbox.requests("storage"), [])
        self.remount("rw")
        self.assertIn("1 arrived", self.run_cli("run")[0])

    def test_nothing_is_created_beneath_a_mount_point_that_is_empty(self):
        self.mount("3m")
        self.add("first.txt", 10)
        self.get_news(status=0)
        self.unmount()
        self.add("second.txt", 10)
        output, messages = self.run_cli("get", "/News/second.txt", "--to", str(self.disk / "Series"), status=1)
        self.assertRegex(messages, rf"^Waiting for Archive: {self.disk} is on .* now: .*second\.txt\. "
                                   r"Go on with: tovri-cli run \[--use-folder-anyway\]\n$")
        self.assertEqual(os.listdir(self.disk), [])
        self.run_cli("run", status=1)
        self.run_cli("run", "--use-folder-anyway")
        self.assertEqual(os.listdir(self.disk / "Series"), ["second.txt"])
