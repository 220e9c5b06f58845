"""The Debian package as it was made: what its checkers say, and what it brings for service managers."""

import os
import pathlib
import subprocess
import tempfile
import unittest

MADE = pathlib.Path(os.environ["KORVANE_BUILD"]) / "package"
# How many user namespaces may be made below the one that looks at it.
LIMIT = "/proc/sys/user/max_user_namespaces"


def output(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.stdout}{done.stderr}")
    return done.stdout


class Package(unittest.TestCase):
    def test_follows_the_policy(self):
        output("lintian", "--fail-on=error,warning", max(MADE.glob("*.deb"), key=os.path.getmtime))
        output("appstreamcli", "validate", "--no-net",
               self.staged("usr/share/metainfo/org.korvane.Agent.metainfo.xml"))

    def test_changes_the_service_only_where_user_namespaces_are_forbidden(self):
        generator = self.staged("usr/lib/systemd/user-generators/korvane-agent-namespaces")
        drop_in = "/usr/share/korvane/no-user-namespaces.conf"
        self.assertTrue(self.staged(drop_in[1:]))
        namespace = ["unshare", "--user", "--map-root-user"]
        if subprocess.run([*namespace, "test", "-w", LIMIT], check=False).returncode != 0:
            self.skipTest("user namespaces are forbidden here, or cannot be")
        forbidding = [*namespace, "sh", "-c", f'echo 0 >{LIMIT} && exec "$0" "$1"']
        for links, command in (([drop_in], forbidding), ([], [])):
            with self.subTest(links=links), tempfile.TemporaryDirectory() as units:
                output(*command, generator, units)
                self.assertEqual([os.readlink(file) for file in pathlib.Path(units).rglob("*.conf")],
                                 links)

    @staticmethod
    def staged(path):
        """A file as it went into the package."""
        return next(MADE.glob(f"_CPack_Packages/*/*/*/{path}"))
