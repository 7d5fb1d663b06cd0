"""What put.io does by itself: transfers and RSS feeds."""

import json
import re

from support import ProgramTest, Terminal, wait_until
from test_outputs import columns_of


class ServiceTest(ProgramTest):
    def last_form(self, path):
        return self.sandbox.requests(path=path)[-1]["form"]

    def asked(self, *arguments, question, answer):
        """The program's exit status after it has asked that on a terminal."""
        terminal = Terminal(arguments, self.environment, self.home, columns=100)
        self.addCleanup(terminal.close)
        terminal.wait_for(question)
        terminal.type(answer + "\n")
        return terminal.finish()


class Transfers(ServiceTest):
    def listed(self):
        return {t["id"]: t for t in json.loads(self.run_cli("transfers", "list", "--json")[0])["transfers"]}

    def test_the_list_on_terminals_and_elsewhere(self):
        self.serve("--demo")
        output, _ = self.run_cli("transfers", "list")
        self.assertRegex(output, r"^5 active · 1 seeding · 1 failed · 6\.9 MB/s down · 310 KB/s up\n\nActive\n")
        self.assertIn("   4  The Kid (1921)                      42% · 308.3 MB / 734 MB · 6.9 MB/s\n", output)
        self.assertEqual(self.listed()[6]["uploaded"], 734003200 // 2)
        for columns in (20, 40, 80):
            terminal = Terminal(["transfers", "list"], self.environment, self.home, columns=columns)
            self.addCleanup(terminal.close)
            self.assertEqual(terminal.finish(), 0)
            for line in terminal.text.splitlines():
                self.assertLess(columns_of(line), columns, line)

    def test_a_transfer_lives_and_leaves_its_file(self):
        self.serve("--files", "1", "--clock-rate", "60")
        self.assertEqual(self.run_cli("transfers", "list")[0], "No Transfers\n")
        output, _ = self.run_cli("transfers", "add", "  magnet:?xt=urn:btih:0&dn=A+Film \n", "--to", "/Generated", "--extract")
        self.assertEqual(output, "Added: A Film (ID 1)\n")
        form = self.last_form("/transfers/add")
        self.assertEqual(form, {"url": "magnet:?xt=urn:btih:0&dn=A+Film", "save_parent_id": "1", "extract": "true"})
        wait_until(lambda: "Completed\n  1  A Film" in self.run_cli("transfers", "list")[0], "the transfer's end")
        self.assertIn("A Film", self.run_cli("ls", "/Generated")[0])
        self.run_cli("transfers", "clean", "--yes")
        self.assertEqual(self.listed(), {})
        self.run_cli("transfers", "add", "https://example.com/x.zip")
        self.assertEqual(self.last_form("/transfers/add"), {"url": "https://example.com/x.zip"})

    def test_only_what_can_be_done_is_done(self):
        self.serve("--demo")
        self.assertEqual(self.run_cli("transfers", "cancel", "6", "--yes")[0], "Cancelled: Häxan (1922) (ID 6)\n")
        self.assertEqual(self.run_cli("transfers", "retry", "9")[0], "Trying again: A very rare reel (ID 9)\n")
        listed = self.listed()
        self.assertNotIn(6, listed)
        self.assertEqual(listed[9]["status"], "IN_QUEUE")
        for arguments, reason in ((["cancel", "8", "--yes"], '"Safety Last! (1923)" is neither active nor seeding (its status is COMPLETED)'),
                                  (["retry", "4"], '"The Kid (1921)" has not failed (its status is DOWNLOADING)'),
                                  (["cancel", "99", "--yes"], "There is no transfer with the ID 99."),
                                  (["add", "magnet:x", "--to", "/Welcome.txt"], "is a file, not a folder"),
                                  (["add", "magnet:x", "--to", "/None"], 'There is no "None"')):
            output, messages = self.run_cli("transfers", *arguments, status=1)
            self.assertIn(f"tovri-cli transfers {arguments[0]}: ", messages)
            self.assertIn(reason, messages)
            self.assertEqual(output, "")
        for arguments in (["add", " \n"], ["cancel", "film"], ["cancel", "4"], ["clean"], ["retry"], ["explode"], []):
            self.assertEqual(self.run_cli("transfers", *arguments, status=2)[0], "")
        self.assertEqual(self.sandbox.requests(path="/transfers/add"), [])
        self.assertEqual(len(self.sandbox.requests(path="/transfers/cancel")), 1)

    def test_cancelling_asks_on_a_terminal(self):
        self.serve("--demo")
        question = "Cancel “The Kid (1921)”?"
        self.assertEqual(self.asked("transfers", "cancel", "4", question=question, answer="n"), 1)
        self.assertIn(4, self.listed())
        self.assertEqual(self.asked("transfers", "cancel", "4", question=question, answer="y"), 0)
        self.assertNotIn(4, self.listed())

    def test_failures_of_the_service_are_told(self):
        self.serve("--demo", "--fault", "api:/v2/transfers/clean:status=503", "--fault", "api:/v2/transfers/add:status=429")
        self.assertIn("HTTP error 503 from put.io.", self.run_cli("transfers", "clean", "--yes", status=1)[1])
        self.assertIn("Rate limited by put.io.", self.run_cli("transfers", "add", "magnet:x", status=1)[1])
        self.environment["TOVRI_TOKEN"] = "wrong"
        self.assertIn("Sign in with: tovri-cli login", self.run_cli("transfers", "list", status=3)[1])


class Feeds(ServiceTest):
    def test_a_feed_is_made_changed_and_deleted(self):
        self.serve("--files", "1")
        self.assertEqual(self.run_cli("feeds", "list")[0], "No RSS Feeds\n")
        self.run_cli("feeds", "add", " https://example.com/a.xml ")
        self.assertEqual(self.last_form("/rss/create"), {
            "title": "https://example.com/a.xml", "rss_source_url": "https://example.com/a.xml", "parent_dir_id": "0",
            "dont_process_whole_feed": "true"})
        output, _ = self.run_cli("feeds", "add", "https://example.com/b.xml", "--title", "News\x1b[2J", "--to", "/Generated",
                                 "--keyword", "1080p", "--skip-existing", "no", "--delete-old", "yes")
        self.assertEqual(output, "Added: News\ufffd[2J (ID 2)\n")
        self.assertEqual(self.last_form("/rss/create")["parent_dir_id"], "1")
        self.assertRegex(self.run_cli("feeds", "list")[0], r"\n2  News\ufffd\[2J +Keyword: 1080p · Auto-delete · Last: \d")

        self.run_cli("feeds", "edit", "2", "--title", "New title")
        self.assertEqual(self.last_form("/rss/update"), {
            "id": "2", "title": "New title", "keyword": "1080p", "dont_process_whole_feed": "false", "delete_old_files": "true"})
        self.run_cli("feeds", "edit", "2", "--keyword", "", "--skip-existing", "yes")
        self.assertEqual(self.last_form("/rss/update"), {
            "id": "2", "keyword": "", "dont_process_whole_feed": "true", "delete_old_files": "true"})

        self.assertEqual(self.run_cli("feeds", "pause", "2")[0], "Paused: New title (ID 2)\n")
        self.assertTrue(re.search(r"2  New title +Auto-delete · Paused\n", self.run_cli("feeds", "list")[0]))
        self.run_cli("feeds", "resume", "2")
        self.assertEqual(self.run_cli("feeds", "rm", "1", "--yes")[0], "Deleted: https://example.com/a.xml (ID 1)\n")
        feeds = json.loads(self.run_cli("feeds", "list", "--json")[0])["feeds"]
        self.assertEqual([(f["id"], f["title"], f["paused"]) for f in feeds], [(2, "New title", False)])

    def test_what_is_wrong_is_said_and_nothing_sent(self):
        self.serve("--demo", "--fault", "api:/v2/rss/pause:status=500")
        for arguments, reason in ((["edit", "99", "--title", "x"], "There is no feed with the ID 99."),
                                  (["rm", "99", "--yes"], "There is no feed with the ID 99."),
                                  (["pause", "1"], "HTTP error 500 from put.io."),
                                  (["add", "https://a/b", "--to", "/Welcome.txt"], "is a file, not a folder")):
            self.assertIn(reason, self.run_cli("feeds", *arguments, status=1)[1])
        for arguments in (["add", " "], ["edit", "1"], ["edit", "1", "--skip-existing", "maybe"], ["rm", "x"], ["rm", "1"], ["list", "x"]):
            self.assertEqual(self.run_cli("feeds", *arguments, status=2)[0], "")
        for path in ("/rss/create", "/rss/update", "/rss/delete"):
            self.assertEqual(self.sandbox.requests(path=path), [])

    def test_deleting_asks_on_a_terminal(self):
        self.serve("--demo")
        question = "Delete “Lectures (paused)”?"
        self.assertEqual(self.asked("feeds", "rm", "3", question=question, answer=""), 1)
        self.assertIn("Lectures", self.run_cli("feeds", "list")[0])
        self.assertEqual(self.asked("feeds", "rm", "3", question=question, answer="yes"), 0)
        self.assertNotIn("Lectures", self.run_cli("feeds", "list")[0])
