#!/usr/bin/env python3
"""Checks where an installation puts its files: usage check_install.py <cmake> <build folder>."""

import os
import pathlib
import subprocess
import sys
import tempfile

HOME = "/home/user"
# By prefix: the folders of unit and autostart entry, where systemd.unit(5) and the Desktop Application
# Autostart Specification look for them.
PREFIXES = {
    "/usr": ("/usr/lib/systemd/user", "/etc/xdg/autostart"),
    "/usr/local": ("/usr/local/lib/systemd/user", "/etc/xdg/autostart"),
    "/opt/korvane": ("/opt/korvane/lib/systemd/user", "/etc/xdg/autostart"),
    HOME + "/.local": (HOME + "/.local/share/systemd/user", HOME + "/.config/autostart"),
}


def installed(cmake, build, prefix):
    """The files of an installation by their paths, with the lines that name a program."""
    with tempfile.TemporaryDirectory() as stage:
        environment = {"PATH": os.environ["PATH"], "HOME": HOME, "DESTDIR": stage}
        subprocess.run([cmake, "--install", build, "--prefix", prefix], env=environment, check=True,
                       stdout=subprocess.DEVNULL)
        root = pathlib.Path(stage)
        return {"/" + file.relative_to(root).as_posix(): commands(file)
                for file in root.rglob("*") if file.is_file()}


def commands(file):
    if file.suffix not in {".desktop", ".service"}:
        return []
    lines = file.read_text(encoding="utf-8").splitlines()
    return [line.split("=", 1)[1] for line in lines if line.startswith(("Exec=", "ExecStart="))]


failed = False
for prefix, (units, autostart) in PREFIXES.items():
    agent = prefix + "/bin/korvane-agent"
    expected = {
        agent: [],
        prefix + "/bin/korvanectl": [],
        prefix + "/libexec/korvane/korvane-worker": [],
        prefix + "/share/bash-completion/completions/korvanectl": [],
        prefix + "/share/dbus-1/interfaces/org.korvane.Agent.xml": [],
        prefix + "/share/man/man1/korvanectl.1": [],
        units + "/korvane-agent.service": [agent],
        units + "/korvane-agent-lingering.service": ["true"],
        prefix + "/share/doc/korvane/no-user-namespaces.conf": [],
        autostart + "/org.korvane.Agent.desktop": [
            'sh -c "systemctl --user cat korvane-agent.service >/dev/null 2>&1 || '
            f'exec {agent}; exec systemctl --user --no-block start korvane-agent.service 2>/dev/null"'],
        prefix + "/share/applications/org.korvane.Agent.desktop": [agent],
        prefix + "/share/icons/hicolor/scalable/apps/org.korvane.Agent.svg": [],
    }
    found = installed(sys.argv[1], sys.argv[2], prefix)
    for path in sorted(expected.keys() | found.keys()):
        if expected.get(path) != found.get(path):
            failed = True
            print(f"{prefix}: {path}: {found.get(path)} is not {expected.get(path)}")
sys.exit(1 if failed else 0)
