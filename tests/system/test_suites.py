"""The suites by which others try printers pass: IPP/1.1, IPP/2.0 and IPP Everywhere."""

import io
import itertools
import pathlib
import re
import tempfile
import unittest

from PIL import Image, ImageDraw

import rasters
from asking import ipptool
from harness import Agent, make_pdf, needs

SUITES = pathlib.Path("/usr/share/cups/ipptool")
PAPERS = {"a4": "iso_a4_210x297mm", "letter": "na_letter_8.5x11in", "4x6": "na_index-4x6_4x6in"}

# What the printer does not say that it can do: the requests for it are left out.
NOT_ANNOUNCED = re.compile(r"URI|PostScript|Duplex|Standard Sheet|2-Up|hold|Release|copies|Quality"
                           r"|@ (150|180|360|600|720)dpi|cmyk-8|srgb-16")


# Each with every document, but the long one: it includes the others, and goes with the documents of its own.
RUNS = [("1.1", "1.1", "one.pdf"), ("1.1", "1.1", "one.pwg"), ("1.1", "1.1", "one.jpg"),
        ("2.0", "2.0", "one.pwg"), ("2.0", "2.0", "one.jpg"), ("everywhere", "2.0", "one.pdf")]


def picture():
    """A picture with no words in it to be recognized."""
    image = Image.new("RGB", (400, 600), "white")
    draw = ImageDraw.Draw(image)
    for number, color in enumerate(("red", "green", "blue", "black")):
        draw.rectangle((50, 60 + 100 * number, 350, 100 + 100 * number), color)
    return image


def jpeg(image):
    file = io.BytesIO()
    image.save(file, "JPEG")
    return file.getvalue()


def write_samples(folder):
    """The documents that the suites print, under the names by which they look for them."""
    def write(name, document):
        file = folder / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(document)

    color, gray = picture(), picture().convert("L")
    write("color.jpg", jpeg(color))
    write("gray.jpg", jpeg(gray))
    for paper in ("a4", "letter"):
        write(f"document-{paper}.pdf", make_pdf("BT /F1 24 Tf 72 700 Td (Sent by a suite) Tj ET"))
    for kind in rasters.MODES:
        name = kind.replace("_", "-")
        subjects = [("color.jpg", "4x6", [color]), ("gray.jpg", "4x6", [gray]), *itertools.chain(
            *([("document", paper, [color, gray]), ("onepage", paper, [color])] for paper in ("a4", "letter")))]
        for subject, paper, pages in subjects:
            write(f"pwg-raster-samples-300dpi/{name}/{subject}-{paper}-{name}-300dpi.pwg",
                  rasters.written(pages, kind, PAPERS[paper]))
    write("one.pdf", make_pdf("BT /F1 24 Tf 72 700 Td (One page) Tj ET"))
    write("one.pwg", rasters.written([color], "srgb_8", PAPERS["4x6"]))
    write("one.jpg", jpeg(color))
    # The others have to be there, even for printers to which they are never sent.
    for suite in SUITES.glob("ipp-*.test"):
        (folder / suite.name).symlink_to(suite)
        for name in re.findall(r"^\s*FILE ([^$\s]+)", suite.read_text(), re.M):
            if not (folder / name).exists():
                write(name, b"")


@needs("ipptool")
class Suites(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        write_samples(cls.folder)
        cls.agent = cls.enterClassContext(Agent({"ippEverywhere": True})).wait_ready()

    def assert_passes(self, suite, version, document):
        results = ipptool("-V", version, "-f", document, self.agent.uri, suite, folder=self.folder)
        skipped = [result["Name"] for result in results if result.get("Skipped")]
        tried = [result["Name"] for result in results if not result.get("Skipped")]
        wrong = [f"skipped: {name}" for name in skipped
                 if name not in tried and not NOT_ANNOUNCED.search(name)]
        for result in results:
            if not result["Successful"]:
                wrong += [result["Name"], *(f"    {error}" for error in result["Errors"])]
        if wrong:
            self.fail("\n".join(wrong))

    def test_pass_with_each_format(self):
        for suite, version, document in RUNS:
            with self.subTest(suite=suite, document=document):
                self.assert_passes(f"ipp-{suite}.test", version, document)


if __name__ == "__main__":
    unittest.main()
