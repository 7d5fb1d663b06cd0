"""put.io loses its copy only when ours is proven to be here; what is missing is said."""

import json
import os
import shutil
import urllib.parse

from support import ProgramTest, Terminal, wait_until

STRANGERS = "The folder holds files that were not downloaded."
NOTHING = "Nothing was deleted from put.io."


class DeletionTest(ProgramTest):
    def serve_files(self, files, *more):
        account = self.home / "account.json"
        account.write_text(files if isinstance(files, str) else json.dumps({"files": files}))
        return self.serve("--account", str(account), *more)

    def change(self, action, **fields):
        self.sandbox.call("POST", f"files/{action}", urllib.parse.urlencode(fields))

    def deletions(self):
        return self.sandbox.requests(path="/files/delete")

    def statuses(self):
        return {item["name"]: item["status"] for item in self.queue()}

    def get_half(self, *arguments):
        """Gets the folder F, and dies when all of it but the file "last" is here."""
        self.sandbox.fault("storage:last:stall=1")
        process = self.start("get", "/F", "--to", str(self.downloads), *arguments)
        wait_until(lambda: (self.data / "queue.json").exists() and self.statuses().get("first") == "completed",
                        "the first file")
        self.end(process)
        self.sandbox.call("DELETE", "faults")

    def assert_kept(self, reason, *command):
        """The command fails for this reason, and put.io still has everything."""
        _, messages = self.run_cli(*(command or ("run",)), status=1)
        self.assertIn("Not deleted from put.io: ", messages)
        self.assertIn(reason, messages)
        self.assertEqual(self.deletions(), [])

    def an_item(self):
        return self.queue()[0]["id"]


class Folder(DeletionTest):
    def setUp(self):
        super().setUp()
        self.serve_files({"F": {"first": "5KB", "G": {"second": "6KB"}, "last": "7KB"}}, "--page-size", "3")
        self.get_half("--delete")
        self.first = self.downloads / "F" / "first"

    def test_stays_when_a_file_is_not_here_any_more(self):
        self.first.unlink()
        reason = f'"{self.first}" is not there any more. {NOTHING}'
        self.assert_kept(reason)
        self.assert_kept(reason, "retry", self.an_item())
        self.assertIn("needs to know which", self.run_cli("retry", "--anyway", status=1)[1])
        self.assertEqual(self.deletions(), [])
        _, messages = self.run_cli("retry", self.an_item(), "--anyway")
        self.assertIn(f"{reason} Deleting its whole folder from put.io anyway.", messages)
        self.assertEqual(len(self.deletions()), 1)
        self.assertEqual(set(self.statuses().values()), {"completed"})

    def test_stays_when_a_file_was_changed_here(self):
        self.first.write_bytes(b"x" * self.first.stat().st_size)
        self.assert_kept(f'"{self.first}" has changed since it arrived. {NOTHING}')

    def test_goes_when_a_file_was_only_touched(self):
        os.utime(self.first)
        self.run_cli("run")
        self.assertEqual(len(self.deletions()), 1)
        self.assertEqual(self.run_cli("ls")[0], "")

    def test_stays_when_a_file_came_into_it_meanwhile(self):
        self.change("add", path="/F/G/new", size="1KB")
        self.assert_kept(STRANGERS)
        # What is agreed to is what was named, and nothing else.
        self.first.unlink()
        self.assert_kept(f'"{self.first}" is not there any more. {NOTHING} {STRANGERS}', "retry", self.an_item(),
                         "--anyway")
        self.run_cli("retry", self.an_item(), "--anyway")
        self.assertEqual(self.run_cli("ls")[0], "")

    def test_stays_when_a_file_of_it_was_replaced_there(self):
        self.change("replace", path="/F/first", size="9KB")
        self.assert_kept(STRANGERS)

    def test_stays_when_it_cannot_be_listed_to_its_end(self):
        self.change("add", path="/F/one more", size="1KB")
        self.sandbox.fault("api:/v2/files/list?parent_id=1:stale-cursor")
        self.assert_kept(f"{STRANGERS} put.io listed only the beginning of a folder. HTTP error 400 from put.io.")

    def test_goes_when_a_member_that_had_failed_has_come(self):
        self.sandbox.fault("storage:last:status=400")
        self.run_cli("run", status=1)
        self.assertEqual(self.statuses()["last"], "failed")
        self.sandbox.call("DELETE", "faults")
        self.run_cli("retry")
        self.assertEqual(self.run_cli("ls")[0], "")
        self.assertEqual(set(self.statuses().values()), {"completed"})


class File(DeletionTest):
    def test_stays_until_put_io_confirms(self):
        self.serve_files({"f": "5KB"}, "--fault", "api:/v2/files/delete:status=200")
        _, messages = self.get("/f", "--delete", status=1)
        self.assertIn("put.io did not confirm the deletion.", messages)
        self.sandbox.call("DELETE", "faults")
        self.run_cli("retry")
        self.assertEqual(self.run_cli("ls")[0], "")

    def test_is_looked_up_when_the_answer_is_lost(self):
        self.serve_files({"f": "5KB"}, "--fault", "api:/v2/files/delete:cut=1")
        self.get("/f", "--delete")
        self.assertEqual(len(self.deletions()), 1)
        self.assertEqual(self.statuses(), {"f": "completed"})

    def test_stays_when_only_something_on_the_way_says_that_it_is_gone(self):
        self.serve_files({"f": "5KB"}, "--fault", "api:/v2/files/delete:drop", "--fault",
                         "api:/v2/files/1:status=404,body=html")
        self.get("/f", "--delete", status=1)
        self.assertEqual(self.statuses(), {"f": "remoteDeleteFailed"})
        self.sandbox.call("DELETE", "faults")
        self.run_cli("retry")
        self.assertEqual(self.run_cli("ls")[0], "")

    def test_is_looked_up_when_the_program_was_killed_before_the_answer(self):
        self.serve_files({"f": "5KB"}, "--fault", "api:/v2/files/delete:stall=1")
        process = self.start("get", "/f", "--to", str(self.downloads), "--delete")
        wait_until(lambda: self.statuses_on_disk() == ["deleting"] and self.deletions(), "the deletion")
        wait_until(lambda: self.deletions()[0]["status"] == 200, "its answer")
        self.end(process)
        self.run_cli("retry")
        self.assertEqual(self.statuses(), {"f": "completed"})
        self.assertEqual(len(self.deletions()), 1)
        self.assertEqual([r["status"] for r in self.sandbox.requests(path="/files/1")], [404])

    def statuses_on_disk(self):
        saved = self.data / "queue.json"
        return [item["status"] for item in json.loads(saved.read_text())["downloads"]] if saved.exists() else []

    def test_stays_when_its_checksum_is_another(self):
        self.serve_files({"f": ["5KB", {"crc32": "0badc0de"}]})
        _, messages = self.get("/f", "--delete", status=1)
        self.assertIn("put.io's is 0badc0de.", messages)
        self.assertEqual(self.deletions(), [])

    def test_stays_when_nobody_knows_its_size(self):
        self.serve_files({"f": "5KB", "empty": "0"}, "--fault", "api:/v2/files/list*:listed-size=0")
        for name in ("f", "empty"):
            status = 0 if name == "empty" else 1
            self.get(f"/{name}", "--delete", status=status)
        self.assertEqual([r["form"] for r in self.deletions()], [{"file_ids": "2"}])


    def test_stays_when_another_account_is_signed_in(self):
        self.serve_files({"f": "5KB"}, "--fault", "api:/v2/files/delete:stall=1")
        process = self.start("get", "/f", "--to", str(self.downloads), "--delete")
        saved = self.data / "queue.json"
        wait_until(lambda: saved.exists() and "deletionAccount" in saved.read_text() and self.deletions(), "the deletion")
        self.end(process)
        self.serve_files('{"username": "another", "files": {}}')
        _, messages = self.run_cli("retry", status=1)
        self.assertIn("It is in the account of sandbox, and another is signed in. " + NOTHING, messages)
        self.assertEqual(self.deletions(), [])

    def test_stays_when_its_record_cannot_be_kept(self):
        for number, record in enumerate(("placements.journal", "brought.list")):
            with self.subTest(record):
                self.serve_files({f"f{number}": "5KB"})
                (self.data / record).unlink(missing_ok=True)
                (self.data / record).mkdir(parents=True)
                _, messages = self.get(f"/f{number}", "--delete", status=1)
                self.assertIn(f'Cannot write "{self.data}/{record}"', messages)
                self.assertEqual(self.deletions(), [])
                shutil.rmtree(self.data / record, ignore_errors=True)
                self.run_cli("retry")
                self.assertEqual(len(self.deletions()), 1)


class OnlyCopy(DeletionTest):
    def sizes(self):
        return {str(path.relative_to(self.downloads)): path.stat().st_size
                for path in self.downloads.rglob("*") if path.is_file()}

    def test_two_files_of_one_name_are_both_kept(self):
        self.serve_files('{"files": {"F": {"a": 1000, "a": 2000}}}')
        self.get("/F", "--delete", "--on-conflict", "replace")
        self.assertEqual(set(self.sizes()), {"F/a", "F/a (1)"})
        self.assertEqual(set(self.sizes().values()), {1000, 2000})
        self.assertEqual(self.run_cli("ls")[0], "")

    def test_a_file_and_a_folder_of_one_name_are_both_kept(self):
        self.serve_files('{"files": {"F": {"a": 1000, "a": {"b": 2000}}}}')
        self.get("/F", "--delete", "--on-conflict", "replace", "--jobs", "1")
        self.assertEqual(self.sizes(), {"F/a/b": 2000, "F/a (1)": 1000})
        self.assertEqual(self.run_cli("ls")[0], "")

    def test_two_paths_of_one_command_and_a_later_one_are_all_kept(self):
        self.serve_files({"A": {"f": "1KB"}, "B": {"f": "2KB"}, "C": {"f": "3KB"}})
        self.get("/A/f", "/B/f", "--delete", "--on-conflict", "replace")
        self.run_cli("clear")
        self.get("/C/f", "--on-conflict", "replace")
        self.assertEqual(set(self.sizes()), {"f", "f (1)", "f (2)"})
        self.assertEqual(set(self.sizes().values()), {1000, 2000, 3000})

    def test_a_renamed_one_is_known_when_another_file_has_its_name(self):
        self.serve_files({"A": {"f": "1KB", "F": {"f": "4KB"}}, "B": {"f": "2KB", "F": {"f": "5KB"}},
                          "C": {"g": "3KB", "G": {"f": "6KB"}}})
        self.get("/A/f", "/A/F", "--delete")
        (self.downloads / "f").rename(self.downloads / "g")
        (self.downloads / "F").rename(self.downloads / "G")
        self.get("/B/f", "/B/F", "--delete")
        self.get("/C/g", "/C/G", "--on-conflict", "replace")
        self.assertEqual(self.sizes(), {"f": 2000, "g": 1000, "g (1)": 3000, "F/f": 5000, "G/f": 4000, "G/f (1)": 6000})

    def test_one_of_another_data_folder_is_kept(self):
        self.need_marks()
        self.serve_files({"A": {"f": "1KB"}, "B": {"f": "2KB"}, "C": {"f": "3KB"}})
        self.get("/A/f", "--delete")
        self.environment["XDG_DATA_HOME"] = str(self.home / "other data")
        self.get("/B/f", "--on-conflict", "replace")
        self.assertEqual(self.sizes(), {"f": 1000, "f (1)": 2000})
        # What put.io has still is replaced as ever.
        self.downloads = self.home / "another place"
        self.get("/B/f")
        self.environment["XDG_DATA_HOME"] = str(self.home / "data")
        self.get("/C/f", "--on-conflict", "replace")
        self.assertEqual(self.sizes(), {"f": 3000})

    def test_one_that_was_edited_and_renamed_is_kept(self):
        self.need_marks()
        self.serve_files({"A": {"f": "1KB"}, "B": {"g": "2KB"}})
        self.get("/A/f", "--delete")
        with (self.downloads / "f").open("ab") as file:
            file.write(b"more")
        (self.downloads / "f").rename(self.downloads / "g")
        self.get("/B/g", "--on-conflict", "replace")
        self.assertEqual(self.sizes(), {"g": 1004, "g (1)": 2000})

    def need_marks(self):
        probe = self.home / "probe"
        probe.touch()
        try:
            os.setxattr(probe, "user.tovri.probe", b"1")
        except OSError:
            self.skipTest("the file system of the home folder keeps no user attributes")

    def test_files_of_two_rules_are_both_kept(self):
        self.serve_files({"A": {"G": {}}, "B": {"G": {}}})
        self.run_cli("config", "conflictBehavior", "replace")
        for folder in ("/A", "/B"):
            self.run_cli("rules", "add", folder, str(self.downloads), "--delete")
        self.change("add", path="/A/f", size="1KB")
        self.change("add", path="/B/f", size="2KB")
        self.run_cli("rules", "sync")
        self.assertEqual(set(self.sizes()), {"f", "f (1)"})
        self.assertEqual(set(self.sizes().values()), {1000, 2000})
        self.assertEqual(len(self.deletions()), 2)

    def test_the_user_is_told_before_it_is_replaced(self):
        self.serve_files({"A": {"f": "1KB"}, "B": {"f": "2KB"}})
        self.get("/A/f", "--delete")
        for answer, sizes in (("s", {"f": 1000}), ("r", {"f": 2000})):
            terminal = Terminal(["get", "/B/f", "--to", str(self.downloads), "--on-conflict", "ask"], self.environment,
                                self.home)
            self.addCleanup(terminal.close)
            terminal.wait_for("already exists at this location. Its original is no longer on put.io.")
            terminal.type(answer + "\n")
            self.assertEqual(terminal.finish(), 0)
            self.assertEqual(self.sizes(), sizes)

    def test_a_folder_that_makes_way_keeps_what_it_holds(self):
        self.serve_files({"f": "5KB"})
        (self.downloads / "f" / "deep").mkdir(parents=True)
        (self.downloads / "f" / "deep" / "mine").write_text("mine")
        (self.downloads / "f (replaced)").write_text("mine too")
        self.get("/f", "--on-conflict", "replace")
        self.assertEqual(self.sizes(), {"f": 5000, "f (replaced)": 8, "f (replaced 2)/deep/mine": 4})

    def test_nothing_comes_into_tovris_own_folder(self):
        self.serve_files({"f": "5KB"})
        link = self.home / "link"
        link.symlink_to(self.data)
        for folder in (self.data, self.data / "Staging" / "x", link / "x"):
            _, messages = self.run_cli("get", "/f", "--to", str(folder), status=1)
            self.assertIn("belongs to Tovri's own data", messages)
        self.assertEqual(self.sandbox.requests(), [])
        self.run_cli("config", "defaultDownloadPath", str(self.data / "Partial"))
        _, messages = self.run_cli("get", "/f", status=1)
        self.assertIn("belongs to Tovri's own data", messages)
        self.assertEqual(self.sandbox.requests("storage"), [])


class QueuedAlready(DeletionTest):
    def test_without_its_deletion_is_not_deleted_and_says_so(self):
        self.serve_files({"F": {"first": "5KB", "last": "7KB"}})
        self.get_half()
        _, messages = self.get("/F", "--delete", status=1)
        self.assertIn('"F" was queued without its deletion from put.io', messages)
        self.assertEqual(set(self.statuses().values()), {"completed"})
        self.assertEqual(self.deletions(), [])

    def test_with_its_deletion_is_deleted_and_says_so(self):
        self.serve_files({"F": {"first": "5KB", "last": "7KB"}})
        self.get_half("--delete")
        _, messages = self.get("/F", status=1)
        self.assertIn('"F" was queued with its deletion from put.io', messages)
        self.assertEqual(len(self.deletions()), 1)

    def test_what_is_here_already_stays_and_is_said_to(self):
        self.serve_files({"F": {"known": "5KB", "on disk": "6KB", "last": "7KB"}})
        folder = self.downloads / "F"
        folder.mkdir(parents=True)
        (folder / "on disk").write_bytes(bytes(6000))
        self.run_cli("get", "/F/known", "--to", str(folder))
        self.sandbox.fault("storage:last:stall=1")
        process = self.start("get", "/F/last", "--to", str(folder), "--delete")
        wait_until(lambda: self.sandbox.stats()["transfersInFlight"] == 1, "the transfer")
        self.interrupt(process)
        self.sandbox.call("DELETE", "faults")
        _, messages = self.get("/F", "--delete", status=1)
        self.assertIn('"F": 2 files are here already, and not deleted from put.io.', messages)
        self.assertEqual([r["form"] for r in self.deletions()], [{"file_ids": "4"}])
