"""What the session offers to the desktop program: a keyring, a login manager, notifications."""

import os

from gi.repository import Gio, GLib


class Keyring:
    """The Secret Service of the session."""

    path = "/org/freedesktop/secrets"

    def __init__(self):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        _, self.session = self.ask("OpenSession", GLib.Variant("(sv)", ("plain", GLib.Variant("s", ""))))

    @staticmethod
    def signal(signal):
        os.kill(int(os.environ["TOVRI_KEYRING_PROCESS"]), signal)

    def ask(self, method, arguments):
        return self.bus.call_sync("org.freedesktop.secrets", self.path, "org.freedesktop.Secret.Service", method, arguments,
                                  None, Gio.DBusCallFlags.NONE, -1).unpack()

    def secrets(self, service):
        unlocked, _ = self.ask("SearchItems", GLib.Variant("(a{ss})", ({"service": service},)))
        found, = self.ask("GetSecrets", GLib.Variant("(aoo)", (unlocked, self.session)))
        return {bytes(value).decode() for _, _, value, _ in found.values()}


class DesktopServices:
    """The login manager and the notifications of the session, as far as the program asks them."""

    INTERFACES = """<node>
      <interface name="org.freedesktop.login1.Manager"><method name="Inhibit">
        <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
        <arg type="s" direction="in"/><arg type="h" direction="out"/></method></interface>
      <interface name="org.freedesktop.Notifications"><method name="Notify">
        <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
        <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/>
        <arg type="a{sv}" direction="in"/><arg type="i" direction="in"/><arg type="u" direction="out"/></method></interface>
    </node>"""

    def __init__(self):
        self.inhibited = []  # the reading ends of the locks that were handed out
        self.notified = []  # title and text
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        login, notifications = Gio.DBusNodeInfo.new_for_xml(self.INTERFACES).interfaces
        self.objects = [self.bus.register_object("/org/freedesktop/login1", login, self.inhibit, None, None),
                        self.bus.register_object("/org/freedesktop/Notifications", notifications, self.notify, None, None)]
        self.names = [Gio.bus_own_name_on_connection(self.bus, name, Gio.BusNameOwnerFlags.NONE, None, None)
                      for name in ("org.freedesktop.login1", "org.freedesktop.Notifications")]

    def stop(self):
        for name in self.names:
            Gio.bus_unown_name(name)
        for registered in self.objects:
            self.bus.unregister_object(registered)
        for lock in self.inhibited:
            os.close(lock)

    def notifications(self):
        self.answer()
        return self.notified

    @staticmethod
    def answer():
        while GLib.MainContext.default().iteration(False):
            pass

    def inhibit(self, *call):
        reading, writing = os.pipe()
        os.set_blocking(reading, False)
        self.inhibited.append(reading)
        locks = Gio.UnixFDList.new_from_array([writing])
        call[-1].return_value_with_unix_fd_list(GLib.Variant("(h)", (0,)), locks)

    def notify(self, *call):
        arguments = call[5].unpack()
        self.notified.append((arguments[3], arguments[4]))
        call[-1].return_value(GLib.Variant("(u)", (7,)))

    def is_held(self):
        """Whether the program still has the lock that it got last."""
        self.answer()
        if not self.inhibited:
            return False
        try:
            return os.read(self.inhibited[-1], 1) != b""
        except BlockingIOError:
            return True
