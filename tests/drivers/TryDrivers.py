#!/usr/bin/env python3
"""Runs hciload on the serial drivers of a Debian kernel and prints a table of what it did.

    tests/drivers/TryDrivers.py BUILD KERNEL [--only TEXT] [--page FILE]
        [--pulls N] [--seed N]

KERNEL is the unpacked package of a kernel. scripts/try-drivers prepares both and calls this.
"""

import argparse
import collections
import contextlib
import dataclasses
import os
import pathlib
import platform
import random
import re
import shutil
import signal
import subprocess
import sys
import termios
import time

from Guest import Chip, Guest, Hung, make_initramfs

ROOT = pathlib.Path(__file__).resolve().parents[2]

# Small records make a download of some seconds, so that there is time to disturb it.
RULES = b"""DevicePreset = "Slow"
DLConfigTargeting = FLASH
DLSectorEraseMode = Chip erase
DLWriteVerifyMode = Write and verify
DLMaxWriteSize = 48

DevicePreset = "Unanswered"
CustomVintorPreloadMessages = {01 03 0C 00} {FF FF FF FF} {6000}
"""
FILES = ("minidriver.hex", "firmware.hex", "config.hcd", "nfc.vnp", "patch.ncd")
CHIP_OPTIONS = ("--erase-time", "250")

OTHER_SETTINGS = "9600 parenb -cstopb echo icanon"
RAW_8N1 = "115200 cs8 -parenb -cstopb -crtscts -ixon -icrnl -opost -icanon -echo -isig"

# How long the end of a run may take; a chip erase may take 25 s between two signs of life. The
# emulated machine is slow, so there is room above what the program itself needs.
SECONDS = 40
ERASE_SECONDS = 70

# How often a row is tried while other work takes more than this share of the processor time.
REPETITIONS = 10
BUSY = 0.2

CRASHES = (signal.SIGABRT, signal.SIGBUS, signal.SIGFPE, signal.SIGILL, signal.SIGSEGV)


class Unexpected(Exception):
    """The program did something else than a row expects."""


class Crashed(Exception):
    """The program ended by a signal of its own."""


@dataclasses.dataclass
class Port:
    path: str
    chip: Chip

    def load(self, preset="Slow"):
        return (
            f"hciload -VINTORMODE -PORT {self.path} -VNP 'rules.vnp@{preset}' -CHECKCRC"
            " -MINIDRIVER minidriver.hex -FIRMWARE firmware.hex -CONFIG config.hcd"
        )


class Run:
    """A program that runs in the machine beside what else is done there."""

    def __init__(self, guest, command):
        self._guest = guest
        self._started = time.monotonic()
        guest.run(f"{command} >out 2>err & pid=$!")

    def kill(self, name):
        self._guest.run(f"kill -{name} $pid")

    def end(self, seconds=SECONDS):
        """Returns the exit status and the last line of standard error."""
        status, text = self._guest.run("wait $pid; s=$?; tail -n 1 err; (exit $s)", seconds)
        self.seconds = time.monotonic() - self._started
        if status - 128 in CRASHES:
            raise Crashed(signal.Signals(status - 128).name)
        return status, text.splitlines()[-1].strip() if text else ""


def expect(seen, wanted, what):
    if seen != wanted:
        raise Unexpected(f"{what}: {seen!r}, not {wanted!r}")


def expect_success(run):
    status, text = run.end()
    expect(status, 0, f"exit status ({text})")


@contextlib.contextmanager
def same_settings(guest, port):
    """Sets the port to something unlike what the program needs, which it must put back."""
    guest.run(f"stty -F {port.path} {OTHER_SETTINGS}")
    before = guest.run(f"stty -F {port.path} -g")
    port.chip.forget()
    yield
    expect(guest.run(f"stty -F {port.path} -g"), before, "settings")


def listed(guest, port, what):
    """What the program's list of ports says about the port."""
    _, text = guest.run("hciload --list-ports")
    lines = text.partition(port.path + "\n")[2].partition("\n/dev/")[0]
    return lines.partition(what)[2].partition("\n")[0].strip()


def driver(guest, port):
    name = listed(guest, port, "driver")
    if port.path == "/dev/ttyS1":
        _, line = guest.run("grep ^1: /proc/tty/driver/serial")
        expect("uart:16550A" in line, True, line)
        expect(name, "serial", "driver")
        return "8250, which found a 16550A"
    expect(name, "ftdi_sio", "driver")
    return "usbserial, ftdi_sio"


def whole_download(guest, port):
    with same_settings(guest, port):
        run = Run(guest, port.load())
        expect_success(run)
    expect(port.chip.executed("Chip erase"), 1, "erases")
    expect(port.chip.executed("Launch RAM"), 2, "launches")
    expect(port.chip.executed("Read RAM") > 50, True, "many records read back")
    return f"loaded and verified in {run.seconds:.1f} s"


def line_settings(guest, port):
    with same_settings(guest, port):
        run = Run(guest, port.load())
        port.chip.wait_for("Write RAM", 30)
        _, settings = guest.run(f"stty -F {port.path} -a")
        expect(set(RAW_8N1.split()) - set(settings.split()), set(), f"not in '{settings}'")
        expect_hardware_settings(port)
        expect_success(run)
    return "115200 8N1 raw, and so at the hardware"


def expect_hardware_settings(port):
    """The machine's hardware sets the chip's terminal to what the driver has programmed."""
    descriptor = os.open(port.chip.link, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
    flags, speed = termios.tcgetattr(descriptor)[2:6:3]
    os.close(descriptor)
    expect(speed, termios.B115200, "speed of the hardware")
    format_bits = termios.CSIZE | termios.PARENB | termios.CSTOPB
    expect(flags & format_bits, termios.CS8, "format of the hardware")


def interrupted(guest, port):
    with same_settings(guest, port):
        guest.begin(port.load() + " >out")
        port.chip.wait_for("Write RAM", 30)
        guest.interrupt()
        status, _ = guest.end(SECONDS)
        expect(status, 128 + signal.SIGINT, "exit status")
    return f"status {status}"


def signalled(name):
    def row(guest, port):
        with same_settings(guest, port):
            run = Run(guest, port.load())
            port.chip.wait_for("Read RAM", 30)
            run.kill(name)
            status, _ = run.end()
            expect(status, 128 + signal.Signals[f"SIG{name}"], "exit status")
        return f"status {status}"

    return row


def second_run(guest, port):
    with same_settings(guest, port):
        run = Run(guest, port.load())
        port.chip.wait_for("Write RAM", 30)
        status, text = guest.run(port.load())
        expect(status, 254, f"exit status ({text})")
        expect(f"failed to open port: {port.path}" in text, True, text)
        holder = listed(guest, port, "held by")
        expect(holder.startswith("hciload ("), True, holder)
        expect_success(run)
    return "refused, status 254; `--list-ports` tells who has it; the first completes"


def changed_settings(guest, port):
    with same_settings(guest, port):
        run = Run(guest, port.load())
        port.chip.wait_for("Write RAM", 30)
        guest.run(f"stty -F {port.path} sane 9600")
        result = expect_failure(run, "")
    return result


def expect_failure(run, wanted, seconds=SECONDS):
    begun = time.monotonic()
    status, text = run.end(seconds)
    expect(status, 241, f"exit status ({text})")
    expect(text != "" and wanted in text, True, text)
    short = re.sub(r"\s+\(SOURCE:.*?\)\s*", " ", text).strip()
    return f"status 241 after {time.monotonic() - begun:.1f} s: {short}"


def patch_download(guest, port):
    with same_settings(guest, port):
        command = "hciload -RULES 'nfc.vnp@NFC part' -CONFIG patch.ncd"
        expect_success(Run(guest, f"{command} -PORT {port.path}"))
    expect(port.chip.executed("Signature record"), 2, "signatures")
    return "2 patch sets loaded"


def plug_and_load(guest, port):
    guest.wait_until_gone()
    guest.plug()
    whole_download(guest, port)


def pulled(command, wanted, preset="Slow", seconds=SECONDS):
    """Pulls the adapter when the chip executes the command: the only one, or one of many."""

    def row(guest, port):
        port.chip.forget()
        run = Run(guest, port.load(preset))
        port.chip.wait_for(command, 30 if "RAM" in command else 1)
        guest.pull()
        result = expect_failure(run, wanted, seconds)
        plug_and_load(guest, port)
        return result

    return row


PULLED_DURING_ERASE = pulled("Chip erase", "Chip erase timeout", seconds=ERASE_SECONDS)
PULLED_WHILE_WAITING = pulled("HCI Reset", "SendCommandAndWaitForCompletion", "Unanswered")


def pulled_while_idle(guest, port):
    run = Run(guest, f"hciload -PORT {port.path}")
    time.sleep(3)
    guest.pull()
    time.sleep(3)
    run.kill("TERM")
    status, _ = run.end()
    expect(status, 128 + signal.SIGTERM, "exit status")
    plug_and_load(guest, port)
    return f"waits on; SIGTERM ends it, status {status}"


def pulled_at_random(guest, port, pulls):
    begun = time.monotonic()
    whole_download(guest, port)
    duration = time.monotonic() - begun
    ends = []
    for _ in range(pulls):
        seen, good = try_row(guest, pulled_after(random.uniform(0, duration)), port)
        if not good:
            raise Unexpected(f"pull {len(ends) + 1}: {seen}")
        ends.append(seen)
    statuses = collections.Counter(status for status, _ in ends)
    counts = ", ".join(f"{statuses[status]} with status {status}" for status in sorted(statuses))
    return f"{counts}; at most {max(seconds for _, seconds in ends):.1f} s after the pull"


def pulled_after(delay):
    def row(guest, port):
        run = Run(guest, port.load())
        time.sleep(delay)
        guest.pull()
        begun = time.monotonic()
        status, text = run.end(ERASE_SECONDS)
        seconds = time.monotonic() - begun
        expect(status in (0, 241, 254), True, f"exit status {status} ({text})")
        expect(status == 0 or text != "", True, "an error text")
        guest.wait_until_gone()
        guest.plug()
        return status, seconds

    return row


def kernel_log(guest, _port):
    _, found = guest.run("dmesg | grep -E 'segfault|protection fault|Oops|BUG|blocked for more'")
    expect(found, "", "kernel log")
    return "no crash, no hang"


def make_rows(pulls):
    """The rows, and whether each is for the adapter only."""
    return (
        ("Driver", driver, False),
        ("Whole download with verify", whole_download, False),
        ("Line during it, by `stty` from another process", line_settings, False),
        ("Ctrl-C", interrupted, False),
        ("SIGTERM", signalled("TERM"), False),
        ("SIGHUP", signalled("HUP"), False),
        ("Second run on the port", second_run, False),
        ("`stty sane 9600` by another process", changed_settings, False),
        ("Patch download", patch_download, False),
        ("Pulled during write", pulled("Write RAM", "trying to write"), True),
        ("Pulled during verify", pulled("Read RAM", "trying to verify"), True),
        ("Pulled during erase", PULLED_DURING_ERASE, True),
        ("Pulled while it waits 6 s for an answer", PULLED_WHILE_WAITING, True),
        ("Pulled while it waits without a job", pulled_while_idle, True),
        (f"Pulled {pulls} times at random", lambda *on: pulled_at_random(*on, pulls), True),
        ("Last download", whole_download, False),
        ("Kernel log", kernel_log, False),
    )


def try_row(guest, row, port):
    """Returns what was seen, and whether that was expected. A failure does not count if other work
    took the processor: the program then misses its time limits."""
    for _ in range(REPETITIONS):
        begun = time.monotonic()
        waited = guest.waited()
        try:
            return row(guest, port), True
        except (Crashed, Hung, Unexpected) as error:
            result = f"{type(error).__name__.upper()}: {error}"
            crashed = isinstance(error, Crashed)
            busy = (guest.waited() - waited) / (time.monotonic() - begun)
            ended = guest.ended()
            guest.boot()  # what the row left running must not disturb the next one
        if crashed or (busy < BUSY and not ended):
            break
        reason = "QEMU ended" if ended else f"other work took {busy:.0%} of the time"
        print(f"Again, since {reason}: {result}", flush=True)
    return result, False


def compare_memory(build, port):
    port.chip.end()
    command = [build / "hciimage", "diff", port.chip.dump]
    images = [ROOT / "examples" / name for name in ("minidriver.hex", "firmware.hex", "config.hcd")]
    done = subprocess.run([*command, *images], capture_output=True, text=True, check=False)
    return ("equal to the files", True) if done.returncode == 0 else (done.stdout, False)


def try_all(build, guest, ports, rows):
    table = []
    for name, row, adapter_only in rows:
        cells = [("", True)] if adapter_only else []
        for port in ports[len(cells) :]:
            cells.append(try_row(guest, row, port))
        table.append((name, cells))
        print(f"{name}: " + " | ".join(text for text, _ in cells if text), flush=True)
    guest.shut_down()
    table.append(("The chips' memory", [compare_memory(build, port) for port in ports]))
    return table


def make_text(kernel, table):
    version = subprocess.run(["qemu-system-x86_64", "--version"], capture_output=True, text=True)
    qemu = re.search(r"version (\S+)", version.stdout)[1]
    lines = [
        f"Tried with {kernel.name} in QEMU {qemu}, emulated on {platform.system()}"
        f" {platform.machine()}, {os.cpu_count()} processors; load average"
        f" {os.getloadavg()[0]:.1f} at the end.",
        "",
        "| Tried | 16550 | USB adapter |",
        "|---|---|---|",
    ]
    for name, cells in table:
        lines.append(f"| {name} | " + " | ".join(text for text, _ in cells) + " |")
    return "\n".join(lines)


def update_page(path, text):
    """Replaces what stands between the two marks of the page."""
    page = path.read_text(encoding="utf-8")
    head, rest = page.split("<!-- table -->\n", 1)
    tail = rest.split("<!-- end of table -->", 1)[1]
    path.write_text(
        f"{head}<!-- table -->\n{text}\n<!-- end of table -->{tail}", encoding="utf-8"
    )


def read_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=lambda text: pathlib.Path(text).resolve())
    parser.add_argument("kernel", type=lambda text: pathlib.Path(text).resolve())
    parser.add_argument("--only", default="")
    parser.add_argument("--page", type=pathlib.Path)
    parser.add_argument("--pulls", type=int, default=100)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 32))
    return parser.parse_args()


def main():
    arguments = read_arguments()
    random.seed(arguments.seed)
    folder = arguments.build / "drivers"
    for log in folder.glob("*.log"):
        log.unlink()
    programs = [arguments.build / "hciload", shutil.which("busybox")]
    files = {name: (ROOT / "examples" / name).read_bytes() for name in FILES} | {"rules.vnp": RULES}
    make_initramfs(folder, arguments.kernel, programs, files)
    # SIGTERM, too, must end the machine and the chips.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    with contextlib.ExitStack() as processes:
        chips = [Chip(processes, arguments.build, name, CHIP_OPTIONS) for name in ("serial", "usb")]
        ports = [Port("/dev/ttyS1", chips[0]), Port("/dev/ttyUSB0", chips[1])]
        guest = Guest(arguments.build, arguments.kernel, chips)
        processes.callback(guest.shut_down)
        print(f"Booting {arguments.kernel.name}; seed of the pulls: {arguments.seed}", flush=True)
        guest.boot()
        rows = [row for row in make_rows(arguments.pulls) if re.search(arguments.only, row[0])]
        table = try_all(arguments.build, guest, ports, rows)
    text = make_text(arguments.kernel, table)
    print(text)
    if arguments.page:
        update_page(arguments.page, text)
    return 0 if all(good for _, cells in table for _, good in cells) else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Hung as error:
        sys.exit(f"scripts/try-drivers: no machine: {error}; see build/drivers/*.log")
