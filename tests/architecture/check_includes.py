#!/usr/bin/env python3
"""Checks what the sources include: usage check_includes.py <src>.

The headers of a foreign library are included in one folder only, below platform/, so that the
rest of the code does not know the library. Our own headers are included by their path from src/.
"""

import pathlib
import re
import sys

FOREIGN = {
    "asio": r"asio(\.hpp$|/)",
    "avahi": r"avahi-(client|common|core)/",
    "leptonica": r"leptonica/|allheaders\.h$",
    "libdeflate": r"libdeflate\.h$",
    "libnl": r"netlink/",
    "libseccomp": r"seccomp\.h$",
    "nlohmann-json": r"nlohmann/",
    "poppler": r"poppler",
    "qpdf": r"qpdf/",
    "sdbus-c++": r"sdbus-c\+\+/",
    "systemd": r"systemd/",
    "tesseract": r"tesseract/",
    "utf8proc": r"utf8proc\.h$",
}

# JSON is read in one place only, which is where its meaning is known.
HOMES = {"nlohmann-json": "config"}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def is_home(library, folder):
    if library in HOMES:
        return folder == HOMES[library]
    return folder.startswith("platform/")


def includes(src):
    """Every include as (file, folder, header, whether it is in quotes)."""
    for file in sorted(src.rglob("*")):
        if file.suffix not in {".h", ".cpp"}:
            continue
        folder = file.parent.relative_to(src).as_posix()
        for mark, header in INCLUDE.findall(file.read_text(encoding="utf-8")):
            yield file.relative_to(src).as_posix(), folder, header, mark == '"'


def violations(src):
    found = []
    homes = {}
    for file, folder, header, is_quoted in includes(src):
        if is_quoted and not (src / header).is_file():
            found.append(f'{file}: "{header}" is not a path from src/')
        elif ".." in pathlib.PurePosixPath(header).parts:
            found.append(f"{file}: {header} climbs out of its folder")
        for library, pattern in FOREIGN.items():
            if is_quoted or not re.match(pattern, header):
                continue
            if not is_home(library, folder):
                found.append(f"{file}: {library} has no place in {folder}/")
            elif homes.setdefault(library, folder) != folder:
                found.append(f"{file}: {library} is in {homes[library]}/ already")
    return found


def main():
    found = violations(pathlib.Path(sys.argv[1]))
    print("\n".join(found) or "every include is in its place")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
