import json
import pathlib
import signal
import subprocess
import unittest

from desktop import DesktopTest, State, shown_below
from services import DesktopServices, Keyring
from support import LIMIT, SANDBOX, SOON, tree_of, wait_until

ACCOUNT = {
    "token": "a-secret-that-is-easy-to-find",
    "files": {
        "Holiday": {"Day one": {"beach.jpg": "700KiB", "harbour.jpg": "3MiB"}, "notes.txt": ["text", "Sun."]},
        "film.mkv": ["2MiB", {"type": "video/x-matroska"}],
    },
}
SECTIONS = ["Files", "Transfers", "Downloads", "Automate", "RSS"]


class FirstDay(DesktopTest):
    def test_from_the_first_start_to_files_on_the_disk(self):
        (self.home / "account.json").write_text(json.dumps(ACCOUNT))
        self.account = ("--account", str(self.home / "account.json"))
        self.serve()
        del self.environment["TOVRI_TOKEN"]
        self.open()
        self.sign_in()
        self.check_where_the_token_is()
        self.download_folder()
        self.end_in_the_middle()
        self.go_on()

    def sign_in(self):
        self.wait_for("text", "Client ID", State.FOCUSED)
        self.assertFalse(self.find("push button", "Sign in with put.io").has(State.SENSITIVE))
        self.keys("ctrl+a")
        self.type("1234")
        self.keys("Return")
        self.wait_for("push button", "Sign in with put.io", State.SENSITIVE).press()
        self.wait_for("push button", "Open the Page Again")

        page, redirect = self.opened_page()
        self.assertIn("client_id=1234&", page)
        self.assertEqual(redirect, "tovri-putio://callback#access_token=" + ACCOUNT["token"])
        self.assertEqual(self.run_second(redirect), 0)
        self.wait_for_rows("Files", [("Holiday", "3.9 MB"), ("film.mkv", "2.1 MB · video/x-matroska")])
        self.assertEqual([name for name, _ in self.rows("Sections")], SECTIONS)

    def check_where_the_token_is(self):
        self.assertEqual(Keyring().secrets("com.tovri.putio"), {ACCOUNT["token"], "1234"})
        token = ACCOUNT["token"].encode()
        holding = [path.name for path in self.home.rglob("*") if path.is_file() and token in path.read_bytes()]
        self.assertEqual(holding, ["account.json"])  # the sandbox's

    def download_folder(self):
        self.select("Files", "Holiday")
        self.choose_from_menu("Download Folder")
        expected = self.home / "expected"
        subprocess.run([SANDBOX, *self.account, "--write-tree", str(expected)], check=True, stdout=subprocess.DEVNULL,
                       timeout=LIMIT)
        folder = tree_of(expected / "Holiday")
        wait_until(lambda: tree_of(self.downloads / "Holiday") == folder, "the folder")

    def end_in_the_middle(self):
        self.sandbox.fault("storage:film.mkv:stall=1MiB")
        self.select("Files", "film.mkv")
        self.choose_from_menu("Download")
        self.wait_for_partial_bytes(100_000)
        self.keys("ctrl+3")
        self.wait_for("list item", "film.mkv")
        status, output = self.terminate()
        self.assertEqual(status, 0)
        self.assertNotIn(ACCOUNT["token"], output)
        saved = {item["fileName"]: item["status"] for item in json.loads((self.data / "queue.json").read_text())["downloads"]}
        self.assertEqual(saved["film.mkv"], "downloading")

    def go_on(self):
        self.sandbox.call("DELETE", "faults")
        self.open()
        wait_until((self.downloads / "film.mkv").exists, "the film")
        self.assert_tree()
        self.keys("ctrl+3")
        self.wait_for("heading", "Finished")
        self.assertEqual({name for name, _ in self.rows("Downloads")}, {"film.mkv", "notes.txt", "beach.jpg", "harbour.jpg"})
        self.assertEqual(self.terminate()[0], 0)


class FilmTest(DesktopTest):
    def download_film(self, *faults):
        (self.home / "account.json").write_text(json.dumps(ACCOUNT))
        self.serve("--account", str(self.home / "account.json"))
        self.sandbox.fault(*(f"storage:film.mkv:{fault}" for fault in faults))
        self.open()
        self.wait_for("list item", "film.mkv")
        self.select("Files", "film.mkv")
        self.choose_from_menu("Download")


class Ending(FilmTest):
    def test_an_open_question_does_not_hold_it_up_and_the_next_start_waits_for_it(self):
        self.run_cli("config", "conflictBehavior", "ask")
        self.downloads.mkdir()
        (self.downloads / "film.mkv").write_text("another one")
        self.download_film()
        self.wait_for("dialog", "File Already Exists")
        before = self.program
        before.terminate()
        self.start_program()
        self.assertEqual(before.wait(timeout=SOON), 0)
        self.wait_for("dialog", "File Already Exists")
        self.assertIsNone(self.program.poll())
        self.assertEqual(self.terminate()[0], 0)


class Presence(FilmTest):
    def test_the_machine_stays_awake_and_whoever_looks_elsewhere_is_told(self):
        services = DesktopServices()
        self.addCleanup(services.stop)
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self.environment["DBUS_SESSION_BUS_ADDRESS"]
        self.download_film("rate=400KiB")
        wait_until(services.is_held, "the lock")
        self.sandbox.process.send_signal(signal.SIGSTOP)  # the film does not arrive before the window is closed
        self.addCleanup(self.sandbox.process.send_signal, signal.SIGCONT)
        self.keys("ctrl+w")
        self.wait_for("push button", "Keep Running").press()
        wait_until(lambda: not self.shown(), "the window to close")
        self.sandbox.process.send_signal(signal.SIGCONT)
        wait_until(services.notifications, "the notification")
        self.assertEqual(services.notifications(), [("Downloads are done", "1 file has arrived.")])
        wait_until(lambda: not services.is_held(), "the end of the lock")
        self.assertEqual(self.terminate()[0], 0)


class LateKeyring(DesktopTest):
    account = ("--demo",)

    def test_the_window_does_not_wait_for_it(self):
        self.serve()
        token = self.environment.pop("TOVRI_TOKEN")
        self.addCleanup(Keyring.signal, signal.SIGCONT)
        Keyring.signal(signal.SIGSTOP)
        self.start_program()
        go_on = self.wait_for("push button", "Go On Without It")
        self.assertEqual(self.run_second("tovri-putio://callback#access_token=" + token), 0)
        go_on.press()
        self.wait_for("push button", "Sign In").press()  # nobody has begun to sign in
        self.wait_for("list", "Files")
        status, output = self.terminate()
        self.assertEqual(status, 0)
        self.assertIn("No keyring keeps the secrets", output)
        self.assertNotIn(token, output)


class Arguments(DesktopTest):
    account = ("--demo",)

    def test_no_token_stays_in_the_arguments(self):
        self.serve()
        self.start_program("tovri-putio://callback#access_token=a-secret-in-an-argument")
        self.wait_for("menu item", "File")
        self.assertNotIn(b"secret", pathlib.Path(f"/proc/{self.program.pid}/cmdline").read_bytes())


class Keyboard(DesktopTest):
    account = ("--demo",)
    # What of each section is seen when all of it is there.
    contents = {"Files": ("list item", "Welcome.txt"), "Transfers": ("heading", "Completed"),
                "Downloads": ("label", "No Downloads"), "Automate": ("label", "No Automation Rules"),
                "RSS": ("list item", "Lectures (paused)")}

    def setUp(self):
        super().setUp()
        self.serve()
        self.open()
        self.wait_for("list", "Sections")

    def test_tab_goes_round_every_control_and_each_has_a_name(self):
        for digit, section in enumerate(SECTIONS, 1):
            self.keys(f"ctrl+{digit}")
            self.wait_for(*self.contents[section])
            self.check_window(section)
        for digit, button, sheet in ((2, "Add Transfer", "Add Transfer"), (4, "Add Rule", "New Sync Rule"),
                                     (5, "Add Feed", "New RSS Feed")):
            self.keys(f"ctrl+{digit}")
            self.wait_for("push button", button).press()
            self.check_window(sheet)
            self.keys("Escape")
        self.keys("ctrl+comma")
        self.check_window("Settings")
        self.assertEqual(self.terminate()[0], 0)

    def test_a_sheet_has_the_keyboard_also_after_a_double_click(self):
        self.keys("ctrl+2")
        self.click("push button", "Add Transfer", times=2)
        wait_until(lambda: self.active_window() == "Add Transfer", "the sheet to be active")
        self.keys("Escape")
        wait_until(lambda: not self.find("dialog", "Add Transfer"), "the sheet to close")

    def check_window(self, title):
        with self.subTest(title):
            wait_until(lambda: self.active_window() == title, title)
            reached = set()
            for _ in range(30):
                reached |= {(s.role, s.name) for s in wait_until(self.focused, "the focus")}
                if self.controls() <= reached:
                    break
                self.move_focus("Tab")
            self.assertEqual(self.controls() - reached, set())
            self.assertEqual([control for control in self.controls() if not control[1]], [])

    def active_window(self):
        return next((s.name for s in self.shown() if s.has(State.ACTIVE)), None)

    def controls(self):
        """Of the window, what can have the keyboard focus now; rows have it as a part of their list, and of the tabs
        the selected one has it."""
        return {(s.role, s.name) for s in shown_below(next(s for s in self.shown() if s.has(State.ACTIVE)).node)
                if s.has(State.FOCUSABLE) and s.has(State.SENSITIVE) and s.role != "list item"
                and (s.role != "page tab" or s.has(State.SELECTED))}


if __name__ == "__main__":
    unittest.main()
