"""Other hosts of the network find the printer: through the Avahi daemon, and without one."""

import os
import pathlib
import shlex
import signal
import subprocess
import tempfile
import time
import unittest

import harness
from harness import Agent, needs, wait_until
from hosts import Browser, Host, Switch, end, split_entry, why_not
from test_printing import pdf_saying

TYPE = "_universal._sub._ipp._tcp"
NAME = "Test Printer"
TIMES = []

harness.AGENT = os.path.abspath(harness.AGENT)


def setUpModule():
    reason = why_not()
    if reason:
        raise unittest.SkipTest(reason)


def tearDownModule():
    if TIMES:
        print("\n" + "\n".join(f"{seconds:6.2f} s  {what}" for what, seconds in TIMES), flush=True)


class Discovery:
    """The printer's host is the desk, and the phone looks for it."""

    desk_has_daemon = True

    def setUp(self):
        self.switch = self.made(Switch())
        self.desk = self.made(Host("desk"))
        self.phone = self.made(Host("phone"))
        for host in (self.desk, self.phone):
            self.switch.plug_in(host)
        if self.desk_has_daemon:
            self.start_daemon(self.desk)
        self.start_daemon(self.phone)
        self.browser = self.made(Browser(self.phone, TYPE))

    def made(self, thing):
        self.addCleanup(thing.close)
        return thing

    @staticmethod
    def start_daemon(host):
        host.start_bus()
        host.start_daemon()
        # Its own name takes it a second; what follows is not to be measured with that.
        ready = lambda: host.run("avahi-browse", "-t", "_none._tcp", check=False).returncode == 0
        if not wait_until(ready):
            raise AssertionError(f"no daemon on {host.name}")
        time.sleep(1.5)

    def start_agent(self, host=None, **settings):
        agent = Agent(settings=settings, preexec=(host or self.desk).enter)
        self.addCleanup(agent.__exit__)
        return agent.wait_ready()

    def seen(self, what, since, name=NAME, seconds=10):
        """Waits until the phone has resolved the name anew, and notes how long that took."""
        event = self.browser.wait("=", name, since, seconds)
        self.assertTrue(event, f"{what}: not seen: {self.browser.events}")
        self.measure(what, event[0] - since)
        return event[3]

    def measure(self, what, seconds):
        TIMES.append((f"{what}, {'daemon' if self.desk_has_daemon else 'embedded'}", seconds))

    def logged_since(self, agent, count, text, seconds=10):
        found = wait_until(lambda: next((l for l in agent.lines[count:] if text in l), None), seconds)
        self.assertTrue(found, f"{text} not in {agent.lines[count:]}")

    @needs("ippfind", "ipptool")
    def test_is_found_with_all_that_a_phone_asks_for_and_prints(self):
        started = time.monotonic()
        agent = self.start_agent()
        fields = self.seen("start to seen", started)
        self.assertEqual((fields[6], fields[8]), ("desk.local", str(agent.port)))

        found = self.phone.run("avahi-browse", "-rpt", TYPE).stdout
        entry = next(split_entry(l) for l in found.splitlines() if l.startswith("=;eth0;IPv4"))
        self.assertEqual(entry[7], self.desk.address)
        pairs = shlex.split(entry[9])
        self.assertEqual(len(pairs), 23)
        self.assertIn("rp=ipp/print", pairs)
        self.assertIn("ty=Test Printer", pairs)
        self.assertIn("URF=SRGB24,W8,RS300,DM1,V1.4", pairs)
        self.assertTrue(agent.logged(f'BonjourRegistrar: registered as "{NAME}"'))
        self.assertTrue(agent.logged("initial choice: wired interface eth0 (index "))

        printers = self.phone.run("ippfind", "-T", "3", f"{TYPE.replace('_universal._sub.', '')}")
        self.assertEqual(printers.stdout.split(), [f"ipp://desk.local:{agent.port}/ipp/print"])
        with tempfile.TemporaryDirectory() as folder:
            letter = pathlib.Path(folder) / "letter.pdf"
            letter.write_bytes(pdf_saying("From the phone, with love to the desk"))
            self.phone.run("ipptool", "-f", str(letter), f"ipp://{entry[7]}:{entry[8]}/ipp/print",
                           "/usr/share/cups/ipptool/print-job.test")
            (saved,) = agent.wait_saved()
            self.assertEqual(saved.read_bytes(), letter.read_bytes())

    def test_says_goodbye(self):
        agent = self.start_agent()
        self.assertTrue(self.browser.wait("=", NAME, 0))
        stopped = time.monotonic()
        agent.stop()
        gone = self.browser.wait("-", NAME, stopped, 5)
        self.assertTrue(gone, "no goodbye was seen")
        self.measure("stop to gone", gone[0] - stopped)

    def test_is_seen_under_its_new_name_after_a_rename(self):
        agent = self.start_agent()
        self.assertTrue(self.browser.wait("=", NAME, 0))
        renamed = time.monotonic()
        agent.write_settings(printerName="Attic")
        agent.process.send_signal(signal.SIGHUP)
        self.seen("rename to seen", renamed, "Attic")
        self.assertTrue(self.browser.wait("-", NAME, renamed, 5), "the old name is still there")

    def test_takes_another_name_when_its_own_is_taken(self):
        self.phone.popen("avahi-publish-service", NAME, "_ipp._tcp", "9999", "--subtype", TYPE,
                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.assertTrue(self.browser.wait("=", NAME, 0))
        started = time.monotonic()
        agent = self.start_agent()
        self.assertTrue(agent.logged(f'BonjourRegistrar: registered as "{NAME} #2"'))
        self.seen("start to seen under another name", started, f"{NAME} #2")

    def test_stays_through_a_loose_cable_and_comes_back_after_a_pulled_one(self):
        agent = self.start_agent()
        self.assertTrue(agent.logged("registered as"))
        self.assertTrue(self.browser.wait("=", NAME, 0))
        time.sleep(1)
        before = len(agent.lines)
        self.switch.pull(self.desk)
        time.sleep(0.5)
        self.switch.plug_back(self.desk)
        time.sleep(3)
        self.assertEqual([l for l in agent.lines[before:] if "advertising on" in l], [])
        self.assert_found("half a second without a cable")

        self.switch.pull(self.desk)
        time.sleep(4)
        plugged = time.monotonic()
        self.switch.plug_back(self.desk)
        self.logged_since(agent, before, "advertising on all interfaces (was wired interface eth0")
        self.logged_since(agent, before, "advertising on wired interface eth0")
        count = next(n for n, l in enumerate(agent.lines) if "advertising on wired" in l)
        self.logged_since(agent, count, f'registered as "{NAME}"')
        self.measure("cable back to registered", time.monotonic() - plugged)
        self.assert_found("four seconds without a cable")

    def assert_found(self, when):
        """A new look from the phone finds the printer, at its address."""
        found = self.phone.run("avahi-browse", "-rpt", TYPE).stdout
        self.assertRegex(found, rf"=;eth0;IPv[46];Test\\032Printer;.*;desk\.local;", when)


class WithDaemon(Discovery, unittest.TestCase):
    def test_comes_back_with_its_daemon(self):
        agent = self.start_agent()
        self.assertTrue(self.browser.wait("=", NAME, 0))
        for with_signal in (signal.SIGKILL, signal.SIGTERM):
            count = len(agent.lines)
            end(self.desk.daemon, with_signal)
            self.path_of_pid().unlink(missing_ok=True)
            killed = time.monotonic()
            self.desk.start_daemon()
            self.logged_since(agent, count, "registration lost (error -23); re-registering in 1s")
            self.logged_since(agent, count, f'registered as "{NAME}"')
            self.measure("daemon restarted to registered", time.monotonic() - killed)
            time.sleep(1)
            self.assert_found("the daemon's restart")

    def path_of_pid(self):
        return self.desk.path("run/avahi-daemon/pid")

    def test_sleeps_once_it_is_announced(self):
        agent = self.start_agent()
        self.assertTrue(agent.logged("registered as"))
        self.browser.close()
        end(self.phone.daemon)
        time.sleep(1)
        before = agent.wake_ups()
        time.sleep(3)
        self.assertEqual(agent.wake_ups(), before)


class WithoutDaemon(Discovery, unittest.TestCase):
    desk_has_daemon = False

    def test_moves_to_a_daemon_that_comes_later(self):
        agent = self.start_agent()
        self.assertTrue(agent.logged("registered as"))
        self.assertTrue(self.browser.wait("=", NAME, 0))
        registrations = self.registrations(agent)
        # A bus comes, goes, and comes back; the agent gives each a second to get ready.
        self.desk.start_bus()
        time.sleep(2)
        self.desk.stop_bus()
        self.desk.start_bus()
        time.sleep(2)
        self.assert_found("a bus without a daemon")
        self.assertEqual(self.registrations(agent), registrations)
        count = len(agent.lines)
        came = time.monotonic()
        self.desk.start_daemon()
        self.logged_since(agent, count, f'registered as "{NAME}"')
        self.measure("daemon came to registered", time.monotonic() - came)
        self.seen("daemon came to seen", came)
        self.assertEqual(len(self.local_services(self.desk)), 1)

        count = len(agent.lines)
        end(self.desk.daemon)
        self.desk.stop_bus()
        self.logged_since(agent, count, "registration lost (error -23)")
        self.logged_since(agent, count, f'registered as "{NAME}"')
        time.sleep(1)
        self.assert_found("the daemon's end")

    @staticmethod
    def registrations(agent):
        return [l for l in agent.lines if "BonjourRegistrar" in l]

    @staticmethod
    def local_services(host):
        """The printer's names that the host's own daemon knows."""
        lines = host.run("avahi-browse", "-pt", TYPE).stdout.splitlines()
        return {split_entry(l + ";" * 6)[3] for l in lines if ";eth0;" in l}


if __name__ == "__main__":
    unittest.main()
