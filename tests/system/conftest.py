"""What the system tests share: programs run here or under Wine, and a scratch workspace to run them on.

`pytest tests/system -k WORD` tests build/release; `--build FOLDER` another build.
"""

import atexit
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
        self.root, self.folder = ROOT, Path(folder).resolve()
        self.bin = self.folder / "bin"
        self.is_windows = (self.bin / "marrowvan.exe").exists()
        self.hello_elf = self.folder / "examples/hello.elf"

    def program(self, name):
        file = name + ".exe" if self.is_windows else name
        return next(path for path in (self.bin / file, self.folder / "tests" / file) if path.exists())

    def host_path(self, path):
        """A path as the tested programs write it."""
        return str(PureWindowsPath(f"Z:{path}")) if self.is_windows else str(path)

    def call(self, program, *arguments, env=None):
        """What subprocess needs to start a program: nobody sits at a display, and boxes are answered."""
        items = [self.program(program) if isinstance(program, str) else program, *arguments]
        starter, nobody = [], {"DISPLAY": "", "WAYLAND_DISPLAY": ""}
        if self.is_windows:
            starter, nobody = [ROOT / "scripts/wine"], {}
            if items[0].stem == "marrowvan":
                items.insert(0, self.program("press_ok"))
        variables = os.environ | {"LC_ALL": "C.UTF-8"} | nobody | (env or {})
        items = [self.host_path(item) if isinstance(item, Path) else item for item in items]
        return {"args": starter + items, "env": {name: str(value) for name, value in variables.items()}}

    def run(self, program, *arguments, env=None, input=None, **how):
        """Runs a program, named or by its path, to its end. Each Path becomes a path of the host."""
        with tempfile.TemporaryFile() as output:
            ended = subprocess.run(**self.call(program, *arguments, env=env), **how, timeout=TOO_LONG,
                                   input=(input or "").encode(), stdout=output, stderr=output)
            output.seek(0)
            said = output.read().decode(errors="surrogateescape").replace("\r", "")
        # These two kinds of message have an icon, and these alone.
        said = re.sub(r"^\[icon\] (Unknown error|The DC bootfile)", r"\1", said, flags=re.MULTILINE)
        return Finished(ended.returncode, said)


class Workspace:
    """A portable folder of recording stand-ins, a game folder with an ELF file, and older outputs."""

    def __init__(self, build, root):
        self.build, self.root = build, root
        self.app, self.game, self.temp = root / "app", root / "game", root / "temp"
        self.cdi = root / "out/demo.cdi"
        for folder in (self.app, self.game, self.temp, self.cdi.parent):
            folder.mkdir()
        users = self.temp if build.is_windows else self.temp / f"marrowvan-{os.getuid() or USER}"
        own = users if build.is_windows else users / "{0.st_dev}-{0.st_ino}".format(self.app.stat())
        for folder in (users, own):
            folder.mkdir(0o700, exist_ok=True)
        self.iso = own / "data.iso"
        self.program = self.tool("marrowvan")
        shutil.copy(build.program("marrowvan"), self.program)
        for tool in TOOLS:
            shutil.copy(build.program("stand_in"), self.tool(tool))
        (self.app / "IP.TMPL").write_bytes(b"t" * 32768)
        (self.app / "log").touch()
        (self.game / "demo.elf").write_bytes(b"\x7FELF")
        for older in (self.cdi, self.iso):
            older.write_bytes(b"older")

    def tool(self, name):
        return self.app / (name + ".exe" if self.build.is_windows else name)

    @property
    def log(self):
        """The command lines of the tools that ran, as they noted them."""
        return (self.app / "log").read_text(errors="surrogateescape").splitlines()

    def give_to_user(self):
        """Gives all files to the user that the program runs as. Returns what subprocess needs for that."""
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
        return self.build.run(self.program, *arguments, env=self.environment(env), **self.give_to_user(), **how)

    def start(self, *arguments, env=None, **how):
        call = self.build.call(self.program, *arguments, env=self.environment(env))
        return subprocess.Popen(**call, **self.give_to_user(), **how)

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
def display():
    """A display of the tests' own, so that no key and no box goes astray."""
    if "MARROWVANE_TEST_DISPLAY" in os.environ:  # the present one is for tests
        return os.environ["DISPLAY"]
    number, told = os.pipe()
    command = ["Xvfb", "-displayfd", str(told), "-screen", "0", "1100x960x24"]
    server = subprocess.Popen(command, pass_fds=[told], stderr=subprocess.DEVNULL)
    atexit.register(server.terminate)
    os.environ["DISPLAY"] = ":" + os.read(number, 16).decode().strip()
    return os.environ["DISPLAY"]


@pytest.fixture(scope="session")
def build(request):
    tested = Build(request.config.getoption("--build"))
    if not tested.is_windows:
        yield tested
        return
    request.getfixturevalue("display")
    # Wine's server lives as long as this program waits for input: one that ends turns the next program away.
    with subprocess.Popen([ROOT / "scripts/wine", "cmd"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL):
        yield tested


@pytest.fixture
def new_workspace(build):
    """Makes workspaces."""
    roots = []

    def make():
        roots.append(Path(tempfile.mkdtemp(prefix="workspace-")))
        return Workspace(build, roots[-1])
    yield make
    for root in roots:
        subprocess.run(["chmod", "-R", "u+rwX", root], check=True)
        shutil.rmtree(root)


@pytest.fixture
def workspace(new_workspace):
    return new_workspace()
