"""The built desktop program as a person meets it: keys and clicks go in through the display, and what is shown comes back
through the accessibility bus, as to a screen reader."""

import bisect
import os
import subprocess
import urllib.error
import urllib.request

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib

from support import LIMIT, SOON, ProgramTest, wait_until

TOVRI = os.environ["TOVRI"]
State = Atspi.StateType

# Stands in the place of the desktop's xdg-open, which asks a browser.
BROWSER = """#!/bin/sh
printf '%s\\n' "$1" >>"$HOME/opened"
"""


class Shown:
    """Something that is to be seen."""

    def __init__(self, node):
        self.node = node
        self.role = node.get_role_name()
        self.name = node.get_name()
        self.description = node.get_description()
        self.states = node.get_state_set()

    def has(self, state):
        return self.states.contains(state)

    def press(self):
        self.node.do_action(0)

    def middle(self):
        area = area_of(self.node)
        return area.x + area.width // 2, area.y + area.height // 2

    def __repr__(self):
        return f"{self.role} {self.name!r}"


def shown_below(node):
    """From the top down. What goes while it is asked is not there any more."""
    is_list = node.get_role_name() == "list"
    for i in range(first_in_sight(node) if is_list else 0, node.get_child_count()):
        try:
            child = node.get_child_at_index(i)
            shown = child and Shown(child)
            if shown and (shown.has(State.SHOWING) or shown.role == "application"):
                yield shown
                yield from shown_below(child)
            elif is_list:
                return
        except GLib.Error:
            continue


def first_in_sight(rows):
    """The number of the uppermost row that is; a list has thousands that are not."""
    top = area_of(rows).y

    def is_below_top(i):
        area = area_of(rows.get_child_at_index(i))
        return area.y + area.height > top

    return bisect.bisect_left(range(rows.get_child_count()), True, key=is_below_top)


def area_of(node):
    """On the screen, in pixels."""
    return Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN)


class DesktopTest(ProgramTest):
    """Each test has an empty home, a program that it starts, and a browser that notes what it is asked to open."""

    def setUp(self):
        super().setUp()
        browser = self.home / "bin" / "xdg-open"
        browser.parent.mkdir()
        browser.write_text(BROWSER)
        browser.chmod(0o755)
        self.environment |= {name: os.environ[name] for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR")}
        self.environment["PATH"] = f"{browser.parent}:{os.environ['PATH']}"
        self.downloads = self.home / "Downloads"
        self.heard = []
        self.listener = Atspi.EventListener.new(self.hear)
        self.listener.register("object:state-changed:focused")
        self.addCleanup(self.listener.deregister, "object:state-changed:focused")

    def open(self, *arguments):
        """Returns when the window manager has put the window where it stays."""
        self.start_program(*arguments)
        self.wait_for("menu item", "File")
        wait_until(lambda: any(shown.has(State.ACTIVE) for shown in self.shown() if shown.role == "frame"), "the window")

    def start_program(self, *arguments):
        self.program = subprocess.Popen([TOVRI, *arguments], env=self.environment, cwd=self.home, text=True,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.addCleanup(self.end, self.program)

    def run_second(self, *arguments):
        """Starts the program once more beside the one that runs; returns its exit status."""
        second = subprocess.run([TOVRI, *arguments], env=self.environment, cwd=self.home, timeout=LIMIT, check=False)
        return second.returncode

    def terminate(self):
        """Has it end soon; returns the exit status and what the program had to say."""
        self.program.terminate()
        output, _ = self.program.communicate(timeout=SOON)
        return self.program.returncode, output

    def opened_page(self):
        """The page that the browser was asked for, and where that page sends it."""
        opened = self.home / "opened"
        wait_until(lambda: opened.exists() and opened.read_text().endswith("\n"), "the browser")
        page = opened.read_text().splitlines()[-1]
        try:
            urllib.request.build_opener(StayOnPage).open(page, timeout=LIMIT)
        except urllib.error.HTTPError as answer:
            with answer:
                return page, answer.headers["Location"]
        return page, None

    # --- What is seen ---

    def shown(self):
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()
        return [shown for shown in shown_below(desktop) if shown.role != "application"]

    def find(self, role, name):
        return next((s for s in self.shown() if (s.role, s.name) == (role, name)), None)

    def wait_for(self, role, name, state=State.SHOWING):
        def find():
            found = self.find(role, name)
            return found if found and found.has(state) else None

        return wait_until(find, lambda: f"{role} {name!r} among {self.shown()}")

    def rows(self, name):
        """Of the list with that name: what each row says in its first line and in its second."""
        found = self.find("list", name)
        rows = shown_below(found.node) if found else []
        return [(row.name, row.description) for row in rows if row.role == "list item"]

    def wait_for_rows(self, name, expected):
        wait_until(lambda: self.rows(name) == expected, lambda: f"{expected} instead of {self.rows(name)}")

    def focused(self):
        return [s for s in self.shown() if s.has(State.FOCUSED)]

    # Menus that pop up are no part of the tree: a screen reader only hears of their items when they get the focus.
    def hear(self, event):
        try:
            if event.detail1 and event.source.get_role_name() == "menu item":
                self.heard.append(event.source.get_name())
        except GLib.Error:  # the menu has gone
            pass

    def last_heard(self):
        while GLib.MainContext.default().iteration(False):
            pass
        return self.heard[-1] if self.heard else None

    # --- What is done ---

    def keys(self, *names):
        subprocess.run(["xdotool", "key", "--delay", "20", *names], check=True, timeout=LIMIT)

    def type(self, text):
        subprocess.run(["xdotool", "type", "--delay", "10", text], check=True, timeout=LIMIT)

    def click(self, role, name, times=1):
        """With the mouse; twice is a double click."""
        self.click_at(self.wait_for(role, name, State.SENSITIVE).middle(), times)

    @staticmethod
    def click_at(place, times=1):
        subprocess.run(["xdotool", "mousemove", *map(str, place), "click", "--repeat", str(times), "--delay", "60", "1"],
                       check=True, timeout=LIMIT)

    def move_focus(self, key):
        """Returns when it has moved."""
        before = {s.node.path for s in wait_until(self.focused, "the focus")}
        self.keys(key)
        wait_until(lambda: {s.node.path for s in self.focused()} not in (before, set()), f"another focus after {key}")

    def focus(self, role, name, key="Tab"):
        """With so many strokes of the key."""
        for _ in range(20):
            if (role, name) in ((s.role, s.name) for s in wait_until(self.focused, "the focus")):
                return
            self.move_focus(key)
        self.fail(f"the {key} key never gets to the {role} {name!r}")

    def select(self, list_name, row):
        """One that is below the current row."""
        self.focus("list", list_name)
        self.focus("list item", row, "Down")
        if not self.find("list item", row).has(State.SELECTED):
            self.keys("space")
            self.wait_for("list item", row, State.SELECTED)

    def choose_from_menu(self, item):
        """Of the selected row."""
        self.heard.clear()
        self.keys("Menu")
        for _ in range(10):
            before = self.last_heard()
            self.keys("Down")
            wait_until(lambda: self.last_heard() != before, f"a line of the menu after {self.heard}")
            if self.last_heard() == item:
                return self.keys("Return")
        self.fail(f"no {item!r} in the menu: {self.heard}")


class StayOnPage(urllib.request.HTTPRedirectHandler):
    def redirect_request(self, *_):
        return None
