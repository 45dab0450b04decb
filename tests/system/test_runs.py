"""Whole runs of the built executable with recording stand-ins for the outside tools."""

import array
import fcntl
import os
import pty
import re
import signal
import subprocess
import termios

import pytest

from conftest import TOOLS, names

posix_only, windows_only = pytest.mark.posix_only, pytest.mark.windows_only
row = pytest.param

USAGE = ("Marrowvane 0.1\nUsage: marrowvan.exe "
         "[--cdi <dj_file>] [--dir <sb_dir>] [--cdvol <cd_volume>] [--coder <your_name>]\n")
DONE = (0, "")
CANCELLED = (1, USAGE)
PLAIN_CODE = b"PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND"
BUILT = ["1ST_READ.BIN", "IP.BIN"]  # what a whole run leaves in the game folder


def failed(message):
    return 1, message + "\n" + USAGE


def runtime_error(number, description):
    return 1, f"Run-time error: '{number}'\n\n{description}\n"


NO_ACCESS = 1, "Cannot read/write file - Already in use\n"
OBJCOPY_FAILED = failed("Unknown error: sh-objcopy failed!")
SCRAMBLE_FAILED = failed("Unknown error: scramble failed!")
MKISOFS_FAILED = failed("Unknown error: mkisofs failed!")
CDI4DC_FAILED = failed("Unknown error: cdi4dc failed!")
MKISOFS_MISMATCH = failed("Unknown error: mkisofs ISO time mismatch!")
CDI4DC_MISMATCH = failed("Unknown error: cdi4dc CDI time mismatch!")
TOO_LONG_A_NAME = runtime_error(5, "Invalid procedure call or argument")


def noted(desk, line):
    """A command line as its stand-in notes it: to the character on Windows, else item by item."""
    on_windows = desk.build.is_windows
    folders = {"APP": desk.app, "GAME": desk.game, "TEMP": desk.private_temp, "CDI": desk.cdi}
    for name, folder in folders.items():
        line = line.replace(name, str(folder))
    if on_windows:
        return line.replace('"/', '"Z:/').replace("/", "\\")
    items = re.findall(r'"([^"]*)"|([^" ]+)', line.replace(".exe", ""))
    return "".join(f"[{quoted or plain}]" for quoted, plain in items)


def put(place, content):
    """Has a file stand on the desk before the run."""
    return lambda desk: (desk.root / place).write_bytes(content)


def boot_file(name, content):
    """Has the game folder hold this boot file and no other."""
    def prepare(desk):
        (desk.game / "demo.elf").unlink()
        (desk.game / name).write_bytes(content)
    return prepare


def out_of_date(path):
    os.utime(path, (0, 0))


# The tools and their arguments


def test_tools_run_in_their_order_with_their_arguments_to_the_character(desk):
    ended = desk.run("--dir", desk.game, "--cdi", desk.cdi, "--cdvol", "My  Volume")
    assert ended == DONE
    shown = " visible" if desk.build.is_windows else ""
    assert desk.log == [noted(desk, line) + shown for line in (
        '"APP/sh-elf-objcopy.exe" -O binary -R .stack "GAME/demo.elf" "TEMP/1ST_READ_UNSCRAMBLED.BIN"',
        '"APP/scramble.exe" "TEMP/1ST_READ_UNSCRAMBLED.BIN" "GAME/1ST_READ.BIN"',
    )] + [noted(desk, '"APP/mkisofs.exe" -G "APP/IP.BIN" -C 0,11702 -J -l -r -V "My  Volume"'
                ' -o "TEMP/data.iso" "GAME"') + shown + " IP.BIN is here",
          noted(desk, '"APP/cdi4dc.exe" "TEMP/data.iso" "CDI"') + shown]
    assert names(desk.game) == BUILT
    assert desk.cdi.read_text() == "made by cdi4dc"
    assert names(desk.private_temp) == []


def test_an_unscrambled_boot_file_is_scrambled_in_place_with_nothing_shown(desk):
    boot_file("1ST_READ.BIN", PLAIN_CODE)(desk)
    assert desk.make_image() == DONE
    line = noted(desk, '"APP/scramble.exe" "GAME/1ST_READ.BIN" "GAME/1ST_READ_scrambled.bin"')
    assert desk.log[0] == line + (" hidden" if desk.build.is_windows else "")
    assert (desk.game / "1ST_READ.BIN").read_text() == "made by scramble"
    assert names(desk.game) == BUILT


@pytest.mark.parametrize("behind_the_folder, volume", [
    row("", "my game", id="the name of the folder"),
    row("/", "", id="no name behind the separator", marks=posix_only),
])
def test_volume_without_an_option(desk, behind_the_folder, volume):
    assert desk.run("--dir", f"{desk.build.host_path(desk.game)}{behind_the_folder}", "--cdi", desk.cdi) == DONE
    assert re.search(r'-V\]? ?["\[](.*?)["\]]', desk.log[2])[1] == volume


@posix_only
@pytest.mark.parametrize("boot_name, speaker, said", [
    row("demo.elf", "scramble", "scramble speaks\nscramble complains\n", id="shown: a tool of an ELF file"),
    row("demo.elf", "mkisofs", "mkisofs speaks\nmkisofs complains\n", id="shown: mkisofs"),
    row("1ST_READ.BIN", "scramble", "", id="hidden: the scrambling in place"),
])
def test_output_of_tools(desk, boot_name, speaker, said):
    boot_file(boot_name, b"\x7FELF" if boot_name == "demo.elf" else PLAIN_CODE)(desk)
    desk.does(speaker, "speak")
    assert desk.make_image() == (0, said)


# Tools that fail

FAILURES = {  # a tool: the end without its output, what stays in the game folder, whether the older image does
    "sh-elf-objcopy": (OBJCOPY_FAILED, ["demo.elf"], True),
    "scramble": (SCRAMBLE_FAILED, [], True),
    "mkisofs": (MKISOFS_FAILED, BUILT, True),
    "cdi4dc": (CDI4DC_FAILED, BUILT, False),
}


@pytest.mark.parametrize("tool, behaviour, ends, left, older_stays", [
    *(row(tool, "missing", *FAILURES[tool], id=f"{tool} is missing") for tool in TOOLS),
    *(row(tool, "nothing", *FAILURES[tool], id=f"{tool} does nothing") for tool in TOOLS),
    *(row(tool, "interrupt", *FAILURES[tool], id=f"{tool} is interrupted", marks=posix_only) for tool in TOOLS),
    *(row(tool, "exit1", DONE, BUILT, False, id=f"{tool} complains behind its work") for tool in TOOLS),
    row("mkisofs", "half", DONE, BUILT, False, id="mkisofs writes half an output, then dies"),
    row("mkisofs", "old", MKISOFS_MISMATCH, BUILT, True, id="mkisofs makes an image of yesterday"),
    row("cdi4dc", "old", CDI4DC_MISMATCH, BUILT, False, id="cdi4dc makes an image of yesterday"),
])
def test_a_tool_that_does_not_do_its_work(desk, tool, behaviour, ends, left, older_stays):
    desk.does(tool, behaviour)
    if behaviour == "missing":
        desk.tool(tool).unlink()
    assert desk.make_image() == ends
    assert names(desk.game) == left
    assert (desk.cdi.exists() and desk.cdi.read_text() == "older") == older_stays
    assert not (desk.app / "IP.BIN").exists()


@pytest.mark.parametrize("removable, tool, ends", [
    row(True, "mkisofs", MKISOFS_FAILED, id="data.iso is removed before mkisofs runs"),
    row(True, "cdi4dc", CDI4DC_FAILED, id="the image is removed before cdi4dc runs"),
    row(False, "mkisofs", MKISOFS_MISMATCH, id="data.iso that mkisofs does not replace", marks=posix_only),
    row(False, "cdi4dc", CDI4DC_MISMATCH, id="an image that cdi4dc does not replace", marks=posix_only),
])
def test_an_older_output_does_not_pass_for_a_new_one(desk, removable, tool, ends):
    desk.private_temp.mkdir(0o700, exist_ok=True)
    older = desk.cdi if tool == "cdi4dc" else desk.private_temp / "data.iso"
    older.unlink(missing_ok=True)
    older.touch() if removable else older.mkdir()
    out_of_date(older)
    desk.does(tool, "nothing")
    assert desk.make_image() == ends
    assert older.exists() != removable


def test_an_elf_file_does_not_pass_for_its_scrambled_form(desk):
    boot_file("1ST_READ.BIN", b"\x7FELF")(desk)
    desk.does("scramble", "nothing")
    assert desk.make_image() == SCRAMBLE_FAILED


# Input


@pytest.mark.parametrize("arguments, ends", [
    row(["--help", "--dir", "{game}", "--cdi", "{cdi}"], (0, USAGE), id="a call for help"),
    row(["--dir", "{root}none", "--cdi", "{cdi}"], CANCELLED, id="no such folder"),
    row(["--dir", "{root}a--b", "--cdi", "{cdi}"], CANCELLED, id="dashes in a path"),
    row(["--dir", "{root}temp", "--cdi", "{cdi}"], failed("The DC bootfile could not be located!"), id="no file"),
    row(["--dir", "{game}demo.elf", "--cdi", "{cdi}"], failed("The DC bootfile could not be located!"), id="a file"),
    row([], CANCELLED, id="no options", marks=posix_only),
    row(["--dir", "{game}"], CANCELLED, id="no image", marks=posix_only),
])
def test_targets_that_cannot_be_used(desk, arguments, ends):
    (desk.root / "a--b").mkdir()
    places = {"root": desk.build.host_path(desk.root / "x")[:-1], "game": desk.build.host_path(desk.game / "x")[:-1],
              "cdi": desk.build.host_path(desk.cdi)}
    assert desk.run(*(argument.format(**places) for argument in arguments)) == ends
    assert names(desk.game) == ["demo.elf"] and desk.log == []


def access(place, mode):
    return lambda desk: (desk.root / place).chmod(mode)


def both(*steps):
    return lambda desk: [step(desk) for step in steps]


@pytest.mark.parametrize("prepare, ends, left", [
    row(boot_file("demo.elf", b"plain"), DONE, ["IP.BIN", "demo.elf"], id="an .elf that is none"),
    row(boot_file("1ST_READ.BIN", b""), runtime_error(9, "Subscript out of range"), ["1ST_READ.BIN"],
        id="a boot file of zero bytes"),
    row(boot_file("sixteen-long.elf", b"x"), DONE, ["IP.BIN", "sixteen-long.elf"], id="a name of 16 characters"),
    row(boot_file("seventeen-long.elf", b"x"), TOO_LONG_A_NAME, ["seventeen-long.elf"], id="a name of 17"),
    row(both(boot_file("seventeen-long.elf", b"x"), put("my game/IP.BIN", b"i" * 32768)), TOO_LONG_A_NAME,
        ["IP.BIN", "seventeen-long.elf"], id="a name of 17 beside an IP.BIN"),
    row(both(boot_file("GAME", PLAIN_CODE), put("my game/IP.BIN", b"i" * 96 + b"GAME".ljust(16, b"\0"))), DONE,
        ["GAME", "IP.BIN"], id="NULs behind the name in IP.BIN"),
    row(both(put("my game/IP.BIN", b"i" * 112), access("my game/IP.BIN", 0o444)), NO_ACCESS,
        ["IP.BIN", "demo.elf"], id="a read-only IP.BIN"),
    row(put("app/IP.BIN", b"left"), runtime_error(58, "File already exists"), BUILT, id="IP.BIN beside the program"),
    row(both(put("my game/1ST_READ.BIN", b"x"), lambda desk: (desk.game / "IP.BIN").mkdir()), NO_ACCESS, BUILT,
        id="an IP.BIN that is a folder"),
    row(lambda desk: desk.cdi.parent.rename(desk.root / "gone"), CDI4DC_FAILED, BUILT, id="no folder for the image"),
    row(access("my game/demo.elf", 0o400), NO_ACCESS, ["demo.elf"], id="a read-only boot file"),
    row(access("my game", 0o555), SCRAMBLE_FAILED, ["demo.elf"], id="a read-only folder", marks=posix_only),
    row(both(put("app/log", b""), access("app", 0o555)), NO_ACCESS, BUILT, id="a read-only folder of the program",
        marks=posix_only),
    row(both(put("app/log", b""), lambda desk: (desk.app / "IP.TMPL").unlink(), access("app", 0o555)), NO_ACCESS,
        ["1ST_READ.BIN"], id="the same without a template", marks=posix_only),
    row(lambda desk: (desk.game / "IP.BIN").symlink_to("/dev/full"), runtime_error(61, "Disk full"), BUILT,
        id="a full disk", marks=posix_only),
    row(access("temp", 0o555), OBJCOPY_FAILED, ["demo.elf"], id="no temporary folder", marks=posix_only),
    row(lambda desk: desk.private_temp.mkdir(0o750), OBJCOPY_FAILED, ["demo.elf"],
        id="a temporary folder that others read", marks=posix_only),
])
def test_bad_input(desk, prepare, ends, left):
    prepare(desk)
    assert desk.make_image() == ends
    assert names(desk.game) == left


@windows_only
def test_a_boot_file_that_another_program_holds(desk):
    lock = {"PRESS_OK_LOCK": desk.build.host_path(desk.game / "demo.elf")}
    assert desk.make_image(env=lock) == (1, "File locked by another application\n")


# Paths


@pytest.mark.parametrize("name", [
    row("a b  c", id="blanks"),
    row("caf\xE9", id="a letter of the code page"),
    row("a\\b", id="a backslash", marks=posix_only),
    row("a-b'$x&;*?", id="what a shell reads", marks=posix_only),
    row("\u65E5", id="a letter of no code page", marks=posix_only),
    row("\udcff\udcfe\udc80 x", id="bytes that are no text", marks=posix_only),
])
def test_paths_of_all_kinds(desk, name):
    desk.game = desk.game.rename(desk.root / name)
    desk.cdi = desk.cdi.with_name(name + ".cdi")
    assert desk.make_image() == DONE
    assert desk.cdi.read_text() == "made by cdi4dc"
    in_code_page = name.encode("cp1252").decode(errors="surrogateescape") if desk.build.is_windows else name
    assert re.search(r'-V\]? ?["\[](.*?)["\]]', desk.log[2])[1] == in_code_page


@posix_only
def test_the_program_on_another_volume_than_the_game(desk, new_desk):
    other = new_desk("/dev/shm")
    assert other.root.stat().st_dev != desk.root.stat().st_dev
    desk.ordinary_user()
    assert other.run("--dir", desk.game, "--cdi", desk.cdi) == DONE
    assert (desk.game / "IP.BIN").stat().st_size == 32768


@posix_only
def test_the_path_of_the_program_holds_no_options(desk):
    desk.app = desk.app.rename(desk.root / "x--help--dir nowhere")
    desk.marrowvan = desk.app / "marrowvan"
    assert desk.make_image() == DONE


# Whoever starts it


def start(desk, *arguments, **how):
    command = desk.build.command(desk.marrowvan, *arguments)
    environment = desk.build.environment(desk.environment())
    return subprocess.Popen(command, env=environment, **desk.ordinary_user(), **how)


@posix_only
def test_a_message_never_goes_into_a_file(desk):
    boot_file("1ST_READ.BIN", b"")(desk)

    def close_all():
        os.closerange(0, 3)
    assert start(desk, "--dir", desk.game, "--cdi", "x", preexec_fn=close_all).wait() == 1
    assert (desk.game / "1ST_READ.BIN").read_bytes() == b""


@posix_only
@pytest.mark.parametrize("arguments, status", [row(["--help"], 0, id="help"), row(["--dir", "none"], 1, id="a failure")])
def test_nobody_reads_the_messages(desk, arguments, status):
    reader, writer = os.pipe()
    os.close(reader)
    ended = start(desk, *arguments, stdin=subprocess.DEVNULL, stderr=writer).wait()
    os.close(writer)
    assert ended == status


@posix_only
@pytest.mark.parametrize("ignored, tool_goes_on, ends", [
    row(True, True, DONE, id="ignored by the starter: neither the run nor the tool notices"),
    row(False, False, MKISOFS_FAILED, id="otherwise it ends the tool, and the run behind it"),
])
def test_an_interrupt(desk, ignored, tool_goes_on, ends):
    desk.does("mkisofs", "interrupt")
    action = signal.SIG_IGN if ignored else signal.SIG_DFL
    assert desk.make_image(preexec_fn=lambda: signal.signal(signal.SIGINT, action)) == ends
    assert ("mkisofs goes on" in desk.log) == tool_goes_on


class Terminal:
    """The user's terminal, on which something was typed before the program asks."""

    def __init__(self, typed):
        self.user, self.program = pty.openpty()
        self.type(typed)

    def type(self, text):
        os.write(self.user, text.encode())

    def start(self, desk, *arguments):
        return start(desk, *arguments, stdin=self.program, stdout=self.program, stderr=self.program)

    def shown(self):
        return os.read(self.user, 65536).decode()

    def unread(self):
        count = array.array("i", [0])
        fcntl.ioctl(self.program, termios.FIONREAD, count)
        return count[0]


@posix_only
@pytest.mark.parametrize("typed, questions, status", [
    row("\n" "\n", 1, 1, id="an empty line is a cancel, and the usage message waits for Enter"),
    row("\x04" "\n", 1, 1, id="the end of input is a cancel"),
    row("{game}\n" "\n" "\n", 2, 1, id="an empty line cancels the second question"),
    row("{game}\n" "{cdi}\n", 2, 0, id="two answers"),
])
def test_questions_at_a_terminal(desk, typed, questions, status):
    terminal = Terminal(typed.format(game=desk.game, cdi=desk.cdi))
    assert terminal.start(desk).wait() == status
    shown = terminal.shown()
    both_questions = ("Choose the folder to selfboot... ", "Save your DiscJuggler file as... ")
    assert [question in shown for question in both_questions] == [True, questions == 2]
    assert ("Usage: " in shown) == (status == 1)
    assert terminal.unread() == 0
    assert desk.cdi.read_text() == ("made by cdi4dc" if status == 0 else "older")


@posix_only
def test_an_interrupt_while_no_tool_runs_ends_the_run(desk):
    desk.does("scramble", "nothing")
    terminal = Terminal("")
    process = terminal.start(desk, "--dir", desk.game, "--cdi", desk.cdi)
    shown = ""
    while "scramble failed!" not in shown:
        shown += terminal.shown()
    process.send_signal(signal.SIGINT)
    terminal.type("\n\n")
    assert process.wait() == -signal.SIGINT


# At a display

ZENITY = """#!/bin/sh
for item; do printf '[%s]' "$item"; done >> "$NOTES"
echo >> "$NOTES"
case "$*" in *--directory*) printf '%s\\n' "$FOLDER" ;; *--save*) printf '%s\\n' "$IMAGE" ;; esac
exit $STATUS
"""


@pytest.fixture
def zenity(desk):
    """Answers the questions of a run at a display, and notes what it was asked to show."""
    (desk.root / "zenity").write_text(ZENITY)
    (desk.root / "zenity").chmod(0o755)
    notes = desk.root / "notes"

    def run(*arguments, status=0, folder=desk.game, image=desk.cdi, **how):
        environment = {"DISPLAY": ":none", "PATH": f"{desk.root}:/usr/bin:/bin", "NOTES": notes, "STATUS": status,
                       "FOLDER": folder, "IMAGE": image}
        return desk.run(*arguments, env=environment, **how), notes.read_text().split("]\n")[:-1]
    return run


ASK_FOLDER = "[--file-selection][--title=Choose the folder to selfboot...][--directory"
ASK_FILE = ("[--file-selection][--title=Save your DiscJuggler file as...][--save"
            "][--file-filter=DiscJuggler (*.cdi) | *.cdi][--file-filter=All files (*.*) | *")
SHOW_USAGE = "[--info][--no-markup][--title=][--text=" + USAGE[:-1]


@posix_only
def test_answers_given_to_zenity(desk, zenity):
    assert zenity() == (DONE, [ASK_FOLDER, ASK_FILE])
    assert desk.cdi.read_text() == "made by cdi4dc"


@posix_only
def test_children_that_the_starter_ignored(zenity):
    ended, _ = zenity(preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN))
    assert ended == DONE


@posix_only
def test_a_cancel_in_zenity(desk, zenity):
    ended, notes = zenity(status=1)
    assert ended == CANCELLED and notes == [ASK_FOLDER, SHOW_USAGE]
    assert names(desk.game) == ["demo.elf"]


@posix_only
def test_messages_in_zenity_are_no_markup(desk, zenity):
    desk.marrowvan = desk.marrowvan.rename(desk.app / "<b>&amp")
    ended, notes = zenity("--dir", desk.temp, "--cdi", desk.cdi)
    assert ended == (1, "")
    assert notes == ["[--error][--no-markup][--title=][--text=The DC bootfile could not be located!",
                     SHOW_USAGE.replace("marrowvan.exe", "<b>&amp.exe")]
