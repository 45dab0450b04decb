"""Whole runs of the built executable, with recording stand-ins for the outside tools."""

import contextlib
import os
import pty
import re
import signal
import subprocess

import pytest

from conftest import TOO_LONG, TOOLS, names

USAGE = ("Marrowvane 0.1\nUsage: marrowvan.exe "
         "[--cdi <dj_file>] [--dir <sb_dir>] [--cdvol <cd_volume>] [--coder <your_name>]\n")
NOT_LOCATED = "The DC bootfile could not be located!\n" + USAGE
NO_ACCESS = "Cannot read/write file - Already in use\n"
BUILT = "1ST_READ.BIN IP.BIN"  # what a whole run leaves in the game folder
PLAIN_CODE = "PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND"
AS_1ST_READ = "rm game/demo.elf; printf '%s' > game/1ST_READ.BIN"
FAILURES = (("sh-elf-objcopy", "sh-objcopy failed!", "demo.elf"), ("scramble", "scramble failed!", ""),
            ("mkisofs", "mkisofs failed!", BUILT), ("cdi4dc", "cdi4dc failed!", BUILT))


def row(sentence, *values, marks=()):
    return pytest.param(*values, id=sentence, marks=marks)


def posix_row(sentence, *values):
    return row(sentence, *values, marks=pytest.mark.posix_only)


def prepare(workspace, script):
    subprocess.run(["sh", "-ec", script], cwd=workspace.root, check=True)


@pytest.mark.parametrize("what_stands_there, said, left", [
    *(row(f"{tool} does nothing", f"echo nothing > app/{tool}.does", *seen) for tool, *seen in FAILURES),
    *(posix_row(f"{tool} is interrupted", f"echo interrupt > app/{tool}.does", *seen)
      for tool, *seen in FAILURES if tool != "scramble"),
    *(posix_row(f"SIG{name} comes for the run while mkisofs works, which gets it as well",
                f"printf '#!/bin/sh\nkill -{name} $PPID; exec /bin/sleep 300' > app/mkisofs",
                "mkisofs failed!", BUILT) for name in ("TERM", "HUP")),
    posix_row("SIGQUIT comes for the run, not for scramble",
              "printf '#!/bin/sh\n: > $2; kill -QUIT $PPID' > app/scramble", "scramble failed!",
              "1ST_READ.BIN"),
    *(posix_row(f"{tool} dies over half of its output, where an older one stands",
                f"echo old > game/1ST_READ.BIN; echo half > app/{tool}.does", said,
                left if left == BUILT else f"1ST_READ.BIN {left}") for tool, said, left in FAILURES),
    row("mkisofs complains behind its work", "echo exit1 > app/mkisofs.does", "", BUILT),
    row("an ISO image of an hour ago", "echo old > app/mkisofs.does", "mkisofs ISO time mismatch!", BUILT),
    row("a .cdi image of an hour ago", "echo old > app/cdi4dc.does", "cdi4dc CDI time mismatch!", BUILT),
    posix_row("an old data.iso that mkisofs does not replace, being a folder",
              "echo nothing > app/mkisofs.does; cd temp/*/*; rm *; mkdir data.iso; touch -d 2001-1-1 *",
              "mkisofs ISO time mismatch!", BUILT),
    posix_row("the program is deleted while mkisofs runs",
              "printf '#!/bin/sh\n/bin/rm \"${0%%/*}/marrowvan\"' > app/mkisofs", "mkisofs failed!", BUILT),
    row("an .elf that is none", "echo plain > game/demo.elf", "", "IP.BIN demo.elf"),
    row("no bytes in 1ST_READ.BIN, although IP.BIN names another file",
        AS_1ST_READ % "" + "; echo > game/GAME; printf '%096dGAME' > game/IP.BIN",
        "Run-time error: '9'\n\nSubscript out of range\n", "1ST_READ.BIN GAME IP.BIN"),
    row("a name of 17 characters", "rm game/demo.elf; echo x > game/seventeen-long.elf",
        "Run-time error: '5'\n\nInvalid procedure call or argument\n", "seventeen-long.elf"),
    row("blanks before the name in IP.BIN and NULs behind it",
        f"rm game/*; echo {PLAIN_CODE} > game/GaMe; printf '%096d   GaMe\\0\\0       +' > game/IP.BIN",
        "", "GaMe IP.BIN"),
    row("a read-only IP.BIN", "echo > game/IP.BIN; chmod 444 game/IP.BIN", NO_ACCESS, "IP.BIN demo.elf"),
    row("an IP.BIN beside the program", "echo left > app/IP.BIN",
        "Run-time error: '58'\n\nFile already exists\n", BUILT),
    posix_row("no template, a read-only folder", "rm app/IP.TMPL; chmod 555 app", NO_ACCESS, "1ST_READ.BIN"),
    posix_row("a folder that others read", "chmod 750 temp/*/*", "sh-objcopy failed!", "demo.elf"),
    row("no file as IP.BIN names it", "rm game/*; printf '%096dGAME' > game/IP.BIN", NOT_LOCATED, "IP.BIN"),
])
def test_a_run(workspace, what_stands_there, said, left):
    prepare(workspace, what_stands_there)
    told = f"Unknown error: {said}\n{USAGE}" if said.endswith("!") else said
    assert workspace.make_image() == (1 if said else 0, told)
    assert names(workspace.game) == left.split()
    if "cdi4dc" not in said:
        assert workspace.cdi.read_text() == ("older" if said else "made by cdi4dc")
    assert "already exists" in said or not (workspace.app / "IP.BIN").exists()


def test_the_usage_message_is_for_who_asks_and_for_a_folder_that_is_missing(workspace):
    assert workspace.run("--help", "--dir", workspace.game, "--cdi", workspace.cdi) == (0, USAGE)
    assert workspace.run("--dir", workspace.root / "none", "--cdi", workspace.cdi) == (1, USAGE)
    assert workspace.log == []


def noted(workspace, line, shown=True):
    """A command line as its stand-in notes it: to the character on Windows, else item by item."""
    if workspace.build.is_windows:
        return line.replace('"/', '"Z:/').replace("/", "\\") + (" visible" if shown else " hidden")
    items = re.findall(r'"([^"]*)"|([^" ]+)', line.replace(".exe", ""))
    return "".join(f"[{quoted or plain}]" for quoted, plain in items)


def test_the_tools_run_in_their_order_with_their_arguments_to_the_character(workspace):
    prepare(workspace, "".join(f"echo speak > app/{tool}.does\n" for tool in TOOLS))
    workspace.game = workspace.game.rename(workspace.root / "my game")
    workspace.app = workspace.app.rename(workspace.root / "reads like--help--dir options")
    workspace.program = workspace.tool("marrowvan")
    spoken = "".join(f"{tool} speaks\n{tool} complains\n" for tool in TOOLS)
    shown = "" if workspace.build.is_windows else spoken
    assert workspace.run("--dir", workspace.game, "--cdi", workspace.cdi, "--cdvol", "My  Volume") == (0, shown)
    app, game, raw = workspace.app, workspace.game, workspace.iso.with_name("1ST_READ_UNSCRAMBLED.BIN")
    assert workspace.log == [
        noted(workspace, f'"{app}/sh-elf-objcopy.exe" -O binary -R .stack "{game}/demo.elf" "{raw}"'),
        noted(workspace, f'"{app}/scramble.exe" "{raw}" "{game}/1ST_READ.BIN"'),
        noted(workspace, f'"{app}/mkisofs.exe" -G "{app}/IP.BIN" -C 0,11702 -J -l -r -V "My  Volume"'
                    f' -o "{workspace.iso}" "{game}"') + " IP.BIN is here",
        noted(workspace, f'"{app}/cdi4dc.exe" "{workspace.iso}" "{workspace.cdi}"')]
    assert names(game) == BUILT.split() and names(workspace.iso.parent) == []
    assert workspace.build.is_windows or len({path.stat().st_mode for path in game.iterdir()}) == 1


def test_scrambling_in_place_is_hidden(workspace):
    prepare(workspace, AS_1ST_READ % PLAIN_CODE + "; echo speak > app/scramble.does")
    assert workspace.make_image() == (0, "")
    game = workspace.game
    line = f'"{workspace.app}/scramble.exe" "{game}/1ST_READ.BIN" "{game}/1ST_READ_scrambled.bin"'
    assert workspace.log[0] == noted(workspace, line, shown=False)
    assert (workspace.game / "1ST_READ.BIN").read_text() == "made by scramble"


@pytest.mark.parametrize("name", [
    row("a letter of the code page", "caf\xE9"),
    posix_row("what a shell reads", "a-b\\'$x&;*?"),
    posix_row("letters of no code page, and bytes of no text", "\u65E5\udcff\udcfe\udc80 x"),
])
def test_paths_of_all_kinds(workspace, name):
    workspace.game = workspace.game.rename(workspace.root / name)
    workspace.cdi = workspace.cdi.with_name(name + ".cdi")
    assert workspace.make_image() == (0, "")
    assert workspace.cdi.read_text() == "made by cdi4dc"
    in_code_page = name.replace("\xE9", "\udce9") if workspace.build.is_windows else name
    assert re.search(r'-V\]? ?["\[](.*?)["\]]', workspace.log[2])[1] == in_code_page


ZENITY = """#!/bin/sh
{ for item; do printf '[%s]' "$item"; done; echo; } >> "$NOTES.$LC_ALL"
case $* in *--directory*) echo "$FOLDER" ;; *--save*) echo "$IMAGE" ;; esac
exit $STATUS
"""
ASK_FOLDER = "[--file-selection][--title=Choose the folder to selfboot...][--directory"
ASK_FILE = ("[--file-selection][--title=Save your DiscJuggler file as...][--save"
            "][--file-filter=DiscJuggler (*.cdi) | *.cdi][--file-filter=All files (*.*) | *")
TELL_ERROR = "[--error][--no-markup][--title=][--text=" + NOT_LOCATED.split("\n")[0]
TELL_USAGE = "[--info][--no-markup][--title=][--text=" + USAGE.strip() + "][--icon-name="


def start_at_a_terminal(workspace, typed, *arguments):
    user, program = pty.openpty()
    os.write(user, typed.encode())
    return user, program, workspace.start(*arguments, stdin=program, stdout=program, stderr=program)


@pytest.mark.posix_only
class TestWhoeverStartsIt:
    def test_two_copies_of_the_program_at_once(self, workspace, new_workspace):
        """The second one runs whole while the first one is at its last tool."""
        other = new_workspace()
        call = f"{other.program} --dir {other.game} --cdi {other.cdi}"
        for each in (workspace, other):
            each.give_to_user()
        prepare(workspace, f"""printf '#!/bin/sh\n{call} && test -e "$1" && echo whole > "$2"' > app/cdi4dc""")
        assert workspace.make_image() == (0, "")
        assert (workspace.cdi.read_text(), other.cdi.read_text()) == ("whole\n", "made by cdi4dc")

    def test_started_without_standard_error_no_file_gets_what_the_run_and_the_tools_say(self, workspace):
        prepare(workspace, "echo speak > app/mkisofs.does; echo nothing > app/cdi4dc.does")
        process = workspace.start("--dir", workspace.game, "--cdi", workspace.cdi, stdin=subprocess.DEVNULL,
                             stdout=subprocess.DEVNULL, preexec_fn=lambda: os.close(2))
        assert process.wait() == 1 and len(workspace.log) == 4

    def test_nobody_reads_what_the_tools_and_the_run_say(self, workspace):
        prepare(workspace, "for tool in scramble mkisofs cdi4dc; do echo speak > app/$tool.does; done")
        reader, writer = os.pipe()
        os.close(reader)
        nobody = {"stdin": subprocess.DEVNULL, "stdout": writer, "stderr": writer}
        assert workspace.start("--dir", "none", "--cdi", "x", **nobody).wait() == 1
        assert workspace.start("--dir", workspace.game, "--cdi", workspace.cdi, **nobody).wait() == 0

    def test_an_interrupt_that_the_starter_ignores_is_ignored_by_the_run_and_the_tool(self, workspace):
        prepare(workspace, "echo interrupt > app/mkisofs.does")
        ignored = {"preexec_fn": lambda: signal.signal(signal.SIGINT, signal.SIG_IGN)}
        assert workspace.make_image(**ignored) == (0, "")
        assert "mkisofs goes on" in workspace.log

    def test_with_standard_error_in_a_file_nobody_is_asked_at_the_terminal(self, workspace):
        process = workspace.start("--dir", "none", "--cdi", "x", stdin=pty.openpty()[1], stderr=subprocess.PIPE)
        assert process.communicate(timeout=TOO_LONG)[1] == USAGE.encode()

    def test_without_standard_input_nobody_is_asked_at_the_terminal(self, workspace):
        user, terminal = pty.openpty()
        process = workspace.start("--dir", "none", "--cdi", "x", stdin=subprocess.DEVNULL, stderr=terminal)
        assert process.wait() == 1 and os.read(user, 4096).replace(b"\r", b"") == USAGE.encode()

    def test_an_interrupt_while_no_tool_runs_ends_the_run(self, workspace):
        prepare(workspace, "echo nothing > app/scramble.does")
        user, _, process = start_at_a_terminal(workspace, "", "--dir", workspace.game, "--cdi", workspace.cdi)
        while b"scramble failed!" not in os.read(user, 4096):
            pass
        process.send_signal(signal.SIGINT)
        os.write(user, b"\n\n")
        assert process.wait() == -signal.SIGINT

    @pytest.mark.parametrize("typed, status, shown", [
        row("an empty line is a cancel, and the message waits", "\n\n", 1, ["Choose", "Usage", "Enter"]),
        row("the end of input is a cancel", "\x04\n", 1, ["Choose", "Usage", "Enter"]),
        row("a line of spaces at the second question is a cancel", "{game}\n  \n\n", 1,
            ["Choose", "Save", "Usage", "Enter"]),
        row("two answers", "{game}\n{cdi}\n", 0, ["Choose", "Save"]),
    ])
    def test_questions_at_a_terminal(self, workspace, typed, status, shown):
        typed = typed.format(game=workspace.game, cdi=workspace.cdi)
        user, program, process = start_at_a_terminal(workspace, typed)
        assert process.wait(TOO_LONG) == status
        os.set_blocking(program, False)
        with pytest.raises(BlockingIOError):
            os.read(program, 1)  # nothing that was typed is left
        os.close(program)
        seen = b""
        with contextlib.suppress(OSError):  # the last of a terminal that is closed
            while piece := os.read(user, 4096):
                seen += piece
        asked = r"(Choose) the folder to selfboot... |(Save) your DiscJuggler file as... |(Usage): |(Enter)\]"
        assert ["".join(words) for words in re.findall(asked, seen.decode())] == shown
        assert workspace.cdi.read_text() == ("older" if status else "made by cdi4dc")

    @pytest.mark.parametrize("arguments, zenity_ends, ends, asked", [
        row("two answers", [], 0, 0, [ASK_FOLDER, ASK_FILE]),
        row("a cancel", [], 1, 1, [ASK_FOLDER, TELL_USAGE]),
        row("a failure", ["--cdi", "x", "--dir", "/proc/self"], 0, 1, [TELL_ERROR, TELL_USAGE]),
    ])
    def test_a_run_at_a_display(self, workspace, arguments, zenity_ends, ends, asked):
        """The starter ignores the end of children; the program's name is markup if the messages are."""
        workspace.program = workspace.program.rename(workspace.app / "<b>.&amp.x")
        (workspace.root / "zenity").write_text(ZENITY)
        (workspace.root / "zenity").chmod(0o755)
        notes = workspace.root / "notes.C.UTF-8"
        environment = {"WAYLAND_DISPLAY": "none", "PATH": f"{workspace.root}:/usr/bin:/bin", "LC_ALL": "C",
                       "NOTES": workspace.root / "notes", "STATUS": zenity_ends, "FOLDER": workspace.game,
                       "IMAGE": workspace.cdi}
        ignore_children = {"preexec_fn": lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN)}
        ended = workspace.run(*arguments, env=environment, **ignore_children)
        assert ended.status == ends and ("Usage" in ended.said) == (zenity_ends != 0)
        assert notes.read_bytes().decode().replace("<b>.&amp", "marrowvan").split("]\n") == [*asked, ""]
        assert workspace.cdi.read_text() == ("older" if ends else "made by cdi4dc")
