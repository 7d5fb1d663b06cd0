"""No byte comes twice: what a kill or a loss of power leaves of a large file is gone on from."""

import os
import random
import re
import signal
import unittest

from support import ProgramTest, wait_until
from test_disk import MISSING, PowerCut

MIB = 1 << 20
# Of the file that is killed. 1073741824 is a GiB.
SIZE = int(os.environ.get("TOVRI_TEST_SIZE", 64 * MIB))
# Bytes that are written between a look at the file and the kill, or before their note: a piece or two.
PIECES = MIB


def first_byte(request):
    return int(re.fullmatch(r"bytes=(\d+)-", request["range"]).group(1)) if request["range"] else 0


class LargeFile(ProgramTest):
    def account_of(self, size):
        return ("--files", "1", "--folders", "0", "--min-size", str(size), "--max-size", str(size))

    def kill_at(self, place, *arguments):
        """Kills the program when its partial file is so large. How large that is then."""
        process = self.start(*arguments)
        wait_until(lambda: process.poll() is not None or self.partial_bytes() >= place, f"byte {place}")
        self.assertIsNone(process.poll(), "it has come to its end")
        self.end(process)
        return self.partial_bytes()


class Kills(LargeFile):
    def test_each_restart_goes_on_eight_mebibytes_before_at_most(self):
        self.account = self.account_of(SIZE)
        self.serve(*self.account)
        self.sandbox.fault(f"storage:*:rate={SIZE // 4}")
        seed = int(os.environ.get("TOVRI_TEST_SEED", random.randrange(1 << 30)))
        chance = random.Random(seed)
        arguments = ["get", "/Generated", "--to", str(self.downloads)]
        stood, asked, worst = 0, 0, 0
        with self.subTest(f"TOVRI_TEST_SEED={seed}"):
            for place in sorted(chance.randrange(SIZE * 95 // 100) for _ in range(20)):
                stands = self.kill_at(max(place, stood + 1), *arguments)
                arguments = ["run"] if self.queue() else arguments
                requests = self.sandbox.requests("storage")
                self.assertEqual(len(requests), asked + 1)
                back = stood - first_byte(requests[-1])
                self.assertLessEqual(back, 8 * MIB + PIECES)
                asked, stood, worst = len(requests), stands, max(worst, back)
            self.sandbox.call("DELETE", "faults")
            self.run_cli("run")
            self.assert_tree()
            sent = sum(r["bytesSent"] for r in self.sandbox.requests("storage"))
            print(f"{asked - 1} restarts, the worst {worst / MIB:.1f} MiB before; sent {sent / SIZE:.2f} times")


@unittest.skipIf(MISSING, f"no disk images: {MISSING}")
class PowerLosses(PowerCut, LargeFile):
    account = ()

    def test_what_was_made_durable_is_gone_on_from(self):
        rate = 24 * MIB
        self.account = self.account_of(192 * MIB)
        self.serve(*self.account)
        self.sandbox.fault(f"storage:*:rate={rate}")
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        wait_until(lambda: self.partial_bytes() >= 150 * MIB, "most of the file")
        process.send_signal(signal.SIGSTOP)  # it stands still while the disk's state is taken
        stood = self.partial_bytes()
        left = self.copy_of_disk()
        self.end(process)
        self.go_on_with(left)
        self.sandbox.call("DELETE", "faults")
        self.sandbox.call("POST", "reset-log", "")
        self.run_cli("run")
        back = stood - first_byte(self.sandbox.requests("storage")[0])
        print(f"{back / MIB:.1f} MiB before where it stood")
        # What arrives while the disk syncs comes on top.
        self.assertLessEqual(back, 64 * MIB + 2 * rate)
        self.assertEqual({item["status"] for item in self.queue()}, {"completed"})
        self.assert_tree()


if __name__ == "__main__":
    unittest.main()
