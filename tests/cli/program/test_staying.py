"""What was asked for and has not happened is said, and the exit status is 1."""

import unittest

from test_deletion import DeletionTest


class Originals(DeletionTest):
    """--delete was asked for, and put.io keeps its copy for a file that did not come."""

    def setUp(self):
        super().setUp()
        self.serve_files({"F": {"first": "5KB", "G": {"second": "6KB"}, "last": "7KB"}, "f": "8KB", "Empty": {"G": {}}})

    def take(self, name):
        path = self.downloads / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("mine")

    def id_of(self, name):
        return next(item["id"] for item in self.queue() if item["name"] == name)

    def assert_stays(self, reason, *command):
        output, messages = self.run_cli(*command, status=1)
        self.assertIn(reason, messages)
        self.assertRegex(output, r"\d not deleted from put\.io\n$")
        self.assertEqual(self.deletions(), [])

    def test_of_skipped_files(self):
        self.take("F/first")
        self.take("f")
        to = ["--to", str(self.downloads), "--delete", "--on-conflict", "skip"]
        self.assert_stays(f'Not deleted from put.io: {self.downloads}/f: "f" was skipped. Get it with: ', "get", "/f", *to)
        self.assert_stays(f'Not deleted from put.io: the folder of {self.downloads}/F/', "get", "/F", *to)
        self.run_cli("retry", self.id_of("first"), self.id_of("f"), "--on-conflict", "keep-both")
        self.assertNotRegex(self.run_cli("ls")[0], "[Ff]$")

    def test_of_a_folder_of_which_a_file_was_cancelled(self):
        self.run_cli("pause")
        self.get("/F", "--delete", status=1)
        self.run_cli("resume")
        self.run_cli("cancel", self.id_of("last"))
        self.assert_stays('"last" was cancelled. Get it with: tovri-cli retry ', "run")
        self.run_cli("retry", self.id_of("last"))
        self.assertNotRegex(self.run_cli("ls")[0], "F/$")

    def test_of_a_folder_of_which_a_file_has_left_the_list(self):
        self.get_half("--delete")
        self.run_cli("remove", self.id_of("first"))
        self.assert_stays("Not all of its files are in the queue any more.", "run")

    def test_of_a_folder_without_files(self):
        _, messages = self.get("/Empty", "--delete", status=1)
        self.assertIn('"Empty" holds no files: nothing came, and the folder was not deleted.', messages)
        self.get("/Empty")


class Queued(DeletionTest):
    def test_what_is_asked_for_again_goes_on(self):
        self.serve_files({"F": {"paused": "5KB", "cancelled": "6KB", "last": "7KB"}, "f": "8KB"})
        self.run_cli("pause")
        self.get("/F", "/f", status=1)
        self.run_cli("resume")
        for command, name in (("pause", "paused"), ("cancel", "cancelled"), ("pause", "f")):
            self.run_cli(command, next(item["id"] for item in self.queue() if item["name"] == name))
        self.get("/F", "/f")
        self.assertEqual(set(self.statuses().values()), {"completed"})


if __name__ == "__main__":
    unittest.main()
