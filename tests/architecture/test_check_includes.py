"""The include check finds what it is there to find."""

import pathlib
import tempfile
import unittest

from check_includes import violations


class CheckIncludes(unittest.TestCase):
    def check(self, **files):
        with tempfile.TemporaryDirectory() as root:
            src = pathlib.Path(root)
            for name, content in files.items():
                file = src / (name.replace("__", "/") + ".cpp")
                file.parent.mkdir(parents=True, exist_ok=True)
                file.write_text(content)
            return violations(src)

    def test_accepts_one_home_for_each_library(self):
        self.assertEqual([], self.check(
            platform__net__A="#include <asio.hpp>\n#include <asio/ip/tcp.hpp>\n#include <vector>\n",
            platform__pdf__B='#include "platform/pdf/C.cpp"\n  #  include <poppler-document.h>\n',
            platform__pdf__C="#include <poppler/cpp/poppler-page.h>\n#include <qpdf/QPDF.hh>\n",
            config__D="#include <nlohmann/json.hpp>\n"))

    def test_finds_a_library_in_a_second_folder(self):
        self.assertEqual(["platform/pdf/B.cpp: asio is in platform/net/ already"], self.check(
            platform__net__A="#include <asio.hpp>\n",
            platform__pdf__B="#include <asio/buffer.hpp>\n"))

    def test_finds_a_library_outside_the_platform(self):
        self.assertEqual(["server/A.cpp: avahi has no place in server/",
                          "platform/json/B.cpp: nlohmann-json has no place in platform/json/"][::-1],
                         self.check(server__A="#include <avahi-client/client.h>\n",
                                    platform__json__B="#include <nlohmann/json.hpp>\n"))

    def test_finds_includes_that_are_no_paths_from_the_root(self):
        self.assertEqual(['ipp/A.cpp: "../config/B.cpp" is not a path from src/',
                          'ipp/A.cpp: "A.cpp" is not a path from src/',
                          "ipp/A.cpp: ../up.h climbs out of its folder"],
                         self.check(ipp__A='#include "../config/B.cpp"\n#include "A.cpp"\n'
                                           "#include <../up.h>\n"))


if __name__ == "__main__":
    unittest.main()
