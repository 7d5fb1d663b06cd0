"""Files for another volume, and files that find no place: what is where, and that nothing is fetched twice."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

from support import ProgramTest, Terminal, wait_until


class OtherVolume(ProgramTest):
    """The downloads go to a volume that is not the data folder's."""

    account = ("--files", "3", "--folders", "0", "--min-size", "4MiB", "--max-size", "6MiB")

    def setUp(self):
        super().setUp()
        shared = pathlib.Path("/dev/shm")
        if not os.access(shared, os.W_OK) or shared.stat().st_dev == self.home.stat().st_dev:
            self.skipTest("needs a second volume at /dev/shm")
        self.elsewhere = pathlib.Path(tempfile.mkdtemp(prefix="tovri-test-", dir=shared))
        self.addCleanup(shutil.rmtree, self.elsewhere, True)
        self.downloads = self.elsewhere / "here"

    def receiving_folders(self):
        return list(self.elsewhere.rglob(".tovri-*"))

    def received(self):
        return [file for folder in self.receiving_folders() for file in folder.glob("*") if file.suffix != ".note"]

    def wait_for_received_bytes(self, least):
        wait_until(lambda: sum(f.stat().st_size for f in self.received() if f.exists()) >= least, "the first bytes")

    def start_slowly(self):
        self.serve()
        self.sandbox.fault("storage:*:rate=1MiB")
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        self.wait_for_received_bytes(1 << 20)
        return process

    def test_bytes_are_written_once_and_there(self):
        process = self.start_slowly()
        for folder in self.receiving_folders():
            self.assertEqual(folder.stat().st_mode & 0o777, 0o700)
        # In the folder that was there before the first destination.
        self.assertEqual([folder.parent for folder in self.receiving_folders()], [self.elsewhere])
        numbers = {file.stat().st_ino for file in self.received()}
        self.assertTrue(all(f.stat().st_dev == self.elsewhere.stat().st_dev for f in self.received()))
        self.assertEqual(self.partial_bytes(), 0)
        self.sandbox.call("DELETE", "faults")
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, 0)
        placed = {f.stat().st_ino for f in self.downloads.rglob("*") if f.is_file()}
        self.assertLessEqual(numbers, placed, "what was received is what was placed")
        self.assert_tree()

    def test_a_quit_goes_on_there_at_the_same_byte(self):
        self.interrupt(self.start_slowly())
        self.assertEqual(len(self.receiving_folders()), 1)
        self.sandbox.call("DELETE", "faults")
        self.sandbox.call("POST", "reset-log", "")
        self.run_cli("run")
        ranges = [r["range"] for r in self.sandbox.requests("storage")]
        self.assertTrue(all(r.startswith("bytes=") and r != "bytes=0-" for r in ranges), ranges)
        self.assert_tree()

    def test_a_kill_leaves_nothing_behind(self):
        process = self.start_slowly()
        process.send_signal(signal.SIGKILL)
        process.wait(20)
        self.assertTrue(self.received())
        self.sandbox.call("DELETE", "faults")
        self.run_cli("run")
        self.assert_tree()

    def test_another_data_folder_is_left_alone(self):
        self.interrupt(self.start_slowly())
        before = sorted(self.received())
        self.environment["XDG_DATA_HOME"] = str(self.home / "other data")
        self.sandbox.call("DELETE", "faults")
        self.run_cli("get", "/Generated", "--to", str(self.elsewhere / "there"))
        self.assertEqual(sorted(self.received()), before)


class SmallDataDisk(OtherVolume):
    """The data folder's disk has room for the queue alone."""

    def setUp(self):
        super().setUp()
        data = self.home / "data"
        data.mkdir()
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=2m", "tmpfs", str(data)], capture_output=True)
        if mounted.returncode != 0:
            self.skipTest("needs the right to mount a tmpfs")
        self.addCleanup(subprocess.run, ["umount", "-l", str(data)], check=True, timeout=60)


class Unstaged(ProgramTest):
    """A file whose name is taken, and that cannot be set aside until the user has decided."""

    account = ("--demo",)

    def setUp(self):
        super().setUp()
        self.serve()
        self.taken()

    def taken(self):
        self.downloads.mkdir(parents=True)
        (self.downloads / "Poster.jpg").write_text("mine")

    def ask(self):
        terminal = Terminal(["get", "/Films/The General (1926)/Poster.jpg", "--to", str(self.downloads), "--on-conflict",
                             "ask"], self.environment, self.home)
        self.addCleanup(terminal.close)
        return terminal

    def check_that_it_is_kept(self, reason):
        terminal = self.ask()
        self.assertEqual(terminal.finish(), 1)
        self.assertIn('"Poster.jpg" cannot be set aside until you decide: ', terminal.text)
        self.assertIn(reason, terminal.text)
        self.sandbox.call("POST", "reset-log", "")
        self.run_cli("retry", "--on-conflict", "keep-both")
        self.assertEqual(self.sandbox.requests("storage") + self.sandbox.requests("link"), [])
        self.assertEqual(sorted(os.listdir(self.downloads)), ["Poster (1).jpg", "Poster.jpg"])

    def test_it_is_kept_where_there_is_no_folder_for_it(self):
        self.data.mkdir(parents=True)
        (self.data / "Staging").write_text("in the way")
        self.check_that_it_is_kept("a file stands where a folder should be")

    def test_it_is_kept_where_the_data_folders_disk_is_full(self):
        shared = pathlib.Path("/dev/shm")
        if not os.access(shared, os.W_OK):
            self.skipTest("needs a second volume at /dev/shm")
        self.downloads = pathlib.Path(tempfile.mkdtemp(prefix="tovri-test-", dir=shared), "here")
        self.addCleanup(shutil.rmtree, self.downloads.parent)
        self.taken()
        (self.home / "data").mkdir()
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=200k", "tmpfs", str(self.home / "data")],
                                 capture_output=True)
        if mounted.returncode != 0:
            self.skipTest("needs the right to mount a tmpfs")
        self.addCleanup(subprocess.run, ["umount", "-l", str(self.home / "data")], check=True, timeout=60)
        self.check_that_it_is_kept("the disk is full")

    def test_a_folder_that_went_away_is_made_anew(self):
        self.sandbox.fault("storage:*:rate=400KB")
        terminal = self.ask()
        self.wait_for_partial_bytes(1)
        shutil.rmtree(self.data / "Staging")
        terminal.wait_for("Keep Both")
        terminal.type("k\n")
        self.assertEqual(terminal.finish(), 0)


class Conflicts(ProgramTest):
    def check_their_order(self):
        account = self.home / "account.json"
        sizes = [(number + 1) * 10_000 for number in range(6)]
        account.write_text('{"files": {"F": {' + ", ".join(f'"f": {size}' for size in sizes) + "}}}")
        self.serve("--account", str(account))
        (self.downloads / "F").mkdir(parents=True)
        (self.downloads / "F" / "f").write_text("mine")
        terminal = Terminal(["get", "/F", "--to", str(self.downloads), "--on-conflict", "ask", "--jobs", "1"],
                            self.environment, self.home)
        self.addCleanup(terminal.close)
        terminal.wait_for("Keep Both")
        terminal.type("ka\n")
        self.assertEqual(terminal.finish(), 0)
        placed = {file.name: file.stat().st_size for file in (self.downloads / "F").iterdir()}
        # The last one listed comes first.
        self.assertEqual(placed, {"f": 4, **{f"f ({number + 1})": size for number, size in enumerate(reversed(sizes))}})

    def test_of_one_answer_are_resolved_in_their_order(self):
        self.check_their_order()

    def test_also_where_each_is_copied(self):
        shared = pathlib.Path("/dev/shm")
        if not os.access(shared, os.W_OK) or shared.stat().st_dev == self.home.stat().st_dev:
            self.skipTest("needs a second volume at /dev/shm")
        self.downloads = pathlib.Path(tempfile.mkdtemp(prefix="tovri-test-", dir=shared))
        self.addCleanup(shutil.rmtree, self.downloads)
        self.check_their_order()


class Unplaced(ProgramTest):
    """A file that has arrived, and whose place cannot be taken."""

    account = ("--files", "1", "--folders", "0", "--min-size", "3MiB", "--max-size", "3MiB")

    def setUp(self):
        super().setUp()
        self.downloads.write_text("in the way")

    def fail(self, command):
        self.assertIn("Failed: ", self.run_cli(*command, status=1)[1])
        self.assertGreater(self.partial_bytes(), 3_000_000)
        self.assertEqual(len(os.listdir(self.data / "Partial")), 1)

    def test_a_retry_fetches_nothing(self):
        self.serve()
        self.fail(("get", "/Generated", "--to", str(self.downloads)))
        self.assertEqual([item["status"] for item in self.queue()], ["failed"])
        self.sandbox.call("POST", "reset-log", "")
        for _ in range(3):
            self.fail(("retry",))
        self.downloads.unlink()
        self.run_cli("retry")
        self.assertEqual(self.sandbox.requests("storage") + self.sandbox.requests("link"), [])
        self.assert_tree()

    def test_another_item_of_the_same_file_finds_it(self):
        self.serve()
        self.fail(("get", "/Generated", "--to", str(self.downloads)))
        self.sandbox.call("POST", "reset-log", "")
        self.downloads = self.home / "elsewhere"
        self.get("/Generated")
        self.assertEqual(self.sandbox.requests("storage") + self.sandbox.requests("link"), [])
        self.assert_tree()

    def test_it_goes_with_its_item(self):
        self.serve()
        self.fail(("get", "/Generated", "--to", str(self.downloads)))
        self.run_cli("clear")
        self.run_cli("run")
        self.assertEqual(os.listdir(self.data / "Partial"), [])


class BetweenMounts(ProgramTest):
    """One volume, and a folder of it that is mounted a second time: the system moves no file between the two."""

    def setUp(self):
        super().setUp()
        real = self.home / "real"
        real.mkdir()
        self.downloads.mkdir()
        if subprocess.run(["mount", "--bind", str(real), str(self.downloads)], capture_output=True).returncode != 0:
            self.skipTest("needs the right to mount a folder")
        self.addCleanup(subprocess.run, ["umount", "-l", str(self.downloads)], check=True, timeout=60)

    def test_a_file_is_copied_where_it_cannot_be_moved(self):
        self.serve()
        self.get("/Generated")
        self.assert_tree()

    def test_an_end_during_the_copy_fetches_nothing_again(self):
        self.account = ("--files", "1", "--folders", "0", "--min-size", "200MB", "--max-size", "200MB")
        self.serve()
        # A limit, so that all bytes come one behind the other.
        process = self.start("get", "/Generated", "--to", str(self.downloads), "--limit-rate", "500M")
        wait_until(lambda: self.partial_bytes() == 200_000_000, "the last byte")
        process.send_signal(signal.SIGINT)
        process.communicate(timeout=20)
        self.assertEqual(len(self.sandbox.requests("storage")), 1)
        self.run_cli("run")
        self.assertEqual(len(self.sandbox.requests("storage")), 1)
        self.assert_tree()


if __name__ == "__main__":
    unittest.main()
