"""Who is signed in: tokens that are tried, kept and taken back, and what of one account waits in another."""

import json

from support import ProgramTest, Sandbox


class SigningIn(ProgramTest):
    account = ("--demo",)

    def login(self, token, status=0):
        return self.run_cli("login", "--token-stdin", given=token + "\n", status=status)

    def signed_out(self):
        """A sandbox, and its token, which the environment does not have."""
        self.serve()
        return self.environment.pop("TOVRI_TOKEN")

    def test_a_token_is_tried_before_it_replaces_another(self):
        token = self.signed_out()
        self.assertIn("Signed in as sandbox", self.login(token)[0])
        self.assertIn("does not accept", self.login("wrong", status=1)[1])
        self.run_cli("ls")
        self.sandbox.fault("api:/v2/account/info:status=500")
        self.assertIn("not checked", self.login(token)[1])
        self.run_cli("ls")

    def test_what_cannot_be_kept_fails(self):
        token = self.signed_out()
        (self.home / "state").write_text("in the way")
        output, messages = self.login(token, status=1)
        self.assertNotIn("Signed in", output)
        self.assertIn("could not be kept", messages)

    def test_a_line_break_in_a_token_adds_no_header(self):
        self.serve()
        self.environment["TOVRI_TOKEN"] += "\r\nX-Header: x"
        self.sandbox.call("POST", "reset-log")
        self.assertIn("TOVRI_TOKEN holds no access token", self.run_cli("ls", status=3)[1])
        self.assertEqual(self.sandbox.requests(), [])

    def test_signing_out_says_what_still_signs_in(self):
        self.serve()
        self.login(self.environment["TOVRI_TOKEN"])
        self.assertIn("still signs in", self.run_cli("logout")[1])
        self.run_cli("ls")

    def test_status_says_whose_account_it_is(self):
        self.serve()
        self.assertIn("sandbox · ", self.run_cli("status")[0])
        told = json.loads(self.run_cli("status", "--json")[0])
        self.assertEqual(told["account"], "sandbox")
        self.assertGreater(told["free"], 0)

    def test_what_was_queued_in_another_account_waits_until_told(self):
        self.serve()
        self.run_cli("pause")
        self.get("/Welcome.txt", status=1)
        self.run_cli("rules", "add", "/Series", str(self.home / "series"))
        self.run_cli("resume")
        other = Sandbox("--demo", "--username", "other", "--token", "other-token")
        self.addCleanup(other.stop)
        self.environment.update(other.environment)
        output, messages = self.run_cli("run", status=1)
        self.assertIn("account sandbox", output + messages)
        self.assertFalse((self.downloads / "Welcome.txt").exists())
        self.assertEqual(other.requests(role="link"), [])
        self.assertIn("account sandbox", self.run_cli("rules", "list")[0])

        [item] = self.queue()
        self.run_cli("resume", item["id"])
        self.run_cli("run")
        self.assertTrue((self.downloads / "Welcome.txt").exists())


class Names(ProgramTest):
    account = ("--demo",)

    def test_no_name_forges_a_line_or_commands_a_terminal(self):
        self.serve()
        name = "a\n[DownloadManager] forged\x1b[2J\u202e"
        self.sandbox.call("POST", "files/add", "text=x&path=/" + "".join(f"%{b:02X}" for b in name.encode()))
        for command in (["ls"], ["ls", "/nothing/" + name], ["get", "/" + name, "--to", str(self.downloads)]):
            output, messages = self.run_cli(*command, status=1 if "/nothing/" in command[-1] else 0)
            for line in (output + messages).split("\n"):
                self.assertFalse(line.startswith("[DownloadManager] forged"), command)
                self.assertFalse(set(line) & {"\x1b", "\u202e"}, command)
        listed = self.run_cli("ls", "--json")[0]
        self.assertTrue(listed.isprintable() or listed.count("\n") == 1)
        self.assertNotIn("\u202e", listed)
        self.assertIn(name, [file["name"] for file in json.loads(listed)["files"]])
