"""What the system tests share: programs run here or under Wine, and a scratch desk to run them on.

`pytest tests/system -k WORD` tests build/release; `--build FOLDER` another build.
"""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path, PureWindowsPath
from typing import NamedTuple

import pytest

TOOLS = ("sh-elf-objcopy", "scramble", "mkisofs", "cdi4dc")
ROOT = Path(__file__).resolve().parents[2]
USER = 65534  # tests that root starts run the program as this one, so that access rights count
TOO_LONG = 120  # seconds until a run counts as hung


class Finished(NamedTuple):
    status: int  # negative: the signal that ended it
    said: str  # standard output and error, or the texts of the message boxes


class Build:
    """The programs of one build folder."""

    def __init__(self, folder):
        self.root = ROOT
        self.folder = Path(folder).resolve()
        self.bin = self.folder / "bin"
        self.is_windows = (self.bin / "marrowvan.exe").exists()
        self.hello_elf = self.folder / "examples/hello.elf"

    def program(self, name):
        file = name + ".exe" if self.is_windows else name
        places = (self.bin / file, self.folder / "tests" / file)
        return next(path for path in places if path.exists())

    def host_path(self, path):
        """A path as the tested programs write it."""
        return str(PureWindowsPath("Z:" + str(path))) if self.is_windows else str(path)

    def command(self, program, *arguments):
        """Under Wine the boxes of the main program are answered, so nothing waits for a user."""
        program = self.program(program) if isinstance(program, str) else program
        items = [program, *arguments]
        if self.is_windows and program.stem == "marrowvan":
            items.insert(0, self.program("press_ok"))
        starter = [ROOT / "scripts/wine"] if self.is_windows else []
        return starter + [self.host_path(item) if isinstance(item, Path) else item for item in items]

    def environment(self, changes=None):
        """Nobody sits at a display or a terminal; None among the changes takes a variable away."""
        nobody = {} if self.is_windows else {"DISPLAY": None, "WAYLAND_DISPLAY": None}
        wanted = os.environ | {"LC_ALL": "C.UTF-8"} | nobody | (changes or {})
        return {name: str(value) for name, value in wanted.items() if value is not None}

    def run(self, program, *arguments, cwd=None, env=None, input=None, **how):
        """Runs a program, named or by its path, to its end. A Path among the arguments becomes a host path."""
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as typed:
            typed.write((input or "").encode())
            typed.seek(0)
            ended = subprocess.run(self.command(program, *arguments), cwd=cwd, env=self.environment(env),
                                   stdin=typed, stdout=output, stderr=output, timeout=TOO_LONG, **how)
            output.seek(0)
            said = output.read().decode(errors="surrogateescape").replace("\r", "")
        # These two kinds of message have an icon, and these alone.
        said = re.sub(r"^\[icon\] (Unknown error|The DC bootfile)", r"\1", said, flags=re.MULTILINE)
        return Finished(ended.returncode, said)


class Desk:
    """A portable folder of recording stand-ins, a game folder with an ELF file, an older image."""

    def __init__(self, build, root):
        self.build, self.root = build, root
        self.app, self.game, self.temp = root / "app", root / "my game", root / "temp"
        self.cdi = root / "out/demo.cdi"
        self.private_temp = self.temp / ("" if build.is_windows else f"marrowvan-{os.getuid() or USER}")
        for folder in (self.app, self.game, self.temp, self.cdi.parent):
            folder.mkdir()
        self.marrowvan = self.app / build.program("marrowvan").name
        shutil.copy(build.program("marrowvan"), self.marrowvan)
        for tool in TOOLS:
            shutil.copy(build.program("stand_in"), self.tool(tool))
        (self.app / "IP.TMPL").write_bytes(b"t" * 32768)
        (self.game / "demo.elf").write_bytes(b"\x7FELF")
        self.cdi.write_bytes(b"older")

    def tool(self, name):
        return self.app / (name + self.marrowvan.suffix)

    def does(self, tool, behaviour):
        (self.app / f"{tool}.does").write_text(behaviour)

    @property
    def log(self):
        """The tools that ran and their command lines, as they noted them."""
        noted = self.app / "log"
        return noted.read_text(errors="surrogateescape").splitlines() if noted.exists() else []

    def ordinary_user(self):
        """How subprocess has to start a program of this desk."""
        if self.build.is_windows or os.getuid() != 0:
            return {}
        for path in (self.root, *self.root.rglob("*")):
            os.chown(path, USER, USER, follow_symlinks=False)
        return {"user": USER, "group": USER, "extra_groups": []}

    def environment(self, changes=None):
        if self.build.is_windows:
            return {"PRESS_OK_TEMP": self.build.host_path(self.temp)} | (changes or {})
        return {"TMPDIR": self.temp, "PATH": "/nonexistent"} | (changes or {})

    def run(self, *arguments, env=None, **how):
        return self.build.run(self.marrowvan, *arguments, env=self.environment(env), **self.ordinary_user(), **how)

    def make_image(self, **how):
        return self.run("--dir", self.game, "--cdi", self.cdi, **how)


def names(folder):
    return sorted(os.listdir(folder))


def pytest_addoption(parser):
    parser.addoption("--build", default=ROOT / "build/release", help="the build folder that is tested")


def pytest_configure(config):
    for host in ("posix", "windows"):
        config.addinivalue_line("markers", f"{host}_only: is about something that no other host has")


def pytest_collection_modifyitems(config, items):
    other = "posix_only" if Build(config.getoption("--build")).is_windows else "windows_only"
    items[:] = [item for item in items if not item.get_closest_marker(other)]


@pytest.fixture(scope="session")
def build(request):
    return Build(request.config.getoption("--build"))


@pytest.fixture
def new_desk(build):
    """Makes desks, in the folder for temporary files or in another one."""
    roots = []

    def make(parent=None):
        roots.append(Path(tempfile.mkdtemp(prefix="desk-", dir=parent)))
        return Desk(build, roots[-1])
    yield make
    for root in roots:
        subprocess.run(["chmod", "-R", "u+rwX", root], check=True)
        shutil.rmtree(root)


@pytest.fixture
def desk(new_desk):
    return new_desk()
