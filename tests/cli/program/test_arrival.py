"""What was asked for arrives, byte for byte, and what was to be deleted from put.io is deleted once."""

import os
import random
import signal
import subprocess

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

    def test_a_folder_is_deleted_with_one_request_after_its_last_file(self):
        self.serve()
        self.get("/Generated", "--delete")
        self.assert_tree()
        deletions = self.sandbox.requests(path="/files/delete")
        self.assertEqual(len(deletions), 1)
        self.assertGreater(deletions[0]["sequence"], max(r["sequence"] for r in self.sandbox.requests("storage")))
        self.assertEqual(self.run_cli("ls", "/")[0], "")

    def test_a_folder_stays_when_one_of_its_files_failed(self):
        self.serve("--demo", "--fault", "storage:*.srt:status=500")
        self.get("/Films/A Trip to the Moon (1902)", "--delete", status=1)
        self.assertEqual(self.sandbox.requests(path="/files/delete"), [])

    def test_a_folder_stays_when_one_of_its_files_was_skipped(self):
        self.serve("--demo")
        mine = self.downloads / "A Trip to the Moon (1902)" / "A Trip to the Moon (1902).en.srt"
        mine.parent.mkdir(parents=True)
        mine.write_text("mine")
        output, _ = self.get("/Films/A Trip to the Moon (1902)", "--delete", "--on-conflict", "skip")
        self.assertIn("1 skipped", output)
        self.assertEqual(mine.read_text(), "mine")
        self.assertEqual(self.sandbox.requests(path="/files/delete"), [])


class Killed(ProgramTest):
    def test_a_killed_program_arrives_at_the_same_tree(self):
        seed = int(os.environ.get("TOVRI_TEST_SEED", random.randrange(1 << 30)))
        chance = random.Random(seed)
        kills = int(os.environ.get("TOVRI_TEST_KILLS", "12"))
        account = ("--files", str(3 * kills), "--folders", "4", "--max-size", "2MiB", "--seed", str(seed % 1000))
        self.serve(*account)
        self.sandbox.fault("storage:*:rate=3MB")
        with self.subTest(f"TOVRI_TEST_SEED={seed}"):
            arguments = ["get", "/Generated", "--to", str(self.downloads)]
            for _ in range(kills):
                process = self.start(*arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                try:
                    process.wait(chance.uniform(0.02, 0.5))
                except subprocess.TimeoutExpired:
                    process.send_signal(signal.SIGKILL)
                process.wait()
                if self.queue():
                    arguments = ["run"]
            self.run_cli(*arguments)
            self.assert_tree(account)
            self.assertEqual({item["status"] for item in self.queue()}, {"completed"})
