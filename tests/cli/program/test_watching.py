"""Rules: what was in a watched folder stays there, what comes later is brought home, once."""

import json
import os
import random
import signal
import urllib.parse

from support import LIMIT, ProgramTest, tree_of, wait_until


class Watching(ProgramTest):
    account = ("--demo",)

    def setUp(self):
        super().setUp()
        self.serve()
        self.change("add", path="/News/old.txt", text="old")

    def change(self, what, **fields):
        return self.sandbox.call("POST", f"files/{what}", urllib.parse.urlencode(fields))

    def add_rule(self, *options, folder="/News"):
        return self.run_cli("rules", "add", folder, str(self.downloads), *options)[0]

    def rules(self):
        return json.loads(self.run_cli("rules", "list", "--json")[0])["rules"]

    def arrived(self):
        return sorted(os.fsdecode(path) for path in tree_of(self.downloads))

    def fetched(self):
        """How often the bytes of each stored file were asked for."""
        paths = [r["path"] for r in self.sandbox.requests("storage")]
        return {path: paths.count(path) for path in paths}


class Rules(Watching):
    def test_what_was_there_stays_and_what_comes_is_fetched_once(self):
        self.assertIn("1 file is there already", self.add_rule())
        self.run_cli("rules", "sync")
        self.assertEqual(self.arrived(), [])

        self.change("add", path="/News/Deep/er/new.txt", text="new")
        self.change("rename", path="/News/old.txt", name="older.txt")
        self.run_cli("rules", "sync")
        self.assertEqual(self.arrived(), ["Deep/er/new.txt"])

        self.change("rename", path="/News/Deep/er/new.txt", name="renamed.txt")
        self.run_cli("rules", "sync")
        os.remove(self.downloads / "Deep/er/new.txt")
        self.run_cli("rules", "sync")
        self.assertEqual(self.arrived(), [])

        self.change("replace", path="/News/older.txt", text="another")
        self.run_cli("rules", "sync")
        self.assertEqual(self.arrived(), ["older.txt"])
        self.assertEqual(set(self.fetched().values()), {1})

    def test_a_file_that_cannot_be_placed_is_fetched_once(self):
        self.add_rule()
        self.downloads.write_text("in the way")
        self.change("add", path="/News/large.bin", size=3_000_000)
        self.change("add", path="/News/small.txt", text="small")
        for told in ("Failed: ", "Waiting after a failure: "):
            _, messages = self.run_cli("rules", "sync", status=1)
            self.assertEqual(messages.count(told), 2, messages)
            self.assertEqual(self.partial_bytes(), 3_000_005)
        self.downloads.unlink()
        self.run_cli("retry")
        self.assertEqual(self.arrived(), ["large.bin", "small.txt"])
        self.assertEqual(set(self.fetched().values()), {1})

    def test_rules_are_edited_paused_and_deleted(self):
        self.add_rule("--delete", "--every", "7")
        rule = self.rules()[0]
        self.assertTrue(rule["deleteAfterDownload"])
        self.assertEqual(rule["pollIntervalMinutes"], 7)
        short = rule["id"][:6].lower()

        self.run_cli("rules", "edit", short, "--keep", "--every", "60", "--to", "elsewhere")
        rule = self.rules()[0]
        self.assertEqual((rule["deleteAfterDownload"], rule["pollIntervalMinutes"], rule["knownFiles"]), (False, 60, 1))
        self.assertEqual(rule["localFolderPath"], str(self.home / "elsewhere"))

        output, _ = self.run_cli("rules", "edit", short, "--folder", "/Films")
        self.assertIn("12 files are there already", output)

        self.change("add", path="/Films/new.txt", text="new")
        self.run_cli("rules", "disable", short)
        self.run_cli("rules", "sync")
        self.assertFalse((self.home / "elsewhere").exists())
        self.run_cli("rules", "sync", short)
        self.assertEqual(os.listdir(self.home / "elsewhere"), ["new.txt"])

        _, messages = self.run_cli("watch", status=1)
        self.assertIn("rules enable", messages)
        self.run_cli("rules", "enable", short)
        self.assertTrue(self.rules()[0]["isEnabled"])
        self.run_cli("rules", "rm", short, "--yes")
        self.assertEqual(self.rules(), [])
        _, messages = self.run_cli("watch", status=1)
        self.assertIn("rules add", messages)

    def test_wrong_arguments_change_nothing(self):
        self.add_rule()
        before = self.rules()
        for arguments, status in (
            (("add", "/News", "here", "--every", "61"), 2),
            (("add", "/News", "here", "--every", "0"), 2),
            (("add", "/News", "here", "--every", "99999999999999999999"), 2),
            (("add", "/News", str(self.data / "sync-rules.json")), 1),
            (("add", "/News", "here", "--delete", "--keep"), 2),
            (("add", "/Nowhere", "here"), 1),
            (("add", "/Welcome.txt", "here"), 1),
            (("edit", before[0]["id"]), 2),
            (("edit", "nonsense", "--keep"), 1),
            (("rm", "nonsense", "--yes"), 1),
            (("rm", before[0]["id"]), 2),
            (("sync", "nonsense"), 1),
        ):
            with self.subTest(arguments):
                _, messages = self.run_cli("rules", *arguments, status=status)
                self.assertTrue(messages.startswith("tovri-cli rules"), messages)
        self.assertEqual(self.rules(), before)

    def test_a_rule_whose_folder_cannot_be_listed_is_kept_and_tried_again(self):
        self.change("add", path="/News/Deep/file.txt", text="deep")
        self.sandbox.fault("api:/v2/files/list*:status=500,after=2,times=1")
        _, messages = self.run_cli("rules", "add", "/News", str(self.downloads), status=1)
        self.assertIn("Couldn't initialize News", messages)
        self.assertFalse(self.rules()[0]["isInitialized"])
        self.change("add", path="/News/late.txt", text="late")
        self.run_cli("rules", "sync")
        self.assertEqual((self.rules()[0]["knownFiles"], self.arrived()), (3, []))

    def test_what_the_user_took_off_the_list_does_not_come_back(self):
        self.add_rule()
        for name in ("removed", "cancelled", "failed"):
            self.change("add", path=f"/News/{name}.txt", text=name)
        self.sandbox.fault("storage:*:status=501")
        self.run_cli("rules", "sync", status=1)
        self.run_cli("pause")
        items = {item["name"]: item["id"] for item in self.queue()}
        self.assertEqual(set(items), {"removed.txt", "cancelled.txt", "failed.txt"})
        self.run_cli("resume")

        # A failed item that is taken off the list is new again; one that had been put back is settled.
        self.sandbox.call("DELETE", "faults")
        self.sandbox.fault("storage:*:rate=1")
        process = self.start("retry", items["removed.txt"], items["cancelled.txt"])
        wait_until(lambda: self.sandbox.stats()["transfersInFlight"] == 2, "the transfers")
        self.interrupt(process)
        self.sandbox.call("DELETE", "faults")
        self.run_cli("cancel", items["cancelled.txt"])
        self.run_cli("remove", items["removed.txt"], items["failed.txt"])
        self.run_cli("clear")
        self.run_cli("rules", "sync")
        self.assertEqual(self.arrived(), ["failed.txt"])

    def test_a_rules_file_that_makes_no_sense_is_kept_aside(self):
        self.add_rule()
        file = self.data / "sync-rules.json"
        good = json.loads(file.read_text())
        broken = {
            "torn": file.read_text()[:-9],
            "no array": json.dumps({"version": 2, "rules": good}),
            "a key is missing": json.dumps([{k: v for k, v in good[0].items() if k != "putioFolderName"}]),
        }
        for number, (why, text) in enumerate(broken.items(), 1):
            with self.subTest(why):
                file.write_text(text)
                output, _ = self.run_cli("rules", "list")
                self.assertIn("[SyncManager] Ignoring unreadable rules", output)
                self.assertEqual(file.read_text(), text)
                self.add_rule()
                self.assertEqual(len(self.rules()), 1)
                self.assertEqual((self.data / f"sync-rules.unreadable-{number}.json").read_text(), text)

    def test_absurd_values_are_lived_with(self):
        self.add_rule()
        file = self.data / "sync-rules.json"
        rule = json.loads(file.read_text())[0]
        file.write_text(json.dumps([
            {**rule, "pollIntervalMinutes": -5},
            {**rule, "pollIntervalMinutes": 9223372036854775807, "lastSyncDate": -1e300},
            {**rule, "id": "00000000-0000-4000-8000-000000000001", "localFolderPath": "", "unknown": {"a": [1]}},
        ]))
        self.change("add", path="/News/new.txt", text="new")
        _, messages = self.run_cli("rules", "sync", status=1)
        self.assertIn("no local folder", messages)
        self.assertEqual(self.arrived(), ["new.txt"])
        self.assertEqual(len(self.rules()), 3)
        self.run_cli("rules", "rm", rule["id"], "--yes")
        self.assertEqual(len(self.rules()), 1)


class Watch(Watching):
    def test_brings_new_files_says_a_line_per_event_and_ends_when_asked(self):
        self.add_rule()
        self.change("add", path="/News/Deep/new.txt", text="new")
        told = self.home / "told"
        with open(told, "w") as output:
            process = self.start("watch", stdout=output)
        wait_until(lambda: "Arrived: " in told.read_text(), "the file")
        self.assertEqual(self.arrived(), ["Deep/new.txt"])
        _, messages = self.run_cli("rules", "rm", "0", "--yes", status=4)
        self.assertIn(str(process.pid), messages)
        _, messages = self.interrupt(process, signal.SIGTERM)
        self.assertIn("tovri-cli watch", messages)
        self.assertCountEqual(told.read_text().splitlines(), [
            "[SyncManager] News: 2 files total, 1 new, 0 in flight", "[SyncManager] Enqueued 1 files for download",
            "Started: new.txt (3 bytes)", f"Arrived: {self.downloads}/Deep/new.txt (3 bytes)", "1 arrived"])

    def test_a_refused_token_ends_it_with_the_queue_kept(self):
        self.add_rule()
        self.change("add", path="/News/new.txt", size=3_000_000)
        self.sandbox.fault("storage:*:stall=100KiB")
        process = self.start("watch")
        wait_until(lambda: self.sandbox.stats()["transfersInFlight"] == 1, "the transfer")
        self.interrupt(process, signal.SIGTERM)

        self.change("add", path="/News/second.txt", text="2")
        file = self.data / "sync-rules.json"
        rule = json.loads(file.read_text())[0]
        del rule["lastSyncDate"]  # so that it is due at once
        file.write_text(json.dumps([rule]))
        self.sandbox.fault("api:*:status=401")
        process = self.start("watch")
        _, messages = process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, 3, messages)
        self.assertEqual(messages.count("tovri-cli login"), 1, messages)
        self.assertIn("Then go on with: tovri-cli watch\n", messages)
        self.assertEqual([item["name"] for item in self.queue()], ["new.txt"])

        self.sandbox.call("DELETE", "faults")
        self.run_cli("rules", "sync")
        self.assertEqual(self.arrived(), ["new.txt", "second.txt"])
        self.assertEqual(len(self.rules()), 1)

    def test_advice_names_what_helps_while_it_runs(self):
        self.add_rule()
        self.sandbox.fault("storage:*:rate=20KiB")
        process = self.start("get", "/Films/Sherlock Jr. (1924).mkv", "--to", str(self.downloads))
        self.wait_for_partial_bytes(1)
        self.interrupt(process)
        self.sandbox.call("DELETE", "faults")
        self.sandbox.fault("storage:*:status=501")
        self.change("add", path="/News/new.txt", text="new")
        told = self.home / "told"
        with open(told, "w") as messages:
            process = self.start("watch", stderr=messages)
        wait_until(lambda: told.read_text().count("Failed: ") == 2, "the failures")
        self.assertIn("tovri-cli watch", self.interrupt(process, signal.SIGTERM)[1] or told.read_text())
        failed = {line.split(": ")[1].rpartition("/")[2]: line for line in told.read_text().splitlines()
                  if line.startswith("Failed: ")}
        self.assertTrue(failed["new.txt"].endswith(" Its rule tries again."), failed)
        self.assertIn(" Try again with, once this has been stopped: tovri-cli retry ", failed["Sherlock Jr. (1924).mkv"])

    def test_a_failure_is_an_object_of_its_rule(self):
        self.add_rule()
        self.sandbox.fault("api:/v2/files/list*:status=500")
        told = self.home / "told"

        def errors():
            events = [json.loads(line) for line in told.read_text().splitlines(True) if line.endswith("\n")]
            return [event for event in events if event["event"] == "error"]

        with open(told, "w") as output:
            process = self.start("watch", "--json", stdout=output)
        wait_until(errors, "the failure")
        _, messages = self.interrupt(process, signal.SIGTERM)
        self.assertIn("[SyncManager] Error syncing News: HTTP error 500", messages)
        [error] = errors()
        self.assertTrue(error.pop("time").endswith("Z"))
        self.assertEqual(error, {"event": "error", "command": "watch", "rule": self.rules()[0]["id"],
                                 "error": "Sync failed for News: HTTP error 500 from put.io."})

    def test_killed_at_any_moment_it_fetches_nothing_twice_and_misses_nothing(self):
        seed = int(os.environ.get("TOVRI_TEST_SEED", random.randrange(1 << 32)))
        chance = random.Random(seed)
        self.add_rule("--every", "1")
        added = set()
        for number in range(int(os.environ.get("TOVRI_TEST_KILLS", 8))):
            for extra in range(chance.randrange(4)):
                name = f"Part {chance.randrange(3)}/{number}-{extra}.bin"
                self.change("add", path=f"/News/{name}", size=chance.randrange(200_000))
                added.add(name)
            self.kill(chance.randint(0, 12), "rules", "sync")
        with self.subTest(f"TOVRI_TEST_SEED={seed}"):
            self.run_cli("rules", "sync")
            self.assertEqual(self.arrived(), sorted(added))  # a second copy would have a number in its name
            self.assertNotIn("old.txt", self.arrived())
