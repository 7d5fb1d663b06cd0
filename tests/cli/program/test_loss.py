"""Whatever is asked for, whatever fails, and whenever the program dies: each file's content is on put.io, or whole here."""

import hashlib
import json
import os
import random
import subprocess
import time
import unittest
import urllib.request

from disk_images import MISSING, DiskImage
from support import SOON, ProgramTest, tree_of

FAULTS = (
    "storage:*:cut=300,times=1", "storage:*:size=499,times=1", "storage:*:size=499,hide-length,times=1",
    "storage:*:encoding=gzip,times=1", "storage:*:range-shift=+1,times=1", "storage:*:announce=-1,times=1",
    "storage:*:rate=1MB", "link:*:status=500,times=1", "api:*:status=429,retry-after=0,times=2",
    "api:/v2/files/delete:cut=1,times=1", "api:/v2/files/delete:drop,times=1", "api:/v2/files/delete:status=503,times=1",
    "api:/v2/files/delete:status=200,times=1", "api:/v2/files/list*:status=500,times=1",
    "api:/v2/files/list*:listed-size=500,times=1", "api:/v2/account/info:status=500,times=1")

NAMES = ("a", "b", "c.txt")


class LossTest(ProgramTest):
    """Few names, so that many files want the same one."""

    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("TOVRI_TEST_SEED", random.randrange(1 << 30)))
        self.chance = random.Random(self.seed)
        self.rounds = int(os.environ.get("TOVRI_TEST_KILLS", "8"))
        self.done = []

    def folder(self, sizes, depth=0):
        """The text of one, as a name may stand in it twice."""
        entries = []
        for _ in range(self.chance.randint(1, 4)):
            isFolder = depth < 2 and self.chance.random() < 0.3
            content = self.folder(sizes, depth + 1) if isFolder else self.chance.choice(sizes)
            entries.append(f'"{self.chance.choice(NAMES)}": {content}')
        return "{" + ", ".join(entries) + "}"

    def serve_folders(self, sizes):
        account = self.home / "account.json"
        folders = ", ".join(f'"{name}": {self.folder(sizes)}' for name in "PQR")
        account.write_text('{"files": {' + folders + "}}")
        limit = self.chance.choice((("--crc-limit", "600"), ()))
        self.serve("--account", str(account), "--page-size", str(self.chance.choice((2, 1000))), *limit)
        links = {number: self.run_cli("link", str(number))[0].strip() for number in self.on_put_io()}
        self.contents = {}
        for number, link in links.items():
            with urllib.request.urlopen(link) as answer:
                self.contents[number] = hashlib.sha256(answer.read()).hexdigest()

    def on_put_io(self):
        found = set()

        def look(folder):
            for entry in folder["children"]:
                if "children" in entry:
                    look(entry)
                else:
                    found.add(entry["id"])

        look(self.sandbox.call("GET", "account"))
        return found

    def run_for_a_while(self, requests, *arguments):
        """Kills the program after so many requests, or when it takes long."""
        self.done.append(" ".join(arguments))
        enough = self.sandbox.stats()["requests"] + requests
        process = self.start(*arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        end = time.monotonic() + SOON
        while process.poll() is None and self.sandbox.stats()["requests"] < enough and time.monotonic() < end:
            time.sleep(0.002)
        time.sleep(self.chance.random() * 0.02)
        self.end(process)

    def check(self):
        here = set(tree_of(self.downloads).values())
        lost = {number for number in self.contents.keys() - self.on_put_io() if self.contents[number] not in here}
        self.assertEqual(lost, set(), f"TOVRI_TEST_SEED={self.seed}\n" + "\n".join(self.done))

    def get_some(self):
        folder = self.downloads / self.chance.choice(("", "", "x"))
        wanted = self.chance.sample(["/P", "/Q", "/R", *map(str, sorted(self.contents))], self.chance.randint(1, 3))
        deletion = ["--delete"] if self.chance.random() < 0.8 else []
        return ["get", *wanted, "--to", str(folder), "--jobs", self.chance.choice("138"), *deletion]

    def rename_something(self):
        files = sorted(path for path in self.downloads.rglob("*") if path.is_file())
        if not files:
            return
        file = self.chance.choice(files)
        renamed = file.with_name(self.chance.choice(NAMES))
        if not renamed.exists():
            self.done.append(f"mv {file} {renamed}")
            file.rename(renamed)


class Anything(LossTest):
    def test_costs_no_content(self):
        self.serve_folders((0, 1, 500, 500, 70_000, 2_000_000))
        for _ in range(self.rounds):
            self.sandbox.call("DELETE", "faults")
            faults = self.chance.choices(FAULTS, k=self.chance.choice((0, 0, 1, 2)))
            self.done += faults
            self.sandbox.fault(*faults)
            policy = ["--on-conflict", self.chance.choice(("replace", "replace", "replace", "skip", "keep-both"))]
            command_line = self.chance.choice((self.get_some(), self.get_some(), ["run"], ["retry"]))
            self.run_for_a_while(self.chance.choice((5, 15, 30, 1000)), *command_line, *policy)
            self.check()
            if self.chance.random() < 0.3:
                self.rename_something()
            if self.chance.random() < 0.1:
                self.run_cli("clear")


@unittest.skipIf(MISSING, f"no disk images: {MISSING}")
class PowerCuts(DiskImage, LossTest):
    def test_cost_no_content(self):
        self.downloads = self.disk / "here"
        if self.chance.random() < 0.5:
            self.data = self.disk / "data" / "Tovri"
            self.environment["XDG_DATA_HOME"] = str(self.disk / "data")
        self.serve_folders((0, 10, 5000, 70_000, 1_000_000, 3_000_000))
        self.sandbox.fault("storage:*:rate=20MB")
        to = ["--to", str(self.downloads), "--delete"]
        for arguments in (["get", "/P", *to], ["get", "/Q", *to], ["get", "/R", *to], ["run"], ["retry"]):
            self.run_for_a_while(self.chance.randint(2, 30), *arguments, "--on-conflict", "replace")
            self.cut_power()
            self.check()


if __name__ == "__main__":
    unittest.main()
