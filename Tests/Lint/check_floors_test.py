"""Tests of scripts/check_floors on trees that are made for them.

    python3 check_floors_test.py <check_floors>
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = sys.argv.pop(1)

FLOORS = """# kaleo_floor(commented Commented)
kaleo_floor(foundation Foundation
            LIBRARIES Threads::Threads)
kaleo_floor(utils Core/Utils FLOORS foundation)
kaleo_floor(log Core/Log FLOORS foundation LIBRARIES A::B)
kaleo_floor(top Core/Top FLOORS utils)
"""

# A tree without a fault: each floor includes the one below, public headers and what is not ours.
SOUND = {
    "Source/CMakeLists.txt": FLOORS,
    "include/kaleo/KLValue.h": "#include <vector>\n",
    "include/kaleo-qt/KLQt.h": '#include "kaleo/KLValue.h"\n',
    "include/kaleo-top/KLTop.h": '#include "kaleo/KLValue.h"\n',
    "Source/Foundation/KLFile.h": '#include "kaleo/KLValue.h"\n#include <curl/curl.h>\n',
    "Source/Core/Utils/KLText.h": '#include "Foundation/KLFile.h"\n',
    "Source/Core/Log/KLLog.h": "",
    "Source/Core/Top/KLTop.cpp": '#include "kaleo-top/KLTop.h"\n#include "Core/Utils/KLText.h"\n#include "Foundation/KLFile.h"\n',
    "Source/Platform/Qt/KLWindow.cpp": '#include "KLWindow.h"\n#include "kaleo-qt/KLQt.h"\n#include "KLWindow.moc"\n',
    "Source/Platform/Qt/KLWindow.h": "#include <QWidget>\n",
}


def check(changes):
    with tempfile.TemporaryDirectory() as root:
        for name, text in {**SOUND, **changes}.items():
            file = pathlib.Path(root, name)
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(text)
        run = subprocess.run([sys.executable, SCRIPT, root], capture_output=True, text=True)
        return run.returncode, run.stdout + run.stderr


class CheckFloorsTest(unittest.TestCase):
    def assert_refused(self, changes, *words):
        status, output = check(changes)
        self.assertEqual(status, 1, output)
        self.assertIn(", 1 faults", output)
        for word in words:
            self.assertIn(word, output)

    def test_a_sound_tree_passes(self):
        status, output = check({})
        self.assertEqual((status, output), (0, "check_floors: 9 files, 0 faults\n"))

    def test_the_public_headers_of_another_floor(self):
        self.assert_refused({"Source/Core/Log/KLUp.h": '#include "kaleo-top/KLTop.h"\n'}, "Source/Core/Log/KLUp.h:1:", "KLTop.h")

    def test_an_include_upwards(self):
        self.assert_refused({"Source/Foundation/KLUp.h": '\n#  include "Core/Log/KLLog.h"\n'}, "Source/Foundation/KLUp.h:2:", "KLLog.h")

    def test_an_include_upwards_in_angle_brackets(self):
        self.assert_refused({"Source/Foundation/KLUp.h": "#include <Core/Log/KLLog.h>\n"}, "KLUp.h:1:")

    def test_an_include_of_a_floor_beside(self):
        self.assert_refused({"Source/Core/Log/KLSide.h": '#include "Core/Utils/KLText.h"\n'}, "KLSide.h:1:")

    def test_a_public_header_that_includes_a_private_one(self):
        self.assert_refused({"include/kaleo/KLLeak.h": '#include "Foundation/KLFile.h"\n'}, "KLLeak.h:1:")

    def test_qt_sees_public_headers_only(self):
        self.assert_refused({"Source/Platform/Qt/KLPaint.cpp": '#include "Foundation/KLFile.h"\n'}, "KLPaint.cpp:1:")

    def test_nobody_includes_qt(self):
        self.assert_refused({"Source/Core/Top/KLUp.h": '#include "Platform/Qt/KLWindow.h"\n'}, "KLUp.h:1:")

    def test_an_include_that_is_not_written_from_the_roots(self):
        self.assert_refused({"Source/Core/Top/KLNear.cpp": '#include "KLText.h"\n'}, "KLNear.cpp:1:", "no file")

    def test_a_file_outside_all_floors(self):
        self.assert_refused({"Source/Core/Top/Deeper/KLLost.cpp": ""}, "KLLost.cpp", "no floor")

    def test_a_circle(self):
        self.assert_refused({"Source/Core/Top/KLA.h": '#include "Core/Top/KLB.h"\n', "Source/Core/Top/KLB.h": '#include "Core/Top/KLC.h"\n',
                             "Source/Core/Top/KLC.h": '#include "Core/Top/KLA.h"\n'}, "circle:", "KLA.h -> Source/Core/Top/KLB.h")

    def test_a_file_that_includes_itself(self):
        self.assert_refused({"Source/Core/Top/KLA.h": '#include "Core/Top/KLA.h"\n'}, "circle:")

    def test_floors_that_cannot_be_read(self):
        self.assertEqual(check({"Source/CMakeLists.txt": ""})[0], 2)
        self.assertEqual(check({"Source/CMakeLists.txt": "kaleo_floor(a A FLOORS b)\nkaleo_floor(b B)\n"})[0], 2)


if __name__ == "__main__":
    unittest.main()
