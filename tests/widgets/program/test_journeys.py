"""Days on which something goes wrong: with mouse and keyboard from the first window to the files on the disk."""

import json
import os
import re
import subprocess
import unittest

from desktop import DesktopTest, State
from support import LIMIT, SANDBOX, tree_of, wait_until

FILMS = ["Arrival.mkv", "Brazil.mkv", "Casablanca.mkv"]


class Journey(DesktopTest):
    """The files of the folder come slowly, until they are let come."""

    folder = "Films"
    files = dict.fromkeys(FILMS, "3MiB")
    summary = "3 of 3 items selected, 9.4 MB"
    rate = "250KiB"

    def setUp(self):
        super().setUp()
        (self.home / "account.json").write_text(json.dumps({"files": {self.folder: self.files}}))
        self.account = ("--account", str(self.home / "account.json"))
        self.serve()
        self.sandbox.fault(f"storage:*:rate={self.rate}")

    def let_come(self):
        self.sandbox.call("DELETE", "faults")

    # --- What is done ---

    def queue_folder(self):
        """Opens the folder, selects all that is in it, and presses the button as somebody does who is in a hurry."""
        self.click("list item", self.folder, times=2)
        second = sorted(self.files)[1]  # the first comes up under the pointer
        self.click("list item", second)
        self.wait_for("list item", second, State.SELECTED)
        self.keys("ctrl+a")
        self.wait_for("label", self.summary)
        self.click("push button", "Download", times=2)
        self.wait_for("label", f"{len(self.files)} files queued.")

    def queue_and_show(self):
        self.queue_folder()
        self.wait_for_partial_bytes(200_000)
        self.keys("ctrl+3")
        self.wait_for("heading", "Active")

    def sign_in(self):
        self.click("push button", "Sign in with put.io", times=2)
        _, redirect = self.opened_page()
        self.assertEqual(len((self.home / "opened").read_text().splitlines()), 1)
        (self.home / "opened").unlink()
        self.assertEqual(self.run_second(redirect), 0)
        self.wait_for("list item", self.folder)

    # --- What has come of it ---

    def wait_for_captions(self, pattern, count):
        """So many of the downloads that are seen say so."""
        def found():
            return sum(bool(re.search(pattern, caption)) for _, caption in self.rows("Downloads"))

        wait_until(lambda: found() == count, lambda: f"{count} times {pattern!r} in {self.rows('Downloads')}")

    def saved(self):
        """The files in the queue, from its top, with their statuses."""
        file = self.data / "queue.json"
        items = json.loads(file.read_text())["downloads"] if file.exists() else []
        return [(item["fileName"], item["status"]) for item in items]

    def wait_for_statuses(self, *statuses):
        wait_until(lambda: {status for _, status in self.saved()} == {*statuses}, lambda: f"{statuses}: {self.saved()}")

    def wait_for_all(self):
        wait_until(lambda: self.downloads.exists() and len(os.listdir(self.downloads)) >= len(self.files), "the files")
        self.wait_for_statuses("completed")
        self.assertEqual(len(self.saved()), len(self.files))
        expected = self.home / "expected"
        subprocess.run([SANDBOX, *self.account, "--write-tree", str(expected)], check=True, stdout=subprocess.DEVNULL,
                       timeout=LIMIT)
        self.assertEqual(tree_of(self.downloads), tree_of(expected / self.folder))

    def assert_nothing_came_twice(self, before=0):
        size = sum(file.stat().st_size for file in self.downloads.iterdir())
        self.assertLess(before + self.sandbox.stats()["storageBytes"], size * 1.1)


class NetworkAway(Journey):
    def test_a_day_without(self):
        self.open()
        self.queue_folder()
        self.wait_for_partial_bytes(500_000)
        fetched = self.lose_network()
        self.keys("ctrl+3")
        self.wait_for_captions("Waiting for put.io: could not connect", 3)
        self.keys("ctrl+1", "F5")
        self.wait_for("push button", "Retry")
        self.assertEqual(self.terminate()[0], 0)

        self.open()
        self.wait_for("push button", "Retry")
        self.keys("ctrl+3")
        self.wait_for_captions("Waiting for put.io: could not connect", 3)
        self.find_network()
        self.keys("ctrl+1")
        self.wait_for("list item", self.folder)
        self.keys("ctrl+3")
        self.wait_for_captions(r"^3\.1 MB · .* ago$", 3)
        self.wait_for_all()
        self.assert_nothing_came_twice(fetched)

    def lose_network(self):
        """Returns how many bytes have come until then."""
        fetched = self.sandbox.stats()["storageBytes"]
        self.sandbox.stop()
        return fetched

    def find_network(self):
        ports = [self.sandbox.environment[name].rsplit(":", 1)[1] for name in ("TOVRI_API_URL", "SANDBOX_STORAGE_URL")]
        self.serve(*self.account, "--api-port", ports[0], "--storage-port", ports[1])


class TokenExpires(Journey):
    def test_the_downloads_wait_for_the_next_sign_in(self):
        del self.environment["TOVRI_TOKEN"]
        self.start_program()
        self.wait_for("text", "Client ID", State.FOCUSED)
        self.type("1234")
        self.keys("Return")
        self.sign_in()
        self.queue_and_show()
        self.sandbox.fault("api:*:status=401,body=empty", "link:*:status=401,body=empty")
        self.keys("ctrl+1", "F5")
        self.wait_for("label", "put.io does not accept the sign-in any more. 3 downloads wait for you to sign in again.")
        self.let_come()
        self.sign_in()
        self.wait_for_all()
        self.assert_nothing_came_twice()


class FullDisk(Journey):
    def setUp(self):
        super().setUp()
        self.downloads.mkdir()
        self.mount("size=5m")
        self.addCleanup(subprocess.run, ["umount", "--lazy", self.downloads], check=False, capture_output=True)

    def mount(self, options):
        made = subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tmpfs", self.downloads], capture_output=True,
                              text=True, check=False)
        if made.returncode != 0:
            self.skipTest(f"no disk can be mounted here: {made.stderr.strip()}")

    def test_what_has_no_room_comes_when_there_is_some(self):
        self.let_come()
        self.open()
        self.queue_folder()
        self.click("push button", "Show")
        self.wait_for("heading", "Queued — 2 waiting")
        self.wait_for_captions(r"^3\.1 MB · .* ago$", 1)
        self.wait_for_captions("^Waiting for 3.1 MB on Downloads", 2)
        self.mount("remount,size=20m")
        self.wait_for_captions(r"^3\.1 MB · .* ago$", 3)
        self.wait_for_all()
        self.assert_nothing_came_twice()


class LongFolder(Journey):
    folder = "Post"
    files = {f"Letter {number:04}.txt": str(300 + number) for number in range(3000)}
    summary = "3000 of 3000 items selected, 5.4 MB"

    def test_all_of_it_comes(self):
        self.let_come()
        self.open()
        self.click("list item", self.folder, times=2)
        self.wait_for("label", "3000 items")
        self.keys("ctrl+f")
        self.type("2999")
        self.wait_for_rows("Files", [("Letter 2999.txt", "3 KB · text/plain")])
        self.keys("ctrl+a", "BackSpace")
        self.wait_for("list item", "Letter 0000.txt")
        self.keys("alt+Left")
        self.queue_folder()
        self.click("push button", "Show")
        self.wait_for("heading", "Finished")
        self.keys("End")
        self.wait_for("list item", "Letter 0000.txt")
        self.wait_for_all()


class Conflict(Journey):
    def test_each_is_asked_about_and_nothing_is_lost(self):
        self.run_cli("config", "conflictBehavior", "ask")
        self.downloads.mkdir()
        for film in FILMS[1:]:
            (self.downloads / film).write_text("mine")
        self.let_come()
        self.open()
        self.queue_folder()
        self.wait_for_statuses("completed", "awaitingConflict")
        first = wait_until(self.asked, "the question")
        second = next(film for film in FILMS[1:] if film != first)
        self.click("push button", "Keep Both", times=2)
        wait_until(lambda: self.asked() == second, f"the question about {second}")
        self.click("push button", "Skip")
        self.wait_for_statuses("completed", "skipped")
        self.keys("ctrl+3")
        self.wait_for_captions(r"^3\.1 MB · .* ago$", 2)
        self.wait_for_captions("^Skipped$", 1)
        beside = self.downloads / first.replace(".mkv", " (1).mkv")
        self.assertEqual(beside.stat().st_size, 3 << 20)
        kept = {film for film in FILMS if (self.downloads / film).read_bytes() == b"mine"}
        self.assertEqual(kept, {first, second})

    def asked(self):
        """The film that the question is about."""
        question = next((s.name for s in self.shown() if "already exists" in s.name), "")
        return next((film for film in FILMS if film in question), None)


class CancelledQueue(Journey):
    files = {f"Film {number:02}.mkv": "1MiB" for number in range(30)}
    summary = "30 of 30 items selected, 31.5 MB"
    rate = "20KiB"  # so that none arrives

    def cancel_all(self):
        self.open()
        self.queue_and_show()
        self.wait_for_statuses("downloading", "queued")
        before = self.saved()
        self.click("push button", "Cancel All", times=2)
        self.wait_for("label", "30 downloads cancelled.")
        self.wait_for_statuses("cancelled")
        return before

    def test_undone_it_goes_on_where_it_was(self):
        before = self.cancel_all()
        self.sandbox.call("POST", "reset-log")
        self.click("push button", "Undo", times=2)
        wait_until(lambda: self.saved() == before, lambda: f"{before}: {self.saved()}")
        self.click("push button", "Pause All", times=2)
        self.wait_for("heading", "Paused")
        self.let_come()
        self.click("push button", "Resume All", times=2)
        self.wait_for_all()
        anew = [r for r in self.sandbox.requests("storage") if (r.get("range") or "bytes=0-").startswith("bytes=0-")]
        self.assertEqual(len(anew), sum(status == "queued" for _, status in before))

    def test_a_kill_leaves_it_cancelled(self):
        self.cancel_all()
        self.end(self.program)
        self.open()
        self.keys("ctrl+3")
        self.wait_for("heading", "Finished")
        self.wait_for_statuses("cancelled")
        self.assertEqual(self.partial_bytes(), 0)


if __name__ == "__main__":
    unittest.main()
