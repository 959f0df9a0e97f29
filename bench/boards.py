#!/usr/bin/env python3
"""Loads many boards at once, one process for each, and compares the slowest with one board alone.

    bench/boards.py BUILD_FOLDER [--page FILE] [COUNT...]

Each board is a simulated chip on a line of 115200 baud, so the chips take their part of the
processor, too. scripts/bench --boards builds what this needs and calls it.
"""

import os
import pathlib
import resource
import subprocess
import sys
import tempfile
import time

from compare import intel_hex, machine, table, update_page

COUNTS = [1, 8, 32, 64, 128, 256]
GOALS = {128: 1.05, 256: 1.25}
# 28 s on the line: the loader looks once a second whether the download has ended.
FIRMWARE_BYTES = 256 << 10
RULES = 'DevicePreset = "Board"\nDLConfigTargeting = RAM\nDLMaxWriteSize = 251\n'


class Board:
    """A loader and its chip, from start to end."""

    def __init__(self, build, folder, number):
        self.output = open(folder / f"{number}.txt", "w+b")
        command = [build / "chipsim", "--baud", "115200", "--", build / "hciload", "-VINTORMODE",
                   "-PORT", "/dev/tty", "-VNP", folder / "board.vnp",
                   "-FIRMWARE", folder / "fw.hex"]  # fmt: skip
        self.started = time.monotonic()
        self.process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=self.output, stderr=subprocess.STDOUT)  # fmt: skip

    def failure(self):
        """The last line of what it printed; empty after a success."""
        if self.process.returncode == 0:
            return ""
        self.output.seek(0)
        return self.output.read().decode(errors="replace").splitlines()[-1]


def processor_seconds():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def load(build, folder, count):
    """Seconds of the slowest, processor seconds for each board, texts of those that failed."""
    before = processor_seconds()
    boards = [Board(build, folder, number) for number in range(count)]
    slowest = 0
    left = {board.process.pid: board for board in boards}
    while left:
        pid, status = os.wait()
        board = left.pop(pid)
        board.process.returncode = os.waitstatus_to_exitcode(status)
        slowest = max(slowest, time.monotonic() - board.started)
    failures = [text for text in (board.failure() for board in boards) if text]
    for board in boards:
        board.output.close()
    return slowest, (processor_seconds() - before) / count, failures


def measure(build, counts):
    rows = []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "board.vnp").write_text(RULES)
        firmware = bytes(i * 7 & 0xFF for i in range(FIRMWARE_BYTES))
        (folder / "fw.hex").write_text(intel_hex([(0x00500000, firmware)]))
        alone = load(build, folder, 1)[0]
        for count in counts:
            slowest, processor, failures = load(build, folder, count)
            goal = GOALS.get(count)
            rows.append((str(count), f"{slowest:.2f} s", f"{slowest / alone:.3f} times",
                         f"{processor * 1000:.0f} ms", str(len(failures)),
                         f"{goal} times, none fails" if goal else "none fails",
                         not failures and (goal is None or slowest / alone <= goal)))  # fmt: skip
            for text in sorted(set(failures)):
                print(f"{count} boards, {failures.count(text)} times: {text}", file=sys.stderr)
    return rows


HEADINGS = ["Boards", "Slowest", "Against one alone", "Processor time each", "Failed", "Goal"]


def main(arguments):
    build = pathlib.Path(arguments.pop(0)).resolve()
    page = None
    if arguments[:1] == ["--page"]:
        page = pathlib.Path(arguments[1])
        del arguments[:2]
    rows = measure(build, [int(count) for count in arguments] or COUNTS)
    print(table(HEADINGS, rows), end="")
    if page:
        update_page(page, "boards", table(HEADINGS, rows))


if __name__ == "__main__":
    main(sys.argv[1:])
