"""Folders that put.io does not list in one answer."""

import json
import os
import urllib.parse

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


class WatchedByRules(ProgramTest):
    account = ("--files", "3000", "--folders", "0", "--max-size", "1", "--page-size", "50")

    def setUp(self):
        super().setUp()
        self.serve()

    def rule(self):
        return json.loads((self.data / "sync-rules.json").read_text())[0]

    def add(self, name):
        self.sandbox.call("POST", "files/add", urllib.parse.urlencode({"path": f"/Generated/{name}", "text": name}))

    def sync(self, status=0):
        return "".join(self.run_cli("rules", "sync", status=status))

    def check_that_the_rest_is_known(self, count):
        self.assertIn(f"{count} files that put.io had not listed before count as known", self.sync())
        self.assertTrue(self.rule()["stockIsWhole"])
        self.assertFalse(self.downloads.exists())
        self.add("new")
        self.sync()
        self.assertEqual(os.listdir(self.downloads), ["new"])

    def test_whose_stock_an_earlier_version_took(self):
        self.run_cli("rules", "add", "/Generated", str(self.downloads))
        rule = self.rule()
        rule["knownFileIDs"] = rule["knownFileIDs"][:1000]
        del rule["stockIsWhole"]
        (self.data / "sync-rules.json").write_text(json.dumps([rule]))
        self.check_that_the_rest_is_known(2000)

    def test_whose_stock_was_taken_while_long_folders_were_not_read(self):
        self.run_cli("config", "readLongFolders", "false")
        self.run_cli("rules", "add", "/Generated", str(self.downloads))
        self.assertNotIn("stockIsWhole", self.rule())
        self.assertIn(OFF.split(" Turn")[0], self.sync(status=1))
        self.run_cli("config", "readLongFolders", "true")
        self.check_that_the_rest_is_known(2950)

    def test_of_which_the_rest_cannot_be_had(self):
        self.sandbox.fault("api:/v2/files/list?parent_id=1:stale-cursor")
        self.run_cli("rules", "add", "/Generated", str(self.downloads), status=1)
        self.assertEqual((self.rule()["isInitialized"], self.rule()["knownFileIDs"]), (False, []))
        self.assertIn("put.io listed only the beginning of a folder. " + STALE, self.sync(status=1))
        self.assertFalse(self.rule()["isInitialized"])
