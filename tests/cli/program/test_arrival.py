"""What was asked for arrives, byte for byte, and what was to be deleted from put.io is deleted once."""

import json
import os
import pathlib
import random
import shutil
import tempfile

from support import ProgramTest


class Arrival(ProgramTest):
    def test_a_large_tree_of_odd_names_arrives_three_at_a_time(self):
        account = ("--files", "200", "--seed", "7", "--awkward-names", "--max-size", "1MiB", "--folders", "20")
        self.serve(*account, "--fault", "storage:*:delay=0.01")
        output, _ = self.get("/Generated")
        self.assert_tree(account)
        self.assertEqual(self.sandbox.stats()["maxConcurrentTransfers"], 3)
        self.assertEqual(self.sandbox.stats()["authorizationOnStorage"], 0)
        self.assertIn("200 arrived", output)

    def test_jobs_hold_for_one_run_only(self):
        self.serve()
        self.sandbox.fault("storage:*:delay=0.1")
        self.get("/", "--jobs", "5")
        self.assertEqual(self.sandbox.stats()["maxConcurrentTransfers"], 5)
        self.assertEqual(self.run_cli("config", "maxConcurrentDownloads")[0], "3\n")
        self.assert_tree()

    def test_single_files_are_found_by_path_and_by_id(self):
        self.serve("--demo")
        self.get("/Welcome.txt", "11", "/Films/Sherlock Jr. (1924).mkv")
        self.assertEqual(sorted(os.listdir(self.downloads)),
                         ["Safety Last! (1923).mkv", "Sherlock Jr. (1924).mkv", "Welcome.txt"])

    def test_what_is_named_twice_comes_once(self):
        self.serve("--demo")
        identifier = next(file["id"] for file in json.loads(self.run_cli("ls", "--json")[0])["files"]
                          if file["name"] == "Welcome.txt")
        _, messages = self.get("/Welcome.txt", "/Books", str(identifier), "/Books", "--delete")
        for name in ("Welcome.txt", "Books"):
            self.assertIn(f'"{name}" is named more than once; it comes once.', messages)
        self.assertEqual(sorted(os.listdir(self.downloads)), ["Books", "Welcome.txt"])
        self.assertEqual(len(self.sandbox.requests(path="/files/delete")), 2)
        batches = [item.get("batchID") for item in json.loads((self.data / "queue.json").read_text())["downloads"]]
        self.assertTrue(batches[0] and set(batches) == {batches[0]}, batches)  # what one command queued

    def test_a_folder_is_deleted_with_one_request_after_its_last_file(self):
        self.serve()
        self.get("/Generated", "--delete")
        self.assert_tree()
        deletions = self.sandbox.requests(path="/files/delete")
        self.assertEqual(len(deletions), 1)
        self.assertGreater(deletions[0]["sequence"], max(r["sequence"] for r in self.sandbox.requests("storage")))
        self.assertEqual(self.run_cli("ls", "/")[0], "")

    def test_a_folder_stays_when_one_of_its_files_failed(self):
        self.serve("--demo", "--fault", "storage:*.srt:status=501")
        self.get("/Films/A Trip to the Moon (1902)", "--delete", status=1)
        self.assertEqual(self.sandbox.requests(path="/files/delete"), [])

    def test_a_folder_stays_when_one_of_its_files_was_skipped(self):
        self.serve("--demo")
        mine = self.downloads / "A Trip to the Moon (1902)" / "A Trip to the Moon (1902).en.srt"
        mine.parent.mkdir(parents=True)
        mine.write_text("mine")
        output, _ = self.get("/Films/A Trip to the Moon (1902)", "--delete", "--on-conflict", "skip", status=1)
        self.assertIn("1 skipped", output)
        self.assertEqual(mine.read_text(), "mine")
        self.assertEqual(self.sandbox.requests(path="/files/delete"), [])


class Killed(ProgramTest):
    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("TOVRI_TEST_SEED", random.randrange(1 << 30)))
        self.kills = int(os.environ.get("TOVRI_TEST_KILLS", "12"))

    def check_arrival(self, account, most):
        """Kills the program after at most so many requests, again and again; then lets it finish."""
        chance = random.Random(self.seed)
        with self.subTest(f"TOVRI_TEST_SEED={self.seed}"):
            arguments = ["get", "/Generated", "--to", str(self.downloads)]
            for _ in range(self.kills):
                self.kill(chance.randint(0, most), *arguments)
                if self.queue():
                    arguments = ["run"]
            self.run_cli(*arguments)
            self.assert_tree(account)
            self.assertEqual({item["status"] for item in self.queue()}, {"completed"})

    def test_a_killed_program_arrives_at_the_same_tree(self):
        account = ("--files", str(3 * self.kills), "--folders", "4", "--max-size", "2MiB", "--seed",
                   str(self.seed % 1000))
        self.serve(*account)
        self.sandbox.fault("storage:*:rate=3MB")
        self.check_arrival(account, most=12)

    def test_also_on_another_volume(self):
        other = pathlib.Path("/dev/shm")
        if not other.is_dir() or other.stat().st_dev == self.home.stat().st_dev or shutil.disk_usage(other).free < 1 << 29:
            self.skipTest("/dev/shm is no other volume with room on this machine")
        self.downloads = pathlib.Path(tempfile.mkdtemp(dir=other))
        self.addCleanup(shutil.rmtree, self.downloads)
        account = ("--files", "16", "--folders", "2", "--min-size", "4MiB", "--max-size", "16MiB", "--seed",
                   str(self.seed % 1000))
        self.serve(*account)
        self.check_arrival(account, most=6)
