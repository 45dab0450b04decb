"""Marrowvane installed for a whole machine: a launcher, and a portable folder for each run."""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest
from conftest import TOO_LONG, Finished, case, give_to_user, names

pytestmark = [pytest.mark.posix, pytest.mark.delivered]
BOOT_SECTOR = b"the user's own".ljust(96) + b"1ST_READ.BIN".ljust(16) + bytes(32656)
KILL_LAUNCHER = "read -r _ _ _ launcher _ < /proc/$PPID/stat; kill -KILL $launcher"
TOOLS = {"sh-elf-objcopy": 'cp "$5" "$6"', "scramble": 'cp "$1" "$2"', "cdi4dc": 'cp "$1" "$2"',
         "mkisofs": 'echo "$9" | cat "$2" "${12}/1ST_READ.BIN" - > "${11}"', "rm": 'exec /bin/rm "$@"'}
ZENITY = 'printf "[%s]" "$@" >> "$HOME/boxes"; case $* in *--directory*) echo game ;; *--save*) exit 1; esac'


@pytest.fixture(scope="module")
def installed(build, tmp_path_factory):
    folder = tmp_path_factory.mktemp("machine")
    install = ["cmake", "--install", build.folder, "--prefix", folder / "usr"]
    subprocess.run(install, check=True, stdout=subprocess.DEVNULL)
    return folder


class Machine:
    """An installation and a user's home. Short scripts replace the tools."""

    def __init__(self, installed, root):
        self.root, self.home, self.temp = root, root / "home", root / "temp"
        self.cache, self.game = self.home / ".cache", self.home / "game"
        shutil.copytree(installed / "usr", root / "usr", symlinks=True)
        for folder in (self.cache, self.game, self.temp):
            folder.mkdir(parents=True)
        for tool in TOOLS:
            self.set_tool(tool, TOOLS[tool])
        self.make_game(self.game)
        subprocess.run(["chmod", "-R", "a-w", root / "usr"], check=True)
        self.user = give_to_user(root)

    def set_tool(self, tool, script):
        folder = self.root / "usr" / ("lib/marrowvane" if tool in ("scramble", "cdi4dc") else "bin")
        folder.chmod(0o755)
        (folder / tool).unlink(missing_ok=True)
        (folder / tool).write_text(f"#!/bin/sh\n{script}\n")
        for path in (folder / tool, folder):
            path.chmod(0o555)

    def make_game(self, folder):
        folder.mkdir(exist_ok=True)
        (folder / "game.elf").write_bytes(b"\x7FELF of " + folder.name.encode())
        (folder / "IP.BIN").write_bytes(BOOT_SECTOR)
        for path in (folder, *folder.iterdir()):
            path.chmod(0o777)
        return folder

    def start(self, *arguments, env=None, stderr=subprocess.PIPE):
        variables = {"HOME": self.home, "TMPDIR": self.temp, "PATH": f"{self.root}/usr/bin:/usr/bin:/bin"}
        return subprocess.Popen(
            ["marrowvan", *arguments], executable=self.root / "usr/bin/marrowvan", cwd=self.home, **self.user,
            env=variables | (env or {}), start_new_session=True, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=stderr, text=True)

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
def test_companions_are_on_path(installed, name):
    said = subprocess.check_output([installed / "usr/bin" / name, "--version"], text=True)
    assert said.split()[0] == name.removeprefix("marrowvan-")


@pytest.mark.parametrize("tool, does, status, kept_file", [
    case("successful run", "mkisofs", "", 0, ""),
    case("new file in the place of IP.BIN", "mkisofs", 'echo > "${12}/IP.BIN"', 1, "IP.BIN"),
    case("killed program", "mkisofs", "kill -KILL $PPID", 137, "IP.BIN"),
    case("killed launcher and program", "mkisofs", f"{KILL_LAUNCHER} $PPID", -9, "IP.BIN"),
    case("killed program and an incomplete IP.BIN", "mkisofs", 'echo > "$2"; kill -KILL $PPID', 137, "IP.BIN"),
    case("Ctrl-C", "mkisofs", "kill -INT 0", 130, ""),
    case("Ctrl-C while the launcher cleans up", "rm", "kill -INT 0", 0, ""),
    case("Ctrl-Backslash", "mkisofs", "kill -QUIT 0", 131, ""),
    case("closed terminal", "mkisofs", "kill -HUP 0", 129, ""),
    case("SIGTERM for the launcher", "mkisofs", KILL_LAUNCHER.replace("KILL", "TERM"), 143, ""),
    case("scramble fails after the ELF file is gone", "scramble", "exit 1", 1, "1ST_READ_UNSCRAMBLED.BIN"),
])
def test_run_keeps_and_reports_what_the_user_may_need(machine, tool, does, status, kept_file):
    machine.set_tool(tool, f"{does}\n{TOOLS[tool]}")
    ended = machine.run("--dir", "game", "--cdi", "game.cdi")
    assert ended.status == status
    later = machine.run("--help")
    kept = machine.kept()
    assert [file.name for file in kept] == kept_file.split() and later.status == 0
    for file in kept:
        is_incomplete = file.name == "IP.BIN" and '"$2"' in does
        assert file.name != "IP.BIN" or file.read_bytes() == (b"\n" if is_incomplete else BOOT_SECTOR)
        assert (status < 0 or f"marrowvan: {file} " in ended.said) and f"marrowvan: {file} " in later.said
        assert f'"marrowvan --dir game --cdi game.cdi, in {machine.home}"' in later.said
        assert ("less than 32768 bytes" in later.said) == is_incomplete
        file.unlink()
    assert kept or "marrowvan: " not in ended.said
    assert "marrowvan: " not in machine.run("--help").said
    assert names(machine.cache) == names(machine.temp) == []


def test_closed_pipe_as_standard_error_does_not_stop_a_run(machine):
    kept = machine.cache / "marrowvane/kept-before/IP.BIN"  # the launcher reports it first
    kept.parent.mkdir(parents=True)
    kept.touch()
    give_to_user(machine.root)
    reader, writer = os.pipe()
    os.close(reader)
    run = machine.start("--dir", "game", "--cdi", "game.cdi", stderr=writer)
    assert run.wait(TOO_LONG) == 0 and kept.exists()


def test_start_leaves_the_run_of_a_killed_launcher_alone(machine):
    machine.set_tool("mkisofs", f"{KILL_LAUNCHER}; marrowvan --help\n{TOOLS['mkisofs']}")
    assert machine.run("--dir", "game", "--cdi", "game.cdi").status == -9
    assert (machine.home / "game.cdi").exists()


def test_eight_runs_at_once_each_make_the_disc_of_their_folder(machine):
    folders = [machine.make_game(machine.home / f"game {number}") for number in range(8)]
    runs = [machine.start("--dir", folder.name, "--cdi", f"{folder.name}.cdi", "--cdvol", f"$x  '{folder.name}")
            for folder in folders]
    for run, folder in zip(runs, folders):
        assert run.communicate(timeout=TOO_LONG) == (None, "") and run.returncode == 0
        disc = folder.with_name(f"{folder.name}.cdi").read_bytes()[32768:]
        assert disc == f"\x7FELF of {folder.name}$x  '{folder.name}\n".encode()
    assert names(machine.cache) == names(machine.temp) == []


def test_template_of_the_user_replaces_the_installed_one(machine):
    own = machine.home / ".local/share/marrowvane/IP.TMPL"
    own.parent.mkdir(parents=True)
    own.write_bytes(b"O" * 32768)
    own.chmod(0o444)
    (machine.game / "IP.BIN").unlink()
    assert machine.run("--dir", "game", "--cdi", "game.cdi") == (0, "")
    assert (machine.home / "game.cdi").read_bytes()[256:32768] == b"O" * 32512


def lose_run(machine, temporary):
    """Leaves the folder of a run whose temporary folder has this path."""
    (machine.cache / "marrowvane/run-lost").mkdir(parents=True)
    (machine.cache / "marrowvane/run-lost/temporary").symlink_to(temporary)


def test_link_in_the_place_of_a_lost_temporary_folder_stays(machine):
    lose_run(machine, machine.temp / "link")
    program = machine.home / "a/b/1ST_READ_UNSCRAMBLED.BIN"
    program.parent.mkdir(parents=True)
    program.touch()
    (machine.temp / "link").symlink_to(machine.home)
    give_to_user(machine.root)
    assert "marrowvan: " not in machine.run("--help").said
    assert program.exists() and names(machine.cache) == []


@pytest.mark.skipif(os.getuid() != 0, reason="only root can give a folder to another user")
def test_folders_of_another_user_stay(machine):
    run, temporary = machine.cache / "marrowvane/run-theirs", machine.temp / "theirs"
    lose_run(machine, temporary)
    for folder in (run, temporary):
        folder.mkdir()
        (folder / "file").touch()
    give_to_user(machine.root)
    for folder in (run, temporary):
        os.chown(folder, 0, 0)
        folder.chmod(0o777)
    assert "marrowvan: " not in machine.run("--help").said
    assert names(run) == names(temporary) == ["file"] and names(run.parent) == ["run-theirs"]


@pytest.mark.parametrize("environment, status, said", [
    case("no home", {"HOME": ""}, 1, "marrowvan: neither HOME nor XDG_CACHE_HOME is set\n"),
    case("no home, but a relative cache folder", {"HOME": "", "XDG_CACHE_HOME": "."}, 0, "Usage"),
    case("missing temporary folder", {"TMPDIR": "/none"}, 1, "marrowvan: there is no temporary folder"),
    case("read-only temporary folder", {"TMPDIR": "/proc"}, 1, "marrowvan: cannot create the folders for"),
    case("read-only cache folder", {"XDG_CACHE_HOME": "/proc"}, 1, "marrowvan: cannot create a folder in"),
])
def test_environment(machine, environment, status, said):
    ended = machine.run("--help", env=environment)
    assert ended.status == status and said in ended.said


def test_start_from_the_menu_asks_and_reports_in_boxes(machine):
    machine.set_tool("zenity", ZENITY)
    machine.set_tool("mkisofs", "kill -KILL $PPID")
    assert machine.run("--dir", "game", "--cdi", "game.cdi", env={"DISPLAY": ":0"}).status == 137
    for display in ("DISPLAY", "WAYLAND_DISPLAY"):
        assert machine.run(env={display: ":0"}).status == 1
    boxes = (machine.home / "boxes").read_text()
    assert re.findall(r"\[--(warning\]\[--no-markup|directory|save|info)\]", boxes) == [
        "warning][--no-markup", "directory", "save", "info"] * 2
