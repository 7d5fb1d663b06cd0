"""What cannot be saved is said, on standard error and by the exit status; what arrives, arrives all the same."""

import os
import subprocess
import unittest

from support import CLI, LIMIT, ProgramTest, wait_until


class Saving(ProgramTest):
    unsaved = "The queue cannot be saved. "

    def block(self):
        """Nothing can take the place of the queue file."""
        queue = self.data / "queue.json"

        def is_blocked():  # a save may come in between
            queue.unlink(missing_ok=True)
            try:
                queue.mkdir(parents=True)
            except FileExistsError:
                return False
            return True

        wait_until(is_blocked, "a moment without a save")
        return queue

    def test_a_queue_file_that_cannot_be_written(self):
        self.serve("--demo")
        self.block()
        output, messages = self.get("/Welcome.txt", status=1)
        self.assertIn("1 arrived", output)
        self.assertEqual(messages.count(self.unsaved), 1, messages)
        self.assertEqual(os.listdir(self.downloads), ["Welcome.txt"])
        self.assertIn(self.unsaved, self.run_cli("run", status=1)[1])
        self.assertIn("could not be saved", self.run_cli("pause", status=1)[1])

    def test_a_disk_that_is_mended_in_time(self):
        self.serve("--demo")
        self.sandbox.fault("storage:*:rate=4MiB")
        messages = self.home / "messages"
        with messages.open("w") as stream:
            process = self.start("get", "/Films/The General (1926)", "--to", str(self.downloads), "--jobs", "1", stderr=stream)
        wait_until((self.data / "queue.json").is_file, "the first save")
        queue = self.block()
        wait_until(lambda: self.unsaved in messages.read_text(), "the message")
        queue.rmdir()
        self.sandbox.call("DELETE", "faults")
        process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, 0, messages.read_text())
        self.assertEqual(messages.read_text().count(self.unsaved), 1)
        self.assertEqual({item["status"] for item in self.queue()}, {"completed"})

    def test_ctrl_c_says_what_is_lost(self):
        self.serve()
        self.sandbox.fault("storage:*:rate=20KiB")
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        self.wait_for_partial_bytes(1)
        self.block()
        _, messages = self.interrupt(process)
        self.assertEqual(messages.count(self.unsaved), 1, messages)

    def test_rules_that_cannot_be_written(self):
        self.serve()
        self.run_cli("rules", "add", "/Generated", str(self.downloads))
        rules = self.data / "sync-rules.json"
        kept = rules.read_text()
        rules.unlink()
        rules.mkdir()
        self.assertIn("The rules cannot be saved. ", self.run_cli("rules", "add", "/", "elsewhere", status=1)[1])
        rules.rmdir()
        rules.write_text(kept)
        self.assertEqual(self.run_cli("rules", "sync")[1], "Nothing to do: no new files.\n")

    def test_a_full_disk(self):
        """Of a disk of its own, full but for what a small file needs on its way."""
        self.serve("--demo")
        self.data.mkdir(parents=True)
        script = ('mount -t tmpfs -o size=256k none "$0" || exit 99; dd if=/dev/zero of="$0/fill" bs=4k 2>/dev/null; '
                  'truncate -s -8k "$0/fill"; exec "$@"')
        done = subprocess.run(["unshare", "--mount", "sh", "-c", script, str(self.data), CLI, "get", "/Films", "--to",
                               str(self.downloads)],
                              env=self.environment, cwd=self.home, text=True, capture_output=True, timeout=LIMIT)
        if done.returncode == 99 or "unshare" in done.stderr:
            raise unittest.SkipTest("cannot mount here")
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertIn(self.unsaved, done.stderr)
        self.assertIn("the disk is full", done.stderr)
