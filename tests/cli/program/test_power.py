"""What has arrived is safe from a loss of power, or is said not to be."""

import json
import os
import random
import signal
import unittest

from disk_images import PowerCut, command
from support import SANDBOX, SOON, ProgramTest, tree_of


class PowerLoss(PowerCut):
    account = ("--files", "40", "--folders", "5", "--max-size", "1MiB")

    def test_what_get_has_brought_is_there(self):
        self.serve(*self.account)
        self.get("/Generated")
        self.cut_power()
        self.assert_tree()
        asked = len(self.sandbox.requests("storage"))
        self.run_cli("run")
        self.assertEqual({item["status"] for item in self.queue()}, {"completed"})
        self.assertEqual(len(self.sandbox.requests("storage")), asked)

    def test_what_is_lost_on_the_way_is_fetched_again(self):
        seed = int(os.environ.get("TOVRI_TEST_SEED", random.randrange(1 << 30)))
        chance = random.Random(seed)
        self.serve(*self.account)
        self.sandbox.fault("storage:*:rate=4MB")
        with self.subTest(f"TOVRI_TEST_SEED={seed}"):
            arguments = ["get", "/Generated", "--to", str(self.downloads)]
            for _ in range(4):
                self.kill(chance.randrange(10, 40), *arguments)
                self.cut_power()
                if self.queue():
                    arguments = ["run"]
            self.sandbox.call("DELETE", "faults")
            self.run_cli(*arguments)
            self.cut_power()
            self.assertEqual({item["status"] for item in self.queue()}, {"completed"})
            expected = self.home / "expected"
            command(SANDBOX, *self.account, "--write-tree", str(expected))
            # What had lost its content may stand beside it.
            self.assertLessEqual(set(tree_of(expected).values()), set(tree_of(self.downloads).values()))


@unittest.skipUnless("REFUSING_DISK" in os.environ, "no disk refuses here: the program is built with a sanitizer")
class Refusing(ProgramTest):
    def setUp(self):
        super().setUp()
        self.serve()
        self.environment.update({"LD_PRELOAD": os.environ["REFUSING_DISK"], "REFUSED": str(self.downloads)})

    def test_get_says_so_and_ends_with_1(self):
        output, messages = self.get("/Generated", status=1)
        self.assertIn("12 arrived", output)
        self.assertRegex(messages, r"may not survive a loss of power: Cannot save \"/.*\n")

    def test_nothing_is_deleted(self):
        self.get("/Generated", "--delete", status=1)
        self.assertEqual(self.sandbox.requests(path="/files/delete"), [])

    def test_one_that_does_not_answer_is_named_and_ctrl_c_says_what_is_not_known(self):
        hanging = self.home / "hanging"
        hanging.touch()
        self.environment.update({"SILENCE": str(hanging), "SILENT": self.environment.pop("REFUSED")})
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        messages = process.stderr.readline()
        self.assertRegex(messages, rf"^Waiting until all that arrived in {self.downloads}\S* is on the disk\.$")
        process.send_signal(signal.SIGINT)
        output, messages = process.communicate(timeout=SOON)
        self.assertEqual(process.returncode, 1, messages)
        self.assertIn("12 arrived", output)
        self.assertIn("is on the disk is not known: a loss of power may take it. Make sure with: tovri-cli run", messages)
        self.assertNotIn("Stopped. Go on", messages)
        hanging.unlink()
        self.run_cli("run")
        asked = [item for item in json.loads((self.data / "queue.json").read_text())["downloads"] if not item["durable"]]
        self.assertEqual(asked, [])


@unittest.skipUnless("REFUSING_DISK" in os.environ, "no disk is slow here: the program is built with a sanitizer")
class Slow(ProgramTest):
    account = ("--files", "1", "--folders", "0", "--min-size", "4MiB", "--max-size", "4MiB")

    def test_bytes_that_a_quit_did_not_wait_for_are_proven_anew(self):
        self.serve()
        self.sandbox.fault("storage:*:stall=2MiB")
        self.environment.update({"LD_PRELOAD": os.environ["REFUSING_DISK"], "SLOW": str(self.data / "Partial")})
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        self.wait_for_partial_bytes(2 << 20)
        self.interrupt(process)
        del self.environment["LD_PRELOAD"]
        self.sandbox.call("DELETE", "faults")
        with open(next(self.data.glob("Partial/*")), "r+b") as file:  # what a loss of power leaves of them
            file.write(bytes(1 << 20))
        self.run_cli("run")
        self.assertEqual([item["proof"] for item in self.queue()], ["checksum"])
        self.assert_tree()


if __name__ == "__main__":
    unittest.main()
