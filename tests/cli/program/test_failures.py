"""Bad input: one clear line each, the right exit status, and nothing lost."""

import json
import os
import socket

from support import ProgramTest


class Failures(ProgramTest):
    def test_each_failed_file_has_its_line_and_can_be_retried(self):
        self.serve("--demo")
        self.sandbox.fault("storage:*.en.srt:status=501,times=1", "link:Poster.jpg:status=400,times=1")
        _, messages = self.get("/Films/The General (1926)", status=1)
        lines = messages.splitlines()
        self.assertEqual(len(lines), 2, messages)
        for line in lines:
            self.assertRegex(line, r"^Failed: .*/The General \(1926\)/.*: HTTP error (501|400) from put\.io\. "
                                   r"Try again with: tovri-cli retry [0-9A-F]{8}$")
        retried = lines[0].split()[-1]
        self.assertIn("1 arrived", self.run_cli("retry", retried)[0])
        self.assertIn("1 arrived", self.run_cli("retry")[0])
        self.assertEqual(len(os.listdir(self.downloads / "The General (1926)")), 3)
        tries = [one["what"] for item in self.queue() for one in item.get("failedTries", [])]
        self.assertEqual(sorted(tries), ["HTTP error 400 from put.io.", "HTTP error 501 from put.io."])

    def test_a_deletion_that_failed_is_retried_without_fetching_again(self):
        self.serve("--demo")
        self.sandbox.fault("api:/v2/files/delete:status=503,times=1")
        _, messages = self.get("/Welcome.txt", "--delete", status=1)
        self.assertIn("Not deleted from put.io: ", messages)
        self.sandbox.call("POST", "reset-log", "")
        self.run_cli("retry")
        self.assertEqual(self.sandbox.requests("storage"), [])
        self.assertNotIn("Welcome.txt", self.run_cli("ls")[0])

    def test_missing_and_impossible_places(self):
        self.serve("--demo")
        blocked = self.home / "file"
        blocked.write_text("in the way")
        self.environment["XDG_CONFIG_HOME"] = str(blocked)
        cases = [
            (["get", "/Films/Nothing"], 'There is no "Nothing" in "/Films"'),
            (["get", "/Welcome.txt/x"], '"/Welcome.txt" on put.io is a file, not a folder.'),
            (["get", "987654"], "There is nothing with the ID 987654"),
            (["get", "/Welcome.txt", "--to", str(blocked)], "Failed: "),
            (["get", "/Welcome.txt", "--to", "/proc/nowhere"], "Failed: "),
            (["get", "/", "--delete"], "The top folder"),
            (["put", "missing.txt"], "missing.txt"),
            (["put", "."], "only files can be uploaded"),
            (["rm", "--yes", "/Nothing"], 'There is no "Nothing"'),
            (["mv", "/Films", "/Welcome.txt"], "is a file, not a folder"),
            (["link", "/Films"], "HTTP error 400"),
            (["retry", "ABC"], 'begins with "ABC"'),
            (["remove", "ABC"], 'begins with "ABC"'),
            (["config", "maxConcurrentDownloads", "4"], "could not be written"),
        ]
        for arguments, part in cases:
            with self.subTest(arguments):
                _, messages = self.run_cli(*arguments, status=1)
                self.assertIn(part, messages)
                self.assertEqual(len(messages.splitlines()), 1, messages)
        self.assertEqual(blocked.read_text(), "in the way")

    def test_a_good_path_beside_a_bad_one_arrives(self):
        self.serve("--demo")
        self.get("/Nothing", "/Welcome.txt", status=1)
        self.assertEqual(os.listdir(self.downloads), ["Welcome.txt"])

    def test_an_unreadable_queue_is_kept(self):
        self.serve("--demo")
        self.data.mkdir(parents=True)
        (self.data / "queue.json").write_text("{ not json")
        self.assertIn("cannot be read", self.run_cli("queue", status=1)[1])
        self.assertEqual(len(list(self.data.glob("*.json"))), 1, "looking changes nothing")
        output, _ = self.get("/Welcome.txt")
        self.assertIn(f"[DownloadStore] Ignoring unreadable queue at {self.data}/queue.json", output)
        kept = [f for f in self.data.glob("*.json") if f.read_text() == "{ not json"]
        self.assertEqual(len(kept), 1)
        # What was to go on does not.
        queue = self.data / "queue.json"
        queue.write_text(json.dumps({**json.loads(queue.read_text()), "version": 2}))
        self.assertIn(f"cannot be read, and nothing of it goes on. It is kept as {self.data}/queue.unreadable-2.json.",
                      self.run_cli("run", status=1)[1])
        self.run_cli("run")

    def test_a_service_that_cannot_be_understood_or_reached(self):
        self.serve("--demo", "--fault", "api:/v2/files/list?parent_id=1:status=200,body=html")
        _, messages = self.get("/Films", status=1)
        self.assertIn("put.io's answer cannot be understood", messages)
        with socket.socket() as closed:
            closed.bind(("127.0.0.1", 0))
            self.environment["TOVRI_API_URL"] = f"http://127.0.0.1:{closed.getsockname()[1]}"
            _, messages = self.run_cli("ls", status=1)
        self.assertIn("Could not connect to 127.0.0.1; check the internet connection and retry.", messages)

    def test_a_certificate_that_does_not_verify(self):
        self.serve("--demo", "--tls", "--certificate", str(self.home / "certificate.pem"))
        del self.environment["CURL_CA_BUNDLE"], self.environment["SSL_CERT_FILE"]
        _, messages = self.run_cli("ls", status=1)
        self.assertIn("certificate", messages)
        self.assertEqual(self.sandbox.requests(), [])
        self.environment["CURL_CA_BUNDLE"] = str(self.home / "certificate.pem")
        self.run_cli("ls")

    def test_a_refused_token_stops_the_run_and_loses_nothing(self):
        self.serve()
        self.sandbox.fault("link:*:status=401,after=4")
        _, messages = self.get("/Generated", status=3)
        self.assertIn("put.io does not accept the access token", messages)
        self.assertLessEqual(messages.count("Failed: "), 3, "those that were asking already")
        refused = [r for r in self.sandbox.requests("link") if r["status"] == 401]
        self.assertLessEqual(len(refused), 3, "nothing begins while nobody is signed in")
        self.assertIn("queued", {item["status"] for item in self.queue()})
        self.sandbox.call("DELETE", "faults")
        self.run_cli("retry")
        self.assert_tree()

    def test_what_asked_with_a_refused_token_fails_for_it(self):
        self.serve()
        self.sandbox.fault("link:*:status=401")
        self.get("/Generated", "--jobs", "1", status=3)
        outcomes = [(item["status"], item.get("error")) for item in self.queue()]
        self.assertEqual(outcomes.count(("failed", "Not authenticated. Please sign in again.")), 1, outcomes)
        self.assertEqual({status for status, _ in outcomes}, {"failed", "queued"})

    def test_wrong_arguments_begin_nothing(self):
        self.serve("--demo")
        cases = [["get"], ["get", "/", "--jobs", "none"], ["fetch"], [], ["config", "colour"], ["config", "maxConcurrentDownloads", "0"],
                 ["config", "conflictBehavior", "Ask"], ["config", "deleteAfterDownload", "perhaps"],
                 ["get", "/", "--on-conflict", "ask"], ["run", "--on-conflict", "ask"], ["rm", "/Films"]]
        for arguments in cases:
            with self.subTest(arguments):
                _, messages = self.run_cli(*arguments, status=2)
                self.assertEqual(len(messages.splitlines()), 1, messages)
        self.run_cli("config", "conflictBehavior", "ask")
        _, messages = self.run_cli("run", status=2)
        self.assertIn("--on-conflict", messages)
        self.assertEqual(self.sandbox.requests(), [])
        self.environment["TOVRI_API_URL"] = "http://example.com"
        self.assertIn("TOVRI_API_URL", self.run_cli("ls", status=2)[1])
