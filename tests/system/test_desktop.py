"""The agent on the desktop: what it tells the user, what the user does, and session buses and
notification servers that are absent, come late, leave or misbehave."""

import os
import pathlib
import socket
import tempfile
import unittest

from desktop import DOCUMENT, Server, ServiceManager, Session, SessionBus, on_loop
from harness import HANG, Agent, free_port

RELOADING = "KorvaneAgent: settings changed, reloading"


class Notifications(unittest.TestCase):
    def opener(self, script):
        """An environment whose xdg-open runs the script, "{}" being the file that `opened` reads."""
        folder = self.enterContext(tempfile.TemporaryDirectory(prefix="korvane-bin-"))
        self.written = pathlib.Path(folder, "written")
        program = pathlib.Path(folder, "xdg-open")
        program.write_text("#!/bin/sh\n" + script.format(self.written))
        program.chmod(0o755)
        return {"extra": {"PATH": f"{folder}:{os.environ['PATH']}"}}

    def opened(self):
        return self.written.read_text()

    def test_opens_the_folder_on_the_display_that_there_is_now(self):
        script = 'echo "$1 $DISPLAY $XDG_ACTIVATION_TOKEN $DESKTOP_STARTUP_ID" >>{}; exit 3'
        with Session(**self.opener(script)) as session:
            on_loop(session.files.link.close)
            shown = session.show_job()
            with ServiceManager(session.bus, "DISPLAY=:7"):
                session.server.choose(shown["number"], "default")
                told = session.server.wait_shown(2)
            file = session.agent.files()[0]
            self.assertEqual(self.opened(), f"{file.parent} :7 click-1 click-1\n")
            self.assertEqual((told["title"], told["body"]),
                             ("Couldn't show the document", f"It is {file}"))
            session.agent.wait_logged(f"Notifications: can't show {file}: xdg-open failed with status 3")

    def test_shows_each_job_and_reveals_its_file(self):
        with Session() as session:
            session.agent.wait_logged("Notifications: granted=true")
            shown = session.show_job("Brief & Käse\x1b[1m\u202e 100%")
            self.assertEqual((shown["name"], shown["icon"], shown["title"], shown["expires"]),
                             ("Korvane", "org.korvane.Agent", "Brief & Käse [1m 100%", -1))
            self.assertEqual(shown["actions"][0::2], ["default", "KV_ACTION_REVEAL"])
            self.assertEqual(shown["actions"][3], "Show in Finder")
            uri = session.agent.files()[0].as_uri()
            self.assertEqual(shown["hints"],
                             {"desktop-entry": "org.korvane.Agent", "urgency": 1, "x-kde-urls": [uri],
                              "sound-name": "message-new-instant", "category": "transfer.complete"})
            session.server.choose(shown["number"], "KV_ACTION_REVEAL")
            self.assertEqual(session.files.revealed.wait_count(1), [uri])
            self.assertEqual(session.files.tokens, [f"click-{shown['number']}"])
            self.assertEqual(session.server.closed.wait_count(1), [shown["number"]])
            session.server.choose(shown["number"], "default")
            second = session.show_job("Second", count=2)
            session.server.choose(second["number"], "default")
            self.assertIn("/Second", session.files.revealed.wait_count(2)[1])

    def test_adds_a_job_to_the_notes_when_it_is_clicked(self):
        with Session({"notesEnabled": True}, **self.opener("echo $1 >>{}; exit 3")) as session:
            shown = session.show_job()
            self.assertEqual(shown["actions"][2:4], ["KV_ACTION_ADD_TO_NOTES", "Add to Notes"])
            session.server.choose(shown["number"], "default")
            session.agent.wait_logged("PrinterService: added note for Letter")
            added = session.server.wait_shown(2)
            self.assertEqual((added["title"], added["body"], added["actions"][2:]),
                             ("Added to Notes", "Letter", ["KV_ACTION_OPEN_NOTE", "Open"]))
            session.server.choose(added["number"], "KV_ACTION_OPEN_NOTE")
            note = session.agent.home / "Documents/Notes/Printed/Letter.html"
            self.assertEqual(session.server.wait_shown(3)["body"], f"It is {note}")
            self.assertEqual(self.opened(), f"{note}\n")
            second = session.show_job("Gone", count=4)
            next(f for f in session.agent.files() if f.name.startswith("Gone")).unlink()
            session.server.choose(second["number"], "KV_ACTION_ADD_TO_NOTES")
            session.agent.wait_logged("PrinterService: NotesBridge failed: AppleScript run failed: "
                                      f"File {session.agent.saved}")
            alert = session.server.wait_shown(5)
            self.assertEqual((alert["title"], alert["expires"], alert["hints"]["urgency"]),
                             ("Couldn't add to Notes", 0, 2))
            self.assertEqual(session.files.revealed, [])

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
                self.assertEqual(server.closed, [])
                second.close()
                agent.write_settings(ippPort=ports[1])
                bus.post_settings_changed()
                self.assertEqual(sorted(server.closed.wait_count(2)), [1, 2])
        self.assertEqual([n["replaces"] for n in notices], [0, 0, notices[0]["number"]])
        self.assertEqual(notices[0]["body"],
                         f"Port {ports[0]} is unavailable (Address already in use). The printer won't "
                         "appear until the port is free, or you pick another one in Settings.")
        self.assertEqual((notices[0]["title"], notices[0]["actions"]), ("Korvane can't start", []))

class Servers(unittest.TestCase):
    def test_may_come_after_the_notifications_as_may_the_bus(self):
        with SessionBus(running=False) as bus, Agent(environment=bus.environment) as agent:
            agent.wait_ready()
            names = [f"Early {number}" for number in range(3)]
            for name in names:
                agent.print_job(DOCUMENT, name)
            agent.wait_saved(3)
            bus.start()
            with Server(bus) as server:
                self.assertEqual(sorted(shown["title"] for shown in server.shown.wait_count(3)), names)

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
