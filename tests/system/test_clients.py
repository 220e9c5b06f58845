"""Computers that print through CUPS, from another host: their queues by driverless, by "everywhere", of the
moment, and by cups-browsed. A job is known to the host that sent it and to no other."""

import io
import os
import re
import signal
import subprocess
import tempfile
import unittest

from PIL import Image, ImageChops

import harness
from asking import CANCELED, PROCESSING, ask
from findings import text_of
from harness import Agent, make_pdf, needs, wait_until
from hosts import Browser, Host, Switch, why_not
from scans import ENDLESS, find_rendering_workers, rendering_workers, scanned_pdf, set_text
from scheduler import Scheduler

harness.AGENT = os.path.abspath(harness.AGENT)

PRINTER = "Office"
URI = f"ipp://{PRINTER}._ipp._tcp.local/"
PAGE = set_text(height=120)
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


def photo(size=(400, 600)):
    """A picture of four colors, one in each quarter."""
    image = Image.new("RGB", size)
    for number, color in enumerate(COLORS):
        corner = (number % 2 * size[0] // 2, number // 2 * size[1] // 2)
        image.paste(color, (*corner, corner[0] + size[0] // 2, corner[1] + size[1] // 2))
    return image


def jpeg(image):
    file = io.BytesIO()
    image.save(file, "JPEG", quality=95)
    return file.getvalue()


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


def as_pwg(driver):
    """The driver for a queue that sends everything as PWG raster."""
    return re.sub(r"(\*cupsFilter2: .*\n)+", '*cupsFilter2: "image/pwg-raster image/pwg-raster 0 -"\n', driver)


class Clients(unittest.TestCase):
    """What the tests of all clients share."""

    @classmethod
    def uri(cls):
        return f"ipp://{cls.desk.address}:{cls.agent.port}/ipp/print"

    def saved(self, title):
        """The file of the job of that title, once it is saved."""
        self.agent.wait_logged(f"job saved at {self.agent.saved}/{title} ")
        (found,) = [file for file in self.agent.files() if file.name.startswith(title + " ")]
        return found

    def jobs(self, host, which):
        """What that host is told of the printer's jobs."""
        status, jobs = ask(self.uri(), "Get-Jobs", host.enter, which_jobs=which, requested_attributes="all")
        self.assertEqual(status, "successful-ok")
        return jobs


@needs("cupsd", "lpadmin", "lp", "lpstat", "cancel", "driverless", "ipptool", "pdftotext", "pdftoppm")
class Queues(Clients):
    @classmethod
    def setUpClass(cls):
        cls.cups = cls.enterClassContext(Scheduler(cls.laptop))
        cls.documents = {
            "PDF": cls.write("letter.pdf", make_pdf("BT /F1 24 Tf 72 700 Td (Sent as a letter) Tj ET")),
            "text": cls.write("notes.txt", b"Written down in a hurry\n"),
            "photo": cls.write("photo.jpg", jpeg(photo()))}
        driver = cls.cups.run("driverless", URI)
        for name, text in (("driverless", driver), ("pwg", as_pwg(driver))):
            file = cls.write(f"{name}.ppd", text.encode())
            cls.cups.run("lpadmin", "-p", name, "-E", "-v", URI, "-P", file)
        cls.cups.run("lpadmin", "-p", "everywhere", "-E", "-v", cls.uri(), "-m", "everywhere")
        # The last is there for as long as something is printed to it.
        cls.queues = ("driverless", "pwg", "everywhere", PRINTER)

    @classmethod
    def write(cls, name, document):
        file = cls.cups.root / name
        file.write_bytes(document)
        file.chmod(0o644)
        return str(file)

    def print_to(self, queue, title, document):
        """The id of the job in its queue."""
        answer = self.cups.run("lp", "-d", queue, "-t", title, document)
        return re.search(r"request id is (\S+)", answer)[1]

    def assert_printed(self, title, kind):
        file = self.saved(title)
        information = subprocess.run(["pdfinfo", str(file)], capture_output=True, text=True, check=True).stdout
        self.assertRegex(information, r"(?m)^Pages: +1$")
        if kind == "photo":
            for color, expected in zip(quarters(rendered(file)), COLORS):
                self.assertLess(max(abs(a - b) for a, b in zip(color, expected)), 16, (color, expected))
        else:
            # The paper that the printer has by default.
            self.assertRegex(information, r"(?m)^Page size: .*\(A4\)$")
            words = {"PDF": "Sent as a letter", "text": "Written down in a hurry"}[kind]
            self.assertIn(words, " ".join(text_of(file).split()))

    def test_are_offered_on_other_hosts_without_margins(self):
        # It stops looking after half a second, whatever it has found.
        wait_until(lambda: URI in self.cups.run("driverless").split())
        for queue in ("driverless", "everywhere"):
            with self.subTest(queue):
                driver = (self.cups.root / f"etc/ppd/{queue}.ppd").read_text()
                areas = re.findall(r'(?m)^\*ImageableArea (\S+): "(.+)"', driver)
                sizes = dict(re.findall(r'(?m)^\*PaperDimension (\S+): "(.+)"', driver))
                self.assertIn("A4", sizes)
                for name, area in areas:
                    left, bottom, right, top = map(float, area.split())
                    width, height = map(float, sizes[name].split())
                    # In points; CUPS does not print on paper without any, but for photographs.
                    self.assertLess(max(left, bottom, width - right, height - top), 0.05, name)

    def test_print_pdf_text_and_photos(self):
        for queue in self.queues:
            for kind, document in self.documents.items():
                self.print_to(queue, f"{kind} by {queue}", document)
        for queue in self.queues:
            for kind in self.documents:
                with self.subTest(queue=queue, document=kind):
                    self.assert_printed(f"{kind} by {queue}", kind)

    def test_show_a_job_as_long_as_it_takes(self):
        document = self.write("held.pdf", scanned_pdf([PAGE, (PAGE, {"tiles": 0.5})]))
        # Those that other tests have canceled.
        wait_until(lambda: not find_rendering_workers(self.agent))
        job = self.print_to("everywhere", "Held", document)
        workers = rendering_workers(self.agent)
        for worker in workers:
            os.kill(worker, signal.SIGSTOP)
        wait_until(lambda: f"now printing {job}" in self.cups.run("lpstat", "-p", "everywhere"))
        (held,) = self.jobs(self.laptop, "not-completed")
        self.assertEqual((held["job-name"], held["job-state"]), ("Held", PROCESSING))
        self.assertRegex(held["job-state-message"], r"^Recognizing page [12] of 2$")
        self.assertIn(job, self.cups.run("lpstat", "-o", "everywhere"))
        for worker in workers:
            os.kill(worker, signal.SIGCONT)
        self.saved("Held")
        wait_until(lambda: job in self.cups.run("lpstat", "-W", "completed", "-o", "everywhere"))
        self.assertEqual(self.jobs(self.laptop, "not-completed"), [])

    def test_cancel_jobs(self):
        endless = self.write("endless.pdf", scanned_pdf([ENDLESS]))
        for queue in ("everywhere", PRINTER):
            with self.subTest(queue):
                title = f"Canceled by {queue}"
                job = self.print_to(queue, title, endless)
                wait_until(lambda: [j for j in self.jobs(self.laptop, "not-completed")
                                    if j["job-state"] == PROCESSING])
                self.cups.run("cancel", job)
                self.agent.wait_logged(f'job "{title}" canceled')
                newest = self.jobs(self.laptop, "completed")[0]
                self.assertEqual((newest["job-name"], newest["job-state"]), (title, CANCELED))
                self.assertFalse([file for file in self.agent.files() if file.name.startswith("Canceled")])
                self.assertEqual(self.agent.spooled(), [])
                wait_until(lambda: job not in self.cups.run("lpstat", "-o"))


@needs("cupsd", "cups-browsed", "lp", "lpstat", "pdftotext")
class Browsed(Clients):
    def test_the_queue_that_cups_browsed_makes_prints(self):
        cups = self.enterContext(Scheduler(self.laptop))
        configuration = cups.root / "etc/cups-browsed.conf"
        configuration.write_text(f"CacheDir {cups.root}/cache\nLogDir {cups.root}/log\n"
                                 "BrowseRemoteProtocols dnssd\nBrowseLocalProtocols none\n"
                                 "CreateIPPPrinterQueues All\n")
        self.enterContext(cups.start("cups-browsed", "-c", str(configuration)))
        wait_until(lambda: f"implicitclass://{PRINTER}" in cups.run("lpstat", "-v", PRINTER))
        document = cups.root / "letter.pdf"
        document.write_bytes(make_pdf("BT /F1 24 Tf 72 700 Td (Sent by the way) Tj ET"))
        document.chmod(0o644)
        cups.run("lp", "-d", PRINTER, "-t", "Browsed", str(document))
        self.assertIn("Sent by the way", text_of(self.saved("Browsed")))


@needs("ipptool")
class Privacy(Clients):
    def test_a_job_is_known_to_the_host_that_sent_it_and_to_no_other(self):
        name, user = "Application", "ada"
        with tempfile.NamedTemporaryFile(suffix=".pdf") as document:
            document.write(scanned_pdf([ENDLESS]))
            document.flush()
            _, (job,) = ask(self.uri(), "Print-Job", self.laptop.enter, document.name,
                                 requesting_user_name=user, job_name=name)
        number = job["job-id"]
        (seen,) = self.jobs(self.laptop, "not-completed")
        self.assertEqual((seen["job-id"], seen["job-name"], seen["job-originating-user-name"]),
                         (number, name, user))
        for host in (self.phone, self.desk):
            with self.subTest(host=host):
                for answer in (self.jobs(host, "not-completed"),
                               ask(self.uri(), "Get-Job-Attributes", host.enter, job_id=number)[1]):
                    self.assertEqual(answer[0]["job-id"], number)
                    self.assertNotIn(name, str(answer))
                    self.assertNotIn(user, str(answer))
                self.assertEqual(ask(self.uri(), "Cancel-Job", host.enter, job_id=number)[0],
                                 "client-error-not-authorized")
        self.assertEqual(ask(self.uri(), "Cancel-Job", self.laptop.enter, job_id=number)[0],
                         "successful-ok")
        self.agent.wait_logged(f'job "{name}" canceled')


if __name__ == "__main__":
    unittest.main()
