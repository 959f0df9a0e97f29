"""A Debian kernel in QEMU, and simulated chips at the other ends of its serial lines."""

import contextlib
import json
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import threading
import time

MODULES = ("usb-common", "usbcore", "xhci-hcd", "xhci-pci", "usbserial", "ftdi_sio")
BOOT_SECONDS = 600


class Hung(Exception):
    """Something did not come in time. Only a new start of the machine helps."""


def start(processes, command, **streams):
    """Starts a program that ends with the stack, and at the latest when this process is killed."""
    process = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *command], **streams)
    processes.callback(stop, process)
    return process


def stop(process):
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def waited_for_processor(process):
    """How many seconds the threads of a process have waited for a processor so far."""
    total = 0
    for task in pathlib.Path(f"/proc/{process.pid}/task").glob("*/schedstat"):
        with contextlib.suppress(OSError):  # a thread may end meanwhile
            total += int(task.read_text().split()[1])
    return total / 1e9


class Lines:
    """The lines of a stream, kept as they come, so that the writer never waits."""

    def __init__(self, stream, log):
        self.lines = []
        self._ended = False
        self._changed = threading.Condition()
        threading.Thread(target=self._read, args=(stream, log), daemon=True).start()

    def _read(self, stream, log):
        with log.open("a", encoding="utf-8") as copy:
            for raw in stream:
                line = raw.decode("utf-8", "replace").rstrip("\r\n")
                print(line, file=copy, flush=True)
                with self._changed:
                    self.lines.append(line)
                    self._changed.notify_all()
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def wait_for(self, pattern, first, count, seconds):
        """Waits for the count-th match from the line numbered first on. Returns that line."""
        end = time.monotonic() + seconds
        with self._changed:
            while True:
                found = [line for line in self.lines[first:] if re.search(pattern, line)]
                if len(found) >= count:
                    return found[count - 1]
                left = end - time.monotonic()
                if self._ended:
                    raise Hung(f"no '{pattern}', and no more can come")
                if left <= 0:
                    raise Hung(f"no '{pattern}' within {seconds} s")
                self._changed.wait(left)


class Chip:
    """A simulated chip at a link. It executes commands and shows them in its trace."""

    def __init__(self, processes, build, name, options):
        self.link = build / "drivers" / f"tty-{name}"
        self.dump = build / "drivers" / f"{name}.hex"
        command = [build / "chipsim", "--link", self.link, "--dump", self.dump, "--trace", *options]
        self._process = start(processes, command, stderr=subprocess.PIPE)
        self._trace = Lines(self._process.stderr, build / "drivers" / f"{name}.log")
        self._first = 0
        self._trace.wait_for(str(self.link), 0, 1, 10)

    def forget(self):
        """Counts commands from here on."""
        self._first = len(self._trace.lines)

    def wait_for(self, command, count=1, seconds=60):
        self._trace.wait_for(f"chipsim: {command}", self._first, count, seconds)

    def executed(self, command):
        return sum(command in line for line in self._trace.lines[self._first :])

    def waited(self):
        return waited_for_processor(self._process)

    @contextlib.contextmanager
    def paused(self):
        self._process.send_signal(signal.SIGSTOP)
        try:
            yield
        finally:
            self._process.send_signal(signal.SIGCONT)

    def end(self):
        """Writes the chip's memory to the dump."""
        stop(self._process)


class Monitor:
    """The machine's management interface (QMP): one JSON object to a line."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(BOOT_SECONDS)
        end = time.monotonic() + BOOT_SECONDS
        while True:
            try:
                self._socket.connect(str(path))
                break
            except OSError as error:
                if time.monotonic() > end:
                    raise Hung("QEMU does not open its monitor") from error
                time.sleep(0.1)
        self._lines = self._socket.makefile("rw", encoding="utf-8")
        self.execute("qmp_capabilities")

    def execute(self, command, event=None, **arguments):
        """Runs a command and waits for its result, then for the event if one is given."""
        self._lines.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
        self._lines.flush()
        awaited = {"return", event} - {None}
        while awaited:
            try:
                answer = json.loads(self._lines.readline())
            except (OSError, ValueError) as error:
                raise Hung(f"no answer to {command}") from error
            if "error" in answer:
                raise Hung(f"{command}: {answer['error']['desc']}")
            awaited -= {"return"} & answer.keys() | {answer.get("event")}


class Guest:
    """The machine: /dev/ttyS1 leads to the first chip, the adapter, /dev/ttyUSB0, to the second."""

    def __init__(self, build, kernel, chips):
        self._folder = build / "drivers"
        self._kernel = kernel
        self._chips = chips
        self._processes = contextlib.ExitStack()
        self._commands = 0

    def boot(self):
        self.shut_down()
        socket_path = self._folder / "monitor"
        socket_path.unlink(missing_ok=True)
        self._qemu = start(
            self._processes,
            self._qemu_command(socket_path),
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=(self._folder / "qemu.log").open("ab"),
        )
        self._console = Lines(self._qemu.stdout, self._folder / "console.log")
        self._monitor = Monitor(socket_path)
        self._console.wait_for("^ready$", 0, 1, BOOT_SECONDS)
        self.plug()

    def _qemu_command(self, monitor):
        serial, adapter = self._chips
        return [
            *("qemu-system-x86_64", "-accel", "tcg", "-m", "256", "-smp", "2"),
            *("-nodefaults", "-display", "none", "-no-reboot"),
            *("-kernel", next(self._kernel.glob("boot/vmlinuz-*"))),
            *("-initrd", self._folder / "initramfs"),
            *("-append", "console=ttyS0 loglevel=1 panic=-1 no_timer_check"),
            *("-qmp", f"unix:{monitor},server=on,wait=off"),
            *("-chardev", "stdio,id=console,signal=off"),
            *("-chardev", f"serial,id=serial,path={serial.link}"),
            *("-chardev", f"serial,id=adapter,path={adapter.link}"),
            *("-device", "isa-serial,chardev=console", "-device", "isa-serial,chardev=serial"),
            *("-device", "qemu-xhci"),
        ]

    def shut_down(self):
        self._processes.close()

    def ended(self):
        """Whether QEMU itself has ended, which is no fault of the program."""
        return self._qemu.poll() is not None

    def waited(self):
        """How long the machine and the chips have waited for a processor since it was booted."""
        return waited_for_processor(self._qemu) + sum(chip.waited() for chip in self._chips)

    def _type(self, line):
        self._qemu.stdin.write(line.encode() + b"\n")
        self._qemu.stdin.flush()

    def begin(self, command):
        """Types a command at the machine's console."""
        self._commands += 1
        self._output = len(self._console.lines)
        self._type(f"{{ {command}; }} 2>&1; echo @{self._commands} $?")

    def interrupt(self):
        """Presses Ctrl-C."""
        self._qemu.stdin.write(b"\x03")
        self._qemu.stdin.flush()

    def end(self, seconds):
        """Waits for the command. Returns its exit status and its output."""
        marker = rf"@{self._commands} (\d+)$"
        last = self._console.wait_for(marker, self._output, 1, seconds)
        lines = self._console.lines[self._output :]
        text = "\n".join(lines[: lines.index(last)] + [re.sub(marker, "", last)])
        return int(re.search(marker, last)[1]), text.strip()

    def run(self, command, seconds=60):
        self.begin(command)
        return self.end(seconds)

    def plug(self):
        self._monitor.execute(
            "device_add", driver="usb-serial", id="adapter", chardev="adapter"
        )
        self.run("until [ -c /dev/ttyUSB0 ]; do usleep 10000; done")

    def pull(self):
        # QEMU 7.2 crashes if the adapter receives bytes while it is taken out.
        with self._chips[1].paused():
            time.sleep(0.05)
            self._monitor.execute("device_del", event="DEVICE_DELETED", id="adapter")

    def wait_until_gone(self):
        self.run("while [ -c /dev/ttyUSB0 ]; do usleep 10000; done")


def make_initramfs(folder, kernel, programs, files):
    """Packs the drivers, the programs with their libraries, and the files."""
    tree = folder / "tree"
    shutil.rmtree(tree, ignore_errors=True)
    for name in ("bin", "dev", "files", "modules", "proc", "sys"):
        (tree / name).mkdir(parents=True)
    shutil.copy(pathlib.Path(__file__).with_name("init"), tree / "init")
    for name in MODULES:
        shutil.copy(next(kernel.glob(f"lib/modules/**/{name}.ko*")), tree / "modules")
    for program in programs:
        shutil.copy(program, tree / "bin")
        copy_libraries(program, tree)
    for name, text in files.items():
        (tree / "files" / name).write_bytes(text)
    names = "\0".join(str(path.relative_to(tree)) for path in tree.rglob("*")).encode()
    with (folder / "initramfs").open("wb") as image:
        subprocess.run(
            ["cpio", "--null", "--create", "--format=newc", "--quiet", "--owner=+0:+0"],
            input=names,
            stdout=image,
            cwd=tree,
            check=True,
        )


def copy_libraries(program, tree):
    listing = subprocess.run(["ldd", program], capture_output=True, text=True, check=False).stdout
    for library in re.findall(r"(/\S+) \(0x", listing):
        target = tree / library.lstrip("/")
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(library, target)
