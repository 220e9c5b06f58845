#!/usr/bin/env python3
"""Checks where an installation puts its files: usage check_install.py <cmake> <build folder>."""

import os
import pathlib
import subprocess
import sys
import tempfile

HOME = "/home/user"
# By prefix: the folders of systemd's files and of the autostart entry, where systemd.unit(5) and the
# Desktop Application Autostart Specification look for them.
PREFIXES = {
    "/usr": ("/usr/lib/systemd", "/etc/xdg/autostart"),
    "/usr/local": ("/usr/local/lib/systemd", "/etc/xdg/autostart"),
    "/opt/korvane": ("/opt/korvane/lib/systemd", "/etc/xdg/autostart"),
    HOME + "/.local": (HOME + "/.local/share/systemd", HOME + "/.config/autostart"),
}
# What has no effect for one user, to whom it is not given.
FOR_ALL_USERS = ("/user-preset/80-korvane.preset", "/user-generators/korvane-agent-namespaces")


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
for prefix, (systemd, autostart) in PREFIXES.items():
    agent = prefix + "/bin/korvane-agent"
    expected = {
        agent: [],
        prefix + "/bin/korvanectl": [],
        prefix + "/libexec/korvane/korvane-worker": [],
        prefix + "/share/bash-completion/completions/korvanectl": [],
        prefix + "/share/dbus-1/interfaces/org.korvane.Agent.xml": [],
        systemd + "/user/korvane-agent.service": [agent],
        systemd + "/user/korvane-agent-lingering.service": ["true"],
        prefix + "/share/korvane/no-user-namespaces.conf": [],
        autostart + "/org.korvane.Agent.desktop": [
            'sh -c "systemctl --user cat korvane-agent.service >/dev/null 2>&1 || '
            f'exec {agent}; exec systemctl --user --no-block start korvane-agent.service 2>/dev/null"'],
        prefix + "/share/applications/org.korvane.Agent.desktop": [agent],
        prefix + "/share/icons/hicolor/scalable/apps/org.korvane.Agent.svg": [],
        prefix + "/share/man/man1/korvane-agent.1.gz": [],
        prefix + "/share/man/man1/korvanectl.1.gz": [],
        prefix + "/share/man/man8/korvane-worker.8.gz": [],
        prefix + "/share/metainfo/org.korvane.Agent.metainfo.xml": [],
    }
    if not prefix.startswith(HOME):
        expected |= {systemd + path: [] for path in FOR_ALL_USERS}
    found = installed(sys.argv[1], sys.argv[2], prefix)
    for path in sorted(expected.keys() | found.keys()):
        if expected.get(path) != found.get(path):
            failed = True
            print(f"{prefix}: {path}: {found.get(path)} is not {expected.get(path)}")
sys.exit(1 if failed else 0)
