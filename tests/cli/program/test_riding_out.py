"""What fails for a while does not fail a download."""

import json

from support import ProgramTest


class RidingOut(ProgramTest):
    account = ("--files", "20", "--folders", "3", "--max-size", "200KiB")

    def test_faults_of_all_kinds_over_a_folder(self):
        self.serve()
        self.sandbox.fault("storage:*:cut=50KB,times=6", "storage:*:status=503,retry-after=1,times=2",
                           "storage:*:status=429,times=2", "storage:*:drop,times=2", "storage:*:expire,times=3",
                           "link:*:status=500,times=2", "link:*:status=429,retry-after=1,times=1",
                           "api:/v2/files/list?parent_id=*:status=502,times=1,after=1")
        output, messages = self.get("/Generated")
        self.assertIn("20 arrived", output)
        self.assertIn("Waiting for put.io: HTTP error 50", output + messages)
        self.assert_tree()
        size = sum(file.stat().st_size for file in self.downloads.rglob("*") if file.is_file())
        self.assertLess(self.sandbox.stats()["storageBytes"], size * 1.01)

    def test_a_server_that_takes_ten_requests_a_second(self):
        self.account = ("--files", "40", "--folders", "1", "--max-size", "1KiB")
        self.serve()
        self.sandbox.fault("storage:*:status=429,per-second=10")
        self.assertIn("40 arrived", self.get("/Generated")[0])
        self.assert_tree()
        refused = [r for r in self.sandbox.requests("storage") if r["status"] == 429]
        self.assertLess(len(refused), 10)

    def test_a_run_ends_when_nothing_has_come_for_its_patience(self):
        self.serve()
        self.run_cli("config", "patienceMinutes", "1")
        for fault, arguments in (("link:*:status=503", ("get", "/Generated", "--to", str(self.downloads))),
                                 ("storage:*:status=429", ("run",))):
            with self.subTest(fault):
                self.sandbox.fault(fault)
                _, messages = self.run_cli(*arguments, status=1)
                self.assertRegex(messages, r"nothing came from put\.io for 1 minute\. Waiting for put\.io: HTTP error "
                                           r"\d+\. Go on with: tovri-cli run")
                self.assertLessEqual({item["status"] for item in self.queue()}, {"queued", "downloading"})
                self.sandbox.call("DELETE", "faults")
        self.assertIn("20 arrived", self.run_cli("run")[0])
        self.assert_tree()

    def test_what_waits_says_why_and_ends_at_once(self):
        self.serve("--demo")
        self.sandbox.fault("link:*:status=503,retry-after=1000")
        process = self.start("get", "/Welcome.txt", "--to", str(self.downloads), "--json")
        lines = iter(process.stdout.readline, "")
        waiting = next(line for line in map(json.loads, lines) if line["event"] == "waiting")
        self.assertEqual(waiting["reason"], "Waiting for put.io: HTTP error 503")
        self.interrupt(process)
        self.assertNotIn("failed", [item["status"] for item in self.queue()])
        self.sandbox.call("DELETE", "faults")
        self.assertIn("1 arrived", self.run_cli("run")[0])
