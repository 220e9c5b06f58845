"""Measures how pages are recognized, against OCRmyPDF and Tesseract alone: words, places, seconds, memory."""

import collections
import pathlib
import random
import statistics
import sys
import tempfile
import threading
import time

from PIL import Image

import degradation
from findings import Comparison, Found, found_words, output_of, paired, text_of
from harness import Agent, memory_kib, pdf_of, pdf_stream
from scans import FONT, TEXTS, Scan, scanned, scanned_pdf, set_text
from yardsticks import missing, ocrmypdf, rendered, tesseract, timed

PROGRAMS = ("ocrmypdf", "tesseract", "pdftotext", "pdftoppm")

KINDS = {
    "as-it-is": lambda scan: scan,
    **{f"tilt-{abs(degrees)}": lambda scan, degrees=degrees: degradation.tilted(scan, degrees)
       for degrees in (1, -2, 3, -5, 10)},
    "shaded": degradation.shaded,
    "speckled": degradation.speckled,
    "photographed": degradation.photographed,
    "faint": degradation.faint,
    "with-picture": degradation.with_picture,
    "upside-down-tilted": lambda scan: degradation.tilted(scan, 182),
    "sideways-tilted": lambda scan: degradation.tilted(scan, 93),
}

# A page that falls further behind the better of the others is marked.
TOLERANCE = 0.005

Page = collections.namedtuple("Page", "name scan truth")


def pages_of(options):
    """The pictures of a folder, or pages of our own, set in the fonts that are installed."""
    if options.scans:
        return pictures_of(options.scans)[:options.pages]
    return own_pages(options.pages or 4)


def pictures_of(folder):
    """The pictures that have their words beside them."""
    pages = []
    for truth in sorted(folder.glob("*.txt")):
        for picture in folder.glob(truth.stem + ".*"):
            if picture != truth:
                image = Image.open(picture)
                resolution = round(image.info.get("dpi", (300,))[0])
                pages.append(Page(truth.stem, Scan(image.convert("L"), resolution), truth.read_text("utf-8")))
    if not pages:
        sys.exit(f"{folder}: no pictures with their words in .txt beside them")
    return pages


def own_pages(count):
    words = TEXTS["eng"].split()
    fonts = pathlib.Path(FONT).parent.parent
    faces = [face for face in (FONT, *(fonts / name for name in (
        "liberation/LiberationSerif-Regular.ttf", "dejavu/DejaVuSans.ttf", "dejavu/DejaVuSerif.ttf",
        "liberation/LiberationMono-Regular.ttf", "liberation/LiberationSerif-Italic.ttf",
        "liberation/LiberationSansNarrow-Regular.ttf", "liberation/LiberationSans-Bold.ttf")))
             if pathlib.Path(face).exists()]
    pages = []
    for number in range(count):
        face, turn = pathlib.Path(faces[number % len(faces)]), 17 * number % len(words)
        scan = scanned(set_text(" ".join((words[turn:] + words[:turn]) * 8), 612, 792, 11 - number % 3, 300,
                                face, 54), number)
        pages.append(Page(f"{face.stem} {11 - number % 3} pt", scan, scan.text))
    return pages


def print_and_wait(agent, document):
    """The seconds from the first byte sent to the document saved, and that document."""
    count = sum("job saved at" in line for line in agent.lines)
    known = set(agent.files())
    start = time.monotonic()
    agent.print_job(document, f"Job {count}")
    saved = set(agent.wait_saved(count + 1, 1200))
    return time.monotonic() - start, (saved - known).pop()


def ours(documents):
    """The text that the agent lays over each document; they are printed one after the other and
    recognized at the same time."""
    with Agent() as agent:
        agent.wait_ready()
        for number, document in enumerate(documents):
            agent.print_job(document, f"Job {number}")
        saved = {int(file.name.split()[1]): file for file in agent.wait_saved(len(documents), 1200)}
        return [text_of(saved[number]) for number in range(len(documents))]


def bench_words(folder, options):
    """The words found on pages that were treated badly; * is more than 0.005 behind the better other."""
    if missing(*PROGRAMS):
        return
    kinds = {name: KINDS[name] for name in options.kinds or KINDS}
    programs = ("ours", "OCRmyPDF", "Tesseract")
    print(f"  {'':34}{'recall':^30}   {'precision':^30}")
    print(f"  {'':34}" + "   ".join(["".join(f"{program:>10}" for program in programs)] * 2))
    totals = collections.defaultdict(list)
    behind = 0
    for page in pages_of(options):
        scans = [kind(page.scan) for kind in kinds.values()]
        source, theirs = folder / "source.pdf", folder / "theirs.pdf"
        source.write_bytes(scanned_pdf(scans))
        ocrmypdf(source, theirs, "--deskew", "--rotate-pages")
        with tempfile.TemporaryDirectory(dir=folder) as pictures:
            texts = zip(ours([scanned_pdf([scan]) for scan in scans]),
                        [text_of(theirs, number + 1) for number in range(len(scans))],
                        tesseract(rendered(source, pathlib.Path(pictures))))
        for name, found in zip(kinds, texts):
            comparisons = [Comparison(page.truth, text) for text in found]
            scores = [[c.recall for c in comparisons], [c.precision for c in comparisons]]
            totals[name].append(scores)
            behind += print_scores(page.name, name, scores)
    for name, scores in totals.items():
        print_scores("mean", name, [[statistics.mean(page[measure][program] for page in scores)
                                     for program in range(3)] for measure in range(2)])
    print(f"  behind by more than {TOLERANCE}: {behind} of {sum(map(len, totals.values()))}")


def print_scores(page, kind, scores):
    """Prints a line of the table, and tells whether we are behind in it."""
    columns, behind = [], False
    for own, *others in scores:
        mark = own < max(others) - TOLERANCE
        behind = behind or mark
        columns.append(f"{own:9.4f}{'*' if mark else ' '}" + "".join(f"{other:9.4f} " for other in others))
    print(f"  {page[:14]:14} {kind:19}" + "   ".join(columns), flush=True)
    return behind


def tesseract_words(picture):
    """Tesseract's own words of a page rendered at 300 pixels per inch, with their boxes in points."""
    words = []
    for row in tesseract([picture], "tsv")[0].splitlines()[1:]:
        columns = row.split("\t")
        if columns[0] == "5" and columns[11].strip():
            left, upper, width, height = (int(value) * 72 / 300 for value in columns[6:10])
            words.append(Found(columns[11], (left, upper, left + width, upper + height)))
    return words


def middle_distance(a, b):
    return sum(abs(a.box[i] + a.box[i + 2] - b.box[i] - b.box[i + 2]) for i in (0, 1)) / 2


def covered(box, by):
    """The part of a box's area that another covers."""
    sides = [max(0, min(box[i + 2], by[i + 2]) - max(box[i], by[i])) for i in (0, 1)]
    return sides[0] * sides[1] / ((box[2] - box[0]) * (box[3] - box[1]))


def bench_places(folder, options):
    """How well words lie on words: the layer's boxes on Tesseract's own of the upright picture."""
    if missing(*PROGRAMS):
        return
    for page in pages_of(options):
        document = scanned_pdf([page.scan])
        source, theirs = folder / "source.pdf", folder / "theirs.pdf"
        source.write_bytes(document)
        ocrmypdf(source, theirs)
        with tempfile.TemporaryDirectory(dir=folder) as pictures:
            seen = tesseract_words(rendered(source, pathlib.Path(pictures))[0])
        with Agent() as agent:
            agent.wait_ready()
            layers = {"ours": found_words(print_and_wait(agent, document)[1])[0],
                      "OCRmyPDF": found_words(theirs)[0]}
        print(f"  {page.name}: {len(seen)} words")
        for name, words in layers.items():
            pairs = paired(seen, words, middle_distance)
            if len(pairs) < 2:
                print(f"    {name}: {len(pairs)} of them in the layer")
                continue
            share = statistics.mean(covered(there.box, here.box) >= 0.7 for there, here in pairs)
            errors = sorted(abs(there.box[edge] - here.box[edge]) for there, here in pairs for edge in (0, 2))
            print(f"    {name}: {len(pairs)} of them in the layer, {share:.4f} cover 70 % of the word; "
                  f"edges, 95th percentile: {statistics.quantiles(errors, n=20)[-1]:.2f} pt")


def bench_seconds(folder, options):
    """Eight pages and one from print to saved, against OCRmyPDF and Tesseract alone on all cores."""
    if missing(*PROGRAMS):
        return
    pages = pages_of(options) if options.scans else own_pages(8)
    scans = [page.scan for page in (pages * 8)[:8]]
    source, theirs_saved = folder / "source.pdf", folder / "theirs.pdf"
    for count in (8, 1):
        document = scanned_pdf(scans[:count])
        source.write_bytes(document)
        times = collections.defaultdict(list)
        with tempfile.TemporaryDirectory(dir=folder) as pictures:
            alone = rendered(source, pathlib.Path(pictures))
            for _ in range(3):
                times["OCRmyPDF -j2"].append(timed(ocrmypdf, source, theirs_saved))
                times["Tesseract"].append(timed(tesseract, alone))
                with Agent() as agent:
                    agent.wait_ready()
                    times["cold"].append(print_and_wait(agent, document)[0])
                    times["warm"].append(print_and_wait(agent, document)[0])
        times = {name: statistics.median(seconds) for name, seconds in times.items()}
        print(f"  pages: {count}; " + ", ".join(f"{name} {seconds:.2f} s" for name, seconds in times.items()))
        for name in ("cold", "warm"):
            print(f"    OCRmyPDF takes {times['OCRmyPDF -j2'] / times[name]:.2f} of {name}; "
                  f"{name} takes {times[name] / times['Tesseract']:.2f} of Tesseract alone")


class Peaks(threading.Thread):
    """Watches the memory of an agent's workers; each one's largest is kept."""

    def __init__(self, agent):
        super().__init__(daemon=True)
        self.agent, self.workers, self.done = agent, {}, threading.Event()

    def run(self):
        while not self.done.wait(0.05):
            for worker in self.agent.workers():
                try:
                    self.workers[worker] = memory_kib(worker, "VmHWM")
                except (OSError, IndexError):
                    pass  # it has just ended

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.done.set()
        self.join()


def bench_memory(_, options):
    """The most memory that the agent and its workers use for 8 pages and for 200."""
    pages = pages_of(options) if options.scans else own_pages(8)
    for count in (8, 200):
        document = scanned_pdf([page.scan for page in (pages * count)[:count]])
        with Agent() as agent:
            agent.wait_ready()
            with Peaks(agent) as peaks:
                print_and_wait(agent, document)
            most = memory_kib(agent.process.pid, "VmHWM") / 1024
        print(f"  {count} pages, {len(document) / (1 << 20):.0f} MiB: agent {most:.1f} MiB (at most 40), "
              f"largest of "
              f"{len(peaks.workers)} workers {max(peaks.workers.values()) / 1024:.0f} MiB (at most 300)")


def bench_text(folder, _):
    """A document of 500 pages that has text already, against pdftotext alone."""
    if missing("pdftotext"):
        return
    choice = random.Random(1).choice
    words = TEXTS["eng"].replace("(", "").split()
    objects = []
    for number in range(4, 1004, 2):
        lines = (" ".join(choice(words) for _ in range(13)) for _ in range(42))
        content = "BT /F1 11 Tf 14 TL 72 720 Td " + " ".join(f"({l}) Tj T*" for l in lines) + " ET"
        objects += [f"<</Type/Page/Parent 2 0 R/Contents {number + 1} 0 R>>",
                    pdf_stream(content.encode())]
    document = pdf_of(["<</Type/Catalog/Pages 2 0 R>>",
                       f"<</Type/Pages/Kids[{' '.join(f'{n} 0 R' for n in range(4, 1004, 2))}]"
                       "/Count 500/MediaBox[0 0 612 792]/Resources<</Font<</F1 3 0 R>>>>>>",
                       "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>", *objects])
    (folder / "source.pdf").write_bytes(document)
    theirs, own = [], []
    for _ in range(3):
        theirs.append(timed(output_of, "pdftotext", folder / "source.pdf", folder / "text"))
        with Agent() as agent:
            agent.wait_ready()
            seconds, saved = print_and_wait(agent, document)
            own.append(seconds)
            if saved.read_bytes() != document:
                sys.exit("  the saved document is not what was sent")
    print(f"  saved in {statistics.median(own):.2f} s, pdftotext {statistics.median(theirs):.2f} s: "
          f"ratio {statistics.median(own) / statistics.median(theirs):.2f} (at most 1.5)")
