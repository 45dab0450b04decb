"""Runs the built programs, here or under Wine, in a scratch workspace.

`pytest tests/system -k WORD` tests build/release; `--build FOLDER` tests another build. A test that does not
apply to the build is skipped.
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
USER = 65534  # tests that root starts run the program as this user, so that access rights count
TOO_LONG = 120  # seconds until a run counts as hung
VERSION = re.search(r"project\(marrowvane VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())[1]
MARKERS = {"posix": "not for Windows", "windows": "for Windows only", "delivered": "for a Release build only"}


class Finished(NamedTuple):
    status: int  # negative: the number of the signal that ended the program
    said: str  # standard output and error, or the texts of the message boxes


class Build:
    """The programs of one build folder."""

    def __init__(self, folder):
        self.root, self.folder = ROOT, Path(folder).resolve()
        self.bin = self.folder / "bin"
        self.is_windows = (self.bin / "marrowvan.exe").exists()
        self.is_delivered = "CMAKE_BUILD_TYPE:STRING=Release" in (self.folder / "CMakeCache.txt").read_text()
        self.hello_elf = self.folder / "examples/hello.elf"

    def program(self, name):
        file = name + ".exe" if self.is_windows else name
        return next(path for path in (self.bin / file, self.folder / "tests" / file) if path.exists())

    def host_path(self, path):
        """Returns a path in the form that the tested programs use."""
        return str(PureWindowsPath(f"Z:{path}")) if self.is_windows else str(path)

    def call(self, program, *arguments, env=None):
        """Returns what subprocess needs to start a program without a display, or with its boxes answered."""
        items = [self.program(program) if isinstance(program, str) else program, *arguments]
        starter, no_display = [], {"DISPLAY": "", "WAYLAND_DISPLAY": ""}
        if self.is_windows:
            starter, no_display = [ROOT / "scripts/wine"], {}
            if items[0].stem == "marrowvan":
                items.insert(0, self.program("press_ok"))
        variables = os.environ | {"LC_ALL": "C.UTF-8"} | no_display | (env or {})
        items = [self.host_path(item) if isinstance(item, Path) else item for item in items]
        return {"args": starter + items, "env": {name: str(value) for name, value in variables.items()}}

    def run(self, program, *arguments, env=None, input=None, **how):
        """Runs a program of the build, or one by its path, to its end. Each Path becomes a path of the host."""
        with tempfile.TemporaryFile() as output:
            ended = subprocess.run(**self.call(program, *arguments, env=env), **how, timeout=TOO_LONG,
                                   input=(input or "").encode(), stdout=output, stderr=output)
            output.seek(0)
            said = output.read().decode(errors="surrogateescape").replace("\r", "")
        return Finished(ended.returncode, said)


def give_to_user(folder):
    """Gives a folder to the user that programs run as. Returns what subprocess needs to start them."""
    if os.getuid() != 0:
        return {}
    subprocess.run(["chown", "-hR", f"{USER}:{USER}", folder], check=True)
    return {"user": USER, "group": USER, "extra_groups": []}


class Workspace:
    """A portable folder with stand-ins for the tools, a game folder with an ELF file, and older outputs."""

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
        """The command lines of the tools that ran, as the stand-ins wrote them down."""
        return (self.app / "log").read_text(errors="surrogateescape").splitlines()

    def give_to_user(self):
        return {} if self.build.is_windows else give_to_user(self.root)

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


def case(name, *values, marks=()):
    """A row of a table, with its name."""
    return pytest.param(*values, id=name, marks=marks)


def names(folder):
    return sorted(os.listdir(folder))


def pytest_addoption(parser):
    parser.addoption("--build", default=ROOT / "build/release", help="the build folder that is tested")


def pytest_configure(config):
    for marker, reason in MARKERS.items():
        config.addinivalue_line("markers", f"{marker}: {reason}")


def pytest_collection_modifyitems(config, items):
    build = Build(config.getoption("--build"))
    applies = {"posix": not build.is_windows, "windows": build.is_windows, "delivered": build.is_delivered}
    for item in items:
        for marker, reason in MARKERS.items():
            if item.get_closest_marker(marker) and not applies[marker]:
                item.add_marker(pytest.mark.skip(reason=reason))


@pytest.fixture(scope="session")
def display():
    """A display for the tests only, so that keys reach the right window."""
    if "MARROWVANE_TEST_DISPLAY" in os.environ:  # the present display is for tests
        return os.environ["DISPLAY"]
    reader, writer = os.pipe()
    command = ["Xvfb", "-displayfd", str(writer), "-screen", "0", "1100x960x24"]
    server = subprocess.Popen(command, pass_fds=[writer], stderr=subprocess.DEVNULL)
    atexit.register(server.terminate)
    os.environ["DISPLAY"] = ":" + os.read(reader, 16).decode().strip()
    return os.environ["DISPLAY"]


@pytest.fixture(scope="session")
def build(request):
    tested = Build(request.config.getoption("--build"))
    if not tested.is_windows:
        yield tested
        return
    request.getfixturevalue("display")
    # Wine's server runs while this program waits for input. A server that ends refuses the next program.
    with subprocess.Popen([ROOT / "scripts/wine", "cmd"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL):
        yield tested


@pytest.fixture(scope="session")
def windows_mkisofs(build):
    """The tool in the portable folder for Windows. A build lacks it if its foreign parts could not be made."""
    if not (build.bin / "mkisofs.exe").exists():
        pytest.skip("this build has no mkisofs.exe: scripts/setup prints why")


@pytest.fixture
def workspace(build):
    root = Path(tempfile.mkdtemp(prefix="workspace-"))
    yield Workspace(build, root)
    subprocess.run(["chmod", "-R", "u+rwX", root], check=True)
    shutil.rmtree(root)
