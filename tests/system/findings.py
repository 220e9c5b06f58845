"""What other programs find in documents, and how it compares with what is there."""

import collections
import os
import pathlib
import re
import subprocess
import tempfile
import unicodedata
import xml.etree.ElementTree


def output_of(*command, **options):
    return subprocess.run([str(part) for part in command], check=True, capture_output=True, **options).stdout


def text_of(document, page=None):
    """The text, of all pages or of one (from 1 on), in the order in which it was drawn."""
    pages = [] if page is None else ["-f", page, "-l", page]
    return output_of("pdftotext", "-raw", *pages, document, "-").decode()


def recognized(picture, *options, language="eng"):
    """What Tesseract alone reads of the picture in a file."""
    return output_of("tesseract", picture, "-", "-l", language, *options,
                     env={**os.environ, "OMP_THREAD_LIMIT": "1"}).decode()


class Comparison:
    """The words that were found against the true ones: without case, punctuation and order."""

    def __init__(self, truth, found):
        truth, found = (collections.Counter(re.findall(r"\w+", unicodedata.normalize("NFKC", text).lower()))
                        for text in (truth, found))
        self.truth, self.found, self.right = (c.total() for c in (truth, found, truth & found))

    @property
    def recall(self):
        """The part of the true words that were found."""
        return self.right / max(self.truth, 1)

    @property
    def precision(self):
        """The part of the found words that are true; 0 if there are none."""
        return self.right / max(self.found, 1)

    def __repr__(self):
        return f"{self.right} right of {self.found} found, {self.truth} there"


Found = collections.namedtuple("Found", "text box")


def found_words(document):
    """For every page the words that pdftotext finds, each with its box: left, upper, right and lower
    edge in points from the upper left corner."""
    page_tag, word_tag = ("{http://www.w3.org/1999/xhtml}" + name for name in ("page", "word"))
    root = xml.etree.ElementTree.fromstring(output_of("pdftotext", "-bbox", document, "-"))
    return [[Found(word.text, tuple(float(word.get(edge)) for edge in ("xMin", "yMin", "xMax", "yMax")))
             for word in page.iter(word_tag)] for page in root.iter(page_tag)]


def paired(seen, found, distance):
    """Each word with another one of the same text, the nearest pairs first, each word once."""
    by_text = collections.defaultdict(list)
    for word in found:
        by_text[word.text].append(word)
    pairs, taken = [], set()
    for _, a, b in sorted(((distance(a, b), i, j) for i, a in enumerate(seen)
                           for j, b in enumerate(by_text[a.text])), key=lambda pair: pair[0]):
        text = seen[a].text
        if ("seen", a) in taken or (text, b) in taken:
            continue
        taken |= {("seen", a), (text, b)}
        pairs.append((seen[a], by_text[text][b]))
    return pairs


def misplacement(word, box):
    """How many points a box is away from the word that is seen. To pdftotext a tilted word reaches from
    its one end to the other along the nearest side of the page, and is as high as its first letter."""
    along = 0 if abs(word.end[0] - word.start[0]) >= abs(word.end[1] - word.start[1]) else 1
    across = 1 - along
    ends = sorted((word.start[along], word.end[along]))
    return max(abs(ends[0] - box[along]), abs(ends[1] - box[along + 2]),
               box[across] - word.start[across], word.start[across] - box[across + 2])


def embedded_images(document):
    """The document's images as they are embedded, in the order of its pages."""
    with tempfile.TemporaryDirectory() as folder:
        output_of("pdfimages", "-all", document, f"{folder}/image")
        return [file.read_bytes() for file in sorted(pathlib.Path(folder).iterdir())]


def pictures(document):
    """The document's pages as they look."""
    return output_of("pdftoppm", "-r", "72", document)
