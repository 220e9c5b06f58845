"""Real clients print: ipptool, and a CUPS scheduler with a driverless queue."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from harness import HANG, Agent, make_pdf, needs, urf_document
from scheduler import Scheduler

IPPTOOL_FILES = pathlib.Path("/usr/share/cups/ipptool")


def pdf_saying(text):
    return make_pdf(f"BT /F1 24 Tf 72 700 Td ({text}) Tj ET")


@needs("ipptool")
class IPPTool(unittest.TestCase):
    def ipptool(self, agent, test, document=None):
        command = ["ipptool", "-tv", *(["-f", str(document)] if document else []), agent.uri,
                   str(IPPTOOL_FILES / test)]
        result = subprocess.run(command, capture_output=True, text=True, timeout=HANG, check=False)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return result.stdout

    def test_reads_every_printer_attribute(self):
        with Agent() as agent:
            agent.wait_ready()
            answer = self.ipptool(agent, "get-printer-attributes.test")
            attributes = answer[answer.index("        printer-uri-supported"):]
            names = re.findall(r"^        ([a-z-]+) \(", attributes, re.M)
            self.assertEqual(len(names), 56)
            self.assertIn("printer-name (nameWithoutLanguage) = Test Printer", answer)
            self.assertIn("media-col-default (collection) = {media-size={x-dimension=21000 "
                          "y-dimension=29700} media-type=stationery", answer)

    def test_prints_a_document_that_arrives_byte_for_byte(self):
        with Agent() as agent, tempfile.TemporaryDirectory() as folder:
            agent.wait_ready()
            document = pathlib.Path(folder) / "letter.pdf"
            document.write_bytes(pdf_saying("Dear printer, keep these words") + os.urandom(700_000))
            self.ipptool(agent, "print-job.test", document)
            (saved,) = agent.wait_saved()
            self.assertEqual(saved.read_bytes(), document.read_bytes())
            self.assertRegex(saved.name, r"\d{4}-\d\d-\d\d \d{6}\.pdf$")

    def test_validates_creates_and_lists_jobs(self):
        with Agent() as agent, tempfile.TemporaryDirectory() as folder:
            agent.wait_ready()
            document = pathlib.Path(folder) / "letter.pdf"
            document.write_bytes(pdf_saying("Printed in two steps, saved as one"))
            self.ipptool(agent, "validate-job.test", document)
            self.ipptool(agent, "create-job.test", document)
            self.ipptool(agent, "get-jobs.test")
            (saved,) = agent.wait_saved()
            self.assertEqual(saved.read_bytes(), document.read_bytes())


class Raster(unittest.TestCase):
    @needs("qpdf", "pdftoppm")
    def test_a_page_looks_as_it_was_sent(self):
        width, height = 300, 150
        rows = [[(x * 255 // width, y, (x * y) % 256) for x in range(width)] for y in range(height)]
        with Agent() as agent:
            agent.wait_ready()
            self.assertEqual(agent.print_job(urf_document(width, height, 100, rows), "Photo"), 0)
            (saved,) = agent.wait_saved()
            subprocess.run(["qpdf", "--check", str(saved)], check=True, capture_output=True)
            picture = subprocess.run(["pdftoppm", "-r", "100", str(saved)], check=True,
                                     capture_output=True).stdout
            expected = b"P6\n300 150\n255\n" + b"".join(bytes(p) for row in rows for p in row)
            self.assertEqual(picture, expected)


@needs("cupsd", "lpadmin", "lp")
@unittest.skipUnless(os.geteuid() == 0, "the CUPS scheduler runs its filters as another user")
class CUPS(unittest.TestCase):
    def test_prints_through_a_driverless_queue(self):
        with Agent() as agent, Scheduler() as cups:
            agent.wait_ready()
            cups.run("lpadmin", "-p", "korvane", "-E", "-v", agent.uri, "-m", "everywhere")
            document = cups.root / "hello.pdf"
            document.write_bytes(pdf_saying("Hello from CUPS"))
            cups.run("lp", "-d", "korvane", "-t", "Greeting", str(document))
            (saved,) = agent.wait_saved()
            self.assertTrue(saved.name.startswith("Greeting "), saved.name)
            text = subprocess.run(["pdftotext", str(saved), "-"], capture_output=True, text=True,
                                  check=True).stdout
            self.assertEqual(text.strip(), "Hello from CUPS")
            cups.lines.wait_line("[Job 1] Job completed.")
            self.assertEqual(cups.run("lpstat", "-o", "korvane"), "")


if __name__ == "__main__":
    unittest.main()
