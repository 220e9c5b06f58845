"""The agent on the desktop: what it tells the user, what the user does, and session buses and
notification servers that are absent, come late, leave or misbehave."""

import contextlib
import pathlib
import signal
import socket
import time
import unittest

from desktop import DISMISSED, EXPIRED, FileManager, Server, SessionBus
from harness import Agent, free_port, make_pdf, wait_until

DOCUMENT = make_pdf("BT /F1 12 Tf 72 700 Td (Hello) Tj ET")


class Session(contextlib.ExitStack):
    """A bus, a server and a file manager on it, and the agent, ready where it has settings."""

    def __init__(self, settings=None, configured=True, desktop=None, **server):
        super().__init__()
        with contextlib.ExitStack() as opened:
            self.bus = opened.enter_context(SessionBus(environment=desktop and desktop.environment))
            self.files = opened.enter_context(FileManager(self.bus))
            self.server = opened.enter_context(Server(self.bus, **server))
            self.agent = opened.enter_context(
                Agent(settings, configured, environment=self.bus.environment))
            if configured:
                self.agent.wait_ready()
            self.push(opened.pop_all())

    def show_job(self, name="Letter", count=1):
        self.agent.print_job(DOCUMENT, name)
        return self.server.wait_shown(count)


class Notifications(unittest.TestCase):
    def test_shows_each_job_and_reveals_its_file(self):
        with Session() as session:
            self.assertTrue(session.agent.logged("Notifications: granted=true"))
            shown = session.show_job("Brief & Käse 100%")
            self.assertEqual((shown["name"], shown["icon"], shown["title"], shown["expires"]),
                             ("Korvane", "org.korvane.Agent", "Brief & Käse 100%", -1))
            self.assertEqual(shown["actions"][0::2], ["default", "KV_ACTION_REVEAL"])
            self.assertEqual(shown["actions"][3], "Show in Finder")
            self.assertEqual(shown["hints"],
                             {"desktop-entry": "org.korvane.Agent", "urgency": 1,
                              "sound-name": "message-new-instant", "category": "transfer.complete"})
            session.server.choose(shown["number"], "KV_ACTION_REVEAL")
            self.assertEqual(session.files.wait_revealed(), [session.agent.files()[0].as_uri()])
            session.server.choose(shown["number"], "default")
            second = session.show_job(count=2)
            session.server.choose(second["number"], "default")
            self.assertEqual(len(session.files.wait_revealed(2)), 2)

    def test_makes_a_note_of_a_job_when_it_is_clicked(self):
        with Session({"notesEnabled": True}) as session:
            shown = session.show_job()
            self.assertEqual(shown["actions"][2:4], ["KV_ACTION_ADD_TO_NOTES", "Add to Notes"])
            session.server.choose(shown["number"], "default")
            self.assertTrue(session.agent.logged("PrinterService: added note for Letter"))
            second = session.show_job("Gone", count=2)
            next(f for f in session.agent.files() if f.name.startswith("Gone")).unlink()
            session.server.choose(second["number"], "KV_ACTION_ADD_TO_NOTES")
            self.assertTrue(session.agent.logged(
                f"PrinterService: NotesBridge failed: AppleScript run failed: File {session.agent.saved}"))
            alert = session.server.wait_shown(3)
            self.assertEqual((alert["title"], alert["expires"], alert["hints"]["urgency"]),
                             ("Couldn't add to Notes", 0, 2))
            self.assertEqual(session.files.revealed, [])

    def test_shows_hostile_names_as_harmless_text(self):
        long = "Ä" * 16000
        names = {"a\x1b[31m\x07b\x7f\u0085": "a [31m b  ", "evil\u202egnp.exe": "evilgnp.exe",
                 "two\nlines\u2028": "two lines ", "<img src='x'>": "<img src='x'>",
                 long: "Ä" * 200 + "…", b"\xff": None, "e" + "\u0301" * 9000: None}
        with Session() as session:
            for count, (name, title) in enumerate(names.items(), 1):
                with self.subTest(name[:20]):
                    shown = session.show_job(name, count)
                    self.assertLess(len(shown["title"]), 2000)
                    if title is not None:
                        self.assertEqual(shown["title"], title)

    def test_replaces_the_notice_of_a_port_by_the_next_for_it(self):
        with socket.socket() as first, socket.socket() as second, SessionBus() as bus, \
                Server(bus) as server:
            for taken in (first, second):
                taken.bind(("127.0.0.1", free_port()))
                taken.listen()
            ports = [taken.getsockname()[1] for taken in (first, second)]
            with Agent({"ippPort": ports[0]}, environment=bus.environment) as agent:
                notices = [server.wait_shown()]
                for count, port in ((2, ports[1]), (3, ports[0])):
                    agent.write_settings(ippPort=port)
                    bus.post_settings_changed()
                    notices.append(server.wait_shown(count))
        self.assertEqual([n["replaces"] for n in notices], [0, 0, notices[0]["number"]])
        self.assertEqual(notices[0]["body"],
                         f"Port {ports[0]} is unavailable (Address already in use). The printer won't "
                         "appear until the port is free, or you pick another one in Settings.")
        self.assertEqual((notices[0]["title"], notices[0]["actions"]), ("Korvane can't start", []))

    def test_tells_a_dismissal_from_an_end_by_itself(self):
        with Session() as session:
            for count, (reason, revealed) in enumerate(((EXPIRED, 1), (DISMISSED, 1)), 1):
                number = session.show_job(count=count)["number"]
                session.server.close(number, reason)
                session.server.choose(number, "KV_ACTION_REVEAL")
                self.assertEqual(len(session.files.wait_revealed(revealed)), revealed)
            number = session.show_job(count=3)["number"]
            session.bus.send_signal("/org/freedesktop/Notifications", "org.freedesktop.Notifications",
                                    "ActionInvoked", "us", number, "default", to=session.server.agent)
            session.server.choose(number, "KV_ACTION_REVEAL")
            session.files.wait_revealed(2)
            time.sleep(0.3)
            self.assertEqual(len(session.files.revealed), 2, "a stranger answered for the user")


class Servers(unittest.TestCase):
    def test_finds_a_server_again_whose_numbers_begin_anew(self):
        with Session() as session:
            old = session.show_job()["number"]
            session.server.__exit__()
            self.assertEqual(session.agent.print_job(DOCUMENT), 0)
            self.assertTrue(session.agent.logged("Notifications: post failed: "))
            session.server = Server(session.bus)
            session.server.choose(old, "KV_ACTION_REVEAL")
            new = session.show_job("After")
            self.assertEqual(new["number"], old)
            session.server.choose(old, "KV_ACTION_REVEAL")
            self.assertIn("After", session.files.wait_revealed()[0])
            self.assertEqual(len(session.files.revealed), 1)

    def test_is_held_up_by_no_server(self):
        for answers, line in (("nothing", None), ("errors", "Notifications: auth error: no room")):
            with self.subTest(answers), Session(answers=answers) as session:
                for _ in range(5):
                    session.agent.print_job(DOCUMENT)
                session.agent.wait_saved(5)
                if line:
                    self.assertTrue(session.agent.logged(line))
                    self.assertTrue(session.agent.logged("Notifications: granted=false"))
                    self.assertTrue(session.agent.logged("Notifications: post failed: no room"))
                session.bus.post_settings_changed()
                self.assertTrue(session.agent.logged("settings changed, reloading"))
                self.assertEqual(session.agent.stop(), 0)

    def test_ignores_a_flood_of_numbers_that_are_not_ours(self):
        with Session() as session:
            shown = session.show_job()
            before = session.agent.resident_kib()
            for number in range(100, 5100):
                session.server.ActionInvoked(number, "KV_ACTION_REVEAL")
                session.server.NotificationClosed(number, DISMISSED)
            session.server.choose(shown["number"], "KV_ACTION_REVEAL")
            self.assertTrue(session.files.wait_revealed())
            self.assertEqual(len(session.files.revealed), 1)
            self.assertLess(session.agent.resident_kib() - before, 4096)


class Bus(unittest.TestCase):
    def test_says_once_that_there_is_no_bus_and_goes_on_saving(self):
        with Agent() as agent:
            agent.wait_ready()
            for _ in range(3):
                agent.print_job(DOCUMENT)
            agent.wait_saved(3)
            said = [l for l in agent.lines if l.startswith("Notifications: ")]
            self.assertEqual(said, ["Notifications: auth error: There is no session bus",
                                    "Notifications: granted=false"])

    def test_joins_a_bus_that_comes_late_and_comes_back(self):
        with SessionBus(running=False) as bus, Agent(environment=bus.environment) as agent:
            agent.wait_ready()
            self.assertTrue(agent.logged("Notifications: granted=false"))
            for reload in (1, 2):
                bus.start()
                with Server(bus) as server:
                    def shown():
                        agent.print_job(DOCUMENT)
                        return wait_until(lambda: server.shown, 1)
                    self.assertTrue(wait_until(shown, 20))
                bus.post_settings_changed()
                reloads = lambda: agent.lines.count("KorvaneAgent: settings changed, reloading")
                self.assertTrue(wait_until(lambda: reloads() == reload))
                bus.stop()

    def test_reloads_once_for_every_signal_of_its_name(self):
        with Session() as session:
            for name in ("settings-changed", "other", "settings-changed", "settings-changed"):
                session.bus.post_settings_changed("org.korvane.Agent." + name)
            session.agent.process.send_signal(signal.SIGHUP)
            reloads = lambda: session.agent.lines.count("KorvaneAgent: settings changed, reloading")
            self.assertTrue(wait_until(lambda: reloads() == 4))
            time.sleep(0.2)
            self.assertEqual(reloads(), 4)

    def test_tells_the_service_manager_when_it_is_ready_and_when_it_ends(self):
        with SessionBus() as bus, socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            path = str(pathlib.Path(bus.folder, "notify"))
            manager.bind(path)
            manager.settimeout(10)
            with Agent(environment={"NOTIFY_SOCKET": path}) as agent:
                said = [manager.recv(1000), manager.recv(1000)]
                agent.stop()
                said.append(manager.recv(1000))
            self.assertEqual(said, [b"READY=1", b"STATUS=Ready on port %d" % agent.port, b"STOPPING=1"])


if __name__ == "__main__":
    unittest.main()
