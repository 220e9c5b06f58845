"""Hosts on a network that the test makes itself: each has its own network, name and /run, so that it
can run a system bus and an Avahi daemon of its own. All of it is gone with the processes in it."""

import ctypes
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import threading
import time

from harness import wait_until

NAMESPACES = ("net", "mnt", "uts")
PARENT_DEATH_SIGNAL = 1
LIBC = ctypes.CDLL(None, use_errno=True)

BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path=/run/dbus/system_bus_socket</listen>
<auth>EXTERNAL</auth><policy context="default"><allow send_destination="*"/><allow own="*"/>
<allow receive_sender="*"/></policy></busconfig>"""

DAEMON = "[server]\nuse-ipv4=yes\nuse-ipv6=yes\n[publish]\npublish-hinfo=no\npublish-workstation=no\n"

PREPARE = """mount -t tmpfs tmpfs /run && mkdir /run/dbus && hostname "$0" && ip link set lo up &&
echo ready && exec sleep infinity"""


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


def end(process, with_signal=signal.SIGTERM):
    if process.poll() is None:
        process.send_signal(with_signal)
    try:
        process.wait(5)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


class Host:
    """A machine without a cable, a bus or a daemon yet."""

    def __init__(self, name):
        self.name = name
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="korvane-host-"))
        (self.folder / "bus.conf").write_text(BUS)
        (self.folder / "daemon.conf").write_text(DAEMON)
        self.processes = []
        self.holder = subprocess.Popen(["unshare", "-num", "sh", "-c", PREPARE, name],
                                       stdout=subprocess.PIPE, preexec_fn=die_with_the_test)
        if not self.holder.stdout.readline():
            raise AssertionError(f"no host {name}")
        self.bus = self.daemon = None

    def enter(self):
        """Moves the calling process into the host; for a child before it begins."""
        die_with_the_test()
        files = [os.open(f"/proc/{self.holder.pid}/ns/{n}", os.O_RDONLY) for n in NAMESPACES]
        for file in files:
            if LIBC.setns(file, 0) != 0:
                raise OSError(ctypes.get_errno(), "setns")

    def popen(self, *command, **options):
        environment = {**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin"}
        process = subprocess.Popen(command, preexec_fn=self.enter, env=environment, **options)
        self.processes.append(process)
        return process

    def run(self, *command, check=True, timeout=30):
        return subprocess.run(command, preexec_fn=self.enter, capture_output=True, text=True,
                              check=check, timeout=timeout)

    def path(self, name):
        """A file of the host, as seen from outside."""
        return pathlib.Path(f"/proc/{self.holder.pid}/root/{name}")

    def start_bus(self):
        self.bus = self.popen("dbus-daemon", "--nofork", "--nopidfile",
                              f"--config-file={self.folder}/bus.conf", stderr=subprocess.DEVNULL)
        if not wait_until(self.path("run/dbus/system_bus_socket").exists):
            raise AssertionError(f"no bus on {self.name}")

    def start_daemon(self):
        self.daemon = self.popen("avahi-daemon", "--no-drop-root", "--no-chroot", "--no-rlimits",
                                 "-f", f"{self.folder}/daemon.conf", stderr=subprocess.DEVNULL)

    def stop_bus(self):
        end(self.bus)
        self.path("run/dbus/system_bus_socket").unlink(missing_ok=True)

    def close(self):
        for process in reversed(self.processes):
            end(process)
        end(self.holder, signal.SIGKILL)
        self.holder.stdout.close()
        shutil.rmtree(self.folder, ignore_errors=True)


class Switch:
    """A bridge that hosts are plugged into, with addresses from 10.77.0.1 on."""

    def __init__(self):
        self.host = Host("switch")
        self.host.run("ip", "link", "add", "switch", "type", "bridge", "mcast_snooping", "0")
        self.host.run("ip", "link", "set", "switch", "up")
        self.count = 0

    def plug_in(self, host):
        self.count += 1
        host.port = f"port{self.count}"
        host.address = f"10.77.0.{self.count}"
        self.host.run("ip", "link", "add", host.port, "type", "veth", "peer", "name", "eth0",
                      "netns", str(host.holder.pid))
        self.host.run("ip", "link", "set", host.port, "master", "switch", "up")
        host.run("ip", "address", "add", f"{host.address}/24", "dev", "eth0")
        host.run("ip", "link", "set", "eth0", "up")
        host.run("ip", "route", "add", "default", "via", "10.77.0.254")

    def pull(self, host):
        self.host.run("ip", "link", "set", host.port, "down")

    def plug_back(self, host):
        self.host.run("ip", "link", "set", host.port, "up")

    def close(self):
        self.host.close()


class Browser:
    """What a host sees of a service type as time goes by."""

    def __init__(self, host, service_type):
        self.events = []
        self.process = host.popen("avahi-browse", "-rpk", service_type, stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL)
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for line in self.process.stdout:
            fields = split_entry(line.decode())
            self.events.append((time.monotonic(), fields[0], fields[3], fields))

    def wait(self, mark, name, since, seconds=10):
        """The first event after a moment that marks the name: + - or = (resolved)."""
        return wait_until(lambda: next((e for e in list(self.events)
                                        if e[0] >= since and e[1:3] == (mark, name)), None), seconds)

    def close(self):
        end(self.process)
        self.reader.join(5)
        self.process.stdout.close()


def split_entry(line):
    """The fields of a line that avahi-browse wrote for programs: \\032 stands for a space."""
    fields = line.rstrip("\n").split(";", 9)
    parts = fields[3].split("\\")
    fields[3] = parts[0] + "".join(chr(int(p[:3])) + p[3:] if p[:3].isdigit() else "\\" + p
                                   for p in parts[1:])
    return fields
