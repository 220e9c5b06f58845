"""What clients print besides PDF and rasters: pictures, and documents compressed for the way."""

import gzip
import io
import os
import pathlib
import re
import struct
import subprocess
import tempfile
import unittest
import zlib

from PIL import Image, ImageChops, ImageCms, ImageDraw, ImageFile, ImageOps

from harness import HANG, Agent, attribute, ipp_request, make_pdf, needs

ImageFile.LOAD_TRUNCATED_IMAGES = True

IPPTOOL_FILES = pathlib.Path("/usr/share/cups/ipptool")


def photo():
    """A picture of which no two sides look alike."""
    image = Image.new("RGB", (320, 192), "white")
    draw = ImageDraw.Draw(image)
    colors = ["red", "green", "blue", "yellow", "cyan", "magenta", "black", "gray"]
    for place, color in enumerate(colors):
        draw.rectangle([place * 32, 0, place * 32 + 31, 63], fill=color)
    draw.rectangle([0, 128, 63, 191], fill="orange")
    draw.polygon([(160, 180), (200, 90), (240, 180)], fill="navy")
    return image


def jpeg(image, orientation=None, **options):
    exif = Image.Exif()
    if orientation:
        exif[0x112] = orientation
    file = io.BytesIO()
    image.save(file, "JPEG", **{"quality": 95, "dpi": (100, 100), "exif": exif, **options})
    return file.getvalue()


def pictures():
    """JPEG files of all kinds as libjpeg writes them, with the largest difference that a viewer may
    show: nothing but the conversion of CMYK is left to its taste."""
    image = photo()
    profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
    yield from ((f"turned-{number}", jpeg(image, number), 0) for number in range(1, 9))
    yield "gray", jpeg(image.convert("L")), 0
    yield "progressive", jpeg(image, progressive=True), 0
    yield "subsampled", jpeg(image, subsampling=2), 0
    yield "profile", jpeg(image, icc_profile=profile), 2
    yield "cmyk", jpeg(image.convert("CMYK")), 120
    yield "two-pictures", jpeg(image) + jpeg(image.convert("L")), 0
    yield "cut-short", jpeg(image)[:-100], 0


@needs("ipptool", "qpdf", "pdfimages", "pdftoppm")
class Pictures(unittest.TestCase):
    def test_become_pages_that_look_as_they_do_and_hold_their_bytes(self):
        with Agent() as agent, tempfile.TemporaryDirectory() as folder:
            agent.wait_ready()
            file = pathlib.Path(folder, "photo.jpg")
            for count, (name, document, limit) in enumerate(pictures(), 1):
                with self.subTest(name):
                    file.write_bytes(document)
                    subprocess.run(["ipptool", "-f", str(file), agent.uri,
                                    str(IPPTOOL_FILES / "print-job.test")], check=True,
                                   timeout=HANG, capture_output=True)
                    agent.wait_saved(count)
                    saved = re.search("saved at (.*) [(]", agent.lines[-1])[1]
                    self.check(saved, document, limit, pathlib.Path(folder, name))

    def check(self, saved, document, limit, prefix):
        is_whole = document.endswith(b"\xff\xd9")
        check = subprocess.run(["qpdf", "--check", saved], capture_output=True, check=False)
        self.assertEqual(check.returncode, 0 if is_whole else 3, check.stderr)  # 3: a warning
        subprocess.run(["pdfimages", "-j", saved, str(prefix)], check=True)
        self.assertEqual(pathlib.Path(f"{prefix}-000.jpg").read_bytes(), document)
        rendered = subprocess.run(["pdftoppm", "-r", "100", saved], check=True,
                                  capture_output=True).stdout
        page = Image.open(io.BytesIO(rendered))
        picture = ImageOps.exif_transpose(Image.open(io.BytesIO(document))).convert("RGB")
        self.assertEqual(page.size, picture.size)
        seen = (0, 0, page.width, page.height if is_whole else page.height // 2)
        difference = ImageChops.difference(page.convert("RGB").crop(seen), picture.crop(seen))
        self.assertLessEqual(max(high for _, high in difference.getextrema()), limit)

    def test_are_as_large_as_they_say_or_as_fits_the_paper(self):
        with Agent() as agent:
            agent.wait_ready()
            for name, size, dpi, page in (("small", (320, 192), (100, 50), "230.4 x 276.48"),
                                          ("unknown", (300, 150), (0, 0), "72 x 36"),
                                          ("large", (4000, 1000), (72, 72), "841.89 x 210.472")):
                document = jpeg(Image.new("RGB", size, "green"), dpi=dpi)
                self.assertEqual(agent.print_job(document, name), 0)
                agent.wait_logged(f"saved at {agent.saved}/{name} ")
                (saved,) = (file for file in agent.files() if file.name.startswith(name))
                facts = subprocess.run(["pdfinfo", str(saved)], capture_output=True, text=True,
                                       check=True).stdout
                self.assertIn(f"Page size:       {page} pts", facts)

    def test_that_are_damaged_are_refused_and_kept(self):
        with Agent() as agent:
            agent.wait_ready()
            damaged = jpeg(photo())[:100]
            self.assertEqual(agent.print_job(damaged, "Photo"), 0x040A)
            agent.wait_logged("JPEG conversion failed: it ends within its headers")
            (kept,) = agent.unsaved()
            self.assertEqual(kept.read_bytes(), damaged)


class Compressed(unittest.TestCase):
    # It has its text, so it is saved as it came.
    document = make_pdf("BT /F1 24 Tf 72 700 Td (Dear printer, these words came compressed) Tj ET"
                        ) + os.urandom(700_000)

    @needs("ipptool")
    def test_documents_of_ipptool_are_saved_as_they_were(self):
        with Agent() as agent, tempfile.NamedTemporaryFile(suffix=".pdf") as file:
            agent.wait_ready()
            file.write(self.document)
            file.flush()
            for count, compression in enumerate(("gzip", "deflate"), 1):
                subprocess.run(["ipptool", "-f", file.name, agent.uri,
                                str(IPPTOOL_FILES / f"print-job-{compression}.test")],
                               check=True, timeout=HANG, capture_output=True)
                agent.wait_saved(count)
            self.check_saved(agent)

    def test_documents_are_known_by_their_bytes_and_damaged_ones_refused_and_kept(self):
        packed = gzip.compress(self.document)
        with Agent() as agent:
            agent.wait_ready()
            for count, (name, sent) in enumerate({"Wrapped": zlib.compress(self.document),
                                                  "Members": gzip.compress(self.document[:99]) +
                                                             gzip.compress(self.document[99:]),
                                                  "Plain": self.document}.items(), 1):
                self.assertEqual(self.print_compressed(agent, name, sent), 0, name)
                agent.wait_saved(count)
            self.check_saved(agent)
            self.assertEqual(self.print_compressed(agent, "Cut", packed[:-20]), 0x040A)
            agent.wait_logged("Decompression failed: the compressed data is damaged")
            (kept,) = agent.unsaved()
            self.assertEqual(kept.read_bytes(), packed[:-20])

    def check_saved(self, agent):
        for saved in agent.files():
            self.assertTrue(saved.read_bytes() == self.document, saved)

    @staticmethod
    def print_compressed(agent, name, document):
        request = ipp_request(0x0002, name)[:-1] + attribute(0x44, "compression", b"deflate")
        return struct.unpack(">H", agent.post(request + b"\x03" + document)[1][2:4])[0]


if __name__ == "__main__":
    unittest.main()
