#!/usr/bin/env python3
"""Holds that the checking scripts find what they are there to find."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def run(script, *arguments):
    done = subprocess.run(
        [sys.executable, ROOT / "scripts" / script, *arguments],
        capture_output=True,
        text=True,
        check=False,
    )
    return done.returncode, done.stdout + done.stderr


class InTemporaryFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="ascii")
        return path


class CheckFloors(InTemporaryFolder):
    def test_offences(self):
        cases = [
            ("up", {"os/A.h": '#include "util/B.h"', "util/B.h": ""}, "lower floor"),
            ("sideways", {"rules/A.h": '#include "transport/B.h"', "transport/B.h": ""}, "lower"),
            ("missing", {"util/A.h": '#include "B.h"', "util/B.h": ""}, "is not there"),
            ("no floor", {"else/A.h": '#include "os/B.h"', "os/B.h": ""}, "no floor"),
            (
                "circle through a source",
                {
                    "util/A.h": "",
                    "util/A.cpp": '#include "util/A.h"\n#include "util/B.h"',
                    "util/B.h": '#include "util/A.h"',
                },
                "include circle: util/A -> util/B -> util/A",
            ),
        ]
        for name, files, message in cases:
            with self.subTest(name):
                for file, text in files.items():
                    self.write(f"{name}/{file}", text)
                status, output = run("check-floors", self.folder / name)
                self.assertEqual(status, 1)
                self.assertIn(message, output)

    def test_down_and_beside_in_the_folder(self):
        self.write("image/A.cpp", '#include "image/A.h"\n#include "os/B.h"\n#include <vector>')
        self.write("image/A.h", '#include "image/C.h"')
        self.write("image/C.h", "")
        self.write("os/B.h", "")
        self.assertEqual(run("check-floors", self.folder), (0, ""))


class CheckMemory(InTemporaryFolder):
    RECORD = ":0410000001020304E2\n"

    def compare(self, dump, *files):
        return run("check-memory", self.write("dump.hex", dump), *files)

    def test_differences(self):
        wanted = self.write("wanted.hex", self.RECORD)
        cases = [
            ("wrong byte", ":0410000001020504E0\n", "0x00001002 holds 0x05, 0x03 expected"),
            ("byte missing", ":03100000010203E7\n", "0x00001003 was never written, 0x04 expected"),
            ("byte too many", self.RECORD + ":0120000055" + "8A\n", "first at 0x00002000"),
            ("broken dump", ":0410000001020304E3\n", "line 1 is no Intel HEX record"),
        ]
        for name, dump, message in cases:
            with self.subTest(name):
                status, output = self.compare(dump, wanted)
                self.assertNotEqual(status, 0)
                self.assertIn(message, output)

    def test_samples_of_both_formats_are_equal(self):
        examples = ROOT / "examples"
        dump = (examples / "config.hex").read_text(encoding="ascii")
        status, output = self.compare(dump, examples / "config.hcd")
        self.assertEqual((status, output.count("equal ")), (0, 2), output)


class Examples(unittest.TestCase):
    def test_are_what_their_script_makes(self):
        self.assertEqual(run("make-examples", "--check"), (0, ""))


if __name__ == "__main__":
    unittest.main()
