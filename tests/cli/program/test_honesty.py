"""What is said is true: exit statuses, what needs to be meant, and what must not be sent."""

import json
import os

from support import ProgramTest, Terminal, wait_until


class Meant(ProgramTest):
    def test_what_cannot_be_taken_back_needs_to_be_meant(self):
        self.serve("--demo")
        self.run_cli("rules", "add", "/Books", "here")
        rule = json.loads(self.run_cli("rules", "list", "--json")[0])["rules"][0]["id"]
        before = len(self.sandbox.requests("api"))
        for command in (("rm", "/Welcome.txt"), ("rules", "rm", rule), ("feeds", "rm", "1"), ("transfers", "cancel", "4"),
                        ("transfers", "clean")):
            self.assertIn("--yes", self.run_cli(*command, status=2)[1])
        self.assertEqual(len(self.sandbox.requests("api")), before)
        terminal = Terminal(["transfers", "clean"], self.environment, self.home)
        self.addCleanup(terminal.close)
        terminal.wait_for("[y/N]")
        terminal.type("n\n")
        self.assertEqual(terminal.finish(), 1)
        self.assertEqual(self.sandbox.requests(path="/transfers/clean"), [])

    def test_the_top_folder_and_what_does_not_exist_are_not_deleted_or_moved(self):
        self.serve("--demo")
        for path in ("/", "//", "0", "/.//"[:1], "/Nothing", "999999"):
            for command in (("rm", "--yes", path), ("rm", "--yes", "/Welcome.txt", path), ("mv", path, "/Books")):
                output, messages = self.run_cli(*command, status=1)
                self.assertEqual(output, "", command)
                self.assertTrue(messages.startswith("tovri-cli "), messages)
        for path in ("/files/delete", "/files/move"):
            self.assertEqual(self.sandbox.requests(path=path), [])

    def test_moving_says_what_happened(self):
        self.serve("--demo", "--fault", "api:/v2/files/list?parent_id=3:status=500,after=1")
        books = [line.split()[0] for line in self.run_cli("ls")[0].splitlines() if line.endswith(" Books/")][0]
        self.sandbox.call("DELETE", "faults")
        self.assertEqual(self.run_cli("mv", "/Welcome.txt", "/Books")[0], "Moved: 1 file or folder\n")
        self.sandbox.fault(f"api:/v2/files/list?parent_id={books}:status=500,after=1")
        output, messages = self.run_cli("mv", "/Films", books, "--json", status=1)
        self.assertIn("could not be seen", messages)
        event = json.loads(output)
        self.assertEqual((event["event"], event["command"], event["status"]), ("error", "mv", 1))
        self.assertTrue(event["time"].endswith("Z"))


class Statuses(ProgramTest):
    def test_nobody_is_signed_in(self):
        self.serve("--demo")
        self.run_cli("rules", "add", "/Books", "here")
        del self.environment["TOVRI_TOKEN"]
        rules = (self.data / "sync-rules.json").read_bytes()
        rule = json.loads(rules)[0]["id"]
        for command in (("ls",), ("get", "/Books"), ("run",), ("put", "/etc/hostname"), ("mv", "/a", "/b"),
                        ("rm", "--yes", "/a"), ("link", "/a"), ("rules", "sync"), ("rules", "add", "/", "there"),
                        ("rules", "edit", rule, "--folder", "/"), ("feeds", "list"), ("transfers", "list"), ("watch",)):
            self.assertIn("login", self.run_cli(*command, status=3)[1], command)
        self.assertEqual((self.data / "sync-rules.json").read_bytes(), rules)
        error = json.loads(self.run_cli("ls", "--json", status=3)[0])
        self.assertEqual((error["event"], error["status"]), ("error", 3))

    def test_a_rule_that_could_not_work_or_is_there_already_is_not_made(self):
        self.serve("--demo")
        self.run_cli("rules", "add", "/Books", "here")
        rules = (self.data / "sync-rules.json").read_bytes()
        (self.home / "file").write_text("")
        for arguments, reason in ((("/Books", "here"), "--force"), (("/Books", "file"), "no folder"),
                                  (("/Books", "file/below"), "no folder"), (("/Books", str(self.data / "x")), "own data"),
                                  (("/Nothing", "there"), "There is no")):
            self.assertIn(reason, self.run_cli("rules", "add", *arguments, status=1)[1])
        self.sandbox.fault("api:/v2/files/list*:status=500")
        self.assertIn("HTTP error 500", self.run_cli("rules", "add", "/", "there", status=1)[1])
        self.assertEqual((self.data / "sync-rules.json").read_bytes(), rules)
        self.sandbox.call("DELETE", "faults")
        self.run_cli("rules", "add", "/Books", "here", "--force")

    def test_what_did_not_happen_is_no_success(self):
        self.serve()
        self.assertIn("Nothing to do", self.run_cli("run")[1])
        self.get("/Generated")
        item = self.queue()[0]["id"]
        for command in ("pause", "resume", "cancel"):
            self.assertIn("is completed", self.run_cli(command, item, status=1)[1])
        self.run_cli("retry", item, status=1)
        self.run_cli("put", "nothing", status=1)
        self.assertEqual({i["status"] for i in self.queue()}, {"completed"})

    def test_a_cancelled_item_keeps_no_token(self):
        self.serve()
        self.sandbox.fault("storage:*:rate=20KiB")
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        self.wait_for_partial_bytes(1)
        self.interrupt(process)
        queue = self.data / "queue.json"
        self.assertIn("resumeData", queue.read_text())
        self.run_cli("cancel")
        self.assertNotIn("resumeData", queue.read_text())

    def test_what_failed_in_a_rule_is_kept_and_shown(self):
        self.serve("--demo")
        self.run_cli("rules", "add", "/Books", "here")
        self.sandbox.fault("api:/v2/files/list*:status=500")
        events = [json.loads(line) for line in self.run_cli("rules", "sync", "--json", status=1)[0].splitlines()]
        rule = json.loads(self.run_cli("rules", "list", "--json")[0])["rules"][0]
        self.assertIn(("error", rule["id"]), [(event["event"], event.get("rule")) for event in events])
        self.assertEqual(rule["lastFailure"], "HTTP error 500 from put.io.")
        self.assertIn("failed: HTTP error 500", self.run_cli("rules", "list")[0])
        self.assertIn("HTTP error 500", self.run_cli("status")[0])
        self.sandbox.call("DELETE", "faults")
        self.run_cli("rules", "sync")
        self.assertNotIn("failed", self.run_cli("rules", "list")[0])
