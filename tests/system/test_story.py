"""A day with the printer, as its user has it: from the first settings to the end of the session."""

import errno
import pathlib
import re
import shutil
import socket
import unittest
import urllib.parse

from harness import free_port, ipp_request, needs, wait_until
from scans import Scan, found_lines, recall, scanned_pdf
from test_desktop import Session
from test_notes import Desktop

GET_PRINTER_ATTRIBUTES = 0x000B


class Day(unittest.TestCase):
    def setUp(self):
        self.has_gnote = all(map(shutil.which, ("gnote", "Xvfb", "dbus-send")))
        self.desktop = self.enterContext(Desktop(screen=self.has_gnote))
        self.session = self.enterContext(Session(desktop=self.desktop, configured=False))
        self.agent, self.server = self.session.agent, self.session.server
        self.settings = {"notesEnabled": True}

    def change(self, **settings):
        """What the settings application does."""
        self.settings.update(settings)
        self.agent.write_settings(**self.settings)
        self.session.bus.post_settings_changed()

    def assert_logged(self, text, times=1):
        count = lambda: sum(text in line for line in list(self.agent.lines))
        wait_until(lambda: count() >= times)
        self.assertEqual(count(), times, (text, self.agent.lines))

    def assert_closed(self, port):
        def is_refused():
            with socket.socket() as client:
                return client.connect_ex(("127.0.0.1", port)) == errno.ECONNREFUSED
        self.assertTrue(wait_until(is_refused), f"port {port} answers")

    def saved(self, name):
        (found,) = [f for f in self.agent.files() if f.name.startswith(name + " ")]
        return found

    def assert_words(self, scan, text):
        self.assertGreater(recall(scan.words, text.split()), 0.97, text)

    def assert_announced(self, name, scan, count):
        """The user is told of the job with its first words, and finds them all in the document."""
        shown = self.server.wait_shown(count, 30)
        self.assertEqual((shown["title"], shown["actions"][2:4]),
                         (name, ["KV_ACTION_ADD_TO_NOTES", "Add to Notes"]))
        told = shown["body"].split()[:-1]  # the last word may be cut
        self.assertGreater(len(told), 20)
        self.assertGreater(recall(scan.words[:len(told)], told), 0.95, told)
        lines = found_lines(self.saved(name))[0]
        self.assert_words(scan, " ".join(word for words, _ in lines for word in words))
        return shown

    def note(self, title):
        """The text of the note as its application keeps it, and the PDF that it links to."""
        if self.has_gnote:
            text = self.desktop.gnote("GetNoteContentsXml", self.desktop.gnote("FindNote", title))
            link = re.search("<link:url>file://(.*)</link:url>", text)[1]
        else:
            file = self.desktop.home / "Documents/Notes/Printed" / (title + ".html")
            text = file.read_text()
            link = f"{file.parent}/" + re.search('href="(.*?)"', text)[1]
        return re.sub("<.*?>", " ", text), pathlib.Path(urllib.parse.unquote(link))

    @needs("dbus-daemon", "pdftotext")
    def test_goes_from_the_first_settings_to_the_end_of_the_session(self):
        self.assertTrue(self.agent.logged("Notifications: granted=true"))
        self.assert_logged("PrinterService: not configured, stopping")
        self.assert_closed(self.agent.port)

        # A scan is printed and becomes a note.
        self.change()
        self.agent.wait_ready()
        scan = Scan(height=160)
        self.assertEqual(self.agent.print_job(scanned_pdf([scan]), "Lighthouse"), 0)
        shown = self.assert_announced("Lighthouse", scan, 1)
        self.server.choose(shown["number"], "KV_ACTION_ADD_TO_NOTES")
        self.assert_logged("PrinterService: added note for Lighthouse")
        text, pdf = self.note("Lighthouse")
        self.assert_words(scan, text)
        self.assertEqual(pdf.read_bytes(), self.saved("Lighthouse").read_bytes())

        # The printer gets a name, and moves to another port while it is at work.
        self.change(printerName="Attic")
        self.assertTrue(self.agent.logged(f'IPPServer: publishing "Attic" on port {self.agent.port}'))
        self.assertIn(b"Attic", self.agent.post(ipp_request(GET_PRINTER_ATTRIBUTES))[1])
        pages = [Scan(seed=seed) for seed in range(4)]
        document = scanned_pdf(pages)
        self.assertEqual(self.agent.print_job(document, "Moving"), 0)
        old, self.agent.port = self.agent.port, free_port()
        self.change()
        self.assert_logged(f"PrinterService: ready on port {self.agent.port}")
        self.assertFalse(any("/Moving " in line for line in list(self.agent.lines)))
        self.assertIn(b"Korvane IPP endpoint", self.agent.exchange(b"GET / HTTP/1.1\r\n\r\n"))
        self.assert_closed(old)
        self.assert_announced("Moving", pages[0], 2)

        # Without a folder in the settings there is no printer; with one that is gone, no document.
        self.change(saveDirectoryPath="")
        self.assert_logged("PrinterService: not configured, stopping", times=2)
        self.assert_closed(self.agent.port)
        self.change(saveDirectoryPath=str(self.agent.saved))
        self.assert_logged(f"PrinterService: ready on port {self.agent.port}", times=2)
        shutil.rmtree(self.agent.saved)
        self.assertEqual(self.agent.print_job(document, "Lost"), 0)
        self.assert_logged(f'PrinterService: save directory "{self.agent.saved}" missing or '
                           "unreadable, dropping job")

        self.assertEqual(self.agent.stop(), 0)
        self.assertEqual(len(self.server.shown), 2)
        self.assertFalse(self.agent.saved.exists())


if __name__ == "__main__":
    unittest.main()
