"""Clients, documents and machines that misbehave: each costs itself, and the next job is saved."""

import os
import resource
import unittest

from harness import Agent, read_all, wait_until

PDF = b"%PDF-1.4\nsmall\n"
FAMILY = "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466"


class MalformedRequests(unittest.TestCase):
    def test_each_costs_its_client_the_answer_and_nobody_else_anything(self):
        header = b"POST / HTTP/1.1\r\nContent-Type: application/ipp\r\n"
        cases = {
            b"GET\r\n\r\n": b"400 Bad Request",
            b"GET / HTTP/1.1\r\nX: " + b"x" * 70000: b"400 Bad Request",
            header + b"Transfer-Encoding: chunked\r\n\r\nzz\r\n": b"400 Bad Request",
            header + b"Content-Length: 5000000000\r\n\r\n": b"400 Bad Request",
            header + b"Content-Length: 9\r\n\r\n\1\1\0\2\0\0\0\1\x0f": b"400 Bad Request",
            b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03": b"",
            header + b"Content-Length: 30\r\n\r\nhalf": b"",
        }
        with Agent() as agent:
            agent.wait_ready()
            bystander = agent.connect()
            bystander.sendall(b"GET / HT")
            for request, status in cases.items():
                with self.subTest(request[:60]):
                    answer = agent.exchange(request)
                    self.assertTrue(answer[9:].startswith(status) if status else not answer, answer)
            bystander.sendall(b"TP/1.1\r\n\r\n")
            self.assertIn(b"Korvane IPP endpoint", read_all(bystander))
            self.assertEqual(agent.print_job(PDF), 0)
            agent.wait_saved()

    def test_a_line_end_in_a_request_stays_inside_one_log_line(self):
        with Agent() as agent:
            agent.wait_ready()
            agent.exchange(b"one\ntwo\x1b[2J\r\n\r\n")
            agent.wait_logged(r"IPPServer: HTTP parse error: bad request line: one\x0atwo\x1b[2J")


class JobNames(unittest.TestCase):
    def test_any_name_becomes_a_file_in_the_save_folder(self):
        names = {
            "../../etc/passwd": ".._.._etc_passwd ",
            "nul\0byte": "nul ",
            "   ": "Print Job ",
            ".": ". ",
            FAMILY * 100: FAMILY * 9 + " ",
            b"\xff\xfe": "Print Job ",
        }
        with Agent() as agent:
            agent.wait_ready()
            for count, (name, start) in enumerate(names.items(), 1):
                with self.subTest(name[:20]):
                    before = set(agent.files())
                    self.assertEqual(agent.print_job(PDF, name), 0)
                    (saved,) = set(agent.wait_saved(count)) - before
                    self.assertTrue(saved.name.startswith(start), saved.name)
                    self.assertLessEqual(len(os.fsencode(saved.name)), 255)
                    saved.unlink()


class MachineTrouble(unittest.TestCase):
    def test_idle_clients_keep_nobody_out(self):
        few = lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))
        for limit, line in ((None, "IPPServer: closing"),
                            (few, "IPPServer: can't accept connections for now: Too many open files")):
            with self.subTest(line), Agent(preexec=limit) as agent:
                agent.wait_ready()
                clients = [agent.connect() for _ in range(100)]
                agent.wait_logged(line)
                wait_until(lambda: agent.sleeps(seconds=0))
                if limit:
                    for client in clients:
                        client.close()
                self.assertEqual(agent.print_job(PDF), 0)
                agent.wait_saved()

    def test_a_client_that_breaks_off_in_a_large_job_leaves_nothing_behind(self):
        size = 16 << 20
        with Agent() as agent:
            agent.wait_ready()
            before = agent.resident_kib()
            for _ in range(3):
                agent.exchange(b"POST / HTTP/1.1\r\nContent-Type: application/ipp\r\n"
                               b"Content-Length: 500000000\r\n\r\n" + bytes(size))
            self.assertEqual(agent.print_job(PDF), 0)
            agent.wait_saved()
            self.assertLess(agent.resident_kib() - before, size >> 10)


if __name__ == "__main__":
    unittest.main()
