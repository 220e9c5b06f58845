"""The agent's life: start, settings, what it leaves behind, signals, and how it behaves when idle."""

import re
import signal
import time
import unittest

from harness import Agent, free_port, wait_until


class Lifecycle(unittest.TestCase):
    def test_starts_listens_and_ends_cleanly_on_either_signal(self):
        for ending in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(ending), Agent() as agent:
                agent.wait_ready()
                self.assertRegex(agent.lines[0],
                                 rf"^KorvaneAgent: starting \(pid={agent.process.pid}, build [\d.]+\)$")
                uuid = (agent.support / "printer-uuid").read_text()
                self.assertIn(f'IPPServer: listening on port {agent.port} as "Test Printer" '
                              f"uuid={uuid}", agent.lines)
                self.assertEqual((agent.support / "agent-version").read_text(),
                                 re.search(r"build (\S+)\)", agent.lines[0])[1])
                self.assertEqual(agent.stop(ending), 0)

    def test_follows_its_settings_while_it_runs(self):
        with Agent(configured=False) as agent:
            agent.logged("not configured")
            agent.write_settings()
            agent.process.send_signal(signal.SIGHUP)
            agent.wait_ready()
            agent.write_settings(printerName="Attic")
            agent.process.send_signal(signal.SIGHUP)
            self.assertTrue(agent.logged(f'IPPServer: publishing "Attic" on port {agent.port}'))
            agent.port = free_port()
            agent.write_settings()
            agent.process.send_signal(signal.SIGHUP)
            self.assertTrue(agent.logged(f"ready on port {agent.port}"))
            self.assertEqual(agent.print_job(b"%PDF"), 0)
            agent.wait_saved()

    def test_says_that_its_port_is_taken_and_takes_it_when_it_is_free(self):
        with Agent() as first:
            first.wait_ready()
            with Agent(settings={"ippPort": first.port}) as second:
                self.assertTrue(second.logged(f"can't bind port {first.port} (Address already in use)"))
                self.assertTrue(second.logged("restarting listener in 1s"))
                first.stop()
                second.wait_ready()

    def test_answers_over_both_families_on_one_port(self):
        with Agent() as agent:
            agent.wait_ready()
            for host in ("127.0.0.1", "::1"):
                self.assertIn(b"Korvane IPP endpoint\n",
                              agent.exchange(b"GET / HTTP/1.1\r\n\r\n", host))

    def test_sleeps_when_nothing_happens(self):
        with Agent() as agent:
            agent.wait_ready()
            # The printer is announced four times, the last time after seven seconds.
            self.assertTrue(agent.logged("BonjourRegistrar: registered as"))
            time.sleep(8)

            def still():
                before = agent.wake_ups()
                time.sleep(3)
                return agent.wake_ups() == before

            self.assertTrue(wait_until(still, 30))
            # Generous: what the tests assert is that nothing grew out of bounds.
            self.assertLess(agent.resident_kib(), 16 * 1024)

    def test_a_large_job_is_finished_before_the_agent_ends(self):
        document = b"%PDF-1.7\n" + bytes(64 << 20)
        with Agent() as agent:
            agent.wait_ready()
            self.assertEqual(agent.print_job(document), 0)
            agent.stop()
            self.assertEqual([f.stat().st_size for f in agent.files()], [len(document)])


if __name__ == "__main__":
    unittest.main()
