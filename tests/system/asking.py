"""Requests of ipptool, and what it was answered."""

import plistlib
import re
import subprocess
import tempfile

from harness import HANG

# The syntax of the operation attributes that are asked with.
SYNTAX = {"job-id": "integer", "job-name": "name", "requesting-user-name": "name", "which-jobs": "keyword",
          "requested-attributes": "keyword"}

PROCESSING, CANCELED = 5, 7  # of job-state


# What opens and closes the list of results; a suite that includes another writes it once more in between.
FRAME = re.compile(rb"<\?xml.*?<array>\n|</array>\n<key>Successful</key>\n<\w+ />\n</dict>\n</plist>\n", re.S)


def ipptool(*arguments, enter=None, folder=None):
    """Runs ipptool, on another host where it is told how to enter it, and gives its results: for each
    request a dictionary with "Name", "Successful", "StatusCode" and "ResponseAttributes"."""
    run = subprocess.run(["ipptool", "-IX", *map(str, arguments)], preexec_fn=enter, cwd=folder,
                         capture_output=True, timeout=HANG, check=False)
    if b"<plist" not in run.stdout or b"ipptool: " in run.stderr:
        raise AssertionError(run.stderr.decode())
    return plistlib.loads(b"<plist><array>" + FRAME.sub(b"", run.stdout) + b"</array></plist>")


def ask(uri, operation, enter=None, document=None, **attributes):
    """The status keyword of one request, with the document in that file if there is one, and the groups
    of its answer that follow the operation attributes."""
    attributes = {name.replace("_", "-"): value for name, value in attributes.items()}
    lines = [f"ATTR {SYNTAX[name]} {name} {value}" for name, value in attributes.items()]
    if document:
        lines.append(f"FILE {document}")
    with tempfile.NamedTemporaryFile("w", suffix=".test") as file:
        file.write("\n".join(["{", f'NAME "{operation}"', f"OPERATION {operation}",
                              "GROUP operation-attributes-tag", "ATTR charset attributes-charset utf-8",
                              "ATTR naturalLanguage attributes-natural-language en",
                              "ATTR uri printer-uri $uri", *lines, "}\n"]))
        file.flush()
        (result,) = ipptool(uri, file.name, enter=enter)
    return result["StatusCode"], result["ResponseAttributes"][1:]
