"""The agent as other programs see it: on the session bus, and through korvanectl."""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import unittest
import xml.etree.ElementTree as xml

import dbus

import scans
from desktop import DOCUMENT, SessionBus, on_loop
from harness import HANG, Agent, Events, Program, free_port, wait_until
from test_recognition import rendering_workers

CTL = os.environ.get("KORVANE_CTL", "build/release/bin/korvanectl")
INTERFACE_FILE = pathlib.Path(__file__).parents[2] / "packaging" / "org.korvane.Agent.xml"
NAME, PATH = "org.korvane.Agent", "/org/korvane/Agent"

# A program of another user that looks like a printer of this kind to a browser, or does not.
OTHER_PROGRAM = """
import http.server, sys
class Page(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    def do_GET(self):
        self.send_response(200)
        self.end_headers()
        self.wfile.write(sys.argv[2].encode())
        self.close_connection = True
    def log_message(self, *_): pass
server = http.server.HTTPServer(("", int(sys.argv[1])), Page)
print("listening", flush=True)
server.serve_forever()
"""


def control(agent, *arguments):
    """The exit status of korvanectl, what it writes, and what it complains of."""
    done = subprocess.run([CTL, *arguments], env=agent.environment, capture_output=True, text=True,
                          timeout=HANG, check=False)
    return done.returncode, done.stdout, done.stderr


def told(agent, *arguments):
    """The JSON object that korvanectl writes."""
    return json.loads(control(agent, *arguments, "--json")[1])


def join_a_network():
    """Gives the tests' own network a cable; false where that is not permitted."""
    if not shutil.which("ip"):
        return False
    commands = (("link", "add", "eth9", "type", "veth", "peer", "name", "socket9"),
                ("addr", "add", "192.0.2.1/24", "dev", "eth9"),
                ("link", "set", "socket9", "up"), ("link", "set", "eth9", "up"))
    return all(subprocess.run(["ip", *command], capture_output=True, check=False).returncode == 0
               for command in commands)


def as_another_user():
    os.setgid(65534)
    os.setuid(65534)


class Watcher:
    """Somebody who follows the agent's signals."""

    def __init__(self, bus):
        self.seen = Events()

        def follow():
            self.link = bus.connect()
            self.link.add_signal_receiver(
                lambda *arguments, member: self.seen.append((str(member), arguments)), path=PATH,
                member_keyword="member")
            try:
                return self.link.call_blocking(NAME, PATH, "org.freedesktop.DBus.Properties",
                                               "GetAll", "s", (NAME,))
            except dbus.DBusException:
                return {}  # there is no agent yet
        self.properties = on_loop(follow)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        on_loop(self.link.close)

    def wait_for(self, member):
        self.seen.wait(lambda: any(name == member for name, _ in self.seen))

    def wait_told(self, **properties):
        """Until the properties, as the signals have told them so far, have these values."""
        def is_told():
            told = dict(self.properties)
            for name, arguments in self.seen:
                if name == "PropertiesChanged":
                    told.update(arguments[1])
            return properties.items() <= told.items()
        self.seen.wait(is_told)


class Control(unittest.TestCase):
    def setUp(self):
        self.bus = self.enterContext(SessionBus())

    def agent(self, **options):
        return self.enterContext(Agent(environment=self.bus.environment, **options))

    def test_describes_itself_as_its_interface_file_does(self):
        self.agent().wait_ready()
        link = on_loop(self.bus.connect)
        described = on_loop(lambda: link.call_blocking(
            NAME, PATH, "org.freedesktop.DBus.Introspectable", "Introspect", "", ()))
        on_loop(link.close)

        def members(text):
            interface = xml.fromstring(text).find(f"./interface[@name='{NAME}']")
            return sorted(
                (member.tag, member.get("name"), member.get("type"), member.get("access"),
                 [(part.get("name"), part.get("type"), part.get("direction"), part.get("value"))
                  for part in member]) for member in interface)
        self.assertEqual(members(described), members(INTERFACE_FILE.read_text()))

    def test_is_set_up_and_changed_from_the_command_line(self):
        is_on_network = join_a_network()
        with Watcher(self.bus) as watcher:
            agent = self.agent(configured=False)
            agent.wait_logged("not configured")
            self.assertEqual(control(agent, "status"), (
                1, "Not set up: No save folder is chosen\n    korvanectl set saveDirectoryPath FOLDER\n", ""))
            self.assertEqual(control(agent, "set", "ippPort", str(agent.port)),
                             (3, "", "korvanectl: ippPort: No save folder is chosen\n"))
            self.assertFalse((agent.support / "settings.json").exists())
            self.assertEqual(control(agent, "set", "saveDirectoryPath", str(agent.saved),
                                     "ippPort", str(agent.port), "printerName", "Desk"), (0, "", ""))
            agent.wait_ready()
            watcher.wait_told(State="ready", Port=agent.port, PrinterName="Desk")
            watcher.wait_told(NetworkName="Desk")
            if is_on_network:
                self.assertEqual(control(agent, "status"),
                                 (0, "Ready: phones on this network see 'Desk'\n", ""))
            self.assertEqual(told(agent, "get"),
                             {"printerName": "Desk", "saveDirectoryPath": str(agent.saved),
                              "notesEnabled": False, "notesFolder": "Printed",
                              "ippPort": agent.port, "ippEverywhere": True})
            self.assertEqual(control(agent, "set", "printerName", "Attic"), (0, "", ""))
            watcher.wait_told(PrinterName="Attic")
            agent.wait_logged('publishing "Attic"')

            before = (agent.support / "settings.json").read_text()
            for key, value in (("ippPort", "80"), ("saveDirectoryPath", "relative"), ("printerName", " ")):
                status, written, complaint = control(agent, "set", "notesEnabled", "yes", key, value)
                self.assertEqual((status, written), (3, ""))
                self.assertIn(f"korvanectl: {key}: ", complaint)
            for wrong in ((), ("set", "ippPort"), ("set", "color", "blue"), ("paint",), ("status", "x"),
                          ("jobs", "--loud")):
                self.assertEqual(control(agent, *wrong)[0], 2, wrong)
            self.assertEqual((agent.support / "settings.json").read_text(), before)
            (agent.support / "settings.json").write_text("{")
            self.assertEqual(control(agent, "set", "printerName", "Desk")[0], 4)

    def test_says_who_has_the_port_and_which_one_is_free(self):
        port = free_port()
        programs = [(None, "Korvane", "in use by another of your programs")]
        if os.geteuid() == 0:
            programs += [(as_another_user, "Korvane", "in use by another user's printer"),
                         (as_another_user, "a web page", "in use by another user's program")]
        agent = self.agent(settings={"ippPort": port}).wait_ready()
        with Watcher(self.bus) as watcher:
            for user, page, words in programs:
                other_port = free_port()
                control(agent, "set", "ippPort", str(other_port))
                watcher.wait_told(State="ready", Port=other_port)
                with Program("/usr/bin/python3", "-c", OTHER_PROGRAM, str(port), page,
                             preexec_fn=user) as other:
                    other.lines.wait_line("listening")
                    control(agent, "set", "ippPort", str(port))
                    watcher.wait_told(State="port-unavailable", Port=port)
                    self.assertEqual(control(agent, "status"), (
                        1, f"Port {port} is {words}: use {port + 1}\n"
                        f"    korvanectl set ippPort {port + 1}\n", ""))
                    control(agent, "set", "ippPort", str(told(agent, "status")["freePort"]))
                    watcher.wait_told(State="ready", Port=port + 1)

    def test_tells_of_jobs_and_documents_while_and_after_they_are_made(self):
        agent = self.agent().wait_ready()
        with Watcher(self.bus) as watcher:
            agent.print_job(scans.scanned_pdf([scans.set_text(), scans.ENDLESS]), "Scan\x1b[2J")
            rendering_workers(agent)
            watcher.wait_for("JobsChanged")
            # The other page may be recognized now, or has been.
            wait_until(lambda: told(agent, "jobs")["jobs"][0]["pagesCompleted"] == 1)
            self.assertEqual(told(agent, "jobs"), {"jobs": [
                {"number": 1, "name": "Scan\x1b[2J", "message": "Recognizing page 2 of 2",
                 "pagesCompleted": 1, "pages": 2}]})
            self.assertTrue(control(agent, "status")[1].endswith(
                "Scan [2J: Recognizing page 2 of 2\n"))
            # The page is given to another worker once.
            for _ in range(2):
                os.kill(rendering_workers(agent)[0], signal.SIGKILL)
            saved, = agent.wait_saved()
            watcher.wait_for("DocumentsChanged")
            self.assertEqual(told(agent, "jobs"), {"jobs": []})
            document, = told(agent, "documents")["documents"]
            self.assertEqual((document["path"], document["pages"], document["language"]),
                             (str(saved), 2, "en"))
            self.assertGreater(document["words"], 12)
            agent.print_job(DOCUMENT, "Letter")
            agent.wait_saved(2)
            latest, = told(agent, "documents", "1")["documents"]
            self.assertEqual((latest["name"], latest["pages"]), ("Letter", 1))
            before = told(agent, "documents")
            agent.stop()
            self.assertEqual(control(agent, "status")[:2], (
                1, "The printer is not running\n    systemctl --user start korvane-agent\n"))
            agent.start()
            agent.wait_ready()
            self.assertEqual(told(agent, "documents"), before)

    def test_prints_and_is_set_without_a_bus(self):
        self.bus.stop()
        agent = self.agent().wait_ready()
        agent.print_job(DOCUMENT)
        agent.wait_saved()
        status, written, complaint = control(agent, "set", "printerName", "Desk")
        self.assertEqual((status, written), (0, ""))
        self.assertIn("there is no session bus", complaint)
        self.assertEqual(control(agent, "get", "printerName"), (0, "Desk\n", ""))
        self.assertEqual(told(agent, "status")["state"], "no-bus")
        self.assertEqual(control(agent, "jobs")[0], 1)
        agent.reload()
        agent.wait_logged('publishing "Desk"')


if __name__ == "__main__":
    unittest.main()
