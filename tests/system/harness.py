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


def leave_the_network():
    """Moves the tests to a network of their own, where they may: the neighbours are to see neither
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


def wait_until(condition, seconds=10):
    """What the condition gives once it gives something; None when it never does."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        result = condition()
        if result:
            return result
        time.sleep(0.01)
    return None


def memory_kib(process, measure):
    """VmRSS, VmHWM or the like of a process."""
    status = pathlib.Path(f"/proc/{process}/status").read_text(encoding="ascii")
    return int(status.split(measure + ":")[1].split()[0])


def cpu_ticks(process):
    """The processor time that a process has used, in hundredths of a second."""
    stat = pathlib.Path(f"/proc/{process}/stat").read_text(encoding="ascii")
    fields = stat.rsplit(")")[1].split()
    return int(fields[11]) + int(fields[12])


class Agent:
    """One running agent with a home and a save folder of its own."""

    def __init__(self, settings=None, configured=True, preexec=None, folder=None,
                 environment=None):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="korvane-"))
        self.support = self.home / "config" / "Korvane"
        self.saved = folder or self.home / "saved"
        self.saved.mkdir(exist_ok=True)
        self.port = free_port()
        self.lines = []
        if configured:
            self.write_settings(**(settings or {}))
        variables = {"PATH": os.environ["PATH"], "HOME": str(self.home),
                     "XDG_CONFIG_HOME": str(self.home / "config"), "TZ": "UTC"}
        variables.update(environment or {})
        self.process = subprocess.Popen([AGENT], env=variables, stderr=subprocess.PIPE,
                                        stdin=subprocess.DEVNULL, preexec_fn=preexec)
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        shutil.rmtree(self.home, ignore_errors=True)

    def _read(self):
        for line in self.process.stderr:
            self.lines.append(line.decode("utf-8").rstrip("\n"))

    def write_settings(self, **changes):
        self.support.mkdir(parents=True, exist_ok=True)
        settings = {"printerName": "Test Printer", "saveDirectoryPath": str(self.saved),
                    "notesEnabled": False, "notesFolder": "Printed", "ippPort": self.port}
        settings.update(changes)
        (self.support / "settings.json").write_text(json.dumps(settings))

    @property
    def uri(self):
        return f"ipp://localhost:{self.port}/ipp/print"

    def logged(self, text, seconds=10):
        """The first line that holds the text, waited for."""
        return wait_until(lambda: next((l for l in list(self.lines) if text in l), None), seconds)

    def wait_ready(self):
        if not self.logged("PrinterService: ready on port"):
            raise AssertionError("the agent is not ready:\n" + "\n".join(self.lines))
        return self

    def stop(self, with_signal=signal.SIGTERM):
        """Asks the agent to end and gives its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(with_signal)
        try:
            status = self.process.wait(60)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise
        self.reader.join(10)
        self.process.stderr.close()
        return status

    def files(self):
        return sorted(self.saved.iterdir())

    def wait_saved(self, count=1, seconds=20):
        """The saved documents, once there are that many."""
        done = lambda: len([l for l in list(self.lines) if "job saved at" in l]) >= count
        if not wait_until(done, seconds):
            raise AssertionError("nothing was saved:\n" + "\n".join(self.lines))
        return self.files()

    def resident_kib(self):
        return memory_kib(self.process.pid, "VmRSS")

    def workers(self):
        """The process ids of the agent's workers."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*/stat"):
            try:
                state, parent = process.read_text().rsplit(")")[1].split()[:2]
            except OSError:
                continue
            if int(parent) == self.process.pid and state != "Z":
                found.append(int(process.parent.name))
        return found

    def cpu_ticks(self):
        return cpu_ticks(self.process.pid)

    def wake_ups(self):
        """How often the agent's threads have gone to sleep so far."""
        tasks = pathlib.Path(f"/proc/{self.process.pid}/task").iterdir()
        texts = [(task / "status").read_text(encoding="ascii") for task in tasks]
        return sum(int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", t, re.M)[1]) for t in texts)

    def connect(self, host="127.0.0.1"):
        return socket.create_connection((host, self.port), timeout=10)

    def exchange(self, raw, host="127.0.0.1"):
        """Sends the bytes, finishes sending, and gives all that comes back."""
        with self.connect(host) as client:
            client.sendall(raw)
            client.shutdown(socket.SHUT_WR)
            return read_all(client)

    def post(self, body, host="127.0.0.1"):
        client = http.client.HTTPConnection(host, self.port, timeout=60)
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
