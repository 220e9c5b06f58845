#!/usr/bin/env python3
"""Makes a bare system of this machine's release, once, and fetches what a package depends on, so that the
tests on it need no network: usage make_root.py <build folder>. Exit status 77: not possible here.

The system is <build folder>/package-root, and in its /root is the package of <build folder>/package."""

import ctypes
import os
import pathlib
import re
import shutil
import subprocess
import sys

SKIPPED = 77
CLONE_NEWNS = 0x20000


def configured_sources():
    """The machine's own sources of Debian packages, as lines of sources.list(5)."""
    form = "$(CREATED_BY) $(ORIGIN) deb $(REPO_URI) $(RELEASE) $(COMPONENT)"
    lines = subprocess.run(["apt-get", "indextargets", "--format", form], check=True,
                           capture_output=True, text=True).stdout.splitlines()
    start = "Packages Debian "
    return sorted({line[len(start):] for line in lines if line.startswith(start)})


def configured_options():
    """How the machine reaches its sources, and whether these may be old."""
    lines = subprocess.run(["apt-config", "dump"], check=True, capture_output=True,
                           text=True).stdout.splitlines()
    return [f"--aptopt={line}" for line in lines
            if re.match(r'Acquire::(https?::Proxy|Check-(Date|Valid-Until)) "..*"', line, re.I)]


def make_system(root):
    """Essential packages, apt, and a client to print with."""
    unfinished = root.with_suffix(".unfinished")
    shutil.rmtree(unfinished, ignore_errors=True)
    subprocess.run(["mmdebstrap", "--quiet", "--variant=apt", "--include=cups-ipp-utils",
                    "--dpkgopt=force-unsafe-io", *configured_options(), "", str(unfinished), "-"],
                   input="\n".join(configured_sources()), text=True, check=True)
    subprocess.run(["chroot", unfinished, "useradd", "--create-home", "--uid", "1000", "user"],
                   check=True)
    shutil.copy("/etc/resolv.conf", unfinished / "etc")
    in_root(unfinished, "apt-get", "update", "-qq")
    unfinished.rename(root)


def in_root(root, *command):
    subprocess.run(["chroot", root, "env", "DEBIAN_FRONTEND=noninteractive", *command], check=True,
                   stdout=subprocess.DEVNULL)


def main(build):
    if ctypes.CDLL(None).unshare(CLONE_NEWNS) != 0:
        print("Making a system takes root.")
        return SKIPPED
    root = build / "package-root"
    if not root.exists():
        make_system(root)
    shutil.copy(max((build / "package").glob("*.deb"), key=os.path.getmtime), root / "root" / "korvane.deb")
    in_root(root, "apt-get", "install", "-qq", "--no-install-recommends", "--download-only",
            "/root/korvane.deb")
    return 0


sys.exit(main(pathlib.Path(sys.argv[1])))
