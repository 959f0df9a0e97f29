#!/usr/bin/env python3
"""Tests that the checking scripts find what they should find."""

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


class CheckLayers(InTemporaryFolder):
    LAYERS = "# bottom up\n1 os  x\n2 util  y\n3 rules  z\n3 transport  z\n5 image  z\n"

    def write_tree(self, folder, files):
        self.write(f"{folder}/layers.txt", self.LAYERS)
        for file, text in files.items():
            self.write(f"{folder}/{file}", text)

    def test_offences(self):
        cases = [
            ("up", {"os/A.h": '#include "util/B.h"', "util/B.h": ""}, "lower layer"),
            ("sideways", {"rules/A.h": '#include "transport/B.h"', "transport/B.h": ""}, "lower"),
            ("missing", {"util/A.h": '#include "B.h"', "util/B.h": ""}, "is not there"),
            ("no layer", {"else/A.h": '#include "os/B.h"', "os/B.h": ""}, "no layer"),
            (
                "circle through a source",
                {
                    "util/A.h": "",
                    "util/A.cpp": '#include "util/A.h"\n#include "util/B.h"',
                    "util/B.h": '#include "util/A.h"',
                },
                "circle: util/A -> util/B -> util/A",
            ),
        ]
        for name, files, message in cases:
            with self.subTest(name):
                self.write_tree(name, files)
                status, output = run("check-layers", self.folder / name)
                self.assertEqual(status, 1)
                self.assertIn(message, output)

    def test_down_and_beside_in_the_folder(self):
        self.write_tree(
            ".",
            {
                "image/A.cpp": '#include "image/A.h"\n#include "os/B.h"\n#include <vector>',
                "image/A.h": '#include "image/C.h"',
                "image/C.h": "",
                "os/B.h": "",
            },
        )
        self.assertEqual(run("check-layers", self.folder), (0, ""))

    def test_calls_count_without_an_include(self):
        cases = [
            ("up", "os/A", "util/B", 'os/A: calls "util/B", which is not in a lower layer'),
            ("down", "util/A", "os/B", None),
            ("circle", "util/A", "util/B", "circle: util/A -> util/B -> util/A"),
        ]
        for name, caller, callee, message in cases:
            with self.subTest(name):
                back = "void a(); " if name == "circle" else ""
                sources = {
                    caller: "void b(); void a() { b(); }",
                    callee: back + "void b() { " + ("a(); }" if back else "}"),
                }
                self.write_tree(f"{name}/src", {"os/X.cpp": '#include "os/X.h"', "os/X.h": ""})
                for unit, text in sources.items():
                    folder, _, stem = unit.partition("/")
                    made = self.write(f"{name}/build/src/{folder}/CMakeFiles/x.dir/{stem}.cpp", text)
                    subprocess.run(["c++", "-c", made, "-o", f"{made}.o"], check=True)
                root = self.folder / name
                status, output = run("check-layers", root / "src", root / "build")
                self.assertEqual(status, 0 if message is None else 1, output)
                self.assertIn(message or "", output)


class Examples(unittest.TestCase):
    def test_are_what_their_script_makes(self):
        self.assertEqual(run("make-examples", "--check"), (0, ""))


if __name__ == "__main__":
    unittest.main()
