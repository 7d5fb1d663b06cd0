"""No byte comes twice: what a kill or a loss of power leaves of a large file is gone on from."""

import os
import random
import re
import signal
import unittest
import zlib

from disk_images import MISSING, PowerCut
from support import ProgramTest, wait_until

MIB = 1 << 20
# Of the file that is killed. 1073741824 is a GiB.
SIZE = int(os.environ.get("TOVRI_TEST_SIZE", 64 * MIB))
KILLS = int(os.environ.get("TOVRI_TEST_KILLS", 10))
# Of each connection. What a busy program has not read yet from its sockets is sent too, and says nothing of its notes.
RATE = min(SIZE // 16, 8 * MIB)
# Bytes that are written between a look at the note and the kill, or before the note, or that were sent beyond the end of
# a range that was divided: a piece or two of each connection.
PIECES = 6 * (MIB // 4)
SLOT = 8192


def noted_bytes(note):
    """How many bytes of its partial file count after a kill, by the younger of its slots that is whole."""
    content = note.read_bytes() if note.exists() else b""
    best, counting = 0, 0
    for slot in (content[:SLOT], content[SLOT:2 * SLOT]):
        lines = slot.split(b"\0")[0].decode().splitlines()
        if len(lines) < 11 or f"{zlib.crc32(chr(10).join(lines[:-1] + ['']).encode()):08x}" != lines[-1]:
            continue
        parts = [line.split() for line in lines[9:-1]]
        if int(lines[1]) > best:
            best, counting = int(lines[1]), sum(int(end) - int(first) for first, end, *_ in parts)
    return counting


class LargeFile(ProgramTest):
    def account_of(self, size):
        return ("--files", "1", "--folders", "0", "--min-size", str(size), "--max-size", str(size))

    def counting(self):
        return sum(noted_bytes(note) for note in self.data.glob("Partial/*.note"))

    def sent(self):
        """Once the server knows that its connections are gone."""
        wait_until(lambda: all(r["endedAt"] for r in self.sandbox.requests("storage")), "the ends of all requests")
        return sum(r["bytesSent"] for r in self.sandbox.requests("storage"))


class Kills(LargeFile):
    def kill_at(self, place, *arguments):
        """Kills the program when so many bytes count; returns whether it had not come to its end before."""
        process = self.start(*arguments)
        wait_until(lambda: process.poll() is not None or self.counting() >= place, f"byte {place}")
        self.end(process)
        return process.returncode == -signal.SIGKILL

    def test_each_restart_keeps_every_part_but_eight_mebibytes_at_most(self):
        self.account = self.account_of(SIZE)
        self.serve(*self.account)
        self.sandbox.fault(f"storage:*:rate={RATE}")
        seed = int(os.environ.get("TOVRI_TEST_SEED", random.randrange(1 << 30)))
        chance = random.Random(seed)
        arguments = ["get", "/Generated", "--to", str(self.downloads)]
        lost, worst, kills = 0, 0, 0
        with self.subTest(f"TOVRI_TEST_SEED={seed}"):
            for place in sorted(chance.randrange(SIZE * 9 // 10) for _ in range(KILLS)):
                if not self.kill_at(max(place, self.counting() + 1), *arguments):
                    break  # the last note was that of the whole file
                kills += 1
                arguments = ["run"] if self.queue() else arguments
                now_lost = self.sent() - self.counting()
                self.assertLessEqual(now_lost - lost, 8 * MIB + PIECES)
                lost, worst = now_lost, max(worst, now_lost - lost)
            self.assertGreaterEqual(kills, KILLS // 2)
            self.sandbox.call("DELETE", "faults")
            self.run_cli("run")
            self.assert_tree()
            self.assertLessEqual(self.sent(), SIZE + lost + PIECES, "what counted was gone on from")
            ranges = [r["range"] for r in self.sandbox.requests("storage") if r["range"]]
            self.assertTrue(any(re.fullmatch(r"bytes=\d+-\d+", each) for each in ranges), "no part of a file")
            print(f"{kills} kills, the worst of {worst / MIB:.1f} MiB; sent {self.sent() / SIZE:.2f} times "
                  f"in {len(self.sandbox.requests('storage'))} requests")


@unittest.skipIf(MISSING, f"no disk images: {MISSING}")
class PowerLosses(PowerCut, LargeFile):
    account = ()

    def test_what_was_made_durable_is_gone_on_from(self):
        size, rate = 192 * MIB, 4 * MIB
        self.account = self.account_of(size)
        self.serve(*self.account)
        self.sandbox.fault(f"storage:*:rate={rate}")
        process = self.start("get", "/Generated", "--to", str(self.downloads))
        wait_until(lambda: self.counting() >= 150 * MIB, "most of the file")
        process.send_signal(signal.SIGSTOP)  # it stands still while the disk's state is taken
        stood = self.counting()
        left = self.copy_of_disk()
        self.end(process)
        self.go_on_with(left)
        self.sandbox.call("DELETE", "faults")
        self.sandbox.call("POST", "reset-log", "")
        self.run_cli("run")
        back = stood - (size - self.sent())
        print(f"{back / MIB:.1f} MiB before where it stood")
        # What arrives while the disk syncs comes on top.
        self.assertLessEqual(back, 64 * MIB + 2 * 6 * rate)
        self.assertEqual({item["status"] for item in self.queue()}, {"completed"})
        self.assert_tree()


if __name__ == "__main__":
    unittest.main()
