"""A desktop session: a bus, a notification server and a file manager that the tests play."""

import contextlib
import pathlib
import queue
import shutil
import signal
import tempfile
import threading

import dbus
import dbus.bus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop, threads_init
from gi.repository import GLib

from harness import HANG, Agent, Events, Program, make_pdf

DOCUMENT = make_pdf("BT /F1 12 Tf 72 700 Td (Hello) Tj ET")
SERVICE = "org.freedesktop.Notifications"

# Nothing is activated on it: the real desktop's programs are not to take part.
CONFIGURATION = """<busconfig><type>session</type><listen>{}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/>
</policy></busconfig>"""

threads_init()
DBusGMainLoop(set_as_default=True)
threading.Thread(target=GLib.MainLoop().run, daemon=True).start()


def on_loop(function):
    """Runs the function where D-Bus is served and gives its result."""
    results = queue.SimpleQueue()
    GLib.idle_add(lambda: results.put(function()))
    return results.get(timeout=HANG)


class SessionBus:
    """A bus of its own, or the one of an environment."""

    def __init__(self, running=True, environment=None):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="korvane-bus-"))
        self.environment = environment or {
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.folder}/bus"}
        self.address = self.environment["DBUS_SESSION_BUS_ADDRESS"]
        self.daemon = None
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
        self.daemon = Program("dbus-daemon", f"--config-file={file}", "--nofork", "--print-address")
        self.daemon.lines.wait_line("unix:")

    def stop(self):
        if self.daemon:
            self.daemon.stop(signal.SIGKILL)
            self.daemon = None

    def connect(self):
        """A new connection; used on the loop only, as its library is for one thread."""
        connection = dbus.bus.BusConnection(self.address)
        connection.set_exit_on_disconnect(False)
        return connection

    def post_settings_changed(self, name="org.korvane.Agent.settings-changed"):
        """Sends the signal from a connection of its own; the bus has it before this returns."""
        message = dbus.lowlevel.SignalMessage("/org/korvane/NamedSignal", "org.korvane.NamedSignal", "Posted")
        message.append(name, signature="s")

        def send():
            connection = self.connect()
            connection.send_message(message)
            connection.list_names()
            connection.close()
        on_loop(send)


class Service(dbus.service.Object):
    """An object on a connection of its own, which owns a well-known name until it is closed."""

    def __init__(self, bus, name, path):
        def own():
            self.link = bus.connect()
            super(Service, self).__init__(self.link, path)
            self.link.request_name(name)
        on_loop(own)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        on_loop(self.link.close)


class Server(Service):
    """The notification server: what it shows, and what the user does with it."""

    def __init__(self, bus, answers="numbers"):
        self.answers = answers
        self.shown, self.closed, self.next_number = Events(), Events(), 1
        super().__init__(bus, SERVICE, "/org/freedesktop/Notifications")

    def _answer(self, give, refuse, result):
        if self.answers == "numbers":
            give(result)
        elif self.answers == "errors":
            refuse(dbus.DBusException("no room", name="org.example.Full"))

    @dbus.service.method(SERVICE, in_signature="", out_signature="as",
                         async_callbacks=("give", "refuse"))
    def GetCapabilities(self, give, refuse):
        self._answer(give, refuse, ("actions", "body", "body-markup"))

    @dbus.service.method(SERVICE, in_signature="susssasa{sv}i", out_signature="u",
                         async_callbacks=("give", "refuse"))
    def Notify(self, name, replaces, icon, title, body, actions, hints, expires, give, refuse):
        number = replaces or self.next_number
        self.next_number += not replaces
        self._answer(give, refuse, dbus.UInt32(number))
        self.shown.append(dict(number=int(number), replaces=int(replaces), name=str(name),
                               icon=str(icon), title=str(title), body=str(body), expires=int(expires),
                               actions=[str(a) for a in actions], hints=dict(hints)))

    @dbus.service.method(SERVICE, in_signature="u")
    def CloseNotification(self, number):
        self.closed.append(int(number))

    @dbus.service.signal(SERVICE, signature="us")
    def ActionInvoked(self, number, key):
        pass

    @dbus.service.signal(SERVICE, signature="us")
    def ActivationToken(self, number, token):
        pass

    def wait_shown(self, count=1):
        """The latest notification, once there have been that many."""
        return self.shown.wait_count(count)[count - 1]

    def choose(self, number, key):
        def tell():
            self.ActivationToken(number, f"click-{number}")
            self.ActionInvoked(number, key)
        on_loop(tell)


class FileManager(Service):
    """What the user was shown of the files."""

    INTERFACE = "org.freedesktop.FileManager1"

    def __init__(self, bus):
        self.revealed, self.tokens = Events(), []
        super().__init__(bus, self.INTERFACE, "/org/freedesktop/FileManager1")

    @dbus.service.method(INTERFACE, in_signature="ass")
    def ShowItems(self, uris, token):
        self.tokens.append(str(token))
        for uri in uris:
            self.revealed.append(str(uri))


class ServiceManager(Service):
    """The user's service manager, which knows the display."""

    def __init__(self, bus, *variables):
        self.variables = variables
        super().__init__(bus, "org.freedesktop.systemd1", "/org/freedesktop/systemd1")

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        assert (interface, name) == ("org.freedesktop.systemd1.Manager", "Environment")
        return dbus.Array(self.variables, signature="s")


class Session(contextlib.ExitStack):
    """A bus, a server and a file manager on it, and the agent, ready."""

    def __init__(self, settings=None, environment=None, extra=None, **server):
        super().__init__()
        with contextlib.ExitStack() as opened:
            self.bus = opened.enter_context(SessionBus(environment=environment))
            self.files = opened.enter_context(FileManager(self.bus))
            self.server = opened.enter_context(Server(self.bus, **server))
            self.agent = opened.enter_context(
                Agent(settings, environment=self.bus.environment | (extra or {})))
            self.agent.wait_ready()
            self.push(opened.pop_all())

    def show_job(self, name="Letter", count=1):
        self.agent.print_job(DOCUMENT, name)
        return self.server.wait_shown(count)
