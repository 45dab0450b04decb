"""Each call of the C library fails once in a run, and the run keeps its promises about the user's files."""

import os
import pty
import subprocess
import termios
from errno import errorcode, EDQUOT, EINTR, EINVAL, EIO, ENOMEM, ENOSYS, EOPNOTSUPP, EPERM, EXDEV
from signal import SIG_IGN, SIGHUP, SIGINT, SIGKILL, SIGTERM, signal

import pytest
from conftest import case, names

pytestmark = [pytest.mark.posix, pytest.mark.delivered]
PLAIN = b"0123456789abcdefghijklmnopqrstuvwxyz" + bytes(n * n % 251 for n in range(5000))
ELF = b"\x7FELF" + PLAIN
BODY = b"u" * 32656
GAMES = {"ELF file": {"demo.elf": ELF},
         "binary": {"1ST_READ.BIN": PLAIN},
         "ELF file, older program": {"demo.elf": ELF, "1ST_READ.BIN": b"older"},
         "binary, other volume": {"game.bin": PLAIN, "IP.BIN": b"u" * 96 + b"game.bin".ljust(16) + BODY}}
TOOLS = {"sh-elf-objcopy": '/bin/cp "$5" "$6"', "cdi4dc": '/bin/cp "$1" "$2"',
         "mkisofs": '/usr/bin/tail -q -c +97 "$2" "${12}"/* > "${11}"',  # without the date in the boot header
         "scramble": '/usr/bin/tr a-z A-Z < "$1" > "$2"'}
ANY_GAME = "close fstat lseek lstat open posix_spawnp read readlink write"
ISO = (bytes(32768) + b"\1CD001\1" + PLAIN * 90)[:237 * 2048]
RUNS = [  # waiting fails with EINTR only: with any other error, the run would overtake its tool
    ("ELF file", EIO, f"{ANY_GAME} fstatat opendir readdir renameat2 stat", "a failure"),
    ("binary, other volume", EIO, f"{ANY_GAME} fsync unlink", "a failure"),
    ("binary, other volume", EIO, "chmod fchmod futimens mkdir", ""),
    ("ELF file", EINVAL, "renameat2", ""),  # as of a file system that cannot rename without replacing
    ("binary, other volume", EINTR, "close read waitid waitpid write", ""),
    ("binary, other volume", 0, "read write", ""),  # no error, but one byte instead of many
    # These break promises: a file that cannot be deleted stays, a file that cannot be examined counts as
    # missing, and an older file counts as the output of a tool.
    ("ELF file", EIO, "unlink", "another image"),
    ("binary, other volume", EIO, "stat", "a failure, another image, no IP.BIN"),
    ("ELF file, older program", EIO, "fstatat opendir readdir", "another image"),
    ("ELF file, older program", EIO, "posix_spawnp", "a failure, another image, no program"),
]


def failing(build, name, calls, folder):
    return {"LD_PRELOAD": build.program("fail_calls.so"), "FAIL_PROGRAM": name, "FAIL_CALLS": calls,
            "FAIL_LOG": folder / "failed"}


def each_failure(run, folder, call, error):
    """Yields the results of the runs in which the first call fails, the second call, ... until none is left."""
    for number in range(1, 1000):
        (folder / "failed").unlink(missing_ok=True)
        ended = run(f"{call}:{number}:{error}")
        if not (folder / "failed").exists():
            break
        yield ended
    assert number > 1, f"{call} is never called"


def lay_out(workspace, game):
    for path in [*workspace.root.rglob("*.[!T]*")]:  # all files of an earlier run except the template
        path.unlink()
    for name, contents in GAMES[game].items():
        (workspace.game / name).write_bytes(contents)
    for tool, script in TOOLS.items():
        workspace.tool(tool).write_text(f"#!/bin/sh\n{script}\n")
    workspace.cdi.write_bytes(b"older")


def run_failing(workspace, calls):
    return workspace.make_image(env=failing(workspace.build, "marrowvan", calls, workspace.root))


def make_image(workspace, game, calls):
    lay_out(workspace, game)
    return run_failing(workspace, calls + (f" renameat2:0:{EXDEV}" if "other volume" in game else ""))


def name_failure(call, error):
    return f"{call} fails with {errorcode[error]}" if error else f"{call} transfers one byte"


@pytest.mark.parametrize("game, error, call, broken_promises", [
    case(f"{game}, {name_failure(call, error)}", game, error, call, broken)
    for game, error, calls, broken in RUNS for call in calls.split()])
def test_run_keeps_its_promises(workspace, game, error, call, broken_promises):
    assert make_image(workspace, game, "none:1:1") == (0, "")
    right, root, broken = workspace.cdi.read_bytes(), workspace.root, set()
    for status, said in each_failure(lambda calls: make_image(workspace, game, calls), root, call, error):
        image = workspace.cdi.exists() and workspace.cdi.read_bytes()
        promises = {
            "a crash": status == 0 or status == 1 and said != "",
            "a failure": status == 0,
            "another image": image == right or status == 1 and (image == b"older" or "cdi4dc" in said),
            "no program": any(p.read_bytes().upper().endswith(PLAIN.upper()) for p in root.rglob("*.*")),
            "no IP.BIN": "ELF" in game or [BODY] == [p.read_bytes()[112:] for p in root.rglob("IP.BIN")],
        }
        broken |= {promise for promise, kept in promises.items() if not kept}
    assert ", ".join(sorted(broken)) == broken_promises


@pytest.mark.parametrize("game", ["ELF file", "binary"])
@pytest.mark.parametrize("rename_error", [
    case("program on another volume", EXDEV),
    *(case(name_failure("renameat2", error), error) for error in (EINVAL, ENOSYS, EOPNOTSUPP))])
def test_two_runs_on_a_volume_that_refuses_modes_and_times(workspace, game, rename_error):
    lay_out(workspace, game)
    refusals = f"chmod:0:{EPERM} fchmod:0:{EPERM} futimens:0:{EOPNOTSUPP} renameat2:0:{rename_error}"
    for _ in range(2):
        assert run_failing(workspace, refusals) == (0, "")
        assert workspace.cdi.read_bytes().upper().endswith(PLAIN.upper()[96:])
        workspace.cdi.unlink()
        assert "IP.BIN" in names(workspace.game) and "IP.BIN" not in names(workspace.app)


@pytest.mark.parametrize("call", [
    case("by rename", "renameat2:{0}"), case("by copy", f"renameat2:0:{EXDEV} fsync:{{0}}")])
@pytest.mark.parametrize("move", [case("first move", 1), case("second move", 2)])
def test_signal_during_a_move_of_the_boot_sector_leaves_it_in_the_folder(workspace, move, call):
    lay_out(workspace, "ELF file")
    status, said = run_failing(workspace, call.format(move) + f":-{SIGINT}")
    assert status == 1 and said.startswith("Unknown error: mkisofs failed!")
    assert "IP.BIN" in names(workspace.game) and "IP.BIN" not in names(workspace.app)
    assert workspace.iso.exists() == (move == 2), "mkisofs is not started after the signal"
    assert workspace.make_image() == (0, "")


def test_signal_before_the_tool_has_a_process_number_ends_the_tool(workspace):
    lay_out(workspace, "ELF file")
    workspace.tool("mkisofs").write_text("#!/bin/sh\nexec /bin/sleep 300\n")
    status, said = run_failing(workspace, f"posix_spawnp:3:-{SIGTERM}")
    assert status == 1 and said.startswith("Unknown error: mkisofs failed!")


def test_message_is_complete_although_writing_it_is_interrupted(workspace):
    calls = f"write:1:{EDQUOT} write:2:{EINTR} write:0:0"
    assert make_image(workspace, "ELF file", calls) == (1, "Run-time error: '61'\n\nDisk full\n")


TOOL_CALLS = {"all tools": [
    (EIO, "fstat open pread pwrite rename", {1}),
    (EIO, "close", {0, 1}),  # of the file that is read, of the one that is written
    (EIO, "realpath stat", {0}),
    (EINTR, "pread pwrite", {0}),
    (0, "pread pwrite", {0}),
    (ENOMEM, "malloc", {0, 1}),
], "cdi4dc": [
    (EIO, "fallocate ftruncate pthread_create", {1}),
    (EINTR, "fallocate", {0}),
    (EOPNOTSUPP, "fallocate", {0}),
    (ENOSYS, "fallocate", {0}),
]}


@pytest.mark.parametrize("tool, error, call, expected", [
    pytest.param(tool, error, call, statuses, id=f"{tool}, {call}, {errorcode.get(error, 'one byte')}")
    for tool in ("scramble", "scramble -d", "cdi4dc") for error, calls, statuses in
    TOOL_CALLS["all tools"] + TOOL_CALLS.get(tool, []) for call in calls.split()])
def test_a_companion_leaves_the_right_file_or_the_older(build, tmp_path, tool, error, call, expected):
    def run(calls):
        out.write_bytes(b"older")
        env = failing(build, name, calls, tmp_path)
        return build.run(name, *options, "in", "out", cwd=tmp_path, env=env)
    name, *options = tool.split()
    out = tmp_path / "out"
    (tmp_path / "in").write_bytes(ISO)
    assert run("none:1:1") == (0, "")
    right, statuses = out.read_bytes(), set()
    for status, said in each_failure(run, tmp_path, call, error):
        statuses.add(status)
        assert out.read_bytes() == (b"older" if status else right)
        reason = "out of memory\n" if error == ENOMEM else ""
        assert said.startswith(f"{name}: {reason}") if status else said == ""
        assert not list(tmp_path.glob(".part-*"))
    assert statuses == expected


@pytest.mark.parametrize("sent, ignored, status, left", [
    pytest.param(SIGINT, [], -SIGINT, [], id="interrupted"),
    pytest.param(SIGTERM, [], -SIGTERM, [], id="terminated"),
    pytest.param(SIGHUP, [], -SIGHUP, [], id="terminal closed"),
    pytest.param(SIGHUP, [SIGHUP], 0, ["out"], id="terminal closed after a start with nohup"),
    pytest.param(SIGKILL, [], -SIGKILL, [".part"], id="killed")])
def test_what_a_companion_leaves_after_a_signal(build, tmp_path, sent, ignored, status, left):
    """The signal arrives while the tool waits for a stopped terminal to show its progress."""
    _, terminal = pty.openpty()
    termios.tcflow(terminal, termios.TCOOFF)
    (tmp_path / "in").write_bytes(ISO)
    process = subprocess.Popen([build.program("cdi4dc"), "in", "out"], cwd=tmp_path, stderr=terminal,
                               env=os.environ | failing(build, "cdi4dc", "pwrite:1:0", tmp_path),
                               preexec_fn=lambda: [signal(number, SIG_IGN) for number in ignored])
    while not (tmp_path / "failed").exists():
        assert process.poll() is None
    process.send_signal(sent)
    termios.tcflow(terminal, termios.TCOON)
    assert process.wait() == status
    assert [name.split("-")[0] for name in names(tmp_path) if name not in ("failed", "in")] == left
