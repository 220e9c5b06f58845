"""Other hosts of the network find the printer: through the Avahi daemon, and without one."""

import os
import pathlib
import shlex
import signal
import socket
import tempfile
import unittest

import harness
from harness import Agent, make_pdf, needs, wait_until
from hosts import Browser, Host, Switch, why_not

TYPE = "_universal._sub._ipp._tcp"
LETTER = make_pdf("BT /F1 24 Tf 72 700 Td (From the phone, with love to the desk) Tj ET")

harness.AGENT = os.path.abspath(harness.AGENT)


def setUpModule():
    reason = why_not()
    if reason:
        raise unittest.SkipTest(reason)


class Discovery:
    """The printer's host is the desk, and the phone looks for it. The phone remembers what it has
    seen, so every test has printers with names of their own."""

    desk_has_daemon = True

    @classmethod
    def setUpClass(cls):
        switch, cls.desk, cls.phone = (cls.enterClassContext(host) for host in
                                       (Switch(), Host("desk"), Host("phone")))
        cls.switch = switch
        for host in (cls.desk, cls.phone):
            switch.plug_in(host)
            if host is cls.phone or cls.desk_has_daemon:
                host.start_bus()
                host.start_daemon()
        switch.add_containers(cls.desk)
        cls.browser = Browser(cls.phone, TYPE)

    def start_agent(self, name):
        agent = self.enterContext(Agent({"printerName": name}, preexec=self.desk.enter))
        return agent.wait_ready()

    def rename(self, agent, name):
        """Gives the printer a name that the phone has not seen yet, and sees it there."""
        agent.write_settings(printerName=name)
        agent.reload()
        return self.browser.wait("=", name)

    @needs("ippfind", "ipptool")
    def test_is_found_used_renamed_and_gone(self):
        agent = self.start_agent("Office")
        fields = self.browser.wait("=", "Office", family="IPv4")
        self.assertEqual((fields[6], fields[7], fields[8]),
                         ("desk.local", self.desk.address, str(agent.port)))
        pairs = shlex.split(fields[9])
        self.assertEqual(len(pairs), 23)
        self.assertIn("rp=ipp/print", pairs)
        self.assertIn("ty=Office", pairs)
        self.assertIn("URF=SRGB24,W8,RS300,DM1,V1.4", pairs)
        agent.wait_logged('BonjourRegistrar: registered as "Office"')
        agent.wait_logged("initial choice: wired interface eth0 (index ")
        self.assertEqual(sum("registering" in line for line in agent.lines), 1)

        finder = self.phone.start("ippfind", "-T", str(harness.HANG), "--name", "Office", "--exec",
                                  "echo", "{}", ";")
        finder.lines.wait_line(f"ipp://desk.local:{agent.port}/ipp/print")
        with tempfile.TemporaryDirectory() as folder:
            letter = pathlib.Path(folder) / "letter.pdf"
            letter.write_bytes(LETTER)
            self.phone.run("ipptool", "-f", str(letter), f"ipp://{fields[7]}:{fields[8]}/ipp/print",
                           "/usr/share/cups/ipptool/print-job.test")
        (saved,) = agent.wait_saved()
        self.assertEqual(saved.read_bytes(), LETTER)

        self.rename(agent, "Attic")
        self.browser.wait("-", "Office")
        agent.stop()
        self.browser.wait("-", "Attic")

    def test_takes_another_name_when_its_own_is_taken(self):
        with self.phone.start("avahi-publish-service", "Twin", "_ipp._tcp", "9999", "--subtype", TYPE):
            self.browser.wait("=", "Twin")
            agent = self.start_agent("Twin")
            agent.wait_logged('BonjourRegistrar: registered as "Twin #2"')
            self.browser.wait("=", "Twin #2")

    def test_two_of_one_name_that_start_together_get_two_names(self):
        agents = [self.enterContext(Agent({"printerName": "Pair"}, preexec=self.desk.enter))
                  for _ in range(2)]
        lines = [agent.wait_logged('registered as "') for agent in agents]
        self.assertEqual(sorted(line.split('"')[1] for line in lines), ["Pair", "Pair #2"])

    def test_comes_back_with_its_cable_address_or_adapter(self):
        agent = self.start_agent("Before")
        self.browser.wait("=", "Before")
        for name, change in (("After", None), ("Elsewhere", self.switch.number),
                             ("Anew", self.switch.replace)):
            start = len(agent.lines)
            self.switch.pull(self.desk)
            agent.wait_logged("advertising on all interfaces (was wired interface eth0", start)
            agent.write_settings(printerName=name)
            agent.reload()
            agent.wait_logged(f'publishing "{name}"')
            self.switch.plug_back(self.desk)
            if change:
                change(self.desk)
            agent.wait_logged("advertising on wired interface eth0", start)
            self.browser.wait("=", name)
            # What the phone knew of the host ages for a second.
            wait_until(lambda: self.desk.address in self.phone.run(
                "avahi-resolve-host-name", "-4", "desk.local"))

    def test_follows_its_host_to_the_name_that_others_find_it_by(self):
        agent = self.start_agent("Mobile")
        self.browser.wait("=", "Mobile")
        for name, host in (("phone", "phone-2"), ("desk", "desk")):
            start = len(agent.lines)
            self.desk.run(self.set_host_name, name)
            agent.wait_logged(f"this host is now {host}.local", start)
            fields = self.rename(agent, f"Mobile on {host}")
            self.assertEqual(fields[6], f"{host}.local")
            self.assertIn(f"note={host}", shlex.split(fields[9]))


class WithDaemon(Discovery, unittest.TestCase):
    set_host_name = "avahi-set-host-name"

    def test_waits_for_no_daemon_that_is_stopped(self):
        agent = self.start_agent("Patient")
        self.browser.wait("=", "Patient")
        daemon = self.desk.daemon.process
        daemon.send_signal(signal.SIGSTOP)
        try:
            agent.write_settings(printerName="Impatient", ippPort=harness.free_port())
            agent.reload()
            agent.wait_logged("the Avahi daemon does not answer; advertising without it")
            self.browser.wait("=", "Impatient")
            start = len(agent.lines)
            daemon.send_signal(signal.SIGCONT)
            agent.wait_logged('registered as "Impatient"', start)
            self.rename(agent, "Content")
            daemon.send_signal(signal.SIGSTOP)
            self.assertEqual(agent.stop(), 0)
        finally:
            daemon.send_signal(signal.SIGCONT)

    def test_comes_back_with_its_daemon_and_then_sleeps(self):
        agent = self.start_agent("Steady")
        agent.wait_logged('registered as "Steady"')
        for with_signal in (signal.SIGKILL, signal.SIGTERM):
            start = len(agent.lines)
            self.desk.daemon.stop(with_signal)
            self.desk.start_daemon()
            agent.wait_logged("registration lost (error -23); re-registering in 1s", start)
            agent.wait_logged('registered as "Steady"', start)
        self.rename(agent, "Steady too")
        wait_until(agent.sleeps)


class WithoutDaemon(Discovery, unittest.TestCase):
    desk_has_daemon = False
    set_host_name = "hostname"

    def test_two_hosts_of_one_name_that_start_together_get_two_names(self):
        clone = self.enterContext(Host("desk"))
        self.switch.plug_in(clone)
        agents = [self.enterContext(Agent({"printerName": "Clone"}, preexec=host.enter))
                  for host in (self.desk, clone)]
        for name in ("Clone", "Clone #2"):
            self.browser.wait("=", name)
        for agent in agents:
            self.assertEqual(agent.stop(), 0)

    def test_waits_for_no_bus_that_is_silent(self):
        path = self.desk.path("run/dbus/system_bus_socket")
        with socket.socket(socket.AF_UNIX) as bus:
            bus.bind(str(path))
            bus.listen()
            agent = self.start_agent("Unheard")
            agent.wait_logged("the system bus does not answer; advertising without it")
            self.browser.wait("=", "Unheard")
            self.assertEqual(agent.stop(), 0)
        path.unlink()

    def test_moves_to_a_daemon_that_comes_and_back_when_it_goes(self):
        agent = self.start_agent("Alone")
        self.browser.wait("=", "Alone")
        # A bus comes, goes, and comes back; the agent joins it when it has had time to get ready.
        self.desk.start_bus()
        self.desk.stop_bus()
        self.desk.start_bus()
        wait_until(self.agent_is_on_the_bus)
        self.rename(agent, "Beside a bus")
        self.assertFalse(agent.has_logged("registration lost"))

        for change, name in ((self.desk.start_daemon, "With a daemon"),
                             (self.desk.stop_bus, "Alone again")):
            start = len(agent.lines)
            change()
            agent.wait_logged('registered as "', start)
            self.rename(agent, name)
        self.assertTrue(agent.has_logged("registration lost (error -23)"))

    def agent_is_on_the_bus(self):
        """Whether somebody is there beside the one who asks."""
        names = self.desk.run("dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.DBus",
                              "/", "org.freedesktop.DBus.ListNames")
        return names.count('":1.') > 1


if __name__ == "__main__":
    unittest.main()
