#!/usr/bin/env python3
"""Checks what the sources include: usage check_includes.py <src>.

The headers of a foreign library are included in one folder only, below lib/ for most, so that
the rest of the code does not know the library. Our own headers are included by their path from src/.
"""

import pathlib
import re
import sys

FOREIGN = {
    "asio": r"asio(\.hpp$|/)",
    "avahi": r"avahi-(common|core)/",
    "cld2": r"cld2/",
    "fribidi": r"fribidi",
    "leptonica": r"leptonica/",
    "libdeflate": r"libdeflate\.h$",
    "libseccomp": r"seccomp\.h$",
    "libxml2": r"libxml/",
    "nlohmann-json": r"nlohmann/",
    "poppler": r"poppler-",
    "qpdf": r"qpdf/",
    "systemd": r"systemd/",
    "tesseract": r"tesseract/",
    "utf8proc": r"utf8proc\.h$",
    "zlib": r"zlib\.h$",
}
# Those that a folder of ours is built on; the others have a folder of their own.
HOMES = {"asio": "event", "nlohmann-json": "config", "utf8proc": "text"}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def violations(src):
    homes = dict(HOMES)
    for file in sorted(src.rglob("*.h")) + sorted(src.rglob("*.cpp")):
        name = file.relative_to(src).as_posix()
        folder = file.parent.relative_to(src).as_posix()
        for mark, header in INCLUDE.findall(file.read_text(encoding="utf-8")):
            if mark == '"' and not (src / header).is_file():
                yield f'{name}: "{header}" is not a path from src/'
            if ".." in header.split("/"):
                yield f"{name}: {header} climbs out of its folder"
            for library in (l for l, form in FOREIGN.items() if mark == "<" and re.match(form, header)):
                if library not in HOMES and not folder.startswith("lib/"):
                    yield f"{name}: {library} has no place in {folder}/"
                elif homes.setdefault(library, folder) != folder:
                    yield f"{name}: {library} is in {homes[library]}/ already"


found = list(violations(pathlib.Path(sys.argv[1])))
print("\n".join(found) or "every include is in its place")
sys.exit(1 if found else 0)
