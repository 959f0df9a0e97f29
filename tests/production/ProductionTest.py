#!/usr/bin/env python3
"""Does what docs/production.md says: writes its files, runs its commands against simulated boards, and compares
what they print with the page.

    tests/production/ProductionTest.py BUILD [--show]

BUILD is the folder of a finished build. --show runs the commands for a panel and prints what comes of them.
Tests whose tools are missing are skipped; scripts/test installs all of them but an SSH server.
"""

import concurrent.futures
import contextlib
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SYSTEM_PATH = os.environ["PATH"] + ":/usr/sbin:/sbin"

# Runs in place of hciload, since only root can make a /dev/ttyBOARD1. A board whose number ends in 3 is broken, in
# 6 fails once; in 9 the command line is wrong.
HCILOAD = """#!/bin/sh
case $3 in
    /dev/ttyBOARD*3) board=--fault=crc:1:badcrc ;;
    /dev/ttyBOARD*6) ! mkdir "$0.tried" 2>/dev/null || board=--fault=launch:1:drop ;;
    /dev/ttyBOARD*9) exec BUILD/hciload -VINTORMODE -PORT /dev/tty -WRONG ;;
esac
shift 3
exec BUILD/chipsim --baud 0 $board -- BUILD/hciload -VINTORMODE -PORT /dev/tty "$@"
"""

# Two addresses of this machine are the two stations. HOME keeps bash away from the user's .bashrc.
SSHD_CONFIG = """
ListenAddress 127.0.0.1:PORT
ListenAddress 127.0.0.2:PORT
HostKey FOLDER/key
AuthorizedKeysFile FOLDER/key.pub
StrictModes no
PidFile none
SetEnv HOME=FOLDER
Match LocalAddress 127.0.0.1
    ForceCommand cd FOLDER/station1 && HOME=$PWD PATH=FOLDER/bin:$PATH exec sh -c "$SSH_ORIGINAL_COMMAND"
Match LocalAddress 127.0.0.2
    ForceCommand cd FOLDER/station2 && HOME=$PWD PATH=FOLDER/bin:$PATH exec sh -c "$SSH_ORIGINAL_COMMAND"
"""
SSH_CONFIG = """
Host station1
    HostName 127.0.0.1
Host station2
    HostName 127.0.0.2
Host *
    Port PORT
    IdentityFile FOLDER/key
    IdentitiesOnly yes
    StrictHostKeyChecking no
    UserKnownHostsFile /dev/null
    LogLevel ERROR
"""
PANELS = {
    "station1": "/dev/ttyBOARD1 B2001\n/dev/ttyBOARD6 B2002\n",
    "station2": "/dev/ttyBOARD1 C3001\n/dev/ttyBOARD2 C3002\n",
}


def needs(*programs):
    missing = [name for name in programs if not shutil.which(name, path=SYSTEM_PATH)]
    return unittest.skipIf(missing, "not installed: " + ", ".join(missing))


# "udevadm test" changes /dev and /run, so it gets its own.
UDEV = """
mount -t tmpfs none /run
mkdir /run/none
mount --bind /run/none /usr/lib/udev/rules.d
mount --bind rules /etc/udev/rules.d
mount -t tmpfs none /dev
exec udevadm test "$1"
"""


class Page:
    """The files of the page, and the commands of each section with what they print. A block is a file if the
    text before it ends with a name."""

    def __init__(self):
        self.files = {}
        self.sections = {}
        text = (ROOT / "docs/production.md").read_text(encoding="utf-8")
        for section in text.split("\n## ")[1:]:
            title, body = section.split("\n", 1)
            steps = self.sections.setdefault(title, [])
            for before, kind, block in re.findall(r"(?ms)(.*?)^```(\w*)\n(.*?)^```$", body):
                name = re.search(r"`(\S+)`:\n\n$", before)
                if name:
                    self.files[name[1]] = block
                elif kind == "sh":
                    steps.append([block, ""])
                else:
                    steps[-1][1] = block


class Line:
    """A scratch folder with the files of the page, the sample images and the simulated boards."""

    def __init__(self, build):
        self.page = Page()
        # A station's parallel may still be tidying up when the folder is removed.
        self.scratch = tempfile.TemporaryDirectory(prefix="hciload-line-", ignore_cleanup_errors=True)
        self.folder = pathlib.Path(self.scratch.name)
        shutil.copytree(ROOT / "examples", self.folder, dirs_exist_ok=True)
        for name in ("load-unit", "panel-1.txt", "shift.jq"):
            self.write(name, self.page.files[name], 0o755)
        self.write("bin/hciload", HCILOAD.replace("BUILD", str(build)), 0o755)
        self.environment = dict(
            os.environ,
            HOME=str(self.folder),  # parallel keeps files there
            PATH=f"{self.folder / 'bin'}:{SYSTEM_PATH}",
        )

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.scratch.cleanup()

    def write(self, name, text, mode=0o644):
        path = self.folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(mode)
        return path

    def run(self, command):
        """A shell line, or the words of a command."""
        return subprocess.run(
            command,
            shell=isinstance(command, str),
            cwd=self.folder,
            env=self.environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            check=False,
        )

    def follow(self, section):
        """What each command of the section printed, and what the page says."""
        return [(self.run(command).stdout, shown) for command, shown in self.page.sections[section]]

    @contextlib.contextmanager
    def stations(self):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        for name, text in (("sshd_config", SSHD_CONFIG), ("ssh_config", SSH_CONFIG)):
            self.write(name, text.replace("PORT", str(port)).replace("FOLDER", str(self.folder)))
        self.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", "key"])
        ssh = shutil.which("ssh")
        self.write("bin/ssh", f'#!/bin/sh\nexec {ssh} -F {self.folder}/ssh_config "$@"\n', 0o755)
        for station, panel in PANELS.items():
            (self.folder / station).mkdir()
            self.write(f"{station}/line/panel.txt", panel)
        if os.geteuid() == 0:
            os.makedirs("/run/sshd", exist_ok=True)  # sshd insists on it, also where none ever ran
        sshd = [shutil.which("sshd", path=SYSTEM_PATH), "-D", "-E", self.folder / "sshd.log"]
        with subprocess.Popen([*sshd, "-f", self.folder / "sshd_config"]) as server:
            try:
                self.wait_for_station()
                yield
            finally:
                server.terminate()

    def wait_for_station(self):
        deadline = time.monotonic() + 20
        while (tried := self.run(["ssh", "station1", "true"])).returncode:
            if time.monotonic() > deadline:
                log = (self.folder / "sshd.log").read_text(encoding="utf-8")
                raise TimeoutError(f"{tried.stdout}{log}")
            time.sleep(0.05)


PANEL = ("A panel", "Retry what failed", "The shift")
SERVICE = "/etc/systemd/system/hciload@.service"
RULES = "/etc/udev/rules.d/90-line.rules"


def show_panel(build):
    with Line(build) as line:
        for section in PANEL:
            for command, _ in line.page.sections[section]:
                print(f"\n$ {command}", end="", flush=True)
                print(line.run(command).stdout, end="")


def load_panel(build):
    with Line(build) as line:
        return [step for section in PANEL for step in line.follow(section)]


def load_at_stations(build):
    with Line(build) as line, line.stations():
        steps = line.follow("Several stations")
        return steps, sorted(path.name for path in (line.folder / "reports").iterdir())


def load_plugged_in(build):
    """Verifies the service, and runs its command for a good board and with a wrong command line."""
    with Line(build) as line:
        text = line.page.files[SERVICE].replace("/srv/line", str(line.folder))
        unit = line.write(pathlib.Path(SERVICE).name, text)
        verified = line.run(["systemd-analyze", "verify", unit])
        command = re.search("(?m)^ExecStart=(.*)$", text)[1]
        return verified.stdout, "".join(line.run(command.replace("%i", unit)).stdout for unit in ("D4001", "D4009"))


class Production(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        """Loads everywhere at once, since loads mostly wait."""
        build = pathlib.Path(sys.argv[1]).resolve()
        with concurrent.futures.ThreadPoolExecutor() as pool:
            cls.loads = {
                load: pool.submit(load, build)
                for load in (load_panel, load_at_stations, load_plugged_in)
            }

    def assert_shown(self, steps):
        """Lines come in any order, loads take any time, and any unit is the slowest."""

        def comparable(text):
            return sorted(re.sub(r"(slowest \w+, )?[\d.]+ s$", "T s", text, flags=re.M).splitlines())

        for printed, shown in steps:
            self.assertEqual(comparable(printed), comparable(shown))

    @needs("parallel", "jq")
    def test_panel(self):
        steps = self.loads[load_panel].result()
        self.assert_shown(steps)
        printed = "".join(text for text, _ in steps)
        longest = max(re.findall(r"loaded in (\S+) s", printed), key=float)
        self.assertRegex(printed, rf"slowest A\d+, {longest} s\n")

    @needs("parallel", "jq", "rsync", "ssh", "sshd")
    def test_stations(self):
        steps, reported = self.loads[load_at_stations].result()
        self.assert_shown(steps)
        self.assertEqual(reported, ["B2001", "B2002", "C3001", "C3002"])

    @needs("jq", "systemd-analyze")
    def test_service(self):
        complaints, printed = self.loads[load_plugged_in].result()
        self.assertEqual(complaints, "")
        self.assertRegex(printed, r"^D4001  loaded in \S+ s\nD4009  status 255 .* WRONG\n$")

    @needs("udevadm", "unshare")
    def test_udev_rule(self):
        """In a mount name space, where a rule before ours makes a tty pass for an adapter."""
        own = ["unshare", "--map-root-user", "--mount"]
        tty = pathlib.Path("/sys/class/tty/tty")
        if not tty.exists() or subprocess.run([*own, "true"], check=False).returncode:
            self.skipTest("no rights to name spaces, or no /sys")
        with Line("") as line:
            line.write("rules/90-line.rules", line.page.files[RULES])
            adapter = 'ENV{ID_VENDOR_ID}="0403", ENV{ID_MODEL_ID}="6001", ENV{ID_SERIAL_SHORT}="A1"'
            for model, started in (("6001", True), ("6010", False)):
                line.write("rules/10-adapter.rules", adapter.replace("6001", model))
                done = line.run([*own, "sh", "-euc", UDEV, "sh", tty])
                wanted = ("=/dev/ttyBOARDA1\n", "ID_MM_PORT_IGNORE=1\n", "=hciload@A1.service\n")
                for text in wanted:
                    self.assertEqual(text in done.stdout, started, done.stdout)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    if sys.argv[2:] == ["--show"]:
        show_panel(pathlib.Path(sys.argv[1]).resolve())
    else:
        unittest.main(argv=sys.argv[:1], verbosity=2)
