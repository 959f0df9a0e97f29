#!/usr/bin/env python3
"""Packs a build and tests the package as a user would: installs it into a scratch root, reads the
manual pages, completes options with TAB, runs a download, links a program, removes it.

    tests/package/PackageTest.py BUILD [OUT]

BUILD is the folder of a finished build. If OUT is given, the source tarball is built, too, and copied to
OUT with the package. Tests whose tools are missing are skipped; scripts/test installs all tools.
"""

import gzip
import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
HERE = pathlib.Path(__file__).resolve().parent

SCRATCH = None  # a temporary folder for the whole run
USR = None  # what the package puts under /usr, unpacked there
DEB = None
TARBALL = None


def run(*command, status=0, **options):
    """Standard output of the command; fails with all its output when the status is another."""
    done = subprocess.run(
        [str(word) for word in command],
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        check=False,
        **options,
    )
    if done.returncode != status:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


def needs(*programs):
    missing = [program for program in programs if not shutil.which(program)]
    return unittest.skipIf(missing, "not installed: " + ", ".join(missing))


def setUpModule():
    global SCRATCH, USR, DEB, TARBALL
    folder = tempfile.TemporaryDirectory(prefix="hciload-package-")
    unittest.addModuleCleanup(folder.cleanup)
    SCRATCH = pathlib.Path(folder.name)
    build = pathlib.Path(sys.argv[1]).resolve()
    out = SCRATCH / "out"
    run("cpack", "--config", build / "CPackSourceConfig.cmake", "-B", out)
    (TARBALL,) = out.glob("*.tar.gz")
    USR = SCRATCH / "root" / "usr"
    if shutil.which("dpkg-shlibdeps") and shutil.which("file"):
        run("cpack", "--config", build / "CPackConfig.cmake", "-B", out)
        (DEB,) = out.glob("*.deb")
        run("dpkg-deb", "--extract", DEB, SCRATCH / "root")
    else:
        run("cmake", "--install", build, "--prefix", USR)
    if len(sys.argv) > 2:
        for package in filter(None, (DEB, TARBALL)):
            shutil.copy(package, sys.argv[2])


def version():
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"project\(hciload VERSION ([0-9.]+)", text)[1]


@needs("dpkg-shlibdeps", "file")
class DebianPackage(unittest.TestCase):
    def test_names_its_version_and_what_it_needs(self):
        fields = run("dpkg-deb", "--field", DEB)
        self.assertIn(f"Version: {version()}\n", fields)
        self.assertRegex(fields, r"Depends: .*libc6 .*libstdc\+\+6")
        with gzip.open(USR / "share/doc/hciload/changelog.gz", "rt", encoding="utf-8") as file:
            self.assertTrue(file.readline().startswith(f"hciload ({version()}) "))

    def test_installs_and_removes(self):
        """With a package database of its own, so that it takes no rights and touches nothing."""
        root = SCRATCH / "dpkg-root"
        for folder in ("var/lib/dpkg/updates", "var/lib/dpkg/info", "etc"):
            (root / folder).mkdir(parents=True)
        for file in ("status", "available"):
            (root / "var/lib/dpkg" / file).touch()
        options = [f"--root={root}", "--force-not-root", "--force-depends", "--force-bad-path"]
        options += ["--log=/dev/null", "--path-include=*"]
        run("dpkg", *options, "--install", DEB)
        self.assertTrue(os.access(root / "usr/bin/hciload", os.X_OK))
        run("dpkg", *options, "--purge", "hciload")
        left = [path for path in root.rglob("*") if path.is_file() or path.parent == root / "usr"]
        left = [path for path in left if root / "var/lib/dpkg" not in path.parents]
        self.assertEqual(left, [])

    @needs("lintian")
    def test_lintian_is_content(self):
        user = ["--allow-root"] if os.geteuid() == 0 else []
        run("lintian", "--fail-on", "error,warning", *user, DEB)


class Manual(unittest.TestCase):
    @needs("man")
    def test_pages_render(self):
        pages = {"hciload": "EXIT STATUS", "chipsim": "pseudo-terminal", "hciimage": "SVG"}
        for page, text in pages.items():
            with self.subTest(page):
                env = dict(os.environ, MANWIDTH="100", LC_ALL="C")
                self.assertIn(text, run("man", "-M", USR / "share/man", page, env=env))

    @needs("mandoc")
    def test_mandoc_is_content(self):
        for page in sorted((ROOT / "docs/man").glob("*.1")):
            with self.subTest(page.name):
                self.assertEqual(run("mandoc", "-Tlint", "-Wwarning", page), "")

    def test_options_are_the_same_everywhere(self):
        arguments = (ROOT / "src/app/Arguments.cpp").read_text(encoding="utf-8")
        names = {
            "hciload": {"-" + name for name in re.findall(r'"([A-Z]{3,})"', arguments)}
            - {"-TIMESTAMP", "-NFC"}
            | {"--help", "--version", "--list-ports", "--read", "--crc"},
        }
        for program in ("chipsim", "hciimage"):
            text = run(USR / "bin" / program, "--help")
            names[program] = set(re.findall(r"(--[a-z-]+)[ \n]", text)) - {"--"}
        pages = {"hciload": "options.md", "chipsim": "chipsim.md", "hciimage": "hciimage.md"}
        for program, options in names.items():
            page = (ROOT / f"docs/man/{program}.1").read_text(encoding="utf-8")
            bash = (ROOT / f"completion/{program}.bash").read_text(encoding="utf-8")
            zsh = (ROOT / f"completion/_{program}").read_text(encoding="utf-8")
            tagged = " ".join(re.findall(r"(?m)^\.It (Fl .*)$", page)).replace(" , -", " Fl -")
            web = ROOT / "docs" / pages[program]
            table = " ".join(re.findall(r"(?m)^\| (`-.*?) \|", web.read_text(encoding="utf-8")))
            with self.subTest(program):
                text_of_help = run(USR / "bin" / program, "--help")
                for text in (tagged.replace("Fl ", "-"), table, bash, zsh, text_of_help):
                    found = set(re.findall(r"(?<![-\w/])--?[A-Za-z][A-Z-a-z]+(?![-\w])", text))
                    self.assertEqual(sorted(options - found), [])


class Completion(unittest.TestCase):
    """In a folder with files of every kind, and one with a blank in its name."""

    FILES = ["a.hex", "b.HCD", "c.ncd", "d.vnp", "my own.hex", "notes.txt"]

    def setUp(self):
        folder = tempfile.TemporaryDirectory(dir=SCRATCH)
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name in self.FILES:
            (self.folder / name).touch()
        sets = 'DevicePreset = "A B"\nDLMaxWriteSize = "8"\nDevicePreset "Ab"\n'
        (self.folder / "d.vnp").write_text(sets, encoding="utf-8")

    def complete(self, *words):
        """What bash offers for the last word, asked of the function itself."""
        script = """
            set -u
            for program in hciload chipsim hciimage; do source "$COMPLETIONS/$program"; done
            compopt() { :; }
            COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMPREPLY=()
            "_$1"
            for reply in "${COMPREPLY[@]}"; do printf '%s\\n' "$reply"; done
        """
        env = dict(os.environ, COMPLETIONS=str(USR / "share/bash-completion/completions"))
        output = run("bash", "-c", script, "bash", *words, cwd=self.folder, env=env)
        return sorted(output.splitlines())

    @needs("bash")
    def test_bash(self):
        vintor = ("hciload", "-VINTORMODE")
        cases = [
            (("hciload", "-V"), ["-VINTORMODE"]),
            (("hciload", "-vi"), ["-vintormode"]),
            (("hciload", "-PORT", "/dev/tty", "-V"), []),
            ((*vintor, "-FIRMWARE", ""), ["a.hex", "my own.hex"]),
            ((*vintor, "-minidriver", ""), ["a.hex", "b.HCD", "my own.hex"]),
            ((*vintor, "/CONFIG", ""), ["a.hex", "b.HCD", "c.ncd", "my own.hex"]),
            ((*vintor, "-VNP", ""), ["d.vnp"]),
            ((*vintor, "-VNP", "d.vnp", "@"), ["@A\\ B", "@Ab"]),
            (("hciload", "-rules", "\"d.vnp@A "), ["d.vnp@A B"]),
            (("hciload", "--l"), ["--list-ports"]),
            (("hciload", "--check", "--"), ["--json"]),
            (("hciload", "--check", "--json", *vintor[1:], "-VNP", ""), ["d.vnp"]),
            (("hciload", "--read", "0-9", "n"), ["notes.txt"]),
            (("hciload", "--crc", "0-9", "-V"), ["-VNP"]),
            ((*vintor, "-LOGTO", "n"), ["notes.txt"]),
            ((*vintor, "-NO"), ["-NODLMINIDRIVER", "-NOERASE", "-NOVERIFY", "-NOWRITE"]),
            ((*vintor, "-ERASE", "-NOV"), ["-NOVERIFY"]),
            ((*vintor, "-ERASE", "-NOE"), []),
            ((*vintor, "-FIRMWARE", "a.hex", "-FI"), ["-FIRMWARE"]),
            ((*vintor, "-VNP", "d.vnp", "-VN"), []),
            ((*vintor, "-BAUDRATE", "3"), ["3000000NFC"]),
            (("hciimage", "con"), ["convert"]),
            (("hciimage", "info", "--j"), ["--json"]),
            (("hciimage", "diff", "my"), ["my own.hex"]),
            (("chipsim", "--erase-t"), ["--erase-time"]),
            (("chipsim", "--dump", "my"), ["my own.hex"]),
            (("chipsim", "--fault", "re"), ["read:", "reset:", "resetntf:"]),
            (("chipsim", "--trace", "--", *vintor, "-VNP", ""), ["d.vnp"]),
        ]
        for words, expected in cases:
            with self.subTest(" ".join(words)):
                self.assertEqual(self.complete(*words), expected)

    def type_in(self, shell, preparation, keys, expected):
        """Types keys into an interactive shell and waits for the text to show up."""
        child, terminal = pty.fork()
        if child == 0:
            os.chdir(self.folder)
            env = dict(os.environ, TERM="dumb", PS1="> ", INPUTRC="/dev/null", HISTFILE="")
            env["PATH"] = f"{USR / 'bin'}:{env['PATH']}"
            os.execvpe(shell[0], shell, env)
        screen = ""
        try:
            for text, wanted in ((preparation + "; echo rea''dy\r", "ready\r\n"), (keys, expected)):
                os.write(terminal, text.encode())
                seen = len(screen)
                deadline = time.monotonic() + 30
                while wanted not in screen[seen:]:
                    wait = deadline - time.monotonic()
                    if wait <= 0 or not select.select([terminal], [], [], wait)[0]:
                        self.fail(f"{wanted!r} never came; the screen holds {screen!r}")
                    screen += os.read(terminal, 4096).decode(errors="replace")
        finally:
            os.close(terminal)
            os.waitpid(child, 0)

    @needs("bash")
    def test_tab_in_bash(self):
        folder = USR / "share/bash-completion/completions"
        self.type_in(
            ["bash", "--norc", "--noprofile", "-i"],
            f"source {folder}/hciload",
            "hciload -VINT\t-FIRM\tm\t-VNP d.vnp@A\\ \t",
            "hciload -VINTORMODE -FIRMWARE my\\ own.hex -VNP d.vnp@A\\ B",
        )

    @needs("zsh")
    def test_tab_in_zsh(self):
        (folder,) = (USR / "share/zsh").iterdir()
        self.type_in(
            ["zsh", "-f", "-i"],
            f"fpath=({folder} $fpath); autoload -U compinit; compinit -u -D",
            "hciload -VINT\t-FIRM\tm\t-VNP d.vnp@A\\ \t",
            "d.vnp@A\\ B",
        )


class InstalledPrograms(unittest.TestCase):
    def test_demo(self):
        examples = USR / "share/doc/hciload/examples"
        memory = SCRATCH / "memory.hex"
        files = {
            "-MINIDRIVER": examples / "minidriver.hex",
            "-FIRMWARE": examples / "firmware.hex",
            "-CONFIG": examples / "config.hcd",
        }
        words = [word for option in files.items() for word in option]
        hciload = [USR / "bin/hciload", "-VINTORMODE", "-PORT", "/dev/tty", "-CHECKCRC"]
        rules = ["-VNP", f"{examples / 'board.vnp'}@Board A"]
        chipsim = [USR / "bin/chipsim", "--baud", "0", "--dump", memory, "--"]
        output = run(*chipsim, *hciload, *rules, *words, cwd=SCRATCH)
        self.assertIn("Current state: Completed successfully\n", output)
        output = run(USR / "bin/hciimage", "diff", memory, *files.values())
        self.assertEqual(output, "equal: 3465 bytes\n")

    def test_patch_download(self):
        examples = USR / "share/doc/hciload/examples"
        records = SCRATCH / "records.bin"
        chipsim = [USR / "bin/chipsim", "--baud", "0", "--dump-records", records, "--"]
        hciload = [USR / "bin/hciload", "-PORT", "/dev/tty", "-RULES", examples / "nfc.vnp"]
        run(*chipsim, *hciload, "-CONFIG", examples / "patch.ncd", cwd=SCRATCH)
        patch = (examples / "patch.ncd").read_bytes()
        self.assertEqual(records.read_bytes(), patch[8 + 8 * patch[7] :])

    def test_versions(self):
        for program in ("hciload", "chipsim", "hciimage"):
            self.assertEqual(run(USR / "bin" / program, "--version"), f"{program} {version()}\n")


class Library(unittest.TestCase):
    def test_outside_program(self):
        source = SCRATCH / "outside"
        shutil.copytree(HERE / "outside", source)
        build = source / "build"
        run("cmake", "-S", source, "-B", build, f"-DCMAKE_PREFIX_PATH={USR}")
        run("cmake", "--build", build)
        firmware = USR / "share/doc/hciload/examples/firmware.hex"
        chipsim = [USR / "bin/chipsim", "--baud", "0", "--"]
        output = run(*chipsim, build / "load", "/dev/tty", firmware)
        self.assertTrue(output.endswith("\nloaded and read back\n"), output)
        output = run(*chipsim, build / "load", "/dev/ttyNONE", firmware, status=1)
        self.assertEqual(output, "failed to open port: /dev/ttyNONE\n")

    def test_all_headers_are_there_and_agree(self):
        include = USR / "include/hciload"
        headers = sorted(header.relative_to(include) for header in include.rglob("*.h"))
        wanted = sorted(header.relative_to(ROOT / "src") for header in ROOT.glob("src/**/*.h"))
        self.assertEqual(headers, wanted)
        source = "".join(f'#include "{header}"\n' for header in headers)
        flags = ["-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only"]
        compiler = os.environ.get("CXX", "c++")
        run(compiler, *flags, "-I", include, "-x", "c++", "-", input=source)


class SourceTarball(unittest.TestCase):
    def test_builds(self):
        """Without OUT only up to the point where Ninja has found all sources: they were just built."""
        run("tar", "-xf", TARBALL, "-C", SCRATCH)
        source = SCRATCH / f"hciload-{version()}"
        build = source / "build"
        run("cmake", "-S", source, "-B", build, "-DBUILD_TESTING=OFF", "-G", "Ninja")
        if len(sys.argv) < 3:
            run("ninja", "-C", build, "-n")
            return
        run("cmake", "--build", build)
        self.assertEqual(run(build / "chipsim", "--version"), f"chipsim {version()}\n")
        run(build / "hciload", status=254)

    def test_holds_what_git_holds(self):
        if not (ROOT / ".git").exists():
            self.skipTest("no git repository")
        listed = run("git", "ls-files", "--cached", "--others", "--exclude-standard", cwd=ROOT)
        wanted = {name for name in listed.splitlines() if (ROOT / name).is_file()}
        names = run("tar", "-tf", TARBALL).splitlines()
        found = {name.partition("/")[2] for name in names if not name.endswith("/")}
        self.assertEqual(found, wanted)


class Documents(unittest.TestCase):
    def test_links_lead_somewhere(self):
        """In the source tree, and among the pages that the package installs."""
        pages = [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("examples/*.md")]
        for page in pages + list((USR / "share/doc/hciload").rglob("*.md")):
            text = page.read_text(encoding="utf-8")
            for target in re.findall(r"\]\(([^)]+)\)", text):
                if target.startswith(("https:", "http:")):
                    continue
                path, _, section = target.partition("#")
                with self.subTest(str(page), target=target):
                    linked = (page.parent / path).resolve() if path else page
                    self.assertTrue(linked.exists())
                    if section:
                        self.assertIn(section, self.sections(linked))

    def test_installed_pages_name_nothing_of_the_source_tree(self):
        for page in (USR / "share/doc/hciload").rglob("*.md"):
            with self.subTest(page.name):
                named = r"(?<![\w/])(?:build/(?:hciload|chipsim|hciimage)|scripts/|packaging/|tests/|src/)"
                self.assertNotRegex(page.read_text(encoding="utf-8"), named)

    def test_architecture_shows_the_layers(self):
        lines = (ROOT / "src/layers.txt").read_text(encoding="utf-8").splitlines()
        layers = [line.split(maxsplit=2)[1:] for line in lines if line and line[0] != "#"]
        page = (ROOT / "ARCHITECTURE.md").read_text(encoding="utf-8")
        shown = re.findall(r'(?m)^    \w+\["([\w/]+): (.*)"\]$', page)
        self.assertEqual(shown, [(folder, purpose) for folder, purpose in layers])

    @staticmethod
    def sections(page):
        headings = re.findall(r"(?m)^#+ (.*)$", page.read_text(encoding="utf-8"))
        return {re.sub(r"[^\w\- ]", "", heading).lower().replace(" ", "-") for heading in headings}

    def test_example_is_the_outside_program(self):
        page = (ROOT / "docs/library.md").read_text(encoding="utf-8")
        for name in ("CMakeLists.txt", "main.cpp"):
            self.assertIn("\n" + (HERE / "outside" / name).read_text(encoding="utf-8"), page, name)

    def test_error_texts_are_the_program_s(self):
        """Each documented text between gaps and colons consists of at most three string literals."""
        files = [*ROOT.glob("src/**/*.[ch]*"), *ROOT.glob("hciimage/*.[ch]*")]
        sources = "".join(path.read_text(encoding="utf-8") for path in files)
        whole = re.sub(r'"\s*\n\s*"', "", sources)
        literals = "\n".join(re.findall(r'"((?:[^"\\\n]|\\.)*)"', whole))

        def consists_of(words, count):
            return not words or (count > 0 and any(
                " ".join(words[:n]) in literals and consists_of(words[n:], count - 1)
                for n in range(len(words), 0, -1)))  # fmt: skip

        pages = [ROOT / "docs" / name for name in ("troubleshooting.md", "check.md")]
        text = "".join(page.read_text(encoding="utf-8") for page in pages)
        texts = re.findall(r"(?m)^(?:### |\| )`([^`]+)`", text)
        self.assertGreater(len(texts), 100)
        pieces = [piece for text in texts for piece in re.split("…|(?<=: )", text)]
        self.assertEqual([piece for piece in pieces if not consists_of(piece.split(), 3)], [])


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    unittest.main(argv=sys.argv[:1], verbosity=2)
