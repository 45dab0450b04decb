"""Whatever single call of the C library fails in a run, the run keeps its promises about the user's files."""

import errno
import itertools
import shutil
from errno import EINTR, EIO

import pytest

SHORT = 0  # no error: the call moves one byte instead of many
PLAIN = b"0123456789abcdefghijklmnopqrstuvwxyz" + bytes(n * n % 251 for n in range(5000))
ELF = b"\x7FELF" + PLAIN
GAMES = {"ELF file": {"demo.elf": ELF},
         "ELF file, older program": {"demo.elf": ELF, "1ST_READ.BIN": b"older"},
         "binary, other volume": {"game.bin": PLAIN, "IP.BIN": b"u" * 96 + b"game.bin".ljust(16) + b"u" * 32656}}
TOOLS = {"sh-elf-objcopy": '/bin/cp "$5" "$6"', "scramble": '/usr/bin/tr a-z A-Z < "$1" > "$2"',
         "mkisofs": '/usr/bin/tail -q -c +97 "$2" "${12}"/* > "${11}"',  # the release date lies in front of that
         "cdi4dc": '/bin/cp "$1" "$2"'}
ANY_GAME = "chmod close fopen64 fstat lseek lstat mkdir open opendir posix_spawnp read readdir readlink write"
RUNS = [  # no failing waitpid: the run would overtake its tool, and only EINTR can make one fail
    ("ELF file", EIO, f"{ANY_GAME} fstatat renameat2 stat", ""),
    ("binary, other volume", EIO, f"{ANY_GAME} fchmod fsync futimens unlink", ""),
    ("binary, other volume", EINTR, "close read waitpid write", ""),
    ("binary, other volume", SHORT, "read write", ""),
    # These break promises, since the steps are prescribed: what cannot be deleted stays, what cannot be
    # looked at counts as missing, and an older file at its place passes for what a tool should have made.
    ("ELF file", EIO, "unlink", "another image"),
    ("binary, other volume", EIO, "stat", "another image, no IP.BIN of the user's"),
    ("ELF file, older program", EIO, "fstatat opendir readdir", "another image"),
    ("ELF file, older program", EIO, "posix_spawnp", "another image, no program"),
]
COMPANION_RUNS = [
    (EIO, "fallocate fstat ftruncate open pread pthread_create pwrite rename", {1}),
    (EIO, "close", {0, 1}),  # of the file that is read, of the one that is written
    (EIO, "realpath stat unlink", {0}),
    (EINTR, "fallocate pread pwrite", {0}),
    (SHORT, "pread pwrite", {0}),
    (errno.EOPNOTSUPP, "fallocate", {0}),
]
MESSAGES = [
    ("open:0", "ENOENT ENOTDIR", "Run-time error: '76'\n\nPath not found\n"),
    ("open:0", "EMFILE ENFILE", "Run-time error: '67'\n\nToo many files\n"),
    ("open:0", "EBUSY ETXTBSY EAGAIN", "File locked by another application\n"),
    ("open:0", "EACCES EPERM EROFS EISDIR", "Cannot read/write file - Already in use\n"),
    ("write:1", "ENOSPC EDQUOT", "Run-time error: '61'\n\nDisk full\n"),
    ("close:0", "EIO", "Run-time error: '57'\n\nDevice I/O error\n"),
]


def failing(build, name, calls, log):
    return dict(LD_PRELOAD=build.program("fail_calls.so"), FAIL_PROGRAM=name, FAIL_CALLS=calls, FAIL_LOG=log)


def each_failure(call, error, log, run):
    """The ends of the runs in which the first call fails, the second, ... until there is no such call."""
    for number in itertools.count(1):
        log.write_text("")
        ended = run(f"{call}:{number}:{error}")
        if call not in log.read_text().split():
            break
        yield ended
    assert number > 1, f"{call} is never called"


def make_image(desk, game, calls):
    for folder in (desk.game, desk.temp, desk.cdi.parent):
        shutil.rmtree(folder)
        folder.mkdir()
    (desk.app / "IP.BIN").unlink(missing_ok=True)
    for name, contents in GAMES[game].items():
        (desk.game / name).write_bytes(contents)
    for tool, script in TOOLS.items():
        desk.tool(tool).write_text(f"#!/bin/sh\n{script}\n")
    desk.cdi.write_bytes(b"older")
    always = f" renameat2:0:{errno.EXDEV}" if "other volume" in game else ""
    return desk.make_image(env=failing(desk.build, "marrowvan", calls + always, desk.root / "failed"))


def files(*folders):
    return [path.read_bytes() for folder in folders for path in folder.rglob("*") if path.is_file()]


@pytest.mark.parametrize("game, error, call, expected", [
    (game, error, call, broken) for game, error, calls, broken in RUNS for call in calls.split()])
def test_a_run_keeps_its_promises(desk, game, error, call, expected):
    def run(calls):
        return make_image(desk, game, calls)
    assert run("none:1:1") == (0, "")
    right, forms = desk.cdi.read_bytes(), [ELF, ELF.upper(), PLAIN, PLAIN.upper()]
    broken = set()
    for status, said in each_failure(call, error, desk.root / "failed", run):
        image = b"".join(files(desk.cdi.parent))
        promises = {
            "a crash": status in (0, 1),
            "a failure": status == 0 or error == EIO,
            "no word of it": status == 0 or said != "",
            "another image": image == right or status == 1 and (image == b"older" or "cdi4dc" in said),
            "no program": any(contents in forms for contents in files(desk.game, desk.temp)),
            "no IP.BIN of the user's": "IP.BIN" not in GAMES[game] or b"u" * 32752 in (
                contents[:96] + contents[112:] for contents in files(desk.game, desk.app)),
        }
        broken |= {promise for promise, kept in promises.items() if not kept}
    assert ", ".join(sorted(broken)) == expected


@pytest.mark.parametrize("call, error, said", [
    (call, getattr(errno, name), said) for call, names, said in MESSAGES for name in names.split()])
def test_an_error_is_told_although_the_telling_is_interrupted(desk, call, error, said):
    assert make_image(desk, "ELF file", f"{call}:{error} write:2:{EINTR} write:0:{SHORT}") == (1, said)


@pytest.mark.parametrize("error, call, expected", [
    (error, call, statuses) for error, calls, statuses in COMPANION_RUNS for call in calls.split()])
@pytest.mark.parametrize("tool", ["scramble", "scramble -d", "cdi4dc"])
def test_a_companion_leaves_the_right_file_or_the_older_one(build, tmp_path, tool, error, call, expected):
    def run(calls):
        out.write_bytes(b"older")
        return build.run(program, *options, "in", "out", cwd=tmp_path, env=failing(build, program, calls, log))
    program, *options = tool.split()
    log, out = tmp_path / "failed", tmp_path / "out"
    (tmp_path / "in").write_bytes((b"\0" * 32768 + b"\1CD001\1" + PLAIN * 90)[:237 * 2048])
    assert run("none:1:1") == (0, "")
    right, statuses = out.read_bytes(), set()
    for status, said in each_failure(call, error, log, run):
        statuses.add(status)
        assert out.read_bytes() == (b"older" if status else right)
        assert said.startswith(f"{program}: ") if status else said == ""
        assert not list(tmp_path.glob(".part-*"))
    assert statuses == expected
