"""The Debian package, installed into a bare system, used there by an ordinary user, and removed."""

import os
import pathlib
import shutil
import subprocess
import sys
import unittest

from PIL import Image, ImageDraw, ImageFont

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "system"))
from harness import Mount, Program, free_port  # pylint: disable=wrong-import-position
from test_package import output  # pylint: disable=wrong-import-position

BUILD = pathlib.Path(os.environ["KORVANE_BUILD"])
ROOT = BUILD / "package-root"
FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"


@unittest.skipUnless(ROOT.exists(), "there is no bare system")
class InstalledPackage(unittest.TestCase):
    """The package in a system where nothing else is."""

    def setUp(self):
        self.root = BUILD / "package-root.used"
        shutil.rmtree(self.root, ignore_errors=True)
        output("cp", "-a", "--reflink=auto", ROOT, self.root)
        self.addCleanup(shutil.rmtree, self.root)
        self.enterContext(Mount(self.root / "proc", "proc"))
        self.bare = self.files()
        self.message = output(*self.inside("apt-get", "install", "-qq", "--no-install-recommends",
                                           "/root/korvane.deb"))

    def inside(self, *command, user="0:0"):
        return ["chroot", f"--userspec={user}", self.root, "env", "-i", "HOME=/home/user",
                "PATH=/usr/sbin:/usr/bin", "DEBIAN_FRONTEND=noninteractive", *command]

    def files(self):
        """Where something of this printer could be."""
        paths = (path.relative_to(self.root) for folder in ("etc", "usr", "var/lib")
                 for path in (self.root / folder).rglob("*"))
        return {path for path in paths if "orvane" in str(path)}

    def test_prints_for_an_ordinary_user_and_leaves_his_documents_when_it_is_purged(self):
        self.assertIn("korvanectl set saveDirectoryPath", self.message)
        wanted = "etc/systemd/user/default.target.wants/korvane-agent.service"
        self.assertTrue((self.root / wanted).is_symlink())
        home, port = self.root / "home/user", free_port()
        self.write_scan(home / "scan.pdf")
        for command in (["mkdir", "/home/user/saved"],
                        ["korvanectl", "set", "saveDirectoryPath", "/home/user/saved",
                         "ippPort", str(port)]):
            output(*self.inside(*command, user="1000:1000"))
        with Program(*self.inside("/usr/bin/korvane-agent", user="1000:1000"), errors=True) as agent:
            agent.lines.wait_line("PrinterService: ready on port")
            output(*self.inside("ipptool", "-tf", "/home/user/scan.pdf",
                                f"ipp://localhost:{port}/ipp/print", "print-job.test", user="1000:1000"))
            agent.lines.wait_line("PrinterService: job saved at")
            self.assertEqual(agent.stop(), 0)
        saved, = (home / "saved").iterdir()
        self.assertIn("lighthouse", output("pdftotext", saved, "-"))
        output(*self.inside("dpkg", "--purge", "korvane"))
        self.assertEqual(self.files(), self.bare)
        self.assertTrue(saved.exists() and (home / ".config/Korvane/settings.json").exists())

    @staticmethod
    def write_scan(path):
        page = Image.new("L", (1240, 1754), 255)
        ImageDraw.Draw(page).text((150, 200), "The lighthouse was painted in October",
                                  font=ImageFont.truetype(FONT, 40), fill=0)
        page.save(path, resolution=150)
