#!/usr/bin/env python3
"""Times whole loads against other programs, pair by pair, and what a record costs on the line.

    bench/compare.py BUILD_FOLDER [--page FILE]

scripts/bench builds what this needs and calls it.
"""

import json
import os
import pathlib
import platform
import random
import statistics
import struct
import subprocess
import sys
import tempfile
import time

RUNS = 9
MIB = 1 << 20
COUNTS = (100_000, 400_000)


def hex_record(record_type, address, data):
    body = struct.pack(">BHB", len(data), address & 0xFFFF, record_type) + data
    return ":" + (body + bytes([-sum(body) & 0xFF])).hex().upper() + "\n"


def intel_hex(ranges):
    lines = []
    upper = 0
    for start, data in ranges:
        for address in range(start, start + len(data), 16):
            if address >> 16 != upper:
                upper = address >> 16
                lines.append(hex_record(4, 0, struct.pack(">H", upper)))
            lines.append(hex_record(0, address, data[address - start : address - start + 16]))
    return "".join(lines) + ":00000001FF\n"


def separate(count):
    return [(i * 48, i.to_bytes(16, "little")) for i in range(count)]


def hcd_record(address, data):
    return struct.pack("<HBI", 0xFC4C, len(data) + 4, address) + data


def hcd(count, gap):
    return b"".join(hcd_record(i * (16 + gap), i.to_bytes(16, "little")) for i in range(count))


def dense_hcd(data):
    return b"".join(hcd_record(i, data[i : i + 240]) for i in range(0, len(data), 240))


def make_inputs(folder):
    folder.mkdir(parents=True, exist_ok=True)
    dense = random.Random(1).randbytes(16 * MIB)
    shuffler = random.Random(2)
    contents = {
        "dense.hex": lambda: intel_hex([(0, dense)]),
        "dense.hcd": lambda: dense_hcd(dense),
    }
    for count in COUNTS:
        shuffled = separate(count)
        shuffler.shuffle(shuffled)
        contents[f"ascending{count}.hex"] = lambda n=count: intel_hex(separate(n))
        contents[f"shuffled{count}.hex"] = lambda ranges=shuffled: intel_hex(ranges)
        contents[f"merged{count}.hcd"] = lambda n=count: hcd(n, 0)
        contents[f"separate{count}.hcd"] = lambda n=count: hcd(n, 16)
    for name, make in contents.items():
        if not (folder / name).exists():
            content = make()
            (folder / name).write_bytes(content if isinstance(content, bytes) else content.encode())


def run_once(command):
    """Seconds and peak KiB of a whole process."""
    started = time.perf_counter()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    seconds = time.perf_counter() - started
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"failed: {' '.join(command)}")
    return seconds, usage.ru_maxrss


class Pair:
    """Two commands in turn, after one run of each that does not count."""

    def __init__(self, first, second):
        run_once(first), run_once(second)
        runs = [(run_once(first), run_once(second)) for _ in range(RUNS)]
        self.first = statistics.median(a[0] for a, b in runs)
        self.second = statistics.median(b[0] for a, b in runs)
        self.ratio = statistics.median(b[0] / a[0] for a, b in runs)
        self.first_kib = max(a[1] for a, b in runs)


def milliseconds(seconds):
    return f"{seconds * 1000:.1f} ms"


def against_peers(hciimage, folder, scratch, rows):
    dense = str(folder / "dense.hex")
    ascending = str(folder / f"ascending{COUNTS[1]}.hex")
    shuffled = str(folder / f"shuffled{COUNTS[1]}.hex")
    out = str(scratch / "out")
    info = [hciimage, "info"]
    to_raw = [hciimage, "convert", dense, "--as", "raw", out]
    to_hex = [hciimage, "convert", dense, "--as", "hex", out]
    cases = [
        ("info, 16 MiB dense, objdump -h", [*info, dense], ["objdump", "-h", dense], 5),
        ("info, 400,000 ranges ascending, objdump -h", [*info, ascending],
         ["objdump", "-h", ascending], 10),
        ("info, 400,000 ranges shuffled, objdump -h", [*info, shuffled],
         ["objdump", "-h", shuffled], 10),
        ("convert to raw, objcopy", to_raw, ["objcopy", "-I", "ihex", "-O", "binary", dense, out], 8),
        ("convert to raw, srec_cat", to_raw, ["srec_cat", dense, "-intel", "-o", out, "-binary"], 20),
        ("convert to Intel HEX, objcopy", to_hex,
         ["objcopy", "-I", "ihex", "-O", "ihex", dense, out], 5),
        ("convert to Intel HEX, srec_cat", to_hex,
         ["srec_cat", dense, "-intel", "-o", out, "-intel"], 20),
    ]  # fmt: skip
    for title, ours, theirs, goal in cases:
        pair = Pair(ours, theirs)
        rows.append((title, milliseconds(pair.first), milliseconds(pair.second),
                     f"{pair.ratio:.1f} times faster", f"{goal} times", pair.ratio >= goal))  # fmt: skip
    pair = Pair([*info, dense], [hciimage, "diff", dense, dense])
    rows.append(("diff of two 16 MiB files, one info", milliseconds(pair.second),
                 milliseconds(pair.first), f"{pair.ratio:.2f} times", "3 times",
                 pair.ratio <= 3))  # fmt: skip


def memory(hciimage, folder, rows):
    """Of commands that load the file as the loader does, and keep it."""
    limit = 2 * 16 + 8
    for title, name in (("Intel HEX", "dense.hex"), ("HCD records merged", "dense.hcd")):
        command = [hciimage, "convert", str(folder / name), "--as", "hcd", "/dev/null"]
        peak = max(run_once(command)[1] for _ in range(RUNS)) / 1024
        rows.append((f"{title}, 16 MiB dense, peak memory", f"{peak:.1f} MiB", "", "",
                     f"{limit} MiB", peak <= limit))  # fmt: skip


def benchmark(program, name):
    out = subprocess.run(
        [program, f"--benchmark_filter=^{name}$", "--benchmark_repetitions=7",
         "--benchmark_format=json", "--benchmark_min_time=0.3"],
        check=True, capture_output=True).stdout  # fmt: skip
    runs = json.loads(out)["benchmarks"]
    return next(run for run in runs if run.get("aggregate_name") == "median")


def growth(hciimage, folder, rows):
    for title, name in (
        ("Intel HEX ranges ascending", "ascending{}.hex"),
        ("Intel HEX ranges shuffled", "shuffled{}.hex"),
        ("HCD records merged", "merged{}.hcd"),
        ("HCD records separate", "separate{}.hcd"),
    ):
        pair = Pair(*([hciimage, "info", str(folder / name.format(n))] for n in COUNTS))
        rows.append((f"info, {title}, 400,000 against 100,000", milliseconds(pair.second),
                     milliseconds(pair.first), f"{pair.ratio:.2f} times", "4.5 times",
                     pair.ratio <= 4.5))  # fmt: skip


def exchange(program, rows):
    load = benchmark(program, "LoadDense/65536")["real_time"]
    rows.append(("64 KiB image, the load itself", f"{load / 1000:.3f} ms", "", "", "1 ms",
                 load < 1000))  # fmt: skip
    sleep = benchmark(program, "BareSleep/manual_time")["real_time"]
    record = benchmark(program, "WriteRecord/32/real_time")
    ratio = record["real_time"] / sleep
    rows.append(("one record exchange, bare 4 ms sleep", f"{record['real_time']:.0f} us",
                 f"{sleep:.0f} us", f"{ratio:.3f} times", "1.03 times", ratio <= 1.03))  # fmt: skip
    captured = benchmark(program, "WriteRecordCaptured/32/real_time")["real_time"]
    ratio = captured / record["real_time"]
    rows.append(("one record exchange, captured and not", f"{captured:.0f} us",
                 f"{record['real_time']:.0f} us", f"{ratio:.3f} times", "1.01 times",
                 ratio <= 1.01))  # fmt: skip
    share = record["cpu_per_exchange_us"] / record["real_time"]
    rows.append(("processor time of the download thread", f"{share:.2%} of a core", "", "", "1 %",
                 share < 0.01))  # fmt: skip
    idle = benchmark(program, "SilentLine/real_time")["core_share"]
    rows.append(("processor time of a port while nothing arrives", f"{idle:.2%} of a core", "", "",
                 "0.5 %", idle <= 0.005))  # fmt: skip
    for what, name, goal in (("", "Write", 93), (" read", "Read", 90)):
        line = benchmark(program, f"{name}RecordAt115200/251/real_time")["line_use"]
        rows.append((f"line use at 115200 baud, 251-byte records{what}", f"{line:.1%}", "", "",
                     f"{goal} %", line >= goal / 100))  # fmt: skip


def version_of(command):
    out = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return out.splitlines()[0]


def machine():
    cpu = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo")
                if line.startswith("model name")), platform.machine())  # fmt: skip
    return (
        f"{os.cpu_count()} processors ({cpu}), Linux {platform.release()}, "
        f"{version_of(['g++', '--version'])}, {version_of(['objdump', '--version'])}, "
        f"{version_of(['srec_cat', '-VERSion'])}"
    )


HEADINGS = ["Case", "hciload", "Against", "Ratio", "Goal"]


def table(headings, rows):
    """The last item of each row tells whether the goal was met."""
    text = f"| {' | '.join(headings)} | Met |\n{'|---' * len(headings)}|---|\n"
    for *cells, met in rows:
        text += f"| {' | '.join(cells)} | {'yes' if met else 'no'} |\n"
    return text


def update_page(path, name, text):
    """Replaces what stands between the two marks of that name on the page."""
    begin, end = f"<!-- {name} -->\n", f"<!-- end of {name} -->\n"
    head, _, rest = path.read_text().partition(begin)
    _, _, tail = rest.partition(end)
    load = os.getloadavg()[0]
    note = f"Measured on {machine()}; load average {load:.1f} at the end.\n\n"
    path.write_text(head + begin + note + text + end + tail)


def main(arguments):
    if arguments[0] == "--make-inputs":
        return make_inputs(pathlib.Path(arguments[1]))
    build = pathlib.Path(arguments[0])
    folder = build / "bench-inputs"
    # In a process of its own: a child's peak memory begins with that of the process it comes from.
    subprocess.run([sys.executable, __file__, "--make-inputs", folder], check=True)
    rows = []
    hciimage = str(build / "hciimage")
    program = str(build / "bench_hciload")
    # In memory, if there is such a folder: a disk would tell more about itself than about programs.
    memory_folder = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    with tempfile.TemporaryDirectory(dir=memory_folder) as scratch:
        against_peers(hciimage, folder, pathlib.Path(scratch), rows)
    memory(hciimage, folder, rows)
    growth(hciimage, folder, rows)
    exchange(program, rows)
    print(table(HEADINGS, rows), end="")
    if arguments[1:2] == ["--page"]:
        update_page(pathlib.Path(arguments[2]), "table", table(HEADINGS, rows))


if __name__ == "__main__":
    main(sys.argv[1:])
