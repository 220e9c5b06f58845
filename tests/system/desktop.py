"""A session bus of the test's own, with a notification server and a file manager that it plays."""

import pathlib
import shutil
import socket
import subprocess
import tempfile
import threading

import dbus
import dbus.bus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop, threads_init
from gi.repository import GLib

from harness import wait_until

SERVICE = "org.freedesktop.Notifications"
EXPIRED, DISMISSED, TAKEN_BACK = 1, 2, 3

# Nothing is activated on it: the real desktop's programs are not to take part.
CONFIGURATION = """<busconfig><type>session</type><listen>{}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/>
</policy></busconfig>"""

threads_init()
DBusGMainLoop(set_as_default=True)
threading.Thread(target=GLib.MainLoop().run, daemon=True).start()


def on_loop(function):
    """Runs the function where D-Bus is served and gives its result."""
    results = []
    GLib.idle_add(lambda: results.append(function()) and False)
    if not wait_until(lambda: results):
        raise AssertionError("the bus did not take it")
    return results[0]


class SessionBus:
    """A bus of its own, or the one of an environment."""

    def __init__(self, running=True, environment=None):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="korvane-bus-"))
        self.socket = self.folder / "bus"
        self.environment = environment or {"DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.socket}"}
        self.address = self.environment["DBUS_SESSION_BUS_ADDRESS"]
        self.daemon = None
        self.connections = []
        if running and not environment:
            self.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self):
        file = self.folder / "bus.conf"
        file.write_text(CONFIGURATION.format(self.address))
        self.daemon = subprocess.Popen(["dbus-daemon", f"--config-file={file}", "--nofork"],
                                       stderr=subprocess.DEVNULL)
        if not wait_until(self._listens):
            self.stop()
            raise AssertionError("there is no bus")

    def _listens(self):
        with socket.socket(socket.AF_UNIX) as probe:
            return probe.connect_ex(str(self.socket)) == 0

    def stop(self):
        if self.daemon:
            self.daemon.kill()
            self.daemon.wait()
            self.daemon = None

    def connect(self):
        connection = on_loop(lambda: dbus.bus.BusConnection(self.address))
        connection.set_exit_on_disconnect(False)
        self.connections.append(connection)
        return connection

    def send_signal(self, path, interface, member, signature, *arguments, to=None):
        message = dbus.lowlevel.SignalMessage(path, interface, member)
        message.append(signature=signature, *arguments)
        if to:
            message.set_destination(to)
        connection = self.connect()
        on_loop(lambda: (connection.send_message(message), connection.flush()))

    def post_settings_changed(self, name="org.korvane.Agent.settings-changed"):
        self.send_signal("/org/korvane/NamedSignal", "org.korvane.NamedSignal", "Posted", "s", name)


class Server(dbus.service.Object):
    """What is shown, and what the user does with it."""

    def __init__(self, bus, capabilities=("actions", "body", "body-markup"), answers="numbers"):
        self.capabilities, self.answers = capabilities, answers
        self.shown, self.next_number, self.agent = [], 1, None
        self.link = bus.connect()
        on_loop(lambda: super(Server, self).__init__(self.link, "/org/freedesktop/Notifications"))
        on_loop(lambda: self.link.request_name(SERVICE))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        on_loop(self.link.close)

    def _answer(self, give, refuse, result):
        if self.answers == "numbers":
            give(result)
        elif self.answers == "errors":
            refuse(dbus.DBusException("no room", name="org.example.Full"))

    @dbus.service.method(SERVICE, in_signature="", out_signature="as",
                         async_callbacks=("give", "refuse"))
    def GetCapabilities(self, give, refuse):
        self._answer(give, refuse, self.capabilities)

    @dbus.service.method(SERVICE, in_signature="susssasa{sv}i", out_signature="u",
                         async_callbacks=("give", "refuse"), sender_keyword="sender")
    def Notify(self, name, replaces, icon, title, body, actions, hints, expires, give, refuse, sender):
        number = replaces or self.next_number
        self.next_number += not replaces
        self.agent = sender
        self.shown.append(dict(number=int(number), replaces=int(replaces), name=str(name),
                               icon=str(icon), title=str(title), body=str(body), expires=int(expires),
                               actions=[str(a) for a in actions], hints=dict(hints)))
        self._answer(give, refuse, dbus.UInt32(number))

    @dbus.service.signal(SERVICE, signature="us")
    def ActionInvoked(self, number, key):
        pass

    @dbus.service.signal(SERVICE, signature="uu")
    def NotificationClosed(self, number, reason):
        pass

    def wait_shown(self, count=1, seconds=10):
        """The latest notification, once there have been that many."""
        if not wait_until(lambda: len(self.shown) >= count, seconds):
            raise AssertionError(f"{len(self.shown)} notifications")
        return self.shown[count - 1]

    def choose(self, number, key):
        on_loop(lambda: self.ActionInvoked(number, key))

    def close(self, number, reason):
        on_loop(lambda: self.NotificationClosed(number, reason))


class FileManager(dbus.service.Object):
    """What the user was shown of the files."""

    INTERFACE = "org.freedesktop.FileManager1"

    def __init__(self, bus):
        self.revealed = []
        self.link = bus.connect()
        on_loop(lambda: super(FileManager, self).__init__(self.link,
                                                          "/org/freedesktop/FileManager1"))
        on_loop(lambda: self.link.request_name(self.INTERFACE))

    @dbus.service.method(INTERFACE, in_signature="ass")
    def ShowItems(self, uris, _):
        self.revealed += [str(uri) for uri in uris]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        on_loop(self.link.close)

    def wait_revealed(self, count=1):
        return wait_until(lambda: len(self.revealed) >= count) and self.revealed
