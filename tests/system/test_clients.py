"""Computers that print through CUPS, from another host: their queues by driverless, by "everywhere", of the
moment, and by cups-browsed. A job is known to the host that sent it and to no other."""

import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

from PIL import Image, ImageChops

import harness
from asking import ask
from findings import text_of
from harness import Agent, Program, make_pdf, needs, wait_until
from hosts import Browser, Host, Switch, why_not
from scans import ENDLESS, scanned_pdf, set_text
from scheduler import Scheduler
from test_recognition import rendering_workers

harness.AGENT = os.path.abspath(harness.AGENT)

PRINTER = "Office"
URI = f"ipp://{PRINTER}._ipp._tcp.local/"
COLORS = ((200, 30, 30), (30, 160, 60), (40, 60, 190), (230, 200, 40))


def setUpModule():
    """The printer is at the desk, and there are a laptop and a phone."""
    reason = why_not()
    if reason:
        raise unittest.SkipTest(reason)
    enter = unittest.enterModuleContext
    Clients.switch, Clients.desk, Clients.laptop, Clients.phone = (
        enter(host) for host in (Switch(), Host("desk"), Host("laptop"), Host("phone")))
    for host in (Clients.desk, Clients.laptop, Clients.phone):
        Clients.switch.plug_in(host)
    for host in (Clients.desk, Clients.laptop):
        host.start_bus()
        host.start_daemon()
    Clients.agent = enter(Agent({"printerName": PRINTER, "ippEverywhere": True},
                                preexec=Clients.desk.enter)).wait_ready()
    Browser(Clients.laptop, "_ipp._tcp").wait("=", PRINTER)


def photo(size=(600, 400)):
    """A picture of four colors, one in each quarter."""
    image = Image.new("RGB", size)
    for number, color in enumerate(COLORS):
        corner = (number % 2 * size[0] // 2, number // 2 * size[1] // 2)
        image.paste(color, (*corner, corner[0] + size[0] // 2, corner[1] + size[1] // 2))
    return image


def rendered(document, resolution=50):
    """The first page as a picture."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["pdftoppm", "-r", str(resolution), "-f", "1", "-singlefile", str(document),
                        f"{folder}/page"], check=True)
        return Image.open(f"{folder}/page.ppm").convert("RGB").copy()


def quarters(page):
    """The colors in the middles of the quarters of what is not white on a page."""
    box = ImageChops.difference(page, Image.new("RGB", page.size, "white")).getbbox()
    picture = page.crop(box)
    return [picture.getpixel((picture.width * (1 + 2 * (n % 2)) // 4, picture.height * (1 + 2 * (n // 2)) // 4))
            for n in range(4)]


class Clients(unittest.TestCase):
    """What the tests of all clients share."""

    @property
    def uri(self):
        return f"ipp://{self.desk.address}:{self.agent.port}/ipp/print"

    def saved(self, title):
        """The file of the job of that title, once it is saved."""
        self.agent.wait_logged(f"job saved at {self.agent.saved}/{title} ")
        (found,) = [file for file in self.agent.files() if file.name.startswith(title + " ")]
        return found

    def write(self, folder, name, document):
        file = pathlib.Path(folder) / name
        file.write_bytes(document)
        file.chmod(0o644)
        return str(file)

    def states(self, host):
        """The states of the printer's jobs by job-id, as that host is told them."""
        status, jobs = ask(self.uri, "Get-Jobs", host.enter, which_jobs="all",
                           requested_attributes="job-id,job-state")
        self.assertEqual(status, "successful-ok")
        return {job["job-id"]: job["job-state"] for job in jobs}


@needs("cupsd", "lpadmin", "lp", "lpstat", "cancel", "driverless", "ipptool", "pdftotext", "pdftoppm")
class Queues(Clients):
    @classmethod
    def setUpClass(cls):
        cls.cups = cls.enterClassContext(Scheduler(cls.laptop))
        cls.documents = cls.documents_in(cls.cups.root)
        driver = cls.cups.root / "driverless.ppd"
        driver.write_text(cls.cups.run("driverless", URI))
        cls.driver = driver.read_text()
        cls.cups.run("lpadmin", "-p", "driverless", "-E", "-v", URI, "-P", str(driver))
        cls.cups.run("lpadmin", "-p", "everywhere", "-E", "-v", cls.uri.fget(cls), "-m", "everywhere")
        cls.queues = {"driverless": "driverless", "everywhere": "everywhere", "of the moment": PRINTER}

    @classmethod
    def documents_in(cls, folder):
        write = lambda name, document: cls.write(cls, folder, name, document)
        image = folder / "photo.jpg"
        photo().save(image, quality=95)
        image.chmod(0o644)
        return {"PDF": write("letter.pdf", make_pdf("BT /F1 24 Tf 72 700 Td (Sent as a letter) Tj ET")),
                "text": write("notes.txt", b"Written down in a hurry\n"), "photo": str(image)}

    def assert_printed(self, title, kind):
        file = self.saved(title)
        information = subprocess.run(["pdfinfo", str(file)], capture_output=True, text=True, check=True).stdout
        self.assertRegex(information, r"(?m)^Pages: +1$")
        if kind == "photo":
            for color, expected in zip(quarters(rendered(file)), COLORS):
                self.assertLess(max(abs(a - b) for a, b in zip(color, expected)), 16, (color, expected))
        else:
            words = {"PDF": "Sent as a letter", "text": "Written down in a hurry"}[kind]
            self.assertIn(words, " ".join(text_of(file).split()))

    def test_are_offered_on_other_hosts(self):
        self.assertIn(URI, self.cups.run("driverless").split())
        ppd = (self.cups.root / "etc/ppd/everywhere.ppd").read_text()
        for name, driver in (("driverless", self.driver), ("everywhere", ppd)):
            with self.subTest(name):
                self.assertRegex(driver, r'\*ImageableArea A4(\.Borderless)?(/[^:]*)?: *"0(\.0*)? 0(\.0*)? 595\.\d+ 841\.\d+"')

    def test_print_pdf_text_and_photos(self):
        for name, queue in self.queues.items():
            for kind, document in self.documents.items():
                self.cups.run("lp", "-d", queue, "-t", f"{kind} {name}", document)
        for name in self.queues:
            for kind in self.documents:
                with self.subTest(queue=name, document=kind):
                    self.assert_printed(f"{kind} {name}", kind)


if __name__ == "__main__":
    unittest.main()
