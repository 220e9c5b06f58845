"""Real clients print: ipptool, and a CUPS scheduler with a driverless queue."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from harness import HANG, Agent, Program, free_port, make_pdf, needs, urf_document

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


class Scheduler(Program):
    """A CUPS scheduler with a configuration of its own, on loopback."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="korvane-cups-")
        self.root = pathlib.Path(self.folder.name)
        self.root.chmod(0o755)
        self.port = free_port()
        for name in ("etc/ppd", "spool/tmp", "cache", "run/certs", "log"):
            (self.root / name).mkdir(parents=True)
        (self.root / "etc/cupsd.conf").write_text(f"""
Listen 127.0.0.1:{self.port}
Browsing Off
DefaultShared No
WebInterface No
LogLevel info
<Location />
  Order allow,deny
  Allow all
</Location>
<Policy default>
  JobPrivateAccess default
  JobPrivateValues none
  SubscriptionPrivateAccess default
  SubscriptionPrivateValues none
  <Limit All>
    Order allow,deny
    Allow all
  </Limit>
</Policy>
""")
        (self.root / "etc/cups-files.conf").write_text(f"""
ServerRoot {self.root}/etc
RequestRoot {self.root}/spool
TempDir {self.root}/spool/tmp
CacheDir {self.root}/cache
StateDir {self.root}/run
AccessLog {self.root}/log/access
ErrorLog stderr
PageLog {self.root}/log/page
FileDevice Yes
Sandboxing relaxed
""")
        subprocess.run(["chown", "-R", "root:lp", str(self.root)], check=True)
        subprocess.run(["chmod", "-R", "g+rwX", str(self.root / "spool"), str(self.root / "cache")],
                       check=True)
        super().__init__("/usr/sbin/cupsd", "-f", "-c", str(self.root / "etc/cupsd.conf"), "-s",
                         str(self.root / "etc/cups-files.conf"), errors=True)
        self.lines.wait_line("Full reload complete")

    def __exit__(self, *_):
        super().__exit__()
        self.folder.cleanup()

    def run(self, *command):
        result = subprocess.run(command, env={**os.environ, "CUPS_SERVER": f"127.0.0.1:{self.port}"},
                                capture_output=True, text=True, timeout=HANG, check=False)
        if result.returncode != 0 and command[0] != "lpstat":
            raise AssertionError(f"{command}: {result.stdout}{result.stderr}\n" + "\n".join(self.lines))
        return result.stdout


if __name__ == "__main__":
    unittest.main()
