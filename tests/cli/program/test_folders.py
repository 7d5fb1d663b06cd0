"""Folders that put.io does not list in one answer."""

import os

from support import ProgramTest

STALE = "HTTP error 400 from put.io."
OFF = "Reading long folders to their end is turned off. Turn it on with: tovri-cli config readLongFolders true"


def cut(folder, reason):
    return f"put.io listed only the beginning of {folder}. {reason}"


class Long(ProgramTest):
    account = ("--files", "3000", "--folders", "0", "--max-size", "64", "--page-size", "50")

    def test_are_listed_and_fetched_to_their_end(self):
        self.serve()
        self.assertEqual(len(self.run_cli("ls", "/Generated")[0].splitlines()), 3000)
        continued = self.sandbox.requests(path="/files/list/continue")
        self.assertEqual(len(continued), 59)
        self.assertIn("per_page", str(continued[0]["form"]))
        self.get("/Generated", "--delete", "--jobs", "8")
        self.assert_tree()
        self.assertEqual(self.run_cli("ls")[0], "")

    def test_that_cannot_be_read_to_their_end_are_said_to_be_cut(self):
        self.serve()
        self.sandbox.fault("api:/v2/files/list?parent_id=1:stale-cursor")
        output, messages = self.run_cli("ls", "/Generated", status=1)
        self.assertEqual(len(output.splitlines()), 50)
        self.assertEqual(messages, "tovri-cli ls: " + cut('"/Generated"', STALE) + "\n")
        for command in (["get", "/Generated", "--delete"], ["rules", "add", "/Generated", "Here"]):
            outputs = "".join(self.run_cli(*command, status=1))
            self.assertIn(cut("a folder", STALE), outputs)
        self.assertEqual(self.run_cli("queue")[0], "No Downloads\n")
        self.assertIn(cut('"/Generated"', STALE), self.run_cli("link", "/Generated/nothing", status=1)[1])
        self.assertEqual(len(self.sandbox.requests(path="/files/delete")), 0)

    def test_are_left_at_their_beginning_when_the_user_wants_that(self):
        self.serve()
        self.run_cli("config", "readLongFolders", "false")
        output, messages = self.run_cli("ls", "/Generated", status=1)
        self.assertEqual(len(output.splitlines()), 50)
        self.assertIn(OFF, messages)
        _, messages = self.get("/Generated", "--delete", status=1)
        self.assertIn(cut("a folder", OFF), messages)
        self.assertEqual(len(os.listdir(self.downloads / "Generated")), 50)
        self.assertEqual(self.sandbox.requests(path="/files/delete"), [])
        self.assertEqual(self.sandbox.requests(path="/files/list/continue"), [])
