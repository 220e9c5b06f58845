"""Scans become searchable: their words are right, lie where they are seen, and nothing else changes.
Documents made to do harm cost themselves a while and nobody else anything."""

import functools
import os
import pwd
import random
import re
import signal
import subprocess
import tempfile
import unittest
import zlib

from degradation import (faint, noise, photographed, shaded, speckled, tilted, with_margin, with_picture)
from findings import (Comparison, embedded_images, found_words, misplacement, paired, pictures, recognized,
                      text_of)
from harness import Agent, free_port, make_pdf, needs, pdf_of, pdf_stream
from scans import ENDLESS, TEXTS, rendering_workers, scanned, scanned_pdf, set_text

PAGE = set_text()
# With a line that stands on its side.
WITH_NOTE = with_margin(PAGE, set_text("Copied by hand for the museum", 260, 80))

# A page, what is done to it, and how it is placed in the document.
PAGES = {
    "as it is": (PAGE, lambda page: page, {}),
    "turned by the document": (PAGE, lambda page: page, {"crop": 15, "rotate": 270, "origin": (7, 9)}),
    "on its left side": (PAGE, lambda page: tilted(page, 90), {"origin": (-50, 20)}),
    "on its right side": (PAGE, lambda page: tilted(page, 270), {"rotate": 90}),
    "upside down": (PAGE, lambda page: tilted(page, 180), {"origin": (-50, 20)}),
    "tilted by 2 degrees": (PAGE, lambda page: tilted(page, 2), {}),
    "tilted by 5 degrees": (PAGE, lambda page: tilted(page, -5), {"rotate": 180}),
    "tilted by 10 degrees": (PAGE, lambda page: tilted(page, 10), {}),
    "on its left side, tilted": (PAGE, lambda page: tilted(page, 93), {}),
    "upside down, tilted": (PAGE, lambda page: tilted(page, 176), {}),
    "in uneven light": (PAGE, shaded, {}),
    "faint": (PAGE, faint, {}),
    "photographed": (PAGE, photographed, {}),
    "speckled": (PAGE, lambda page: speckled(page, 0.001), {}),
    "below a picture": (PAGE, with_picture, {}),
    "beside a line on its side": (WITH_NOTE, lambda page: page, {}),
    "beside a line on its side, tilted": (WITH_NOTE, lambda page: tilted(page, 4), {}),
}


def qpdf(document, *options):
    """The document as QPDF rewrites it."""
    source = document.with_suffix(".in")
    source.write_bytes(document.read_bytes())
    subprocess.run(["qpdf", *options, str(source), str(document)], check=True)
    return document.read_bytes()


@functools.cache
def read_alone(page, language):
    """What Tesseract alone finds on the page when nothing was done to it."""
    with tempfile.NamedTemporaryFile(suffix=".png") as picture:
        page.image.save(picture, dpi=(page.resolution, page.resolution))
        picture.flush()
        return Comparison(page.text, recognized(picture.name, language=language))


class Printing(unittest.TestCase):
    """Tests that print on one agent."""

    @classmethod
    def setUpClass(cls):
        cls.agent = cls.enterClassContext(Agent()).wait_ready()

    def print_job(self, document, name):
        self.assertEqual(self.agent.print_job(document, name), 0)

    def saved(self, name):
        """The document saved for the job of this name, once it is reported."""
        self.agent.wait_logged(f"job saved at {self.agent.saved}/{name} ")
        (found,) = [f for f in self.agent.files() if f.name.startswith(name + " ")]
        return found

    def print_and_save(self, document, name):
        self.print_job(document, name)
        return self.saved(name)

    def assert_sound(self, document, source):
        """It is a good PDF, and every page looks as it did, of the very pictures that it had."""
        subprocess.run(["qpdf", "--check", str(document)], check=True, capture_output=True)
        received = self.agent.home / "received.pdf"
        received.write_bytes(source)
        self.assertEqual(pictures(received), pictures(document))
        self.assertEqual(embedded_images(received), embedded_images(document))

    def assert_read(self, page, text, language="eng"):
        """No more words are missing or wrong than where Tesseract alone reads the page, but one, or one
        in 200."""
        ours, theirs = Comparison(page.text, text), read_alone(page, language)
        tolerance = max(1, theirs.truth / 200)
        self.assertGreaterEqual(ours.right, theirs.right - tolerance, ours)
        self.assertLessEqual(ours.found - ours.right, theirs.found - theirs.right + tolerance, ours)

    def assert_placed(self, scan, found):
        """Each word that was found lies on the word that is seen, but for one in 25: to Tesseract a
        speck is part of a word at times."""
        pairs = paired(scan.shown(), found, lambda seen, there: misplacement(seen, there.box))
        off = [(seen, there) for seen, there in pairs if misplacement(seen, there.box) > 3]
        self.assertGreaterEqual(len(pairs), 0.9 * len(scan.words))
        self.assertLessEqual(len(off), len(pairs) / 25, off)


@needs("pdftotext", "pdftoppm", "pdfimages", "qpdf", "pdfinfo", "tesseract")
class Words(Printing):
    def test_lie_on_what_is_seen_whatever_was_done_to_the_page(self):
        scans = [scanned(change(page), seed) for seed, (page, change, _) in enumerate(PAGES.values())]
        document = scanned_pdf([(scan, options) for scan, (*_, options) in zip(scans, PAGES.values())])
        saved = self.print_and_save(document, "Pages")
        self.assert_sound(saved, document)
        for number, (name, scan, found) in enumerate(zip(PAGES, scans, found_words(saved)), 1):
            with self.subTest(name):
                self.assert_read(PAGES[name][0], text_of(saved, number))
                self.assert_placed(scan, found)

    def test_are_copied_as_they_stand_in_a_tilted_line(self):
        lines = text_of(self.print_and_save(scanned_pdf([scanned(tilted(PAGE, 3))]), "Lines")).splitlines()
        missing = [line for line in PAGE.text.splitlines() if line not in lines]
        self.assertLessEqual(len(missing), 1, lines)

    def test_are_read_in_the_language_of_their_page(self):
        pages = {language: set_text(text, 450, 360) for language, text in TEXTS.items()}
        document = scanned_pdf([scanned(page) for page in pages.values()])
        saved = self.print_and_save(document, "Languages")
        for number, (language, page) in enumerate(pages.items(), 1):
            with self.subTest(language):
                self.assert_read(page, text_of(saved, number), language)

    def test_come_with_information_on_the_document_and_leave_one_with_text_alone(self):
        information = subprocess.run(
            ["pdfinfo", str(self.print_and_save(scanned_pdf([set_text(height=120)]), "Über uns"))],
            capture_output=True, text=True, check=True).stdout
        user = pwd.getpwuid(os.getuid()).pw_name
        for key, value in (("Title", "Über uns"), ("Author", user), ("Creator", "Korvane"),
                           ("Subject", "Captured by Korvane")):
            self.assertRegex(information, rf"(?m)^{key}: +{value}$")
        letter = make_pdf("BT /F1 24 Tf 72 700 Td (A letter that can be copied already) Tj ET")
        self.assertEqual(self.print_and_save(letter, "Letter").read_bytes(), letter)
        self.agent.wait_logged("OCR: page 1 already has a text layer (35 chars); skipping OCR")

    def test_of_a_protected_document_can_be_searched_where_it_can_be_read(self):
        page = set_text(height=120)
        file = self.agent.home / "document.pdf"
        file.write_bytes(scanned_pdf([page]))
        opens = qpdf(file, "--encrypt", "", "owner", "256", "--")
        file.write_bytes(scanned_pdf([page]))
        locked = qpdf(file, "--encrypt", "user", "owner", "256", "--")
        signature = ["<</FT/Sig/T(s)/V 4 0 R>>",
                     "<</Type/Sig/Filter/Adobe.PPKLite/ByteRange[0 1 2 3]/Contents<00>>>"]
        signed = scanned_pdf([page], "/AcroForm<</Fields[3 0 R]/SigFlags 3>>", signature)
        saved = self.print_and_save(opens, "Opens")
        self.assert_sound(saved, opens)
        self.assert_read(page, text_of(saved))
        self.assert_placed(page, found_words(saved)[0])
        self.assertIn("AESv3", subprocess.run(["qpdf", "--show-encryption", str(saved)],
                                              capture_output=True, text=True, check=True).stdout)
        self.assertEqual(self.print_and_save(locked, "Locked").read_bytes(), locked)
        self.agent.wait_logged("saving without recognition: the document needs a password")
        self.assertEqual(self.print_and_save(signed, "Signed").read_bytes(), signed)
        count = re.search(r"\((\d+) text chars\)", self.agent.wait_logged("/Signed "))[1]
        self.assertAlmostEqual(int(count), len(page.text), delta=5)
        self.agent.wait_logged("JobPipeline: write failed: The source PDF is digitally signed")


@needs("pdftotext", "pdfimages", "pdftoppm", "qpdf", "tesseract")
class Jobs(Printing):
    def test_outlast_the_port_and_lose_nothing_to_a_worker_that_is_killed(self):
        scans = [scanned(PAGE, seed) for seed in range(3)]
        document = scanned_pdf([scans[0], (scans[1], {"tiles": 0.5}), scans[2]])
        self.print_job(document, "Killed")
        (worker,) = rendering_workers(self.agent)
        os.kill(worker, signal.SIGSTOP)
        self.agent.port = free_port()
        self.agent.write_settings()
        self.agent.reload()
        self.agent.wait_logged(f"PrinterService: ready on port {self.agent.port}")
        self.assertFalse(self.agent.has_logged("/Killed "))
        os.kill(worker, signal.SIGKILL)
        saved = self.saved("Killed")
        self.assert_sound(saved, document)
        for number in (1, 2, 3):
            self.assert_read(PAGE, text_of(saved, number).removeprefix("Wait\n"))

    def test_that_wait_for_a_worker_are_saved_as_they_came_when_the_agent_ends(self):
        document = scanned_pdf([PAGE, ENDLESS], extra=[pdf_stream(bytes(1 << 20))])
        with Agent() as agent:
            agent.wait_ready()
            agent.print_job(document, "Late")
            rendering_workers(agent)
            # Recognition that is waited for ends only at the limit of a request, which is logged.
            self.assertEqual(agent.stop(), 0)
            (saved,) = agent.files()
            self.assertEqual(saved.read_bytes(), document)
            self.assertFalse(agent.has_logged("OCR:"))


def page_of(content, entries="", extra=(), resources=""):
    return pdf_of(["<</Type/Catalog/Pages 2 0 R>>", "<</Type/Pages/Kids[3 0 R]/Count 1>>",
                   f"<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]/Contents 4 0 R{entries}"
                   f"/Resources<<{resources}>>>>", content, *extra])


def bomb(mebibytes):
    """A deflated stream of so many zeros, made without deflating all of them."""
    packer = zlib.compressobj(9, wbits=-15)
    block = packer.compress(bytes(1 << 20)) + packer.flush(zlib.Z_FULL_FLUSH)
    # What ends it: an empty last block, and a checksum that nobody looks at.
    return b"\x78\x9c" + block * mebibytes + b"\x03\x00\0\0\0\1"


def many_pages(count):
    kids = " ".join(f"{number} 0 R" for number in range(3, count + 3))
    return pdf_of(["<</Type/Catalog/Pages 2 0 R>>",
                   f"<</Type/Pages/Kids[{kids}]/Count {count}/MediaBox[0 0 .1 .1]>>",
                   *["<</Type/Page/Parent 2 0 R>>"] * count])


def hostile_documents():
    """What they are called, the documents, and what the log says of each."""
    scan = scanned_pdf([set_text(height=120)])
    damaged = bytearray(scan)
    damaged[200:400] = random.Random(1).randbytes(200)
    image = "/Type/XObject/Subtype/Image/Width 20000/Height 20000/ColorSpace/DeviceGray" \
            "/BitsPerComponent 8/Filter/FlateDecode"
    return {
        "Damaged": (bytes(damaged), ""),
        "Cut": (scan[:len(scan) // 2], "the document is damaged or not a PDF"),
        "Nothing": (b"%PDF-1.7\n", "the document is damaged or not a PDF"),
        "Enormous": (page_of(pdf_stream(b"14400 0 0 14400 0 0 cm 0 0 1 1 re S"),
                             "/MediaBox[0 0 14400 14400]"), ""),
        "Thousands": (many_pages(5001), "OCR: 5001 pages are without text; recognizing the first 5000"),
        "Loop": (scan.replace(b"/Root 1 0 R", b"/Prev %d /Root 1 0 R" %
                              int(scan.split(b"startxref\n")[1].split()[0])), ""),
        "Kids": (pdf_of(["<</Type/Catalog/Pages 2 0 R>>",
                         "<</Type/Pages/Kids[2 0 R 2 0 R]/Count 2>>"]), ""),
        "Count": (scan.replace(b"/Count 1", b"/Count 2147483647"), "the document has no pages"),
        "Font bomb": (page_of(pdf_stream(b"BT /F 12 Tf 72 700 Td (x) Tj ET"), extra=[
                          "<</Type/Font/Subtype/TrueType/BaseFont/B/FontDescriptor 6 0 R>>",
                          "<</Type/FontDescriptor/FontName/B/Flags 32/FontFile2 7 0 R>>",
                          pdf_stream(bomb(1100), "/Filter/FlateDecode")],
                              resources="/Font<</F 5 0 R>>"),
                      "OCR: Vision perform failed: page 1: the worker"),
        "Image bomb": (page_of(pdf_stream(b"612 0 0 792 0 0 cm /I Do"),
                               extra=[pdf_stream(bomb(64), image)],
                               resources="/XObject<</I 5 0 R>>"), ""),
    }


@needs("pdftotext", "qpdf", "tesseract")
class Harm(Printing):
    def test_is_done_by_no_document(self):
        documents = hostile_documents()
        honest = set_text(height=120)
        before = self.agent.resident_kib()
        for name, (document, _) in documents.items():
            self.print_job(document, name)
        self.assert_read(honest, text_of(self.print_and_save(scanned_pdf([honest]), "Honest")))
        for name, (document, line) in documents.items():
            with self.subTest(name):
                saved = self.saved(name)
                if saved.read_bytes() != document:
                    subprocess.run(["qpdf", "--check", str(saved)], check=True, capture_output=True)
                self.assertTrue(self.agent.has_logged(line), "\n".join(self.agent.lines))
        self.assertLess(self.agent.resident_kib() - before, 60 * 1024)


class HangingAgent(Agent):
    """One whose workers hang with pages of its first document, among others that can be read."""

    def __init__(self):
        super().__init__()
        self.document = scanned_pdf([ENDLESS, ENDLESS, scanned(PAGE, 1), scanned(PAGE, 2),
                                     noise((2550, 3300), 300), scanned(PAGE, 3)])

    def print_and_hang(self):
        self.wait_ready()
        self.print_job(self.document, "Hanging")
        # Stopped, they hang without using the processors that the other tests need.
        for worker in rendering_workers(self, min(2, len(os.sched_getaffinity(0)))):
            os.kill(worker, signal.SIGSTOP)


def setUpModule():
    """Workers hang until the limits of their requests, and other tests run meanwhile."""
    Workers.hanging = unittest.enterModuleContext(HangingAgent())
    Workers.hanging.print_and_hang()


@needs("pdftotext", "qpdf", "tesseract")
class Workers(Printing):
    def test_that_hang_cost_a_document_just_the_pages_that_they_hang_with(self):
        self.agent = self.hanging
        saved = self.saved("Hanging")
        subprocess.run(["qpdf", "--check", str(saved)], check=True, capture_output=True)
        self.assertTrue(self.agent.has_logged(
            "OCR: Vision perform failed: pages 1 to 2: the worker took too long"), self.agent.lines)
        for number in (3, 4, 6):
            self.assert_read(PAGE, text_of(saved, number))


if __name__ == "__main__":
    unittest.main()
