"""Disks in files, and what a loss of power leaves of them."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest
import zlib

from support import LIMIT, ProgramTest, wait_until

IMAGE_TOOLS = ("mkfs.ext4", "mount", "umount", "fsfreeze", "losetup")


def missing_for_images():
    """What keeps this machine from mounting a file as a disk; none when nothing does."""
    if os.geteuid() != 0:
        return "only root mounts disks"
    for tool in IMAGE_TOOLS:
        if not shutil.which(tool):
            return f"{tool} is missing"
    if subprocess.run(["losetup", "-f"], capture_output=True, check=False).returncode != 0:
        return "there are no loop devices"
    with tempfile.TemporaryDirectory() as folder:
        image = pathlib.Path(folder, "image")
        with open(image, "wb") as file:
            file.truncate(1 << 20)
        subprocess.run(["mkfs.ext4", "-q", str(image)], check=True, capture_output=True)
        mounted = subprocess.run(["mount", "-o", "loop", str(image), folder], capture_output=True, check=False)
        if mounted.returncode != 0:
            return "this machine does not mount loop devices"
        subprocess.run(["umount", folder], check=True)
    return None


MISSING = missing_for_images()


def command(*arguments):
    subprocess.run(arguments, check=True, capture_output=True, timeout=LIMIT)


@unittest.skipIf(MISSING, f"no disk images: {MISSING}")
class DiskImage(ProgramTest):
    """The home's folder "disk" is an ext4 file system of its own, in a file."""

    def setUp(self):
        super().setUp()
        self.disk = self.home / "disk"
        self.disk.mkdir()
        self.image = self.home / "image"
        with open(self.image, "wb") as file:
            file.truncate(256 << 20)
        command("mkfs.ext4", "-q", str(self.image))
        self.mount(self.image)
        self.addCleanup(self.unmount)

    def mount(self, image):
        command("mount", "-o", "loop", str(image), str(self.disk))

    def unmount(self):
        subprocess.run(["fsfreeze", "-u", str(self.disk)], capture_output=True, check=False)
        wait_until(lambda: subprocess.run(["umount", str(self.disk)], capture_output=True, check=False).returncode == 0,
                   "the end of all that uses the disk")

    def copy_of_disk(self):
        """The disk as it is at this moment without what the machine still has in its memory."""
        left = self.home / "left"
        command("cp", "--sparse=always", str(self.image), str(left))
        return left

    def go_on_with(self, left):
        """The machine has started anew, with this disk, since queue and notes were written."""
        self.unmount()
        self.image = left.rename(self.home / "image")
        self.mount(self.image)
        file = self.data / "queue.json"
        queue = json.loads(file.read_text()) if file.exists() else {}
        if "bootID" in queue:
            file.write_text(json.dumps({**queue, "bootID": "an earlier one"}))
        for note in (*self.data.glob("Partial/*.note"), *self.disk.rglob(".tovri-*/*.note")):
            slots = [note.read_bytes()[start:start + 8192] for start in (0, 8192)]
            note.write_bytes(b"".join(self.of_earlier_start(slot).ljust(8192, b"\0") for slot in slots))

    @staticmethod
    def of_earlier_start(slot):
        lines = slot.split(b"\0")[0].split(b"\n")
        if lines[0] != b"tovri-note-1":
            return slot
        lines[2] = b"an earlier one"
        text = b"\n".join(lines[:-2]) + b"\n"
        return text + b"%08x\n" % zlib.crc32(text)

    def cut_power(self):
        self.go_on_with(self.copy_of_disk())


class PowerCut(DiskImage):
    """Data and downloads are on the disk."""

    def setUp(self):
        super().setUp()
        self.downloads = self.disk / "here"
        self.data = self.disk / "data" / "Tovri"
        self.environment["XDG_DATA_HOME"] = str(self.disk / "data")
