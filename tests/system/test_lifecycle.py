"""The agent's life: start, settings, what it leaves behind, signals, and how it behaves when idle."""

import re
import signal
import unittest

from harness import AGENT, HANG, Agent, Program, free_port, ipp_request, wait_until

GET_PRINTER_ATTRIBUTES = 0x000B


class Lifecycle(unittest.TestCase):
    def test_starts_answers_over_either_family_and_ends_on_either_signal(self):
        for ending, host in ((signal.SIGTERM, "127.0.0.1"), (signal.SIGINT, "::1")):
            with self.subTest(ending), Agent() as agent:
                agent.wait_ready()
                self.assertRegex(agent.lines[0],
                                 rf"^KorvaneAgent: starting \(pid={agent.process.pid}, build [\d.]+\)$")
                uuid = (agent.support / "printer-uuid").read_text()
                self.assertIn(f'IPPServer: listening on port {agent.port} as "Test Printer" '
                              f"uuid={uuid}", agent.lines)
                self.assertEqual((agent.support / "agent-version").read_text(),
                                 re.search(r"build (\S+)\)", agent.lines[0])[1])
                self.assertIn(b"Korvane IPP endpoint\n",
                              agent.exchange(b"GET / HTTP/1.1\r\n\r\n", host))
                self.assertEqual(agent.stop(ending), 0)

    def test_follows_its_settings_while_it_runs(self):
        with Agent(configured=False) as agent:
            agent.wait_logged("PrinterService: not configured, stopping")
            self.change(agent)
            agent.wait_ready()
            self.change(agent, printerName="Attic")
            agent.wait_logged(f'IPPServer: publishing "Attic" on port {agent.port}')
            self.assertIn(b"Attic", agent.post(ipp_request(GET_PRINTER_ATTRIBUTES))[1])
            self.change(agent, saveDirectoryPath="")
            agent.wait_logged("IPPServer: listener cancelled")
            with self.assertRaises(ConnectionRefusedError):
                agent.connect()
            start, agent.port = len(agent.lines), free_port()
            self.change(agent)
            agent.wait_logged(f"PrinterService: ready on port {agent.port}", start)
            self.assertEqual(agent.print_job(b"%PDF"), 0)
            agent.wait_saved()

    def test_takes_a_relative_save_folder_from_the_home_folder(self):
        with Agent(settings={"saveDirectoryPath": "saved"}) as agent:
            agent.wait_ready()
            self.assertIn('PrinterService: save folder "saved" is not an absolute path, using '
                          f"{agent.saved}", agent.lines)
            self.assertEqual(agent.print_job(b"%PDF"), 0)
            agent.wait_saved()

    @staticmethod
    def change(agent, **settings):
        agent.write_settings(**settings)
        agent.reload()

    def test_reports_that_its_port_is_taken_and_takes_it_when_it_is_free(self):
        with Agent() as first:
            first.wait_ready()
            with Agent(settings={"ippPort": first.port}) as second:
                second.wait_logged(f"can't bind port {first.port} (Address already in use)")
                second.wait_logged("restarting listener in 1s")
                first.stop()
                second.wait_ready()

    def test_is_the_only_one_of_its_user_until_it_ends_in_whatever_way(self):
        with Agent() as agent:
            agent.wait_ready()
            process = agent.process.pid
            with Program(AGENT, errors=True, env=agent.environment) as second:
                self.assertEqual(second.process.wait(HANG), 1)
                second.stop()
                self.assertEqual(second.lines, [f"KorvaneAgent: already running (pid={process})"])
            agent.stop(signal.SIGKILL)
            agent.start()
            agent.wait_ready()

    def test_sleeps_when_nothing_happens(self):
        with Agent() as agent:
            agent.wait_ready()
            # The printer is announced four times in as many seconds.
            agent.wait_logged("BonjourRegistrar: registered as")
            wait_until(agent.sleeps)
            # Generous: what the tests assert is that nothing grew out of bounds.
            self.assertLess(agent.resident_kib(), 16 * 1024)


if __name__ == "__main__":
    unittest.main()
