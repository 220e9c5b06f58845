"""Scans become searchable: their words are right, lie where they are seen, and nothing else changes.
Documents made to do harm cost themselves a while and nobody else anything."""

import os
import pwd
import re
import signal
import subprocess
import time
import unittest
import zlib

from harness import Agent, cpu_ticks, make_pdf, needs, pdf_of, pdf_stream, wait_until
from scans import RESOLUTION, TEXTS, Scan, found_lines, pictures, recall, scanned_pdf


def qpdf(document, *options):
    """The document as QPDF rewrites it."""
    source = document.with_suffix(".in")
    source.write_bytes(document.read_bytes())
    subprocess.run(["qpdf", *options, str(source), str(document)], check=True)
    return document.read_bytes()


class Printing(unittest.TestCase):
    """Tests that print on one agent."""

    def setUp(self):
        self.agent = Agent()
        self.addCleanup(self.agent.__exit__)
        self.agent.wait_ready()

    def print_job(self, document, name):
        self.assertEqual(self.agent.print_job(document, name), 0)

    def saved(self, name, seconds=30):
        """The document saved for the job of this name, once it is reported."""
        self.assertTrue(self.agent.logged(f"job saved at {self.agent.saved}/{name} ", seconds),
                        "\n".join(self.agent.lines))
        (found,) = [f for f in self.agent.files() if f.name.startswith(name + " ")]
        return found

    def has_logged(self, text):
        return any(text in line for line in list(self.agent.lines))

    def print_and_save(self, document, name="Job", seconds=30):
        self.print_job(document, name)
        return self.saved(name, seconds)

    def assert_sound(self, document, source):
        """It is a good PDF, and every page looks as it did."""
        subprocess.run(["qpdf", "--check", str(document)], check=True, capture_output=True)
        received = self.agent.home / "received.pdf"
        received.write_bytes(source)
        self.assertEqual(pictures(received), pictures(document))

    def wait_until_recognising(self):
        """A worker that is in the middle of it: getting ready takes less time than it has used."""
        busy = lambda: next((w for w in self.agent.workers() if cpu_ticks(w) > 100), None)
        worker = wait_until(busy, 30)
        self.assertTrue(worker)
        return worker


@needs("pdftotext", "pdftoppm", "qpdf", "pdfinfo")
class Words(Printing):
    def assert_found(self, scan, lines):
        """The scan's words were found, each line within three points of where it is seen."""
        self.assertGreaterEqual(recall(scan.words, [w for words, _ in lines for w in words]), 0.97)
        for text, box in scan.lines:
            words, found = max(lines, key=lambda line: recall(text.split(), line[0]))
            if recall(text.split(), words) < 0.9 or len(words) != len(text.split()):
                continue  # counted above
            for edge, seen in zip(found, box):
                self.assertAlmostEqual(edge, seen, delta=3, msg=f"{text}: {found} for {box}")

    def test_lie_on_what_is_seen_however_the_page_is_turned(self):
        scan = Scan()
        sideways = [Scan(seed=turns, turns=turns) for turns in (1, 2, 3)]
        pages = [scan, *[(scan, {"rotate": turn}) for turn in (90, 180, 270)], *sideways,
                 (scan, {"origin": (100, 50)}), (scan, {"origin": (-50, 20), "rotate": 90}),
                 (scan, {"crop": 15}), (scan, {"crop": 15, "rotate": 270, "origin": (7, 9)})]
        document = scanned_pdf(pages)
        saved = self.print_and_save(document, "Turned", 60)
        self.assert_sound(saved, document)
        found = found_lines(saved)
        self.assertEqual(len(found), len(pages))
        for number, (page, lines) in enumerate(zip(pages, found), 1):
            with self.subTest(page=number):
                self.assert_found(page[0] if isinstance(page, tuple) else page, lines)

    def test_are_read_in_the_language_of_their_page(self):
        scans = {language: Scan(text, 450, 360) for language, text in TEXTS.items()}
        document = scanned_pdf(list(scans.values()))
        saved = self.print_and_save(document, "Languages")
        self.assert_sound(saved, document)
        subprocess.run(["pdftoppm", "-r", str(RESOLUTION), "-gray", str(saved),
                        str(self.agent.home / "page")], check=True)
        for number, (language, scan) in enumerate(scans.items(), 1):
            told = subprocess.run(["tesseract", str(self.agent.home / f"page-{number}.pgm"), "-",
                                   "-l", language], capture_output=True, text=True, check=True,
                                  env={**os.environ, "OMP_THREAD_LIMIT": "1"}).stdout
            text = subprocess.run(["pdftotext", "-f", str(number), "-l", str(number), str(saved),
                                   "-"], capture_output=True, text=True, check=True).stdout
            with self.subTest(language):
                self.assertGreaterEqual(recall(scan.words, text.split()),
                                        recall(scan.words, told.split()) - 0.01)

    def test_come_with_information_on_the_document_and_leave_one_with_text_alone(self):
        information = subprocess.run(
            ["pdfinfo", str(self.print_and_save(scanned_pdf([Scan(height=120)]), "Über uns"))],
            capture_output=True, text=True, check=True).stdout
        user = pwd.getpwuid(os.getuid()).pw_name
        for key, value in (("Title", "Über uns"), ("Author", user), ("Creator", "Korvane"),
                           ("Subject", "Captured by Korvane")):
            self.assertRegex(information, rf"(?m)^{key}: +{value}$")
        letter = make_pdf("BT /F1 24 Tf 72 700 Td (A letter that can be copied already) Tj ET")
        self.assertEqual(self.print_and_save(letter, "Letter").read_bytes(), letter)
        self.assertTrue(self.agent.logged("OCR: page 1 already has a text layer (35 chars); "
                                          "skipping OCR"))

    def test_of_a_protected_document_can_be_searched_where_it_can_be_read(self):
        scan = Scan(height=120)
        file = self.agent.home / "document.pdf"
        file.write_bytes(scanned_pdf([scan]))
        opens = qpdf(file, "--encrypt", "", "owner", "256", "--")
        file.write_bytes(scanned_pdf([scan]))
        locked = qpdf(file, "--encrypt", "user", "owner", "256", "--")
        signature = ["<</FT/Sig/T(s)/V 4 0 R>>",
                     "<</Type/Sig/Filter/Adobe.PPKLite/ByteRange[0 1 2 3]/Contents<00>>>"]
        signed = scanned_pdf([scan], "/AcroForm<</Fields[3 0 R]/SigFlags 3>>", signature)
        saved = self.print_and_save(opens, "Opens")
        self.assert_sound(saved, opens)
        self.assert_found(scan, found_lines(saved)[0])
        self.assertIn("AESv3", subprocess.run(["qpdf", "--show-encryption", str(saved)],
                                              capture_output=True, text=True, check=True).stdout)
        self.assertEqual(self.print_and_save(locked, "Locked").read_bytes(), locked)
        self.assertTrue(self.agent.logged("saving without recognition: the document needs a "
                                          "password"))
        self.assertEqual(self.print_and_save(signed, "Signed").read_bytes(), signed)
        count = re.search(r"\((\d+) text chars\)", self.agent.logged("/Signed "))[1]
        self.assertAlmostEqual(int(count), len("\n".join(line for line, _ in scan.lines)), delta=5)
        self.assertTrue(self.agent.logged("JobPipeline: write failed: The source PDF is digitally "
                                          "signed"))


@needs("pdftotext", "pdftoppm", "qpdf")
class Jobs(Printing):
    def test_take_turns(self):
        scans = [Scan(seed=seed) for seed in range(6)]
        self.print_job(scanned_pdf(scans), "Long")
        self.print_job(scanned_pdf(scans[:1]), "Short")
        short = self.saved("Short")
        self.assertFalse(self.has_logged("/Long "))
        for document, count in ((short, 1), (self.saved("Long"), 6)):
            for scan, lines in zip(scans[:count], found_lines(document)):
                self.assertGreater(recall(scan.words, [w for line, _ in lines for w in line]), 0.97)

    def test_lose_no_more_than_a_page_to_a_worker_that_is_killed(self):
        document = scanned_pdf([Scan(seed=seed) for seed in range(6)])
        self.print_job(document, "Killed")
        os.kill(self.wait_until_recognising(), signal.SIGKILL)
        saved = self.saved("Killed")
        self.assert_sound(saved, document)
        self.assertTrue(self.agent.logged("crashed with signal 9"), self.agent.lines)
        self.assertGreaterEqual(sum(1 for page in found_lines(saved) if page), 5)
        self.assertTrue(found_lines(self.print_and_save(document, "After"))[0])

    def test_are_saved_as_they_came_when_the_agent_has_to_end(self):
        document = scanned_pdf([Scan(seed=seed) for seed in range(10)])
        self.print_job(document, "Late")
        self.wait_until_recognising()
        started = time.monotonic()
        self.assertEqual(self.agent.stop(), 0)
        self.assertLess(time.monotonic() - started, 3)
        (saved,) = self.agent.files()
        self.assertEqual(saved.read_bytes(), document)
        self.assertFalse([line for line in self.agent.lines if line.startswith("OCR:")])


def page_of(content, entries="", extra=(), resources=""):
    return pdf_of(["<</Type/Catalog/Pages 2 0 R>>", "<</Type/Pages/Kids[3 0 R]/Count 1>>",
                   f"<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]/Contents 4 0 R{entries}"
                   f"/Resources<<{resources}>>>>", content, *extra])


def bomb(piece, times):
    """A deflated stream of so many times the piece, made without deflating it so often."""
    packer = zlib.compressobj(9, wbits=-15)
    block = packer.compress(piece) + packer.flush(zlib.Z_FULL_FLUSH)
    # What ends it: an empty last block, and a checksum that nobody looks at.
    return b"\x78\x9c" + block * times + b"\x03\x00\0\0\0\1"


def many_pages(count):
    kids = " ".join(f"{number} 0 R" for number in range(3, count + 3))
    return pdf_of(["<</Type/Catalog/Pages 2 0 R>>",
                   f"<</Type/Pages/Kids[{kids}]/Count {count}/MediaBox[0 0 72 72]>>",
                   *["<</Type/Page/Parent 2 0 R>>"] * count])


def hostile_documents():
    """What they are called, the documents, and what the log says of each."""
    scan = scanned_pdf([Scan(height=120)])
    damaged = bytearray(scan)
    damaged[200:400] = os.urandom(200)
    dense = "<</Type/Pattern/PatternType 1/PaintType 1/TilingType 1/BBox[0 0 1 1]/XStep 0.0001" \
            "/YStep 0.0001/Resources<<>>"
    image = "/Type/XObject/Subtype/Image/Width 60000/Height 60000/ColorSpace/DeviceGray" \
            "/BitsPerComponent 8/Filter/FlateDecode"
    return {
        "Damaged": (bytes(damaged), ""),
        "Cut": (scan[:len(scan) // 2], "the document is damaged or not a PDF"),
        "Nothing": (b"%PDF-1.7\n", "the document is damaged or not a PDF"),
        "Endless": (page_of(pdf_stream(b"/Pattern cs /P scn 0 0 612 792 re f"),
                            extra=[pdf_stream(b"0 0 1 1 re f", dense[2:])],
                            resources="/Pattern<</P 5 0 R>>"),
                    "OCR: page 1 could not be rendered: the worker took too long"),
        "Enormous": (page_of(pdf_stream(b"14400 0 0 14400 0 0 cm 0 0 1 1 re S"),
                             "/MediaBox[0 0 14400 14400]"), ""),
        "Hundred thousand": (many_pages(100_000), "pages are too many to recognise"),
        "Loop": (scan.replace(b"/Root 1 0 R", b"/Prev %d /Root 1 0 R" %
                              int(scan.split(b"startxref\n")[1].split()[0])), ""),
        "Kids": (pdf_of(["<</Type/Catalog/Pages 2 0 R>>",
                         "<</Type/Pages/Kids[2 0 R 2 0 R]/Count 2>>"]), ""),
        "Count": (scan.replace(b"/Count 1", b"/Count 2147483647"), "the document has no pages"),
        "Flate bomb": (page_of(pdf_stream(bomb(b"q Q " * 250_000, 2000), "/Filter/FlateDecode")),
                       "OCR: pages could not be read: the worker took too long"),
        "Image bomb": (page_of(pdf_stream(b"612 0 0 792 0 0 cm /I Do"),
                               extra=[pdf_stream(bomb(bytes(1 << 20), 3434), image)],
                               resources="/XObject<</I 5 0 R>>"), "OCR: page 1 could not be rendered"),
    }


@needs("pdftotext", "pdftoppm", "qpdf")
class Harm(Printing):
    def test_is_done_by_no_document(self):
        documents = hostile_documents()
        honest = Scan(height=120)
        before = self.agent.resident_kib()
        started = time.monotonic()
        for name, (document, _) in documents.items():
            self.print_job(document, name)
        self.print_job(scanned_pdf([honest]), "Honest")
        saved = self.saved("Honest", 40)
        self.assertGreater(recall(honest.words, [w for line, _ in found_lines(saved)[0]
                                                 for w in line]), 0.97)
        for name, (document, line) in documents.items():
            with self.subTest(name):
                saved = self.saved(name, max(1, started + 100 - time.monotonic()))
                if saved.read_bytes() != document:
                    subprocess.run(["qpdf", "--check", str(saved)], check=True, capture_output=True)
                self.assertTrue(self.has_logged(line), "\n".join(self.agent.lines))
        self.assertLess(self.agent.resident_kib() - before, 60 * 1024)


if __name__ == "__main__":
    unittest.main()
