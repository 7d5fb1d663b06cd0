"""The limit of the speed, and the times in which nothing is fetched."""

import json

from support import ProgramTest


class Limits(ProgramTest):
    def setUp(self):
        super().setUp()
        self.serve()

    def config(self, *arguments):
        return self.run_cli("config", *arguments)[0].strip()

    def test_are_kept_as_they_are_written(self):
        for key, value, shown in (
            ("speedLimit", "2m", "2M"),
            ("speedLimit", "1500", "1500"),
            ("speedLimit", "0", "0"),
            ("limitSpeed", "on", "true"),
            ("speedTimetable", "Mon-Fri 08:00-18:00 500k;sat 22:00-06:00 HOLD", "mon-fri 08:00-18:00 500K; sat 22:00-06:00 hold"),
        ):
            self.config(key, value)
            self.assertEqual(self.config(key), shown)
        self.assertEqual(json.loads(self.config("--json"))["speedLimit"], 0)
        for arguments in (("config", "speedLimit", "fast"), ("config", "speedTimetable", "monday 1M"),
                          ("get", "/", "--limit-rate", "2X"), ("run", "--limit-rate", "-1"), ("watch", "--limit-rate", "")):
            error = self.run_cli(*arguments, status=2)[1]
            self.assertRegex(error, "500K")
        self.config("speedTimetable", "")
        self.assertEqual(self.config("speedTimetable"), "")

    def test_a_run_waits_while_the_timetable_holds_downloads_unless_told_otherwise(self):
        self.config("limitSpeed", "true")
        self.config("speedTimetable", "daily 00:00-24:00 hold")
        process = self.start("get", "/", "--to", str(self.downloads))
        self.assertEqual(process.stderr.readline(),
                         "Held by the timetable, as speedTimetable says; --limit-rate 0 does without it.\n")
        self.interrupt(process)
        self.assertEqual(self.sandbox.requests("storage"), [])
        self.run_cli("run", "--limit-rate", "0")
        self.assert_tree()

    def test_what_comes_slowly_comes_whole(self):
        self.get("/", "--limit-rate", "2M", "--jobs", "5")
        self.assert_tree()
        self.assertEqual(len(self.sandbox.requests("storage")), 12)
