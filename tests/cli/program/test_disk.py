"""What is bound for a disk that is not there waits for it, and for no other."""

import os
import unittest

from disk_images import DiskImage, command
from support import wait_until


class Absent(DiskImage):
    account = ("--files", "1", "--folders", "0", "--min-size", "6MiB", "--max-size", "6MiB")

    def test_what_has_begun_there_waits_for_its_disk(self):
        self.serve()
        self.downloads = self.disk / "here"
        self.sandbox.fault("storage:*:stall=2MiB")
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        wait_until(lambda: sum(file.stat().st_size for file in self.disk.glob(".tovri-*/*")) >= 2 << 20, "the first bytes")
        self.interrupt(process)
        self.sandbox.call("DELETE", "faults")
        self.sandbox.call("POST", "reset-log", "")
        self.unmount()
        self.assertIn("Waiting for disk: ", self.run_cli("run", status=1)[1])
        self.assertEqual(os.listdir(self.disk), [])
        self.mount(self.image)
        self.run_cli("run")
        self.assertEqual([r["range"] for r in self.sandbox.requests("storage")], [f"bytes={2 << 20}-"])
        self.assert_tree()
        self.assertEqual(list(self.disk.glob(".tovri-*")), [])

    def test_another_disk_in_its_place_gets_nothing(self):
        self.serve("--demo")
        self.run_cli("get", "/Welcome.txt", "--to", str(self.disk))
        self.unmount()
        other = self.home / "other image"
        with open(other, "wb") as file:
            file.truncate(16 << 20)
        command("mkfs.ext4", "-q", str(other))
        self.mount(other)
        for arguments in (["get", "11", "--to", str(self.disk)], ["run"]):
            self.assertRegex(self.run_cli(*arguments, status=1)[1], r"Waiting for disk \(.*\): .* is in its place: ")
            self.assertEqual(os.listdir(self.disk), ["lost+found"])
        self.unmount()
        self.mount(self.image)
        self.run_cli("run")
        self.assertEqual(sorted(os.listdir(self.disk)), ["Safety Last! (1923).mkv", "Welcome.txt", "lost+found"])


if __name__ == "__main__":
    unittest.main()
