"""The agent as a user starts it, and small IPP and HTTP clients to treat it well or badly."""

import ctypes
import fcntl
import http.client
import json
import os
import pathlib
import random
import re
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time
import unittest

AGENT = os.environ.get("KORVANE_AGENT", "build/release/bin/korvane-agent")

# The system calls in which a thread waits without a time limit, as /proc tells them: epoll_wait,
# epoll_pwait and futex of x86-64 and of arm64, whose fourth argument is the limit.
WAITS = re.compile(r"((232|281|22) (\S+ ){3}0xffffffff |(202|98) (\S+ ){3}0x0 )")

# How long a test waits for what is to come before it fails; no test measures time with it.
HANG = 120


def leave_the_network():
    """Moves the tests to a network of their own, where they may: the neighbors are to see neither
    these printers nor have a say in the tests."""
    new_user, new_network = 0x10000000, 0x40000000
    libc = ctypes.CDLL(None)
    user, group = os.getuid(), os.getgid()
    if libc.unshare(new_network) != 0:
        if libc.unshare(new_user | new_network) != 0:
            return
        for name, text in (("setgroups", "deny"), ("uid_map", f"{user} {user} 1"),
                           ("gid_map", f"{group} {group} 1")):
            pathlib.Path("/proc/self", name).write_text(text, encoding="ascii")
    request = struct.pack("16sH14x", b"lo", 1)  # IFF_UP
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        fcntl.ioctl(any_socket, 0x8914, request)  # SIOCSIFFLAGS


leave_the_network()


class Mount:
    """A file system mounted on a folder, seen by these tests and what they start alone."""

    def __init__(self, folder, kind, options=""):
        self.folder = folder
        if ctypes.CDLL(None).unshare(0x20000) != 0:  # CLONE_NEWNS
            raise unittest.SkipTest("mounting is not permitted here")
        self._call(None, "/", None, 0x44000)  # MS_REC | MS_PRIVATE
        self._call(kind, folder, kind, 6, options)  # MS_NOSUID | MS_NODEV
        self.kind = kind

    def __enter__(self):
        return self

    def __exit__(self, *_):
        ctypes.CDLL(None).umount2(str(self.folder).encode(), 2)  # MNT_DETACH

    def change(self, options="", read_only=False):
        self._call(None, self.folder, None, 38 | read_only, options)  # MS_REMOUNT and those above

    @staticmethod
    def _call(source, folder, kind, flags, options=""):
        texts = [text and str(text).encode() for text in (source, folder, kind)]
        if ctypes.CDLL(None).mount(*texts, ctypes.c_ulong(flags), options.encode()) != 0:
            raise unittest.SkipTest("mounting is not permitted here")


def free_port():
    """A port that is free, below those that the system gives to outgoing connections."""
    while True:
        port = random.randrange(10000, 32000)
        with socket.socket(socket.AF_INET6) as probe:
            try:
                probe.bind(("::", port))
                return port
            except OSError:
                continue


class Events(list):
    """What a thread saw, in order; tests wait on it for what is still to come."""

    def __init__(self):
        super().__init__()
        self._changed = threading.Condition()
        self._ended = False

    def append(self, event):
        with self._changed:
            super().append(event)
            self._changed.notify_all()

    def end(self):
        """No more will come: nobody waits any longer."""
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def wait(self, condition, seconds=HANG):
        """What the condition gives, asked after each event, once it gives something."""
        with self._changed:
            self._changed.wait_for(lambda: self._ended or condition(), seconds)
            result = condition()
        if not result:
            raise AssertionError("not among these:\n" + "\n".join(map(str, self)))
        return result

    def wait_count(self, count):
        """All of them, once there are so many."""
        return self.wait(lambda: len(self) >= count and self)

    def wait_line(self, text, start=0, seconds=HANG):
        """The first line, from that index on, that holds the text."""
        try:
            return self.wait(lambda: next((l for l in self[start:] if text in l), None), seconds)
        except AssertionError as error:
            raise AssertionError(f"{text}: {error}") from None


def wait_until(condition):
    """What the condition gives, once it gives something: for what sends no event when it changes."""
    deadline = time.monotonic() + HANG
    while time.monotonic() < deadline:
        result = condition()
        if result:
            return result
        time.sleep(0.01)
    raise AssertionError("waited in vain")


class Program:
    """A running program and the lines that it writes, on standard output unless told otherwise."""

    def __init__(self, *command, errors=False, **options):
        streams = {"stderr" if errors else "stdout": subprocess.PIPE,
                   "stdout" if errors else "stderr": subprocess.DEVNULL}
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, **streams, **options)
        self.lines = Events()
        self._stream = self.process.stderr if errors else self.process.stdout
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def _read(self):
        for line in self._stream:
            self.lines.append(line.decode("utf-8").rstrip("\n"))
        self.lines.end()

    def stop(self, with_signal=signal.SIGTERM):
        """Asks the program to end and gives its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(with_signal)
        try:
            status = self.process.wait(HANG)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise
        self._reader.join(HANG)
        self._stream.close()
        return status


def memory_kib(process, measure):
    """VmRSS, VmHWM or the like of a process."""
    status = pathlib.Path(f"/proc/{process}/status").read_text(encoding="ascii")
    return int(status.split(measure + ":")[1].split()[0])


class Agent(Program):
    """One running agent with a home and a save folder of its own."""

    def __init__(self, settings=None, configured=True, preexec=None, folder=None,
                 environment=None, program=None):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="korvane-"))
        self.support = self.home / "config" / "Korvane"
        self.saved = folder or self.home / "saved"
        self.saved.mkdir(exist_ok=True)
        self.port = free_port()
        if configured:
            self.write_settings(**(settings or {}))
        self._preexec = preexec
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(self.home),
                             "XDG_CONFIG_HOME": str(self.home / "config"),
                             "XDG_STATE_HOME": str(self.home / "state"), "TZ": "UTC"}
        self.environment.update(environment or {})
        self.start(program or AGENT)

    def start(self, program=AGENT):
        """Starts the agent, or after its end another one for the same user."""
        super().__init__(program, errors=True, env=self.environment, preexec_fn=self._preexec)

    def __exit__(self, *_):
        self.stop()
        shutil.rmtree(self.home, ignore_errors=True)

    def write_settings(self, **changes):
        self.support.mkdir(parents=True, exist_ok=True)
        settings = {"printerName": "Test Printer", "saveDirectoryPath": str(self.saved),
                    "notesEnabled": False, "notesFolder": "Printed", "ippPort": self.port}
        settings.update(changes)
        (self.support / "settings.json").write_text(json.dumps(settings))

    @property
    def uri(self):
        return f"ipp://localhost:{self.port}/ipp/print"

    def wait_logged(self, text, start=0):
        """The first line, from that index on, that holds the text."""
        return self.lines.wait_line(text, start)

    def has_logged(self, text):
        return any(text in line for line in self.lines)

    def wait_ready(self):
        self.wait_logged("PrinterService: ready on port")
        return self

    def reload(self):
        self.process.send_signal(signal.SIGHUP)

    def files(self):
        return sorted(self.saved.iterdir())

    def spooled(self):
        """The files of jobs that are accepted and not saved."""
        return sorted((self.home / "state" / "Korvane" / "spool").iterdir())

    def unsaved(self):
        """The documents that could not be saved."""
        folder = self.home / "state" / "Korvane" / "unsaved"
        return sorted(file for file in folder.iterdir() if not file.name.startswith("."))

    def wait_saved(self, count=1, seconds=HANG):
        """The saved documents, once there are that many."""
        self.lines.wait(lambda: sum("job saved at" in l for l in self.lines) >= count, seconds)
        return self.files()

    def resident_kib(self):
        return memory_kib(self.process.pid, "VmRSS")

    def workers(self):
        """The process ids of the agent's workers."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*/stat"):
            try:
                state, parent = process.read_text().rsplit(")", 1)[1].split()[:2]
            except (OSError, IndexError, ValueError):  # it has just ended
                continue
            if int(parent) == self.process.pid and state != "Z":
                found.append(int(process.parent.name))
        return found

    def sleeps(self, seconds=60):
        """Whether each thread waits for an event, and no timer ends the wait within so many seconds."""
        process = pathlib.Path(f"/proc/{self.process.pid}")
        try:
            calls = [file.read_text(encoding="ascii") for file in process.glob("task/*/syscall")]
            descriptors = "".join(file.read_text() for file in process.glob("fdinfo/*"))
        except OSError:
            return False  # a thread has ended or a descriptor was closed meanwhile
        timers = re.findall(r"it_value: \((\d+), (\d+)\)", descriptors)
        return all(WAITS.match(call) for call in calls) and all(
            timer == ("0", "0") or int(timer[0]) >= seconds for timer in timers)

    def connect(self, host="127.0.0.1"):
        return socket.create_connection((host, self.port), timeout=HANG)

    def exchange(self, raw, host="127.0.0.1"):
        """Sends the bytes, finishes sending, and gives all that comes back."""
        with self.connect(host) as client:
            client.sendall(raw)
            client.shutdown(socket.SHUT_WR)
            return read_all(client)

    def post(self, body, host="127.0.0.1"):
        client = http.client.HTTPConnection(host, self.port, timeout=HANG)
        client.request("POST", "/ipp/print", body, {"Content-Type": "application/ipp"})
        response = client.getresponse()
        return response.status, response.read()

    def print_job(self, document, name="Job"):
        """Prints a document and gives the IPP status code."""
        status, body = self.post(ipp_request(0x0002, name) + document)
        if status != 200:
            raise AssertionError(f"HTTP {status}")
        return struct.unpack(">H", body[2:4])[0]


def read_all(client):
    received = b""
    while True:
        try:
            piece = client.recv(65536)
        except ConnectionResetError:
            return received
        if not piece:
            return received
        received += piece


def attribute(tag, name, value):
    name = name.encode()
    return struct.pack(">BH", tag, len(name)) + name + struct.pack(">H", len(value)) + value


def ipp_request(operation, job_name=None):
    """The header and attributes of an IPP/2.0 request; the document comes behind."""
    request = struct.pack(">BBHI", 2, 0, operation, 1) + b"\x01"
    request += attribute(0x47, "attributes-charset", b"utf-8")
    request += attribute(0x48, "attributes-natural-language", b"en")
    if job_name is not None:
        name = job_name if isinstance(job_name, bytes) else job_name.encode()
        request += attribute(0x42, "job-name", name)
    return request + b"\x03"


def urf_document(width, height, dpi, rows):
    """A one-page 24-bit raster document; `rows` gives each row as RGB triples."""
    page = struct.pack(">BB6xIII8x", 24, 3, width, height, dpi)
    for row in rows:
        page += b"\x00"
        for start in range(0, width, 128):
            run = row[start:start + 128]
            page += bytes([len(run) - 1]) + b"".join(bytes(pixel) for pixel in run)
    return b"UNIRAST\0" + struct.pack(">I", 1) + page


def pdf_of(objects, trailer=""):
    """A PDF of these objects, numbered from 1 on; the first is the catalog."""
    pdf = bytearray(b"%PDF-1.5\n")
    offsets = []
    for number, body in enumerate(objects, 1):
        offsets.append(len(pdf))
        body = body if isinstance(body, bytes) else body.encode()
        pdf += b"%d 0 obj\n%s\nendobj\n" % (number, body)
    start = len(pdf)
    size = len(objects) + 1
    pdf += b"xref\n0 %d\n0000000000 65535 f \n" % size
    pdf += b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    return bytes(pdf) + (f"trailer\n<</Size {size}/Root 1 0 R{trailer}>>\n"
                  f"startxref\n{start}\n%%EOF\n").encode()


def pdf_stream(content, entries=""):
    return f"<<{entries}/Length {len(content)}>>stream\n".encode() + content + b"\nendstream"


def make_pdf(content):
    """A valid PDF of one letter page with these drawing operators; /F1 is a font."""
    return pdf_of(["<</Type/Catalog/Pages 2 0 R>>", "<</Type/Pages/Kids[3 0 R]/Count 1>>",
                   "<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]/Contents 4 0 R"
                   "/Resources<</Font<</F1 5 0 R>>>>>>",
                   pdf_stream(content.encode()),
                   "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>"])


def needs(*programs):
    """Skips a test where a peer is not installed, and says which."""
    missing = [p for p in programs if not shutil.which(p, path=os.environ["PATH"] + ":/usr/sbin")]
    return unittest.skipIf(missing, "not installed: " + ", ".join(missing))
