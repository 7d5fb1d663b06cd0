"""Ctrl-C and its kind: quick, and nothing that has arrived is fetched again."""

import json
import os
import signal
import subprocess

from support import ProgramTest, bytes_in, wait_until


# No transfer comes to its end, however long a test takes.
STANDS_STILL = "storage:*:stall=1500KiB"


class Interruption(ProgramTest):
    account = ("--files", "3", "--folders", "0", "--min-size", "4MiB", "--max-size", "6MiB")

    def interrupted(self, number):
        """In the middle of all three files; returns the events up to there."""
        self.serve()
        self.sandbox.fault(STANDS_STILL)
        told = self.home / "told"
        with open(told, "w") as output:
            process = self.start("get", "/Generated", "--json", "--to", str(self.downloads), stdout=output)
        wait_until(lambda: told.read_text().count('"progress"') >= 3, "progress of each")
        _, messages = self.interrupt(process, number)
        self.assertIn("tovri-cli run", messages)
        return [json.loads(line)["event"] for line in told.read_text().splitlines()]

    def check_run_after(self, number):
        self.interrupted(number)
        saved = self.queue()
        self.assertEqual({item["status"] for item in saved}, {"downloading"})
        self.sandbox.call("DELETE", "faults")
        self.sandbox.call("POST", "reset-log", "")
        output, _ = self.run_cli("run")
        self.assertIn("Resumed: ", output)
        ranges = [r["range"] for r in self.sandbox.requests("storage")]
        self.assertEqual(len(ranges), 3)
        self.assertTrue(all(r.startswith("bytes=") and r != "bytes=0-" for r in ranges), ranges)
        already = sum(int(r[len("bytes="):].rstrip("-")) for r in ranges)
        sent = sum(r["bytesSent"] for r in self.sandbox.requests("storage"))
        self.assertEqual(sent, sum(item["size"] for item in saved) - already)
        self.assert_tree()

    def test_run_goes_on_at_the_same_byte(self):
        self.check_run_after(signal.SIGINT)

    def test_a_request_to_end_is_the_same(self):
        self.check_run_after(signal.SIGTERM)

    def test_the_same_command_goes_on_too(self):
        self.interrupted(signal.SIGINT)
        self.sandbox.call("DELETE", "faults")
        _, messages = self.get("/Generated")
        self.assertIn("in the queue already, with 3 files to go", messages)
        self.assertEqual(len(self.queue()), 3)
        self.assert_tree()

    def test_a_folder_of_which_one_file_is_on_its_way_arrives_whole(self):
        self.serve()
        self.sandbox.fault(STANDS_STILL)
        listed = json.loads(self.run_cli("ls", "/Generated", "--json")[0])["files"]
        process = self.start("get", str(listed[0]["id"]), "--to", str(self.downloads / "Generated"))
        self.wait_for_partial_bytes(1 << 20)
        self.interrupt(process)
        self.sandbox.call("DELETE", "faults")
        _, messages = self.get("/Generated")
        self.assertIn("with 1 file to go; going on with that, and with 2 files more.", messages)
        self.assertEqual(len(self.queue()), 3)
        self.assert_tree()

    def test_a_folder_of_which_one_file_failed_arrives_whole(self):
        self.serve()
        names = [listed["name"] for listed in json.loads(self.run_cli("ls", "/Generated", "--json")[0])["files"]]
        self.sandbox.fault(f"storage:{names[0]}:status=404", STANDS_STILL)
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        self.wait_for_partial_bytes(1 << 20)
        wait_until(lambda: "failed" in [item["status"] for item in self.queue()], "the failure")
        self.interrupt(process)
        self.sandbox.call("DELETE", "faults")
        _, messages = self.get("/Generated")
        self.assertIn("with 2 files to go; going on with that, and with 1 file more.", messages)
        self.assertEqual(len(self.queue()), 3)
        self.assert_tree()

    def test_a_deletion_that_nobody_confirmed_is_told_and_asked_for_again(self):
        self.serve()
        self.sandbox.fault("api:/v2/files/delete:delay=600,times=1")
        process = self.start("get", "/Generated", "--to", str(self.downloads), "--delete")
        wait_until(lambda: (self.downloads / "Generated").exists() and not self.unfinished(), "the deletion")
        self.interrupt(process)
        _, messages = self.run_cli("run", status=1)
        self.assertEqual(messages.count("Interrupted before put.io confirmed the deletion."), 3, messages)
        self.assertEqual(self.run_cli("run"), ("", "Nothing to do: no download waits.\n"))
        output, messages = self.run_cli("retry")
        self.assertEqual((output.count("Deleted from put.io: "), messages), (3, ""))

    def unfinished(self):
        return [item for item in self.queue() if item["status"] != "deleting"]

    def test_a_paused_item_stays_paused(self):
        self.interrupted(signal.SIGINT)
        paused = self.queue()[0]
        self.run_cli("pause", paused["id"][:8])
        self.sandbox.call("DELETE", "faults")
        _, messages = self.run_cli("run")
        self.assertIn("1 paused", messages)
        self.assertEqual(sorted(item["status"] for item in self.queue()), ["completed", "completed", "paused"])
        self.run_cli("resume", paused["id"])
        self.run_cli("run")
        self.assert_tree()

    def test_a_paused_queue_waits_and_says_so(self):
        self.serve()
        self.run_cli("pause")
        output, messages = self.get("/Generated", status=1)
        self.assertIn("The queue is paused, 3 waiting", messages)
        self.run_cli("resume")
        self.run_cli("run")
        self.assert_tree()

    def test_ctrl_c_before_anything_has_begun(self):
        self.serve()
        self.sandbox.fault("api:/v2/files/list*:delay=600")
        for number, command in enumerate((["ls"], ["get", "/Generated"])):
            process = self.start(*command)
            wait_until(lambda: len(self.sandbox.requests()) > number, "the request")
            self.interrupt(process)

    def test_a_reader_that_stands_still_does_not_hold_ctrl_c_up(self):
        self.serve()
        self.sandbox.fault(STANDS_STILL)
        _, full, _ = self.full_pipe()
        for streams in ({"stdout": full}, {"stdout": full, "stderr": full}):
            before = self.partial_bytes()
            process = self.start("get", "/Generated", "--to", str(self.downloads), **streams)
            self.wait_for_partial_bytes(before + (1 << 20))
            _, messages = self.interrupt(process)
            if messages is not None:
                self.assertIn("tovri-cli run", messages)
            self.assertEqual({item["status"] for item in self.queue()}, {"downloading"})
        self.sandbox.call("DELETE", "faults")
        self.run_cli("run")
        self.assert_tree()

    def test_ctrl_c_at_the_end_where_only_the_reader_is_waited_for(self):
        self.serve("--files", "200", "--folders", "0", "--max-size", "1KiB")
        reader, writer, filled = self.full_pipe()
        os.read(reader, filled)
        process = self.start("ls", "/Generated", stdout=writer)
        wait_until(lambda: bytes_in(reader) > 3000, "as much of the listing as there is room for")
        self.interrupt(process)
        self.assertTrue(os.get_blocking(writer))

    def test_an_upload_leaves_nothing_behind(self):
        self.serve("--fault", "upload:*:delay=600")
        (self.home / "temporary").mkdir()
        self.environment["TMPDIR"] = str(self.home / "temporary")
        (self.home / "file").write_bytes(bytes(1 << 20))
        process = self.start("put", "file")
        wait_until(lambda: list((self.home / "temporary").iterdir()), "the upload to begin")
        self.interrupt(process)
        self.assertEqual(list((self.home / "temporary").iterdir()), [])

    def test_one_process_at_a_time_works_on_the_queue(self):
        self.serve()
        self.sandbox.fault(STANDS_STILL)
        first = self.start("get", "/Generated", "--to", str(self.downloads), stdout=subprocess.DEVNULL)
        wait_until(self.queue, "the first saved queue")
        for command in (["run"], ["get", "/Generated"], ["pause"], ["clear"]):
            _, messages = self.run_cli(*command, status=4)
            self.assertIn(f"process {first.pid}", messages)
        for command in (["queue"], ["status"], ["ls"], ["link", "/Generated/" + self.queue()[0]["name"]]):
            self.run_cli(*command)

    def test_events_are_whole_lines_of_json_to_the_end(self):
        events = self.interrupted(signal.SIGINT)
        self.assertEqual(events.count("queued"), 3)
        self.assertEqual(events[-1], "summary")
