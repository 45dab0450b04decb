"""Marrowvane as it is installed for a whole machine: a launcher, and a portable folder for each run."""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest
from conftest import TOO_LONG, USER, Finished, names

pytestmark = pytest.mark.posix_only
BOOT_SECTOR = b"the user's own".ljust(96) + b"1ST_READ.BIN".ljust(16) + bytes(32656)
KILL_LAUNCHER = "read -r _ _ _ launcher _ < /proc/$PPID/stat; kill -KILL $launcher"
TOOLS = {"sh-elf-objcopy": 'cp "$5" "$6"', "scramble": 'cp "$1" "$2"', "cdi4dc": 'cp "$1" "$2"',
         "mkisofs": 'echo "$9" | cat "$2" "${12}/1ST_READ.BIN" - > "${11}"'}
ZENITY = 'printf "[%s]" "$@" >> "$HOME/boxes"; case $* in *--directory*) echo game ;; *--save*) exit 1; esac'


@pytest.fixture(scope="module")
def installed(build, tmp_path_factory):
    folder = tmp_path_factory.mktemp("machine")
    install = ["cmake", "--install", build.folder, "--prefix", folder / "usr"]
    subprocess.run(install, check=True, stdout=subprocess.DEVNULL)
    return folder


class Machine:
    """A home on a machine where nothing of Marrowvane is the user's. Short scripts stand for the tools."""

    def __init__(self, installed, root):
        self.root, self.home, self.temp = root, root / "home", root / "temp"
        self.cache, self.game = self.home / ".cache", self.home / "game"
        shutil.copytree(installed / "usr", root / "usr", symlinks=True)
        for folder in (self.cache, self.game, self.temp):
            folder.mkdir(parents=True)
        for tool in TOOLS:
            self.set_tool(tool, TOOLS[tool])
        self.give_game(self.game)
        subprocess.run(["chmod", "-R", "a-w", root / "usr"], check=True)
        self.give_to_user()

    @property
    def user(self):
        is_root = os.getuid() == 0
        return {"user": USER, "group": USER, "extra_groups": []} if is_root else {}

    def give_to_user(self):
        if self.user:
            subprocess.run(["chown", "-R", f"{USER}:{USER}", self.root], check=True)

    def set_tool(self, tool, script):
        folder = self.root / "usr" / ("lib/marrowvane" if tool in ("scramble", "cdi4dc") else "bin")
        folder.chmod(0o755)
        (folder / tool).unlink(missing_ok=True)
        (folder / tool).write_text(f"#!/bin/sh\n{script}\n")
        for path in (folder / tool, folder):
            path.chmod(0o555)

    def give_game(self, folder):
        folder.mkdir(exist_ok=True)
        (folder / "game.elf").write_bytes(b"\x7FELF of " + folder.name.encode())
        (folder / "IP.BIN").write_bytes(BOOT_SECTOR)
        for path in (folder, *folder.iterdir()):
            path.chmod(0o777)
        return folder

    def start(self, *arguments, env=None):
        variables = {"HOME": self.home, "TMPDIR": self.temp, "PATH": f"{self.root}/usr/bin:/usr/bin:/bin"}
        return subprocess.Popen(
            ["marrowvan", *arguments], executable=self.root / "usr/bin/marrowvan", cwd=self.home, **self.user,
            env=variables | (env or {}), start_new_session=True, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

    def run(self, *arguments, env=None):
        process = self.start(*arguments, env=env)
        _, said = process.communicate(timeout=TOO_LONG)
        return Finished(process.returncode, said)

    def kept(self):
        return [file for file in self.cache.glob("marrowvane/kept-*/*") if file.name != "started"]


@pytest.fixture
def machine(installed):
    root = Path(tempfile.mkdtemp(prefix="machine-"))
    root.chmod(0o755)
    yield Machine(installed, root)
    subprocess.run(["chmod", "-R", "u+w", root], check=True)
    shutil.rmtree(root)


@pytest.mark.parametrize("name", ["cdicheck", "marrowvan-scramble", "marrowvan-cdi4dc"])
def test_the_companions_are_on_path(installed, name):
    said = subprocess.check_output([installed / "usr/bin" / name, "--version"], text=True)
    assert said.split()[0] == name.removeprefix("marrowvan-")


def row(sentence, *values):
    return pytest.param(*values, id=sentence)


@pytest.mark.parametrize("tool, does, status, left", [
    row("all goes well", "mkisofs", "", 0, ""),
    row("a file stands where IP.BIN was", "mkisofs", 'echo > "${12}/IP.BIN"', 1, "IP.BIN"),
    row("the program is killed", "mkisofs", "kill -KILL $PPID", 137, "IP.BIN"),
    row("launcher and program are killed", "mkisofs", f"{KILL_LAUNCHER} $PPID", -9, "IP.BIN"),
    row("half of an IP.BIN is there", "mkisofs", 'echo > "$2"; kill -KILL $PPID', 137, "IP.BIN"),
    row("Ctrl-C is pressed", "mkisofs", "kill -INT 0", 130, ""),
    row("Ctrl-Backslash is pressed", "mkisofs", "kill -QUIT 0", 131, ""),
    row("the terminal closes", "mkisofs", "kill -HUP 0", 129, ""),
    row("the launcher alone is ended", "mkisofs", KILL_LAUNCHER.replace("KILL", "TERM"), 143, ""),
    row("the ELF file is gone", "scramble", "exit 1", 1, "1ST_READ_UNSCRAMBLED.BIN"),
])
def test_what_a_user_still_needs_is_kept_and_told_of(machine, tool, does, status, left):
    machine.set_tool(tool, f"{does}\n{TOOLS[tool]}")
    ended = machine.run("--dir", "game", "--cdi", "game.cdi")
    assert ended.status == status
    later = machine.run("--help")
    kept = machine.kept()
    assert [file.name for file in kept] == left.split() and later.status == 0
    for file in kept:
        is_half = file.name == "IP.BIN" and '"$2"' in does
        assert file.name != "IP.BIN" or file.read_bytes() == (b"\n" if is_half else BOOT_SECTOR)
        assert (status < 0 or f"marrowvan: {file} " in ended.said) and f"marrowvan: {file} " in later.said
        assert f'"marrowvan --dir game --cdi game.cdi, in {machine.home}"' in later.said
        assert ("less than 32768 bytes" in later.said) == is_half
        file.unlink()
    assert kept or "marrowvan: " not in ended.said
    assert "marrowvan: " not in machine.run("--help").said
    assert names(machine.cache) == names(machine.temp) == []


def test_another_start_leaves_a_run_alone_that_has_lost_its_launcher(machine):
    machine.set_tool("mkisofs", f"{KILL_LAUNCHER}; marrowvan --help\n{TOOLS['mkisofs']}")
    assert machine.run("--dir", "game", "--cdi", "game.cdi").status == -9
    assert (machine.home / "game.cdi").exists()


def test_many_runs_at_once_each_make_the_disc_of_their_own_folder(machine):
    folders = [machine.give_game(machine.home / f"game {number}") for number in range(8)]
    runs = [machine.start("--dir", folder.name, "--cdi", f"{folder.name}.cdi", "--cdvol", f"$x  '{folder.name}")
            for folder in folders]
    for run, folder in zip(runs, folders):
        assert run.communicate(timeout=TOO_LONG) == (None, "") and run.returncode == 0
        disc = folder.with_name(f"{folder.name}.cdi").read_bytes()[32768:]
        assert disc == f"\x7FELF of {folder.name}$x  '{folder.name}\n".encode()
    assert names(machine.cache) == names(machine.temp) == []


def test_a_template_of_the_users_own_is_taken(machine):
    own = machine.home / ".local/share/marrowvane/IP.TMPL"
    own.parent.mkdir(parents=True)
    own.write_bytes(b"O" * 32768)
    own.chmod(0o444)
    (machine.game / "IP.BIN").unlink()
    assert machine.run("--dir", "game", "--cdi", "game.cdi") == (0, "")
    assert (machine.home / "game.cdi").read_bytes()[256:32768] == b"O" * 32512


def test_what_others_put_into_the_place_of_a_lost_temporary_folder_stays(machine):
    run, theirs = machine.cache / "marrowvane/run-lost", machine.home / "a/b/1ST_READ_UNSCRAMBLED.BIN"
    for folder in (run, theirs.parent):
        folder.mkdir(parents=True)
    theirs.touch()
    (run / "temporary").symlink_to(machine.temp / "link")
    (machine.temp / "link").symlink_to(machine.home)
    machine.give_to_user()
    assert "marrowvan: " not in machine.run("--help").said
    assert theirs.exists() and names(machine.cache) == []


@pytest.mark.skipif(os.getuid() != 0, reason="only root can give a folder to another user")
def test_what_others_left_stays(machine):
    theirs = machine.cache / "marrowvane/run-theirs"
    theirs.mkdir(parents=True)
    machine.give_to_user()
    os.chown(theirs, 0, 0)
    theirs.chmod(0o777)
    assert "marrowvan: " not in machine.run("--help").said and names(theirs.parent) == ["run-theirs"]


@pytest.mark.parametrize("lacks, status, said", [
    row("a home", {"HOME": ""}, 1, "marrowvan: neither HOME nor XDG_CACHE_HOME is set\n"),
    row("a home, but has a cache", {"HOME": "", "XDG_CACHE_HOME": "."}, 0, "Usage"),
    row("a temporary folder", {"TMPDIR": "/none"}, 1, "marrowvan: there is no temporary folder"),
    row("a cache", {"XDG_CACHE_HOME": "/proc"}, 1, "marrowvan: no folder for the run could be made"),
])
def test_a_machine_that_lacks_something(machine, lacks, status, said):
    ended = machine.run("--help", env=lacks)
    assert ended.status == status and said in ended.said


def test_a_start_from_the_menu_asks_and_tells_in_boxes(machine):
    machine.set_tool("zenity", ZENITY)
    machine.set_tool("mkisofs", "kill -KILL $PPID")
    assert machine.run("--dir", "game", "--cdi", "game.cdi", env={"DISPLAY": ":0"}).status == 137
    for display in ("DISPLAY", "WAYLAND_DISPLAY"):
        assert machine.run(env={display: ":0"}).status == 1
    boxes = (machine.home / "boxes").read_text()
    assert re.findall(r"\[--(warning\]\[--no-markup|directory|save|info)\]", boxes) == [
        "warning][--no-markup", "directory", "save", "info"] * 2
