"""What stands on a disk: safe from a loss of power, for those who may read it, and in nobody's way when it hangs."""

import json
import os
import pathlib
import random
import shutil
import signal
import stat
import struct
import subprocess
import tempfile
import threading
import time
import unittest
import zlib

from support import LIMIT, SANDBOX, SOON, ProgramTest, Terminal, tree_of, wait_until

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


class PowerLoss(PowerCut):
    account = ("--files", "40", "--folders", "5", "--max-size", "1MiB")

    def test_what_get_has_brought_is_there(self):
        self.serve(*self.account)
        self.get("/Generated")
        self.cut_power()
        self.assert_tree()
        asked = len(self.sandbox.requests("storage"))
        self.run_cli("run")
        self.assertEqual({item["status"] for item in self.queue()}, {"completed"})
        self.assertEqual(len(self.sandbox.requests("storage")), asked)

    def test_what_is_lost_on_the_way_is_fetched_again(self):
        seed = int(os.environ.get("TOVRI_TEST_SEED", random.randrange(1 << 30)))
        chance = random.Random(seed)
        self.serve(*self.account)
        self.sandbox.fault("storage:*:rate=4MB")
        with self.subTest(f"TOVRI_TEST_SEED={seed}"):
            arguments = ["get", "/Generated", "--to", str(self.downloads)]
            for _ in range(4):
                self.kill(chance.randrange(10, 40), *arguments)
                self.cut_power()
                if self.queue():
                    arguments = ["run"]
            self.sandbox.call("DELETE", "faults")
            self.run_cli(*arguments)
            self.cut_power()
            self.assertEqual({item["status"] for item in self.queue()}, {"completed"})
            expected = self.home / "expected"
            command(SANDBOX, *self.account, "--write-tree", str(expected))
            # What had lost its content may stand beside it.
            self.assertLessEqual(set(tree_of(expected).values()), set(tree_of(self.downloads).values()))


@unittest.skipUnless("REFUSING_DISK" in os.environ, "no disk refuses here: the program is built with a sanitizer")
class Refusing(ProgramTest):
    def setUp(self):
        super().setUp()
        self.serve()
        self.environment.update({"LD_PRELOAD": os.environ["REFUSING_DISK"], "REFUSED": str(self.downloads)})

    def test_get_says_so_and_ends_with_1(self):
        output, messages = self.get("/Generated", status=1)
        self.assertIn("12 arrived", output)
        self.assertRegex(messages, r"may not survive a loss of power: Cannot save \"/.*\n")

    def test_nothing_is_deleted(self):
        self.get("/Generated", "--delete", status=1)
        self.assertEqual(self.sandbox.requests(path="/files/delete"), [])

    def test_one_that_does_not_answer_is_named_and_ctrl_c_says_what_is_not_known(self):
        hanging = self.home / "hanging"
        hanging.touch()
        self.environment.update({"SILENCE": str(hanging), "SILENT": self.environment.pop("REFUSED")})
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        messages = process.stderr.readline()
        self.assertRegex(messages, rf"^Waiting until all that arrived in {self.downloads}\S* is on the disk\.$")
        process.send_signal(signal.SIGINT)
        output, messages = process.communicate(timeout=SOON)
        self.assertEqual(process.returncode, 1, messages)
        self.assertIn("12 arrived", output)
        self.assertIn("is on the disk is not known: a loss of power may take it. Make sure with: tovri-cli run", messages)
        self.assertNotIn("Stopped. Go on", messages)
        hanging.unlink()
        self.run_cli("run")
        asked = [item for item in json.loads((self.data / "queue.json").read_text())["downloads"] if not item["durable"]]
        self.assertEqual(asked, [])


@unittest.skipUnless("REFUSING_DISK" in os.environ, "no disk is slow here: the program is built with a sanitizer")
class Slow(ProgramTest):
    account = ("--files", "1", "--folders", "0", "--min-size", "4MiB", "--max-size", "4MiB")

    def test_bytes_that_a_quit_did_not_wait_for_are_proven_anew(self):
        self.serve()
        self.sandbox.fault("storage:*:stall=2MiB")
        self.environment.update({"LD_PRELOAD": os.environ["REFUSING_DISK"], "SLOW": str(self.data / "Partial")})
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        self.wait_for_partial_bytes(2 << 20)
        self.interrupt(process)
        del self.environment["LD_PRELOAD"]
        self.sandbox.call("DELETE", "faults")
        with open(next(self.data.glob("Partial/*")), "r+b") as file:  # what a loss of power leaves of them
            file.write(bytes(1 << 20))
        self.run_cli("run")
        self.assertEqual([item["proof"] for item in self.queue()], ["checksum"])
        self.assert_tree()


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


class Hanging(DiskImage):
    account = ("--files", "2", "--folders", "0", "--min-size", "1MiB", "--max-size", "2MiB")

    @staticmethod
    def has_ended(process):
        """Whether all but what the kernel does not let go of is over."""
        try:
            state = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()[0]
        except FileNotFoundError:
            return True
        return state in "ZX"

    def interrupt_hanging(self, process):
        """Has it end within two seconds, for the test's own slowness another one; returns its messages."""
        messages = []
        reader = threading.Thread(target=lambda: messages.extend(process.stderr))
        reader.start()
        began = time.monotonic()
        process.send_signal(signal.SIGINT)
        wait_until(lambda: self.has_ended(process), "the end")
        self.assertLess(time.monotonic() - began, 3)
        command("fsfreeze", "-u", str(self.disk))
        reader.join(LIMIT)
        return "".join(messages)

    def test_where_tovris_own_disk_hangs_it_says_what_is_not_saved(self):
        self.environment["XDG_DATA_HOME"] = str(self.disk / "data")
        self.serve(*self.account)
        self.sandbox.fault("storage:*:rate=200kB")
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        wait_until(lambda: len(self.sandbox.requests("storage")) == 2, "the transfers")
        command("fsfreeze", "-f", str(self.disk))
        messages = self.interrupt_hanging(process)
        self.assertIn("The disk takes too long to write", messages)
        self.assertIn("Stopped. Go on with: tovri-cli run", messages)

    def test_a_disk_that_hangs_holds_up_only_what_goes_there(self):
        self.serve(*self.account)
        frozen, other = json.loads(self.run_cli("ls", "/Generated", "--json")[0])["files"]
        self.sandbox.fault("storage:*:rate=200kB")
        process = self.start("get", str(frozen["id"]), "--to", str(self.disk))
        wait_until(lambda: any(file.stat().st_size for file in self.disk.glob(".tovri-*/*")), "the first bytes")
        self.interrupt(process)
        self.sandbox.call("DELETE", "faults")

        command("fsfreeze", "-f", str(self.disk))
        process = self.start("get", str(other["id"]), "--to", str(self.downloads))
        arrived = self.downloads / other["name"]
        wait_until(lambda: arrived.exists() and arrived.stat().st_size == other["size"], "the other file")
        self.assertIsNone(process.poll())
        self.assertNotIn("hangs", self.interrupt_hanging(process))

        self.run_cli("run")
        self.assertEqual((self.disk / frozen["name"]).stat().st_size, frozen["size"])
        self.assertEqual({item["status"] for item in self.queue()}, {"completed"})


@unittest.skipUnless("HANGING_DISK" in os.environ, "no disk hangs here: the program is built with a sanitizer")
class NotAnswering(ProgramTest):
    """Whatever is asked of one destination waits for ever."""

    account = ("--demo",)

    def setUp(self):
        super().setUp()
        self.serve()
        self.hanging = self.home / "hanging"
        self.hanging.mkdir()

    def hang(self):
        self.environment.update({"LD_PRELOAD": os.environ["HANGING_DISK"], "HANGING": str(self.hanging),
                                 "HANGED": str(self.home / "hanged")})

    def interrupt_hanging(self, process):
        """Soon after it has begun to wait for that disk."""
        wait_until((self.home / "hanged").exists, "the disk to be asked for something")
        process.send_signal(signal.SIGINT)
        process.wait(SOON)
        self.assertEqual(process.returncode, 130)
        (self.home / "hanged").rmdir()

    def wait_for_arrival(self, name):
        wait_until(lambda: (self.downloads / name).exists(), name)

    def test_what_waits_for_it_keeps_nothing_else_from_coming(self):
        self.run_cli("pause")
        self.run_cli("get", "11", "--to", str(self.hanging), status=1)
        self.run_cli("resume")
        self.hang()
        process = self.start("get", "/Welcome.txt", "--to", str(self.downloads))
        self.wait_for_arrival("Welcome.txt")
        self.interrupt_hanging(process)
        self.interrupt_hanging(self.start("get", "/Welcome.txt", "--to", str(self.hanging)))
        self.run_cli("remove", *(item["id"] for item in self.queue()))

    def test_what_a_folder_is_gone_on_with_can_be_left(self):
        self.sandbox.fault("storage:*:stall=1")
        process = self.start("get", "/Books", "--to", str(self.hanging))
        wait_until(lambda: self.sandbox.stats()["transfersInFlight"] == 3, "the transfers")
        self.interrupt(process)
        self.run_cli("pause")
        self.run_cli("remove", self.queue()[0]["id"])
        self.hanging = self.hanging / "Books"
        self.hang()
        self.interrupt_hanging(self.start("get", "/Books", "--to", str(self.hanging.parent)))

    def test_one_rule_keeps_no_other_from_looking(self):
        for folder, to in (("/Films", self.hanging), ("/Books", self.downloads)):
            self.run_cli("rules", "add", folder, str(to))
        self.sandbox.call("POST", "files/add", "path=/Films/new.txt&text=new")
        self.hang()
        for number, command in enumerate((["rules", "sync"], ["watch"])):
            self.sandbox.call("POST", "files/add", f"path=/Books/{number}.txt&text=new")
            self.make_due()
            process = self.start(*command)
            self.wait_for_arrival(f"{number}.txt")
            self.interrupt_hanging(process)

    def make_due(self):
        file = self.data / "sync-rules.json"
        file.write_text(json.dumps([{**rule, "lastSyncDate": 0} for rule in json.loads(file.read_text())]))

    def test_the_proof_of_what_is_there_keeps_no_other_deletion_up(self):
        self.sandbox.fault("api:/v2/files/delete:status=503,times=1")
        self.run_cli("get", "/Welcome.txt", "--to", str(self.hanging), "--delete", status=1)
        self.hang()
        self.interrupt_hanging(self.start("retry"))
        process = self.start("get", "/Films/The General (1926)/Poster.jpg", "--to", str(self.downloads), "--delete")
        wait_until(lambda: len(self.sandbox.requests(path="/files/delete")) == 2, "the other deletion")
        process.communicate(timeout=LIMIT)
        self.assertNotIn("Poster.jpg", self.run_cli("ls", "/Films/The General (1926)")[0])
        self.assertIn("Welcome.txt", self.run_cli("ls")[0])


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
