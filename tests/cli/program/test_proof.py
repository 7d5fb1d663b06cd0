"""What has arrived is what put.io has, or says that it is not."""

import hashlib
import itertools
import json
import signal
import urllib.request
import zlib

from support import ProgramTest

DIFFERS = "Arrived, but differs from put.io's record: "


class Proof(ProgramTest):
    def serve_files(self, files, *arguments):
        account = self.home / "account.json"
        account.write_text(json.dumps({"files": files}))
        return self.serve("--account", str(account), *arguments)

    def arrived(self, name):
        return (self.downloads / name).read_bytes()

    def served(self, path):
        link = self.run_cli("link", path)[0].strip()
        with urllib.request.urlopen(link) as answer:
            return answer.read()

    def item(self):
        return self.queue()[0]

    def assert_nothing_deleted(self):
        self.assertEqual(self.sandbox.requests(path="/files/delete"), [])


class Differences(Proof):
    def test_a_file_of_another_size_is_kept_and_says_so(self):
        self.serve_files({"big.bin": "4GiB"}, "--crc-limit", "1")
        self.sandbox.fault("storage:big.bin:size=153")
        output, messages = self.get("/big.bin", status=1)
        self.assertIn(f"Arrived: {self.downloads}/big.bin (153 bytes)\n", output)
        self.assertIn("1 arrived, 1 not as put.io has it", output)
        self.assertRegex(messages, f"^Doubtful: {self.downloads}/big.bin: {DIFFERS}153 bytes instead of 4,294,967,296. "
                                   "Fetch it again with: tovri-cli retry [0-9A-F]{8}\n$")
        self.assertEqual(len(self.arrived("big.bin")), 153)
        item = self.item()
        self.assertEqual((item["status"], item["size"], item["bytes"], item["proof"], item["error"]),
                         ("completed", 4294967296, 153, "none", f"{DIFFERS}153 bytes instead of 4,294,967,296."))
        self.assertIn(f" · {DIFFERS}153 bytes instead of", self.run_cli("queue")[0])

    def test_events_tell_what_arrived_and_how_it_was_proven(self):
        self.serve_files({"checksum": "1KiB", "size": "2KiB", "short": "3KiB"}, "--crc-limit", "1KiB")
        self.sandbox.fault("storage:short:size=153")
        output, _ = self.get("/", "--json", status=1)
        events = [json.loads(line) for line in output.splitlines()]
        told = {e["name"]: (e["size"], e["bytes"], e["proof"], "error" in e) for e in events if e["event"] == "arrived"}
        self.assertEqual(told, {"checksum": (1024, 1024, "checksum", False), "size": (2048, 2048, "size", False),
                                "short": (3072, 153, "none", True)})
        self.assertEqual(events[-1]["doubtful"], 1)
        self.assertEqual({item["name"]: item["proof"] for item in self.queue()},
                         {"checksum": "checksum", "size": "size", "short": "none"})
        self.assertIn("proven by checksum", self.run_cli("queue")[0])

    def test_what_differs_is_not_deleted(self):
        self.serve_files({"size": "100KiB", "checksum": ["100KiB", {"crc32": "0badc0de"}],
                          "F": {"good": "1KiB", "bad": ["1KiB", {"crc32": "0badc0de"}]}})
        self.sandbox.fault("storage:size:size=153")
        _, messages = self.get("/size", "/checksum", "--delete", status=1)
        lines = messages.splitlines()
        self.assertEqual(len(lines), 2, messages)
        self.assertIn(f"{DIFFERS}153 bytes instead of 102,400.", messages)
        self.assertRegex(messages, f"{DIFFERS}its checksum is [0-9a-f]{{8}}, put.io's is 0badc0de.")
        for line in lines:
            self.assertTrue(line.startswith("Not deleted from put.io: "), line)
        self.get("/F", "--delete", status=1)
        self.run_cli("retry", status=1)
        self.assert_nothing_deleted()
        self.assertEqual({item["status"] for item in self.queue()}, {"remoteDeleteFailed"})

    def test_a_rules_file_that_differs_ends_with_1_and_is_not_fetched_again(self):
        self.serve_files({"News": {"old.bin": "1KiB"}})
        self.run_cli("rules", "add", "/News", str(self.downloads))
        self.sandbox.call("POST", "files/add", "path=/News/new.bin&size=100KiB")
        self.sandbox.fault("storage:new.bin:size=153")
        _, messages = self.run_cli("rules", "sync", status=1)
        self.assertIn(f"new.bin: {DIFFERS}153 bytes instead of 102,400.", messages)
        self.run_cli("rules", "sync")
        self.assertEqual(len(self.sandbox.requests("storage")), 1)

    def test_a_retry_succeeds_where_the_listing_was_old(self):
        self.serve_files({"f.bin": "100KiB", "gone.bin": "1KiB"})
        self.sandbox.fault("api:/v2/files/list*:listed-size=153")
        _, messages = self.get("/f.bin", status=1)
        self.assertIn(f"{DIFFERS}102,400 bytes instead of 153.", messages)
        self.get("/gone.bin", "--delete", status=1)
        self.assert_nothing_deleted()
        self.sandbox.call("DELETE", "faults")
        self.run_cli("retry", "--on-conflict", "replace")
        item = next(item for item in self.queue() if item["name"] == "f.bin")
        self.assertEqual((item["status"], item["size"], item["bytes"], item["proof"]),
                         ("completed", 153, 102400, "checksum"))
        self.assertEqual(self.arrived("f.bin"), self.served("/f.bin"))
        self.assertEqual([r["form"] for r in self.sandbox.requests(path="/files/delete")], [{"file_ids": "2"}])
        self.assertEqual(self.run_cli("retry")[0], "")


    def test_a_checksum_may_be_short_and_in_capital_letters(self):
        text = next(text for text in map(str, itertools.count()) if zlib.crc32(text.encode()) < 1 << 24)
        digits = f"{zlib.crc32(text.encode()):X}"
        self.serve_files({"F": {"short": ["text", text, {"crc32": digits}], "long": ["text", text, {"crc32": f"0{digits:>07}"}]}})
        self.get("/F", "--delete")
        self.assertEqual({item["proof"] for item in self.queue()}, {"checksum"})
        self.assertEqual(self.run_cli("ls")[0], "")


class Refusals(Proof):
    """Answers that end a transfer: nothing is placed, and nothing of them stays."""

    def refuse(self, fault, reason):
        with self.subTest(fault):
            self.sandbox.fault(f"storage:f.bin:{fault},times=1")
            _, messages = self.get("/f.bin", status=1)
            self.assertIn(reason, messages)
            self.assertEqual(list(self.downloads.glob("*")), [])
            self.assertEqual(self.partial_bytes(), 0)

    def test_what_is_no_body_of_the_file_is_refused(self):
        self.serve_files({"f.bin": "300KiB"})
        self.refuse("encoding=gzip", "in another form than it was asked for")
        self.refuse("size=307199,hide-length", "fewer bytes than it announced")
        self.refuse("size=307201,hide-length", "more bytes than it announced")
        self.sandbox.fault("storage:f.bin:hide-length,times=1")
        self.get("/f.bin")
        self.assertEqual(self.arrived("f.bin"), self.served("/f.bin"))

    def test_nothing_is_written_beyond_what_was_announced(self):
        self.serve_files({"f.bin": "300KiB"}, "--crc-limit", "1")
        self.sandbox.fault("storage:f.bin:announce=-1000,times=1")
        self.assertIn("more bytes than it announced", self.get("/f.bin", "--delete", status=1)[1])
        self.assertEqual(list(self.downloads.glob("*")), [])
        self.assertLessEqual(self.partial_bytes(), 306200)
        self.assert_nothing_deleted()

    def test_bytes_that_were_announced_and_do_not_exist_are_no_part_of_a_file(self):
        self.serve_files({"f.bin": "300KiB"}, "--crc-limit", "1")
        self.sandbox.fault("storage:f.bin:announce=+1000,times=1")
        self.assertIn("fewer bytes than it announced", "".join(self.get("/f.bin")))
        self.assertEqual(self.arrived("f.bin"), self.served("/f.bin"))

    def interrupt(self, name):
        """Ends the program in the midst of the file's transfer."""
        self.sandbox.fault(f"storage:{name}:rate=400KB,times=1")
        process = self.start("get", f"/{name}", "--to", str(self.downloads))
        self.wait_for_partial_bytes(50_000)
        process.send_signal(signal.SIGINT)
        process.communicate(timeout=20)
        self.assertEqual(process.returncode, 130)

    def go_on(self, faults, *arguments):
        """Goes on with an interrupted file while the faults hold for the next transfer; returns how many it took."""
        self.serve_files({"f.bin": "1MiB"}, *arguments)
        self.interrupt("f.bin")
        self.sandbox.call("DELETE", "faults")
        self.sandbox.call("POST", "reset-log", "")
        self.sandbox.fault(f"storage:f.bin:{faults},times=1")
        self.run_cli("run")
        taken = len(self.sandbox.requests("storage"))
        self.assertEqual(hashlib.sha256(self.arrived("f.bin")).hexdigest(),
                         hashlib.sha256(self.served("/f.bin")).hexdigest())
        return taken

    def test_another_range_is_never_appended(self):
        for faults in ("range-shift=+1", "range-shift=-1", "range-total=+1", "range-total=-1", "ignore-range",
                       "encoding=gzip"):
            with self.subTest(faults):
                self.assertEqual(self.go_on(faults), 2)
                (self.downloads / "f.bin").unlink()
                self.run_cli("clear")

    def test_two_halves_of_two_files_are_never_spliced(self):
        self.assertEqual(self.go_on("change,ignore-if-range", "--crc-limit", "1"), 2)

    def test_a_file_that_changed_starts_over_once_for_its_checksum(self):
        self.assertEqual(self.go_on("change"), 2)
        self.assertEqual(self.item()["proof"], "checksum")

    def test_a_file_that_changes_each_time_is_not_fetched_for_ever(self):
        self.serve_files({"f.bin": "1MiB"})
        self.interrupt("f.bin")
        self.sandbox.call("DELETE", "faults")
        self.sandbox.call("POST", "reset-log", "")
        self.sandbox.fault("storage:f.bin:change,ignore-if-range")
        _, messages = self.run_cli("run", status=1)
        self.assertIn(f"{DIFFERS}its checksum is ", messages)
        self.assertEqual(len(self.sandbox.requests("storage")), 2)

    def test_another_machines_validator_is_gone_on_with_where_a_checksum_decides(self):
        self.assertEqual(self.go_on("other-validator,ignore-if-range"), 1)
        self.assertEqual(self.item()["proof"], "checksum")

    def test_without_a_checksum_another_machines_validator_starts_the_file_over(self):
        self.assertEqual(self.go_on("other-validator,ignore-if-range", "--crc-limit", "1"), 2)
        self.assertEqual(self.item()["proof"], "size")
