"""The programs that the agent is measured against, and what it takes to run them."""

import concurrent.futures
import os
import shutil
import time

from findings import output_of, recognized

PATH = os.environ["PATH"] + ":/usr/sbin:/usr/lib/cups/filter"
CORES = os.cpu_count()


def missing(*programs):
    absent = [p for p in programs if not shutil.which(p, path=PATH)]
    if absent:
        print(f"  skipped: {', '.join(absent)} not installed")
    return bool(absent)


def timed(function, *arguments):
    """The seconds that it takes."""
    start = time.monotonic()
    function(*arguments)
    return time.monotonic() - start


def ocrmypdf(source, target, *options):
    output_of("ocrmypdf", "-q", "-j2", "--output-type", "pdf", "--optimize", "0", "-l", "eng", *options,
              source, target)


def rendered(document, folder):
    """The document's pages at 300 pixels per inch, as files."""
    output_of("pdftoppm", "-r", "300", "-gray", document, folder / "page")
    return sorted(folder.glob("page-*.pgm"))


def on_all_cores(function, values):
    """What it gives for each; for functions that wait for a process."""
    with concurrent.futures.ThreadPoolExecutor(CORES) as pool:
        return list(pool.map(function, values))


def tesseract(pages, *options):
    """What Tesseract alone reads of each page, in one process a core."""
    return on_all_cores(lambda page: recognized(page, *options), pages)
