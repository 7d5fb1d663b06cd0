"""The other commands, each for what it is there to do."""

import json
import os

from support import ProgramTest, Terminal


class Commands(ProgramTest):
    def test_files_on_put_io(self):
        self.serve("--demo")
        (self.home / "new file.txt").write_text("content")
        self.assertIn("Uploaded: new file.txt", self.run_cli("put", "new file.txt", "--to", "/Books")[0])
        self.run_cli("mv", "/Books/new file.txt", "/Music")
        self.assertNotIn("new file.txt", self.run_cli("ls", "/Books")[0])
        self.assertIn("new file.txt", self.run_cli("ls", "/Music")[0])
        link = self.run_cli("link", "/Music/new file.txt")[0]
        self.assertTrue(link.startswith(self.environment["SANDBOX_STORAGE_URL"]), link)
        self.get("/Music/new file.txt")
        self.assertEqual((self.downloads / "new file.txt").read_text(), "content")
        self.run_cli("rm", "--yes", "/Music/new file.txt")
        self.assertNotIn("new file.txt", self.run_cli("ls", "/Music")[0])
        event = json.loads(self.run_cli("put", "new file.txt", "--json")[0])
        self.assertEqual((event["event"], event["name"]), ("uploaded", "new file.txt"))

    def test_deleting_asks_on_a_terminal(self):
        self.serve("--demo")
        for answer, status, is_there in (("n\n", 1, True), ("y\n", 0, False)):
            terminal = Terminal(["rm", "/Welcome.txt"], self.environment, self.home)
            self.addCleanup(terminal.close)
            terminal.wait_for("Are you sure?")
            terminal.type(answer)
            self.assertEqual(terminal.finish(), status)
            self.assertEqual("Welcome.txt" in self.run_cli("ls")[0], is_there)

    def test_what_put_io_does_not_confirm_is_not_done(self):
        self.serve("--demo", "--fault", "api:/v2/files/delete:status=200", "--fault", "api:/v2/files/move:status=200")
        self.assertIn("did not confirm the deletion", self.run_cli("rm", "--yes", "/Welcome.txt", status=1)[1])
        self.assertIn("did not move", self.run_cli("mv", "/Welcome.txt", "/Books", status=1)[1])
        self.assertIn("Welcome.txt", self.run_cli("ls")[0])

    def test_signing_in_by_the_pasted_address(self):
        self.serve("--demo")
        token = self.environment.pop("TOVRI_TOKEN")
        self.assertIn("--client-id", self.run_cli("login", status=1)[1])
        terminal = Terminal(["login", "--client-id", " 4711 "], self.environment, self.home)
        self.addCleanup(terminal.close)
        terminal.wait_for("paste it here")
        terminal.type(f"tovri-putio://callback#access_token={token}&x=y\n")
        self.assertEqual(terminal.finish(), 0)
        self.assertIn("oauth2/authenticate?client_id=4711&response_type=token", terminal.text)
        self.assertIn("No keyring", terminal.text)
        self.assertNotIn(token, terminal.text)
        self.run_cli("ls")
        self.run_cli("logout")
        self.assertIn("Sign in with", self.run_cli("ls", status=3)[1])
        self.assertIn("does not accept", self.run_cli("login", "--token-stdin", given="wrong\n", status=1)[1])
        self.run_cli("login", "--token-stdin", given=f"  {token}\n")
        self.run_cli("ls")

    def test_the_token_of_the_environment_is_in_no_file_and_no_output(self):
        self.serve("--demo", "--token", "SECRET-OF-THIS-TEST", "--fault", "storage:*.srt:status=501",
                   "--fault", "api:/v2/files/list?parent_id=38:status=200,body=html")
        outputs = "".join(self.get("/Films/The General (1926)", "/Audiobooks", "/Welcome.txt", status=1))
        outputs += "".join(self.run_cli("status")) + "".join(self.run_cli("queue", "--json"))
        self.assertNotIn("SECRET-OF-THIS-TEST", outputs)
        for folder, _, names in os.walk(self.home):
            for name in names:
                with open(os.path.join(folder, name), "rb") as file:
                    self.assertNotIn(b"SECRET-OF-THIS-TEST", file.read(), name)

    def test_the_saved_queue_obeys(self):
        self.serve()
        self.run_cli("pause")
        self.get("/Generated", status=1)
        ids = [item["id"] for item in self.queue()]
        self.run_cli("top", ids[5], ids[3])
        self.assertEqual([item["id"] for item in self.queue()][:2], [ids[5], ids[3]])
        self.run_cli("cancel", ids[0])
        self.run_cli("remove", ids[1])
        self.assertIn("Cancelled", self.run_cli("queue")[0])
        self.run_cli("clear")
        self.assertNotIn(ids[0], [item["id"] for item in self.queue()])
        self.assertIn("once tovri-cli resume", self.run_cli("resume", ids[2])[0])
        self.run_cli("resume")
        self.assertIn("10 arrived", self.run_cli("run")[0])
        self.run_cli("clear")
        self.assertEqual(self.run_cli("queue")[0], "No Downloads\n")

    def test_looking_writes_nothing(self):
        for command in (["queue"], ["queue", "--json"], ["status"], ["config"], ["rules", "list"]):
            self.run_cli(*command)
            self.assertEqual(os.listdir(self.home), [], command)

    def test_preferences_are_kept_and_used(self):
        self.serve("--demo")
        self.run_cli("config", "defaultDownloadPath", "sub/../films")
        self.run_cli("config", "maxConcurrentDownloads", "25")
        self.run_cli("config", "conflictBehavior", "keep-both")
        output, _ = self.run_cli("config")
        self.assertIn(f"defaultDownloadPath = {self.home}/films\n", output)
        self.assertIn("maxConcurrentDownloads = 25\n", output)
        self.assertIn("conflictBehavior = keepBoth\n", output)
        self.run_cli("get", "/Welcome.txt")
        self.run_cli("get", "/Welcome.txt")
        self.assertEqual(sorted(os.listdir(self.home / "films")), ["Welcome (1).txt", "Welcome.txt"])
