"""Notes as the user finds them: in a real Gnote, and as files where there is none."""

import contextlib
import os
import pathlib
import re
import subprocess
import tempfile
import unittest
import urllib.parse

from desktop import Session
from harness import HANG, Program, needs
from findings import Comparison, text_of
from scans import scanned, scanned_pdf, set_text

ADD_NOTE = os.environ.get("KORVANE_ADD_NOTE", "build/release/bin/AddNote")


class Desktop(contextlib.ExitStack):
    """A home folder, with a session bus and a screen of its own where asked for."""

    def __init__(self, bus=True, screen=True):
        super().__init__()
        self.home = pathlib.Path(self.enter_context(tempfile.TemporaryDirectory(
            prefix="korvane-", ignore_cleanup_errors=True)))
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(self.home), "LC_ALL": "C.UTF-8",
                            "XDG_RUNTIME_DIR": str(self.home), "GSETTINGS_BACKEND": "memory",
                            "NO_AT_BRIDGE": "1"}
        self.pdf = self.home / "50% \"of\" it.pdf"
        self.pdf.write_bytes(b"%PDF-1.7 saved")
        # The bus ends first, and Gnote with it.
        if screen:
            self.environment["DISPLAY"] = ":" + self._start(
                "Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "800x600x24")
        if bus:
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._start(
                "dbus-daemon", "--session", "--nofork", "--print-address",
                f"--address=unix:path={self.home}/bus")

    def _start(self, *command):
        """Starts a program that tells its address, and gives that."""
        program = self.enter_context(Program(*command, env=self.environment))
        return program.lines.wait_count(1)[0]

    def add_note(self, title, text, folder="Printed", pdf=None):
        """What the user is told if there is no note; else nothing."""
        done = subprocess.run([ADD_NOTE, title, folder, pdf or self.pdf], input=text.encode(),
                              env=self.environment, stderr=subprocess.PIPE, timeout=HANG, check=False)
        return done.stderr.decode().strip()

    def gnote(self, member, *texts):
        """What Gnote answers, as text."""
        answer = subprocess.run(
            ["dbus-send", "--session", "--print-reply=literal", "--dest=org.gnome.Gnote",
             "/org/gnome/Gnote/RemoteControl", f"org.gnome.Gnote.RemoteControl.{member}",
             *(f"string:{text}" for text in texts)],
            env=self.environment, stdout=subprocess.PIPE, timeout=HANG, check=True)
        return answer.stdout.decode().strip()


class Notes(unittest.TestCase):
    @needs("gnote", "Xvfb", "dbus-daemon", "dbus-send", "pdftotext")
    def test_hold_the_words_of_the_scan_that_was_printed(self):
        scan = scanned(set_text(height=160))
        with Desktop() as desktop, Session({"notesEnabled": True}, desktop.environment) as session:
            self.assertEqual(session.agent.print_job(scanned_pdf([scan]), "Lighthouse"), 0)
            shown = session.server.wait_shown()
            first = shown["body"].split()[:-1]  # the last word may be cut
            self.assertGreater(len(first), 20)
            truth = " ".join(word.text for word in scan.words[:len(first)])
            self.assertGreater(Comparison(truth, " ".join(first)).recall, 0.95, first)
            session.server.choose(shown["number"], "KV_ACTION_ADD_TO_NOTES")
            session.agent.wait_logged("PrinterService: added note for Lighthouse")
            note = desktop.gnote("GetNoteContentsXml", desktop.gnote("FindNote", "Lighthouse"))
            (saved,) = session.agent.files()
            self.assertIn(f"<link:url>file://{urllib.parse.quote(str(saved))}</link:url>", note)
            text = re.sub("<.*?>", " ", note)
            self.assertGreater(Comparison(scan.text, text).recall, 0.97, text)
            found = text_of(saved)
            self.assertGreater(Comparison(scan.text, found).recall, 0.97, found)

    @needs("gnote", "Xvfb", "dbus-daemon", "dbus-send")
    def test_are_in_gnote_as_text_whatever_was_printed(self):
        text = 'He said: "<b>1 < 2</b>"\\ &amp; \x01\u202e\U0001F600\nnext line\r\n\n¬ end tell'
        with Desktop() as desktop:
            title = 'Tax "2025" \\ <b>&amp; 1'
            for _ in range(2):
                self.assertEqual(desktop.add_note(title, text, " Printed & bound "), "")
            self.assertEqual(desktop.add_note("gone", "x", pdf=desktop.home / "gone.pdf"),
                             "AppleScript run failed: "
                             f"File {desktop.home}/gone.pdf wasn't found.")
            notes = re.findall(r"note://\S+",
                               desktop.gnote("GetAllNotesWithTag", "system:notebook:printed & bound"))
            titles = {desktop.gnote("GetNoteTitle", note): note for note in notes}
            self.assertLessEqual({title, title + " (2)"}, set(titles))
            self.assertEqual(desktop.gnote("FindNote", "gone"), "")
            self.assertEqual(desktop.add_note("...", "x"), "")
            self.assertNotEqual(desktop.gnote("FindNote", "Untitled"), "")
            content = desktop.gnote("GetNoteContentsXml", titles[title])
            self.assertIn(
                '&lt;b&gt;&amp;amp; 1\n\nHe said: &quot;&lt;b&gt;1 &lt; 2&lt;/b&gt;&quot;\\ &amp;amp; '
                "\u202e\U0001F600\nnext line\n\n¬ end tell\n\n"
                f"<link:url>file://{desktop.home}/50%25%20%22of%22%20it.pdf</link:url>", content)

    @needs("gnote", "dbus-daemon")
    def test_are_files_where_gnote_cannot_start(self):
        with Desktop(screen=False) as desktop:
            self.assertEqual(desktop.add_note("Tax", "x"), "")
            self.assertTrue((desktop.home / "Documents/Notes/Printed/Tax.html").exists())

    def test_are_files_where_there_is_no_bus(self):
        with Desktop(bus=False, screen=False) as desktop:
            (desktop.home / ".config").mkdir()
            (desktop.home / ".config/user-dirs.dirs").write_text('XDG_DOCUMENTS_DIR="$HOME/Papers"\n')
            self.assertEqual(desktop.add_note("../Tax <1>", "<script>x</script>", "   "), "")
            folder = desktop.home / "Papers/Notes/Notes"
            self.assertEqual(sorted(f.name for f in folder.iterdir()),
                             ["_Tax _1_.html", "_Tax _1_.pdf"])
            self.assertEqual((folder / "_Tax _1_.pdf").read_bytes(), desktop.pdf.read_bytes())
            note = (folder / "_Tax _1_.html").read_text()
            self.assertIn("<h1>../Tax &lt;1&gt;</h1>", note)
            self.assertIn("&lt;script&gt;x&lt;/script&gt;", note)
            self.assertIn('<a href="./_Tax%20_1_.pdf">', note)


if __name__ == "__main__":
    unittest.main()
