"""The agent on the desktop: what it tells the user, what the user does, and session buses and
notification servers that are absent, come late, leave or misbehave."""

import pathlib
import socket
import unittest

from desktop import DISMISSED, DOCUMENT, EXPIRED, Server, Session, SessionBus
from harness import HANG, Agent, free_port, wait_until

RELOADING = "KorvaneAgent: settings changed, reloading"


class Notifications(unittest.TestCase):
    def test_shows_each_job_and_reveals_its_file(self):
        with Session() as session:
            session.agent.wait_logged("Notifications: granted=true")
            shown = session.show_job("Brief & Käse 100%")
            self.assertEqual((shown["name"], shown["icon"], shown["title"], shown["expires"]),
                             ("Korvane", "org.korvane.Agent", "Brief & Käse 100%", -1))
            self.assertEqual(shown["actions"][0::2], ["default", "KV_ACTION_REVEAL"])
            self.assertEqual(shown["actions"][3], "Show in Finder")
            self.assertEqual(shown["hints"],
                             {"desktop-entry": "org.korvane.Agent", "urgency": 1,
                              "sound-name": "message-new-instant", "category": "transfer.complete"})
            session.server.choose(shown["number"], "KV_ACTION_REVEAL")
            self.assertEqual(session.files.revealed.wait_count(1),
                             [session.agent.files()[0].as_uri()])
            session.server.choose(shown["number"], "default")
            second = session.show_job("Second", count=2)
            session.server.choose(second["number"], "default")
            self.assertIn("/Second", session.files.revealed.wait_count(2)[1])

    def test_adds_a_job_to_the_notes_when_it_is_clicked(self):
        with Session({"notesEnabled": True}) as session:
            shown = session.show_job()
            self.assertEqual(shown["actions"][2:4], ["KV_ACTION_ADD_TO_NOTES", "Add to Notes"])
            session.server.choose(shown["number"], "default")
            session.agent.wait_logged("PrinterService: added note for Letter")
            second = session.show_job("Gone", count=2)
            next(f for f in session.agent.files() if f.name.startswith("Gone")).unlink()
            session.server.choose(second["number"], "KV_ACTION_ADD_TO_NOTES")
            session.agent.wait_logged("PrinterService: NotesBridge failed: AppleScript run failed: "
                                      f"File {session.agent.saved}")
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

    def test_takes_responses_from_the_server_to_what_is_not_dismissed(self):
        with Session() as session:
            expired, dismissed, forged, last = (
                session.show_job(name, count)["number"]
                for count, name in enumerate(("Expired", "Dismissed", "Forged", "Last"), 1))
            session.bus.send_signal("/org/freedesktop/Notifications", "org.freedesktop.Notifications",
                                    "ActionInvoked", "us", forged, "default", to=session.server.agent)
            session.server.close(expired, EXPIRED)
            session.server.close(dismissed, DISMISSED)
            for number in (dismissed, expired, last):
                session.server.choose(number, "KV_ACTION_REVEAL")
            first, second = session.files.revealed.wait_count(2)
            self.assertIn("/Expired", first)
            self.assertIn("/Last", second)


class Servers(unittest.TestCase):
    def test_finds_a_server_again_whose_numbers_begin_anew(self):
        with Session() as session:
            old = session.show_job()["number"]
            session.server.__exit__()
            self.assertEqual(session.agent.print_job(DOCUMENT), 0)
            session.agent.wait_logged("Notifications: post failed: ")
            session.server = session.enter_context(Server(session.bus))
            session.server.choose(old, "KV_ACTION_REVEAL")
            new = session.show_job("After")
            self.assertEqual(new["number"], old)
            session.server.choose(old, "KV_ACTION_REVEAL")
            self.assertIn("After", session.files.revealed.wait_count(1)[0])

    def test_is_held_up_by_no_server(self):
        for answers, line in (("nothing", None), ("errors", "Notifications: auth error: no room")):
            with self.subTest(answers), Session(answers=answers) as session:
                for _ in range(5):
                    session.agent.print_job(DOCUMENT)
                session.agent.wait_saved(5)
                if line:
                    session.agent.wait_logged(line)
                    session.agent.wait_logged("Notifications: granted=false")
                    session.agent.wait_logged("Notifications: post failed: no room")
                session.bus.post_settings_changed()
                session.agent.wait_logged(RELOADING)
                self.assertEqual(session.agent.stop(), 0)

    def test_ignores_a_flood_of_numbers_that_are_not_ours(self):
        with Session() as session:
            shown = session.show_job()
            before = session.agent.resident_kib()
            for number in range(100, 5100):
                session.server.choose(number, "KV_ACTION_REVEAL")
                session.server.close(number, DISMISSED)
            session.server.choose(shown["number"], "KV_ACTION_REVEAL")
            self.assertEqual(len(session.files.revealed.wait_count(1)), 1)
            self.assertLess(session.agent.resident_kib() - before, 4096)


class Bus(unittest.TestCase):
    def test_logs_once_that_there_is_no_bus_and_goes_on_saving(self):
        with Agent() as agent:
            agent.wait_ready()
            for _ in range(3):
                agent.print_job(DOCUMENT)
            agent.wait_saved(3)
            logged = [l for l in agent.lines if l.startswith("Notifications: ")]
            self.assertEqual(logged, ["Notifications: auth error: There is no session bus",
                                      "Notifications: granted=false"])

    def test_joins_a_bus_that_comes_late_and_comes_back(self):
        with SessionBus(running=False) as bus, Agent(environment=bus.environment) as agent:
            agent.wait_ready()
            agent.wait_logged("Notifications: granted=false")
            jobs = 0
            for reloads in (1, 2):
                bus.start()
                with Server(bus) as server:
                    def shows_a_job():
                        nonlocal jobs
                        jobs += 1
                        agent.print_job(DOCUMENT)
                        agent.wait_saved(jobs)
                        return server.shown
                    wait_until(shows_a_job)
                bus.post_settings_changed()
                agent.lines.wait(lambda: agent.lines.count(RELOADING) == reloads)
                bus.stop()

    def test_reloads_once_for_every_signal_of_its_name(self):
        with Session() as session:
            agent = session.agent
            session.show_job() # asked for after the signals were, and the bus keeps the order
            for name in ("settings-changed", "other", "settings-changed"):
                session.bus.post_settings_changed("org.korvane.Agent." + name)
            agent.lines.wait(lambda: agent.lines.count(RELOADING) == 2)
            agent.reload()
            agent.lines.wait(lambda: agent.lines.count(RELOADING) == 3)
            agent.stop()
            self.assertEqual(agent.lines.count(RELOADING), 3)

    def test_tells_the_service_manager_when_it_is_ready_and_when_it_ends(self):
        with SessionBus() as bus, socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            path = str(pathlib.Path(bus.folder, "notify"))
            manager.bind(path)
            manager.settimeout(HANG)
            with Agent(environment={"NOTIFY_SOCKET": path}) as agent:
                told = [manager.recv(1000), manager.recv(1000)]
                agent.stop()
                told.append(manager.recv(1000))
            self.assertEqual(told, [b"READY=1", b"STATUS=Ready on port %d" % agent.port, b"STOPPING=1"])


if __name__ == "__main__":
    unittest.main()
