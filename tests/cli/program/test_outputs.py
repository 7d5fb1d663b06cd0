"""What is shown where: on terminals of several widths, to a file, to a broken pipe, as JSON."""

import json
import os
import re
import subprocess
import unicodedata

from support import CLI, LIMIT, SOON, ProgramTest, Terminal, bytes_in, wait_until


def columns_of(line):
    line = re.sub(r"\x1b\[[0-9;]*[A-Za-z]", "", line)
    return sum(0 if unicodedata.category(c) in ("Mn", "Me", "Cf") else 2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in line)


class Outputs(ProgramTest):
    account = ("--files", "40", "--folders", "0", "--awkward-names", "--min-size", "200KiB", "--max-size", "300KiB")

    def on_terminal(self, *arguments, **size):
        terminal = Terminal(arguments, self.environment, self.home, **size)
        self.addCleanup(terminal.close)
        return terminal

    def test_bars_fit_the_terminal_and_obey_no_name(self):
        self.serve()
        self.sandbox.fault("storage:*:rate=1500KB")
        for columns in (40, 160):
            with self.subTest(columns):
                terminal = self.on_terminal("get", "/Generated", "--to", str(self.home / str(columns)), columns=columns)
                self.assertEqual(terminal.finish(), 0)
                self.assertIn("\u2588", terminal.text)
                self.assertIn("40 arrived", terminal.text)
                bars = [line for line in re.split(r"[\r\n]+", terminal.text) if "\u2591" in line or "Total " in line]
                self.assertGreater(len(bars), 10)
                for line in bars:
                    self.assertLess(columns_of(line), columns + 1, line)
                # Only our own sequences: colours, cursor up, erase.
                self.assertEqual(re.findall(r"\x1b(?!\[(\d*m|\d+A|K|J))", terminal.text), [])
                self.assertNotIn("\u202e", terminal.text)

    def test_no_color_and_a_new_width(self):
        self.serve()
        self.sandbox.fault("storage:*:rate=1500KB")
        self.environment["NO_COLOR"] = "1"
        terminal = self.on_terminal("get", "/Generated", "--to", str(self.downloads), columns=120)
        terminal.wait_for("\u2591")
        terminal.resize(40)
        narrow = re.compile(r"[\r\n]([^\r\n]*\u2591[^\r\n]*)[\r\n]")
        terminal.read_until(lambda: any(columns_of(bar) < 41 for bar in narrow.findall(terminal.text)), "a narrow bar")
        terminal.text = ""
        self.assertEqual(terminal.finish(), 0)
        self.assertNotRegex(terminal.text, r"\x1b\[\d*m")
        for line in re.split(r"[\r\n]+", terminal.text):
            if "\u2591" in line:
                self.assertLess(columns_of(line), 41, line)

    def test_the_conflict_question(self):
        self.serve()
        self.get("/Generated")
        terminal = self.on_terminal("get", "/Generated", "--to", str(self.downloads), "--on-conflict", "ask")
        for answer in ("what?", "k", "sa"):
            terminal.wait_for("for all conflicts: ")
            terminal.text = ""
            terminal.type(answer + "\n")
        self.assertEqual(terminal.finish(), 0)
        self.assertIn("1 arrived, 39 skipped", terminal.text)
        self.assertEqual(len(os.listdir(self.downloads / "Generated")), 41)

    def test_the_end_of_the_input_leaves_the_question_open(self):
        self.serve("--demo")
        self.get("/Welcome.txt")
        terminal = self.on_terminal("get", "/Welcome.txt", "--to", str(self.downloads), "--on-conflict", "ask")
        terminal.wait_for("Keep Both")
        terminal.type("\x04")
        self.assertEqual(terminal.finish(), 1)
        self.assertEqual(self.queue()[0]["status"], "awaitingConflict")
        self.assertIn("1 arrived", self.run_cli("run", "--on-conflict", "keep-both")[0])

    def test_ctrl_c_at_the_question(self):
        self.serve("--demo")
        self.get("/Welcome.txt")
        terminal = self.on_terminal("get", "/Welcome.txt", "--to", str(self.downloads), "--on-conflict", "ask")
        terminal.wait_for("Keep Both")
        terminal.type("\x03")
        self.assertEqual(terminal.finish(), 130)
        # At the beginning of a line, whatever was erased there before.
        self.assertRegex(terminal.text, r"[\r\n](\x1b\[[\d;]*[A-Za-z])*Stopped\. Go on with: tovri-cli run")
        self.assertEqual(self.queue()[0]["status"], "awaitingConflict")

    def test_plain_lines_to_a_file_and_json_apart(self):
        self.serve()
        output, messages = self.get("/Generated")
        self.assertIn("[DownloadManager] Enqueued 40 files from folder Generated\n", output)
        self.assertEqual(messages, "")
        self.assertNotIn("\x1b", output)
        self.assertEqual(sum(line.startswith("Arrived: ") for line in output.splitlines()), 40)

        output, messages = self.get("/Generated", "--json", "--on-conflict", "replace")
        self.assertIn("[DownloadManager] Enqueued", messages)
        events = [json.loads(line) for line in output.splitlines()]
        self.assertEqual(len([e for e in events if e["event"] == "arrived"]), 40)
        self.assertRegex(events[-1].pop("time"), r"^20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertEqual(events[-1], {"event": "summary", "arrived": 40, "skipped": 0, "failed": 0, "notDeleted": 0})
        self.assertEqual(len(json.loads(self.run_cli("ls", "/Generated", "--json")[0])["files"]), 40)
        for command in ("queue", "status", "config"):
            json.loads(self.run_cli(command, "--json")[0])

    def test_files_arrive_while_nobody_reads_about_them(self):
        self.serve()
        reader, full, filled = self.full_pipe()
        process = self.start("get", "/Generated", "--to", str(self.downloads), stdout=full, stderr=full)
        wait_until(lambda: len(list(self.downloads.glob("*/*"))) == 40, "the files")
        self.assertTrue(os.get_blocking(full))
        text = b""
        while b" arrived" not in text:
            wait_until(lambda: bytes_in(reader), "the next line")
            text += os.read(reader, 1000)
        self.assertEqual(process.wait(SOON), 0)
        lines = text[filled:].decode().splitlines()
        self.assertEqual(sum(line.startswith("Arrived: ") for line in lines), 40)
        self.assertTrue(lines[-1].startswith("40 arrived"), lines[-1])
        self.assert_tree()

    def test_a_terminal_that_stands_still_catches_up(self):
        self.serve("--files", "600", "--folders", "0", "--max-size", "1KiB")
        terminal = self.on_terminal("get", "/Generated", "--to", str(self.downloads))
        wait_until(lambda: len(list(self.downloads.glob("*/*"))) == 600, "the files")
        self.assertEqual(terminal.finish(), 0)
        self.assertEqual(terminal.text.count("Arrived: "), 600)
        self.assertIn("600 arrived", terminal.text)

    def test_a_broken_pipe_is_no_event(self):
        self.serve()
        for command in (["ls", "/Generated"], ["get", "/Generated", "--to", str(self.downloads)], ["--help"]):
            reader, writer = os.pipe()
            os.close(reader)
            done = subprocess.run([CLI, *command], env=self.environment, stdout=writer, stderr=subprocess.PIPE,
                                  timeout=LIMIT)
            os.close(writer)
            self.assertEqual(done.stderr, b"", command)
            self.assertGreaterEqual(done.returncode, 0, command)
        self.assert_tree()

    def test_a_full_disk_behind_the_output_is_told(self):
        self.serve()
        with open("/dev/full", "w") as full:
            done = subprocess.run([CLI, "ls"], env=self.environment, stdout=full, stderr=subprocess.PIPE, text=True,
                                  timeout=LIMIT)
        self.assertEqual(done.returncode, 1)
        self.assertIn("standard output could not be written", done.stderr)

    def test_manual_page_and_completions_are_sound(self):
        bash = self.run_cli("--generate", "bash")[0]
        subprocess.run(["bash", "-n"], input=bash, text=True, check=True, timeout=LIMIT)
        for words, expected in (("tovri-cli get --on-conflict k", "keep-both"), ("tovri-cli f", "feeds"),
                                ("tovri-cli feeds p", "pause"), ("tovri-cli feeds edit --skip-existing y", "yes"),
                                ("tovri-cli transfers add --e", "--extract")):
            script = f'{bash}\nCOMP_WORDS=({words}); COMP_CWORD={len(words.split()) - 1}; _tovri_cli; echo "${{COMPREPLY[@]}}"'
            completed = subprocess.run(["bash", "-c", script], text=True, capture_output=True, check=True,
                                       timeout=LIMIT)
            self.assertEqual(completed.stdout, expected + "\n")
        self.assertIn(".TH TOVRI\\-CLI 1", self.run_cli("--generate", "man")[0])
