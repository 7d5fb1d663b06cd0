"""Who may read what has arrived, and what is on its way."""

import os
import pathlib
import shutil
import stat
import struct
import subprocess
import tempfile
import unittest

from support import LIMIT, ProgramTest, Terminal


class Permissions(ProgramTest):
    """A file has those that one newly made in its folder would have."""

    LISTS = ("system.posix_acl_access", "system.posix_acl_default")

    @staticmethod
    def permissions(path):
        status = os.stat(path)
        names = os.listxattr(path)
        return (stat.filemode(status.st_mode), status.st_gid,
                os.getxattr(path, "system.posix_acl_access") if "system.posix_acl_access" in names else None)

    def get_as(self, mask, *arguments):
        process = self.start("get", *arguments, umask=mask)
        output, messages = process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, 0, output + messages)

    def check(self, folder, mask):
        """Brings a file into the folder, and compares it with one that another program makes there."""
        folder.mkdir(exist_ok=True)
        self.get_as(mask, "/Welcome.txt", "--to", str(folder), "--on-conflict", "replace")
        mine = folder / "mine"
        mine.unlink(missing_ok=True)
        subprocess.run(["touch", str(mine)], umask=mask, check=True)
        self.assertEqual(self.permissions(folder / "Welcome.txt"), self.permissions(mine), oct(mask))

    def folders(self):
        """On the program's own volume and, where there is one, on another."""
        yield self.downloads
        other = pathlib.Path("/dev/shm")
        if other.is_dir() and other.stat().st_dev != self.home.stat().st_dev:
            folder = pathlib.Path(tempfile.mkdtemp(dir=other))
            self.addCleanup(shutil.rmtree, folder)
            yield folder

    def test_they_are_the_umasks(self):
        self.serve("--demo")
        for folder in self.folders():
            for mask in (0o022, 0o002, 0o077):
                self.check(folder, mask)

    def test_they_are_the_folders_group_and_list(self):
        self.serve("--demo")
        # The folder's default (linux/posix_acl_xattr.h): the owner may do all, user 1 reads, its group too.
        nobody = 0xFFFFFFFF
        entries = ((0x01, 7, nobody), (0x02, 4, 1), (0x04, 5, nobody), (0x10, 5, nobody), (0x20, 0, nobody))
        default = struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in entries)
        for folder in self.folders():
            folder.mkdir(exist_ok=True)
            if os.geteuid() == 0:
                os.chown(folder, -1, 1)
            folder.chmod(0o2775)
            self.check(folder, 0o022)
            try:
                os.setxattr(folder, "system.posix_acl_default", default)
            except OSError as refused:
                print(f"no access lists in {folder}: {refused}")
                continue
            self.check(folder, 0o022)

    def test_what_is_on_its_way_is_private(self):
        self.serve("--demo")
        self.downloads.mkdir()
        (self.downloads / "Welcome.txt").write_text("mine")
        self.sandbox.fault("storage:*.mkv:rate=200kB")
        terminal = Terminal(["get", "/Welcome.txt", "11", "--to", str(self.downloads), "--on-conflict", "ask"],
                            self.environment, self.home)
        self.addCleanup(terminal.close)
        private = lambda name: [stat.filemode(f.stat().st_mode) for f in self.data.glob(f"{name}/*") if f.exists()]
        terminal.wait_for("Keep Both")
        self.wait_for_partial_bytes(1)
        self.assertEqual(private("Staging"), ["-rw-------"])
        self.assertIn("-rw-------", private("Partial"))
        self.assertEqual(set(private("Partial")), {"-rw-------"})


if __name__ == "__main__":
    unittest.main()
