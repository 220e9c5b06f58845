"""Hosts on a network that the test makes itself: each has its own network, name and /run, so that it
can run a system bus and an Avahi daemon of its own. All of it is gone with the processes in it."""

import contextlib
import ctypes
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile

from harness import HANG, Program

NAMESPACES = ("net", "mnt", "uts")
PARENT_DEATH_SIGNAL = 1
LIBC = ctypes.CDLL(None, use_errno=True)

BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path=/run/dbus/system_bus_socket</listen>
<auth>EXTERNAL</auth><policy context="default"><allow user="*"/><allow send_destination="*"/><allow own="*"/>
<allow receive_sender="*"/></policy></busconfig>"""

DAEMON = "[server]\nuse-ipv4=yes\nuse-ipv6=yes\n[publish]\npublish-hinfo=no\npublish-workstation=no\n"

# No name server answers on these networks: the one that is asked refuses at once.
PREPARE = """mount -t tmpfs tmpfs /run && mkdir /run/dbus && hostname "$0" && ip link set lo up &&
if [ -e /etc/resolv.conf ]
then echo nameserver 127.0.0.1 >/run/resolv.conf && mount --bind /run/resolv.conf /etc/resolv.conf
fi && echo ready && exec sleep infinity"""


def why_not():
    """Why hosts cannot be made here; empty when they can."""
    programs = ["unshare", "ip", "dbus-daemon", "avahi-daemon", "avahi-browse"]
    missing = [p for p in programs if not shutil.which(p, path=os.environ["PATH"] + ":/usr/sbin")]
    if missing:
        return "not installed: " + ", ".join(missing)
    if os.geteuid() != 0:
        return "making hosts takes root"
    probe = subprocess.run(["unshare", "-num", "sh", "-c", "mount -t tmpfs tmpfs /run && "
                            "ip link add port type veth peer name eth0 && "
                            "ip link add switch type bridge"],
                           capture_output=True, text=True, check=False)
    return "" if probe.returncode == 0 else "namespaces are not permitted: " + probe.stderr.strip()


def die_with_the_test():
    LIBC.prctl(PARENT_DEATH_SIGNAL, signal.SIGKILL)


class Host(contextlib.ExitStack):
    """A machine without a cable, a bus or a daemon yet."""

    def __init__(self, name):
        super().__init__()
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="korvane-host-"))
        self.callback(shutil.rmtree, self.folder, ignore_errors=True)
        (self.folder / "bus.conf").write_text(BUS)
        (self.folder / "daemon.conf").write_text(DAEMON)
        holder = self.enter_context(Program("unshare", "-num", "sh", "-c", PREPARE, name,
                                            preexec_fn=die_with_the_test))
        holder.lines.wait_line("ready")
        self.pid = holder.process.pid
        self.bus = self.daemon = None

    def enter(self):
        """Moves the calling process into the host; for a child before it begins."""
        die_with_the_test()
        files = [os.open(f"/proc/{self.pid}/ns/{n}", os.O_RDONLY) for n in NAMESPACES]
        for file in files:
            if LIBC.setns(file, 0) != 0:
                raise OSError(ctypes.get_errno(), "setns")

    def start(self, *command, **options):
        environment = {**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin"}
        return self.enter_context(Program(*command, preexec_fn=self.enter, env=environment, **options))

    def run(self, *command):
        """Runs a command to its end and gives what it writes."""
        return subprocess.run(command, preexec_fn=self.enter, capture_output=True, text=True,
                              check=True, timeout=HANG).stdout

    def path(self, name):
        """A file of the host, as seen from outside."""
        return pathlib.Path(f"/proc/{self.pid}/root/{name}")

    def start_bus(self):
        self.bus = self.start("dbus-daemon", "--nofork", "--nopidfile", "--print-address",
                              f"--config-file={self.folder}/bus.conf")
        self.bus.lines.wait_line("unix:")

    def stop_bus(self):
        """Stops the bus, after the daemon if there is one."""
        if self.daemon:
            self.daemon.stop()
        self.bus.stop()
        self.path("run/dbus/system_bus_socket").unlink(missing_ok=True)

    def start_daemon(self):
        """Starts the Avahi daemon, which then has found that its host's name is free."""
        self.path("run/avahi-daemon/pid").unlink(missing_ok=True)
        self.daemon = self.start("avahi-daemon", "--no-drop-root", "--no-chroot", "--no-rlimits",
                                 "-f", f"{self.folder}/daemon.conf", errors=True)
        self.daemon.lines.wait_line("Server startup complete")


class Switch(Host):
    """A bridge that hosts are plugged into, with addresses from 10.77.0.1 on."""

    def __init__(self):
        super().__init__("switch")
        self.run("ip", "link", "add", "switch", "type", "bridge", "mcast_snooping", "0")
        self.run("ip", "link", "set", "switch", "up")
        self.count = self.numbers = 0

    def plug_in(self, host):
        """Gives the host an adapter with a cable to a port of its own."""
        self.count += 1
        host.port = f"port{self.count}"
        self.run("ip", "link", "add", host.port, "type", "veth", "peer", "name", "eth0",
                 "netns", str(host.pid))
        self.run("ip", "link", "set", host.port, "master", "switch", "up")
        self.number(host)

    def number(self, host):
        """Gives the host another address."""
        self.numbers += 1
        host.address = f"10.77.0.{self.numbers}"
        host.run("ip", "address", "flush", "dev", "eth0", "scope", "global")
        host.run("ip", "address", "add", f"{host.address}/24", "dev", "eth0")
        host.run("ip", "link", "set", "eth0", "up")
        host.run("ip", "route", "replace", "default", "via", "10.77.0.254")

    def add_containers(self, host):
        """Gives the host cables to containers: one of its own, and one at a bridge."""
        for name in ("pod0", "pod1"):
            self.run("ip", "link", "add", name, "type", "veth", "peer", "name", name, "netns",
                     str(host.pid))
            self.run("ip", "link", "set", name, "up")
            host.run("ip", "link", "set", name, "up")
        host.run("ip", "link", "add", "pods", "type", "bridge", "mcast_snooping", "0")
        host.run("ip", "link", "set", "pods", "up")
        host.run("ip", "link", "set", "pod1", "master", "pods")
        for number, name in enumerate(("pod0", "pods")):
            host.run("ip", "address", "add", f"10.88.{number}.1/24", "dev", name)

    def replace(self, host):
        """Gives the host another adapter in place of the one it has."""
        self.run("ip", "link", "delete", host.port)
        self.plug_in(host)

    def pull(self, host):
        self.run("ip", "link", "set", host.port, "down")

    def plug_back(self, host):
        self.run("ip", "link", "set", host.port, "up")


class Browser:
    """What a host sees of a service type."""

    def __init__(self, host, service_type):
        self.lines = host.start("avahi-browse", "-rpk", service_type).lines

    def wait(self, mark, name, start=0, family=""):
        """The fields of the first event, from that index on, that marks the name: as found (+), gone
        (-) or resolved (=)."""
        def event():
            events = map(split_entry, self.lines[start:])
            return next((e for e in events if (e[0], e[3]) == (mark, name) and family in e[2]), None)
        return self.lines.wait(event)


def split_entry(line):
    """The fields of a line that avahi-browse wrote for programs: \\032 stands for a space."""
    fields = line.split(";", 9)
    parts = fields[3].split("\\")
    fields[3] = parts[0] + "".join(chr(int(p[:3])) + p[3:] if p[:3].isdigit() else "\\" + p
                                   for p in parts[1:])
    return fields
