"""The CUPS scheduler, and the programs that a user has beside it."""

import os
import pathlib
import subprocess
import tempfile

from harness import HANG, Program

CONFIGURATION = """
Listen {root}/run/cups.sock
Browsing Off
DefaultShared No
WebInterface No
LogLevel info
<Location />
  Order allow,deny
  Allow all
</Location>
<Policy default>
  JobPrivateAccess default
  JobPrivateValues none
  SubscriptionPrivateAccess default
  SubscriptionPrivateValues none
  <Limit All>
    Order allow,deny
    Allow all
  </Limit>
</Policy>
"""

FILES = """
ServerRoot {root}/etc
RequestRoot {root}/spool
TempDir {root}/spool/tmp
CacheDir {root}/cache
StateDir {root}/run
AccessLog {root}/log/access
ErrorLog stderr
PageLog {root}/log/page
FileDevice Yes
Sandboxing relaxed
"""


class Scheduler(Program):
    """A CUPS scheduler with a configuration of its own, on a host where there are hosts."""

    def __init__(self, host=None):
        self.folder = tempfile.TemporaryDirectory(prefix="korvane-cups-")
        self.root = pathlib.Path(self.folder.name)
        self.root.chmod(0o755)
        self.enter = host.enter if host else None
        # To the programs a scheduler on a socket of the file system is the one of this computer.
        self.environment = {**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin",
                            "CUPS_SERVER": f"{self.root}/run/cups.sock"}
        for name in ("etc/ppd", "spool/tmp", "cache", "run/certs", "log"):
            (self.root / name).mkdir(parents=True)
        for name, text in (("cupsd", CONFIGURATION), ("cups-files", FILES)):
            (self.root / f"etc/{name}.conf").write_text(text.format(root=self.root))
        subprocess.run(["chown", "-R", "root:lp", str(self.root)], check=True)
        subprocess.run(["chmod", "-R", "g+rwX", str(self.root / "spool"), str(self.root / "cache")],
                       check=True)
        super().__init__("/usr/sbin/cupsd", "-f", "-c", str(self.root / "etc/cupsd.conf"), "-s",
                         str(self.root / "etc/cups-files.conf"), errors=True, preexec_fn=self.enter)
        self.lines.wait_line("Full reload complete")

    def __exit__(self, *_):
        super().__exit__()
        self.folder.cleanup()

    def start(self, *command, **options):
        """A program that goes on running beside the scheduler."""
        return Program(*command, preexec_fn=self.enter, env=self.environment, **options)

    def run(self, *command):
        """Runs a command to its end and gives what it writes."""
        result = subprocess.run(command, preexec_fn=self.enter, env=self.environment,
                                capture_output=True, text=True, timeout=HANG, check=False)
        if result.returncode != 0 and command[0] != "lpstat":
            raise AssertionError(f"{command}: {result.stdout}{result.stderr}\n" + "\n".join(self.lines))
        return result.stdout
