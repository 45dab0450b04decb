"""Whole runs of the built executable, with recording stand-ins for the outside tools."""

import os
import pty
import re
import signal
import subprocess

import pytest

from conftest import TOOLS, names

posix_only = pytest.mark.posix_only

USAGE = ("Marrowvane 0.1\nUsage: marrowvan.exe "
         "[--cdi <dj_file>] [--dir <sb_dir>] [--cdvol <cd_volume>] [--coder <your_name>]\n")
DONE = (0, "")
CANCELLED = (1, USAGE)
NOT_LOCATED = (1, "The DC bootfile could not be located!\n" + USAGE)
FAILED = {tool: (1, f"Unknown error: {tool.removeprefix('sh-elf-')} failed!\n" + USAGE) for tool in TOOLS}
FAILED["sh-elf-objcopy"] = (1, "Unknown error: sh-objcopy failed!\n" + USAGE)
OLD_ISO = (1, "Unknown error: mkisofs ISO time mismatch!\n" + USAGE)
OLD_CDI = (1, "Unknown error: cdi4dc CDI time mismatch!\n" + USAGE)
NO_ACCESS = (1, "Cannot read/write file - Already in use\n")
LOCKED = (1, "File locked by another application\n")
TOO_LONG = (1, "Run-time error: '5'\n\nInvalid procedure call or argument\n")
EMPTY = (1, "Run-time error: '9'\n\nSubscript out of range\n")
IN_THE_WAY = (1, "Run-time error: '58'\n\nFile already exists\n")
DISK_FULL = (1, "Run-time error: '61'\n\nDisk full\n")

ELF, PLAIN_CODE = b"\x7FELF", b"PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND"
BUILT = "1ST_READ.BIN IP.BIN"  # what a whole run leaves in the game folder


def row(sentence, *values, marks=()):
    return pytest.param(*values, id=sentence, marks=marks)


def posix_row(sentence, *values):
    return row(sentence, *values, marks=posix_only)


# What stands there before a run


def both(*steps):
    return lambda desk: [step(desk) for step in steps]


def does(tool, behaviour):
    return lambda desk: desk.does(tool, behaviour)


def put(place, content, mode=0o644):
    return lambda desk: ((desk.root / place).write_bytes(content), (desk.root / place).chmod(mode))


def boot_file(name, content):
    return both(gone("my game/demo.elf"), put("my game/" + name, content))


def gone(place):
    return lambda desk: (desk.root / place).rename(desk.root / "gone")


def access(place, mode):
    return lambda desk: (desk.root / place).chmod(mode)


def old_folder(desk, path):
    """A folder cannot be removed as a file, and so stays where a tool should write."""
    path.unlink()
    path.mkdir()
    os.utime(path, (0, 0))


@pytest.mark.parametrize("prepare, ends, left", [
    *(row(f"{tool} does nothing", does(tool, "nothing"), FAILED[tool], left)
      for tool, left in zip(TOOLS, ("demo.elf", "", BUILT, BUILT))),
    *(posix_row(f"{tool} is interrupted", does(tool, "interrupt"), FAILED[tool], left)
      for tool, left in zip(TOOLS, ("demo.elf", "1ST_READ.BIN", BUILT, BUILT))),
    row("scramble is missing", lambda desk: desk.tool("scramble").unlink(), FAILED["scramble"], ""),
    row("mkisofs writes half an image and is killed", does("mkisofs", "half"), DONE, BUILT),
    row("mkisofs complains behind its work", does("mkisofs", "exit1"), DONE, BUILT),
    row("mkisofs makes an image of yesterday", does("mkisofs", "old"), OLD_ISO, BUILT),
    row("cdi4dc makes an image of yesterday", does("cdi4dc", "old"), OLD_CDI, BUILT),
    posix_row("an old data.iso that mkisofs does not replace",
              both(does("mkisofs", "nothing"), lambda desk: old_folder(desk, desk.iso)), OLD_ISO, BUILT),
    posix_row("an old image that cdi4dc does not replace",
              both(does("cdi4dc", "nothing"), lambda desk: old_folder(desk, desk.cdi)), OLD_CDI, BUILT),
    row("an ELF file under the name of its scrambled form",
        both(boot_file("1ST_READ.BIN", ELF), does("scramble", "nothing")), FAILED["scramble"], ""),
    row("an .elf that is none", boot_file("demo.elf", b"plain"), DONE, "IP.BIN demo.elf"),
    row("a boot file of zero bytes", boot_file("1ST_READ.BIN", b""), EMPTY, "1ST_READ.BIN"),
    row("a name of 16 characters", boot_file("sixteen-long.elf", b"x"), DONE, "IP.BIN sixteen-long.elf"),
    row("a name of 17", boot_file("seventeen-long.elf", b"x"), TOO_LONG, "seventeen-long.elf"),
    row("NULs behind the name in IP.BIN",
        both(boot_file("GAME", PLAIN_CODE), put("my game/IP.BIN", b"i" * 96 + b"GAME".ljust(16, b"\0"))),
        DONE, "GAME IP.BIN"),
    row("a read-only IP.BIN", put("my game/IP.BIN", b"i" * 112, 0o444), NO_ACCESS, "IP.BIN demo.elf"),
    row("an IP.BIN beside the program", put("app/IP.BIN", b"left"), IN_THE_WAY, BUILT),
    row("no folder for the image", gone("out"), FAILED["cdi4dc"], BUILT),
    row("a read-only boot file", access("my game/demo.elf", 0o400), NO_ACCESS, "demo.elf"),
    posix_row("a read-only folder", access("my game", 0o555), FAILED["scramble"], "demo.elf"),
    posix_row("a read-only program folder", access("app", 0o555), NO_ACCESS, BUILT),
    posix_row("the same without a template", both(gone("app/IP.TMPL"), access("app", 0o555)), NO_ACCESS,
              "1ST_READ.BIN"),
    posix_row("a full disk", lambda desk: (desk.game / "IP.BIN").symlink_to("/dev/full"), DISK_FULL, BUILT),
    posix_row("a temporary folder that others read", lambda desk: desk.iso.parent.chmod(0o750),
              FAILED["sh-elf-objcopy"], "demo.elf"),
])
def test_a_run(desk, prepare, ends, left):
    prepare(desk)
    assert desk.make_image() == ends
    assert names(desk.game) == left.split()
    if ends == DONE:
        assert desk.cdi.read_text() == "made by cdi4dc"
    elif ends not in (FAILED["cdi4dc"], OLD_CDI):
        assert desk.cdi.read_text() == "older"
    assert ends == IN_THE_WAY or not (desk.app / "IP.BIN").exists()


@pytest.mark.windows_only
def test_a_boot_file_that_another_program_holds(desk):
    assert desk.make_image(env={"PRESS_OK_LOCK": desk.build.host_path(desk.game / "demo.elf")}) == LOCKED


@pytest.mark.parametrize("folder, arguments, ends", [
    row("a call for help", "my game", ["--help"], (0, USAGE)),
    row("no such folder", "none", [], CANCELLED),
    row("a folder without a boot file", "temp", [], NOT_LOCATED),
    row("a file for a folder", "my game/demo.elf", [], NOT_LOCATED),
])
def test_targets_that_cannot_be_used(desk, folder, arguments, ends):
    assert desk.run("--cdi", desk.cdi, *arguments, "--dir", desk.root / folder) == ends
    assert names(desk.game) == ["demo.elf"] and desk.log == []


# The tools' command lines


def noted(desk, line):
    """A command line as its stand-in notes it: to the character on Windows, else item by item."""
    if desk.build.is_windows:
        return line.replace('"/', '"Z:/').replace("/", "\\")
    items = re.findall(r'"([^"]*)"|([^" ]+)', line.replace(".exe", ""))
    return "".join(f"[{quoted or plain}]" for quoted, plain in items)


def test_the_tools_run_in_their_order_with_their_arguments_to_the_character(desk):
    app, game, temp = desk.app, desk.game, desk.iso.parent
    shown = " visible" if desk.build.is_windows else ""
    assert desk.run("--dir", game, "--cdi", desk.cdi, "--cdvol", "My  Volume") == DONE
    assert desk.log == [
        noted(desk, f'"{app}/sh-elf-objcopy.exe" -O binary -R .stack "{game}/demo.elf"'
                    f' "{temp}/1ST_READ_UNSCRAMBLED.BIN"') + shown,
        noted(desk, f'"{app}/scramble.exe" "{temp}/1ST_READ_UNSCRAMBLED.BIN" "{game}/1ST_READ.BIN"') + shown,
        noted(desk, f'"{app}/mkisofs.exe" -G "{app}/IP.BIN" -C 0,11702 -J -l -r -V "My  Volume"'
                    f' -o "{desk.iso}" "{game}"') + shown + " IP.BIN is here",
        noted(desk, f'"{app}/cdi4dc.exe" "{desk.iso}" "{desk.cdi}"') + shown]
    assert names(game) == BUILT.split() and names(temp) == []


def test_scrambling_in_place_is_hidden(desk):
    boot_file("1ST_READ.BIN", PLAIN_CODE)(desk)
    desk.does("scramble", "speak")
    assert desk.make_image() == DONE
    line = f'"{desk.app}/scramble.exe" "{desk.game}/1ST_READ.BIN" "{desk.game}/1ST_READ_scrambled.bin"'
    assert desk.log[0] == noted(desk, line) + (" hidden" if desk.build.is_windows else "")
    assert (desk.game / "1ST_READ.BIN").read_text() == "made by scramble"


@posix_only
@pytest.mark.parametrize("tool", TOOLS)
def test_other_output_of_tools_is_shown(desk, tool):
    desk.does(tool, "speak")
    assert desk.make_image() == (0, f"{tool} speaks\n{tool} complains\n")


@pytest.mark.parametrize("name", [
    row("blanks", "a b  c"),
    row("a letter of the code page", "caf\xE9"),
    posix_row("what a shell reads", "a-b\\'$x&;*?"),
    posix_row("letters of no code page, and bytes of no text", "\u65E5\udcff\udcfe\udc80 x"),
])
def test_paths_of_all_kinds(desk, name):
    desk.game = desk.game.rename(desk.root / name)
    desk.cdi = desk.cdi.with_name(name + ".cdi")
    assert desk.make_image() == DONE
    assert desk.cdi.read_text() == "made by cdi4dc"
    in_code_page = name.replace("\xE9", "\udce9") if desk.build.is_windows else name
    assert re.search(r'-V\]? ?["\[](.*?)["\]]', desk.log[2])[1] == in_code_page


@posix_only
def test_a_program_on_another_volume_in_a_folder_that_reads_like_options(desk, new_desk):
    other = new_desk("/dev/shm")
    assert other.root.stat().st_dev != desk.root.stat().st_dev
    desk.own_it()
    odd_folder = other.app.rename(other.root / "x--help--dir nowhere")
    other.program = odd_folder / "marrowvan"
    assert other.run("--dir", desk.game, "--cdi", desk.cdi) == DONE
    assert (desk.game / "IP.BIN").stat().st_size == 32768


# Whoever starts it


@posix_only
def test_without_open_descriptors_a_message_goes_into_no_file(desk):
    boot_file("1ST_READ.BIN", b"")(desk)
    process = desk.start("--dir", desk.game, "--cdi", "x", preexec_fn=lambda: os.closerange(0, 3))
    assert process.wait() == 1
    assert (desk.game / "1ST_READ.BIN").read_bytes() == b""


@posix_only
def test_a_message_that_nobody_reads(desk):
    reader, writer = os.pipe()
    os.close(reader)
    assert desk.start("--dir", "none", "--cdi", "x", stdin=subprocess.DEVNULL, stderr=writer).wait() == 1


@posix_only
@pytest.mark.parametrize("action, ends", [
    row("ignored by the starter, and so by the run and the tool", signal.SIG_IGN, DONE),
    row("not ignored", signal.SIG_DFL, FAILED["mkisofs"]),
])
def test_an_interrupt_while_a_tool_runs(desk, action, ends):
    desk.does("mkisofs", "interrupt")
    assert desk.make_image(preexec_fn=lambda: signal.signal(signal.SIGINT, action)) == ends
    assert ("mkisofs goes on" in desk.log) == (action == signal.SIG_IGN)


def start_at_a_terminal(desk, typed, *arguments):
    user, program = pty.openpty()
    os.write(user, typed.encode())
    return user, program, desk.start(*arguments, stdin=program, stdout=program, stderr=program)


@posix_only
def test_an_interrupt_while_no_tool_runs_ends_the_run(desk):
    desk.does("scramble", "nothing")
    user, _, process = start_at_a_terminal(desk, "", "--dir", desk.game, "--cdi", desk.cdi)
    while b"scramble failed!" not in os.read(user, 4096):
        pass
    process.send_signal(signal.SIGINT)
    os.write(user, b"\n\n")
    assert process.wait() == -signal.SIGINT


@posix_only
@pytest.mark.parametrize("typed, status, shown", [
    row("an empty line is a cancel, and the message waits for Enter", "\n\n", 1, ["Choose", "Usage"]),
    row("the end of input is a cancel", "\x04\n", 1, ["Choose", "Usage"]),
    row("an empty line cancels the second question", "{game}\n\n\n", 1, ["Choose", "Save", "Usage"]),
    row("two answers", "{game}\n{cdi}\n", 0, ["Choose", "Save"]),
])
def test_questions_at_a_terminal(desk, typed, status, shown):
    user, program, process = start_at_a_terminal(desk, typed.format(game=desk.game, cdi=desk.cdi))
    assert process.wait() == status
    asked = "(Choose) the folder to selfboot... |(Save) your DiscJuggler file as... |(Usage): "
    assert ["".join(words) for words in re.findall(asked, os.read(user, 65536).decode())] == shown
    os.set_blocking(program, False)
    with pytest.raises(BlockingIOError):
        os.read(program, 1)  # nothing that was typed is left
    assert desk.cdi.read_text() == ("older" if status else "made by cdi4dc")


# At a display

ZENITY = """#!/bin/sh
{ for item; do printf '[%s]' "$item"; done; echo; } >> "$NOTES"
case $* in *--directory*) echo "$FOLDER" ;; *--save*) echo "$IMAGE" ;; esac
exit $STATUS
"""
ASK_FOLDER = "[--file-selection][--title=Choose the folder to selfboot...][--directory"
ASK_FILE = ("[--file-selection][--title=Save your DiscJuggler file as...][--save"
            "][--file-filter=DiscJuggler (*.cdi) | *.cdi][--file-filter=All files (*.*) | *")
TELL_ERROR = "[--error][--no-markup][--title=][--text=" + NOT_LOCATED[1].split("\n")[0]
TELL_USAGE = "[--info][--no-markup][--title=][--text=" + USAGE.strip()


@posix_only
@pytest.mark.parametrize("arguments, status, children, ends, asked", [
    row("two answers", [], 0, signal.SIG_DFL, 0, [ASK_FOLDER, ASK_FILE]),
    row("two answers, children ignored by the starter", [], 0, signal.SIG_IGN, 0, [ASK_FOLDER, ASK_FILE]),
    row("a cancel", [], 1, signal.SIG_DFL, 1, [ASK_FOLDER, TELL_USAGE]),
    row("a failure", ["--cdi", "x", "--dir", "/proc/self"], 0, signal.SIG_DFL, 1, [TELL_ERROR, TELL_USAGE]),
])
def test_a_run_at_a_display(desk, arguments, status, children, ends, asked):
    """The name of the program would be markup if the messages were."""
    desk.program = desk.program.rename(desk.app / "<b>&amp")
    (desk.root / "zenity").write_text(ZENITY)
    (desk.root / "zenity").chmod(0o755)
    notes = desk.root / "notes"
    environment = {"DISPLAY": ":none", "PATH": f"{desk.root}:/usr/bin:/bin", "NOTES": notes, "STATUS": status,
                   "FOLDER": desk.game, "IMAGE": desk.cdi}
    ended = desk.run(*arguments, env=environment, preexec_fn=lambda: signal.signal(signal.SIGCHLD, children))
    assert ended.status == ends
    assert notes.read_text().replace("<b>&amp", "marrowvan").split("]\n") == [*asked, ""]
    assert desk.cdi.read_text() == ("older" if ends else "made by cdi4dc")
