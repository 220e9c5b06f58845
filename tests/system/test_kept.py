"""Told means kept: what a client was told is printed is saved, whatever becomes of the agent and of
the folder that it saves in."""

import collections
import contextlib
import os
import pathlib
import re
import shutil
import signal
import struct
import tempfile
import threading
import unittest

from harness import AGENT, Agent, Mount

OK = 0


def document(number):
    return b"%%PDF-1.4\ndocument %d\n" % number


@contextlib.contextmanager
def agent_without_recognition():
    """An agent whose worker never answers, so that its jobs are accepted and not saved."""
    with tempfile.TemporaryDirectory() as folder:
        program = shutil.copy(AGENT, folder)
        worker = pathlib.Path(folder, "korvane-worker")
        worker.write_text("#!/bin/sh\nexec cat <&3 >/dev/null\n", encoding="ascii")
        worker.chmod(0o755)
        with Agent(program=program) as agent:
            yield agent.wait_ready()


@contextlib.contextmanager
def hanging_file_system(folder):
    """Mounts a file system on the folder whose daemon answers no call but the first."""
    if not os.access("/dev/fuse", os.R_OK | os.W_OK):
        raise unittest.SkipTest("/dev/fuse is not ours")
    with open("/dev/fuse", "r+b", buffering=0) as device, \
            Mount(folder, "fuse", f"fd={device.fileno()},rootmode=40000,"
                                  f"user_id={os.getuid()},group_id={os.getgid()}"):
        call = struct.Struct("<IIQ")  # length, operation or error, number
        number = call.unpack_from(device.read(1 << 20))[2]
        device.write(call.pack(40, 0, number) + struct.pack("<IIIIII", 7, 12, 0, 0, 0, 4096))
        yield


class KilledAgents(unittest.TestCase):
    def test_every_accepted_job_is_saved_once_by_the_next_agent(self):
        with agent_without_recognition() as agent:
            for number in range(6):
                self.assertEqual(agent.print_job(document(number), "Letter"), OK)
            self.assertEqual(agent.print_job(document(6), "Other"), OK)
            self.assertEqual(agent.files(), [])
            agent.stop(signal.SIGKILL)
            agent.start()
            agent.wait_saved(7)
            self.assertEqual(agent.stop(), 0)
            self.expect_each_once(agent.files())
            self.assertEqual(agent.spooled(), [])

    def expect_each_once(self, files):
        self.assertEqual(sorted(file.read_bytes() for file in files),
                         [document(number) for number in range(7)])
        letters = collections.defaultdict(list)
        for file in files:
            name, time, number = re.fullmatch(
                r"(Letter|Other) (\d{4}-\d\d-\d\d \d{6})( \d+)?\.pdf", file.name).groups()
            letters[name, time].append(number or " 1")
        for numbers in letters.values():
            self.assertEqual(sorted(numbers), [f" {n + 1}" for n in range(len(numbers))])

    def test_an_agent_that_is_asked_to_end_saves_what_it_has(self):
        with agent_without_recognition() as agent:
            self.assertEqual(agent.print_job(document(1)), OK)
            self.assertEqual(agent.stop(), 0)
            self.assertEqual([file.read_bytes() for file in agent.files()], [document(1)])
            self.assertEqual(agent.spooled(), [])


class Folders(unittest.TestCase):
    def test_one_that_is_away_gets_its_jobs_when_it_is_back(self):
        with Agent() as agent:
            agent.wait_ready()
            agent.saved.rmdir()
            self.assertEqual(agent.print_job(document(1)), OK)
            agent.wait_logged(f'PrinterService: save directory "{agent.saved}" missing or '
                              "unreadable, dropping job")
            agent.wait_logged("PrinterService: document kept at ")
            self.assertFalse(agent.saved.exists())
            self.assertEqual([file.read_bytes() for file in agent.unsaved()], [document(1)])
            agent.saved.mkdir()
            agent.print_job(document(2))
            saved = agent.wait_saved(2)
            self.assertEqual({file.read_bytes() for file in saved}, {document(1), document(2)})
            self.assertEqual(agent.unsaved(), [])

    def test_one_that_cannot_be_written_gets_its_jobs_when_it_can(self):
        with tempfile.TemporaryDirectory() as folder, Mount(folder, "tmpfs", "size=1m") as disk, \
                Agent(folder=pathlib.Path(folder)) as agent:
            agent.wait_ready()
            large = document(1) + bytes(2 << 20)
            full, read_only = "No space left on device", "Read-only file system"
            cases = ((full, lambda: None, lambda: disk.change("size=8m")),
                     (read_only, lambda: disk.change(read_only=True), disk.change))
            for count, (reason, spoil, mend) in enumerate(cases, 1):
                with self.subTest(reason):
                    start = len(agent.lines)
                    spoil()
                    self.assertEqual(agent.print_job(large, str(count)), OK)
                    agent.wait_logged(f"JobPipeline: write failed: {reason}")
                    agent.wait_logged(f"JobPipeline: fallback write also failed: {reason}")
                    agent.wait_logged("PrinterService: document kept at ", start)
                    self.assertEqual(len(agent.files()), count - 1)
                    (kept,) = agent.unsaved()
                    self.assertEqual(kept.read_bytes(), large)
                    mend()
                    agent.reload()
                    self.assertEqual(agent.wait_saved(count)[-1].read_bytes(), large)

    def test_one_that_hangs_holds_up_its_own_jobs_alone(self):
        with tempfile.TemporaryDirectory() as hanging, contextlib.ExitStack() as daemon:
            daemon.enter_context(hanging_file_system(hanging))
            with Agent() as agent:
                agent.wait_ready()
                agent.write_settings(saveDirectoryPath=hanging)
                for number in range(3):
                    self.assertEqual(agent.print_job(document(number), "Held"), OK)
                agent.write_settings()
                agent.reload()
                self.assertEqual(agent.print_job(document(3), "Saved"), OK)
                agent.wait_saved()
                self.assertEqual(agent.stop(), 0)
                agent.start()
                agent.wait_ready()
                self.assertEqual(agent.print_job(document(4), "Saved"), OK)
                agent.wait_saved()
                self.assertEqual(agent.stop(), 0)
                self.assertEqual(len(agent.spooled()), 3)
                daemon.close()
                agent.start()
                agent.wait_saved(3)
                self.assertEqual(sorted(f.read_bytes() for f in pathlib.Path(hanging).iterdir()),
                                 [document(number) for number in range(3)])


if __name__ == "__main__":
    unittest.main()
