"""A disk that does not answer is in nobody else's way."""

import json
import os
import pathlib
import signal
import threading
import time
import unittest

from disk_images import DiskImage, command
from support import LIMIT, SOON, ProgramTest, wait_until


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


if __name__ == "__main__":
    unittest.main()
