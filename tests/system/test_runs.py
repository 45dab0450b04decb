"""Whole runs of the built executable, with recording stand-ins for the outside tools."""

import contextlib
import os
import pty
import re
import signal
import subprocess

import pytest

from conftest import TOO_LONG, TOOLS, VERSION, Workspace, case, names

USAGE = (f"Marrowvane {VERSION}\nUsage: marrowvan.exe "
         "[--cdi <dj_file>] [--dir <sb_dir>] [--cdvol <cd_volume>] [--coder <your_name>]\n")
NOT_LOCATED = "The DC bootfile could not be located!"
NO_ACCESS = "Cannot read/write file - Already in use\n"
FAILED = "Unknown error: %s failed!"
ISO_MISMATCH = "Unknown error: mkisofs ISO time mismatch!"
CDI_MISMATCH = "Unknown error: cdi4dc CDI time mismatch!"
BUILT = "1ST_READ.BIN IP.BIN"  # the game folder after a whole run
PLAIN_CODE = "PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND"
AS_1ST_READ = "rm game/demo.elf; printf '%s' > game/1ST_READ.BIN"
FAILURES = (("sh-elf-objcopy", FAILED % "sh-objcopy", "demo.elf"), ("scramble", FAILED % "scramble", ""),
            ("mkisofs", FAILED % "mkisofs", BUILT), ("cdi4dc", FAILED % "cdi4dc", BUILT))


def posix_case(name, *values):
    return case(name, *values, marks=pytest.mark.posix)


def prepare(workspace, script):
    subprocess.run(["sh", "-ec", script], cwd=workspace.root, check=True)


@pytest.mark.parametrize("preparation, message, game_folder", [
    *(case(f"{tool} does nothing", f"echo nothing > app/{tool}.does", *expected)
      for tool, *expected in FAILURES),
    *(posix_case(f"Ctrl-C during {tool}", f"echo interrupt > app/{tool}.does", *expected)
      for tool, *expected in FAILURES if tool != "scramble"),
    *(posix_case(f"SIG{name} for the run, which passes it on to mkisofs",
                 f"printf '#!/bin/sh\nkill -{name} $PPID; exec /bin/sleep 300' > app/mkisofs",
                 FAILED % "mkisofs", BUILT) for name in ("TERM", "HUP")),
    posix_case("SIGQUIT for the run, not for scramble",
               "printf '#!/bin/sh\n: > $2; kill -QUIT $PPID' > app/scramble", FAILED % "scramble",
               "1ST_READ.BIN"),
    *(posix_case(f"{tool} is killed after half of its output, and an older output exists",
                 f"echo old > game/1ST_READ.BIN; echo half > app/{tool}.does", message,
                 left if left == BUILT else f"1ST_READ.BIN {left}") for tool, message, left in FAILURES),
    case("mkisofs writes the ISO image and exits with 1", "echo exit1 > app/mkisofs.does", "", BUILT),
    case("ISO image dated an hour ago", "echo old > app/mkisofs.does", ISO_MISMATCH, BUILT),
    case("cdi image dated an hour ago", "echo old > app/cdi4dc.does", CDI_MISMATCH, BUILT),
    posix_case("old folder named data.iso, which mkisofs does not replace",
               "echo nothing > app/mkisofs.does; cd temp/*/*; rm *; mkdir data.iso; touch -d 2001-1-1 *",
               ISO_MISMATCH, BUILT),
    posix_case("mkisofs deletes the program",
               "printf '#!/bin/sh\n/bin/rm \"${0%%/*}/marrowvan\"' > app/mkisofs", FAILED % "mkisofs", BUILT),
    case("file .elf without the ELF magic", "echo plain > game/demo.elf", "", "IP.BIN demo.elf"),
    case("1ST_READ.BIN of 0 bytes, IP.BIN with the name of another file",
         AS_1ST_READ % "" + "; echo > game/GAME; printf '%096dGAME' > game/IP.BIN",
         "Run-time error: '9'\n\nSubscript out of range\n", "1ST_READ.BIN GAME IP.BIN"),
    case("boot file name of 17 characters", "rm game/demo.elf; echo x > game/seventeen-long.elf",
         "Run-time error: '5'\n\nInvalid procedure call or argument\n", "seventeen-long.elf"),
    case("spaces before the name in IP.BIN and NULs after it",
         f"rm game/*; echo {PLAIN_CODE} > game/GaMe; printf '%096d   GaMe\\0\\0       +' > game/IP.BIN",
         "", "GaMe IP.BIN"),
    case("read-only IP.BIN", "echo > game/IP.BIN; chmod 444 game/IP.BIN", NO_ACCESS, "IP.BIN demo.elf"),
    case("IP.BIN in the program's folder", "echo left > app/IP.BIN",
         "Run-time error: '58'\n\nFile already exists\n", BUILT),
    posix_case("no template in a read-only folder", "rm app/IP.TMPL; chmod 555 app", NO_ACCESS, "1ST_READ.BIN"),
    case("IP.BIN with the name of a missing file", "rm game/*; printf '%096dGAME' > game/IP.BIN", NOT_LOCATED,
         "IP.BIN"),
])
def test_run(workspace, preparation, message, game_folder):
    prepare(workspace, preparation)
    icon = "[icon] " if workspace.build.is_windows else ""
    shown = f"{icon}{message}\n{USAGE}" if message.endswith("!") else message
    assert workspace.make_image() == (1 if message else 0, shown)
    assert names(workspace.game) == game_folder.split()
    if "cdi4dc" not in message:
        assert workspace.cdi.read_text() == ("older" if message else "made by cdi4dc")
    assert "already exists" in message or not (workspace.app / "IP.BIN").exists()


def test_usage_message_for_help_and_for_a_missing_folder(workspace):
    assert workspace.run("--help", "--dir", workspace.game, "--cdi", workspace.cdi) == (0, USAGE)
    assert workspace.run("--dir", workspace.root / "none", "--cdi", workspace.cdi) == (1, USAGE)
    assert workspace.log == []


def logged(workspace, line, visible=True):
    """Returns what a stand-in logs for a command line: on Windows the line itself, on POSIX its items."""
    if workspace.build.is_windows:
        return line.replace('"/', '"Z:/').replace("/", "\\") + (" visible" if visible else " hidden")
    items = re.findall(r'"([^"]*)"|([^" ]+)', line.replace(".exe", ""))
    return "".join(f"[{quoted or plain}]" for quoted, plain in items)


def test_tools_run_in_order_with_their_exact_command_lines(workspace):
    prepare(workspace, "".join(f"echo speak > app/{tool}.does\n" for tool in TOOLS))
    workspace.game = workspace.game.rename(workspace.root / "my game")
    workspace.app = workspace.app.rename(workspace.root / "reads like--help--dir options")
    workspace.program = workspace.tool("marrowvan")
    output = "".join(f"{tool} speaks\n{tool} complains\n" for tool in TOOLS)
    ended = workspace.run("--dir", workspace.game, "--cdi", workspace.cdi, "--cdvol", "My  Volume")
    assert ended == (0, "" if workspace.build.is_windows else output)
    app, game, temp = workspace.app, workspace.game, workspace.iso.parent
    plain, iso, cdi = temp / "1ST_READ_UNSCRAMBLED.BIN", workspace.iso, workspace.cdi
    assert workspace.log == [
        logged(workspace, f'"{app}/sh-elf-objcopy.exe" -O binary -R .stack "{game}/demo.elf" "{plain}"'),
        logged(workspace, f'"{app}/scramble.exe" "{plain}" "{game}/1ST_READ.BIN"'),
        logged(workspace, f'"{app}/mkisofs.exe" -G "{app}/IP.BIN" -C 0,11702 -J -l -r -V "My  Volume"'
                          f' -o "{iso}" "{game}"') + " IP.BIN is here",
        logged(workspace, f'"{app}/cdi4dc.exe" "{iso}" "{cdi}"')]
    assert names(game) == BUILT.split() and names(temp) == []
    assert workspace.build.is_windows or len({path.stat().st_mode for path in game.iterdir()}) == 1


def test_scrambling_in_place_has_no_window(workspace):
    prepare(workspace, AS_1ST_READ % PLAIN_CODE + "; echo speak > app/scramble.does")
    assert workspace.make_image() == (0, "")
    game = workspace.game
    line = f'"{workspace.app}/scramble.exe" "{game}/1ST_READ.BIN" "{game}/1ST_READ_scrambled.bin"'
    assert workspace.log[0] == logged(workspace, line, visible=False)
    assert (game / "1ST_READ.BIN").read_text() == "made by scramble"


@pytest.mark.parametrize("name", [
    case("letter of the ANSI code page", "caf\xE9"),
    posix_case("characters with a meaning for a shell", "a-b\\'$x&;*?"),
    posix_case("letters of no code page, and bytes that are not UTF-8", "\u65E5\udcff\udcfe\udc80 x"),
])
def test_folder_and_image_with_unusual_names(workspace, name):
    workspace.game = workspace.game.rename(workspace.root / name)
    workspace.cdi = workspace.cdi.with_name(name + ".cdi")
    assert workspace.make_image() == (0, "")
    assert workspace.cdi.read_text() == "made by cdi4dc"
    in_code_page = name.replace("\xE9", "\udce9") if workspace.build.is_windows else name
    assert re.search(r'-V\]? ?["\[](.*?)["\]]', workspace.log[2])[1] == in_code_page


ZENITY = """#!/bin/sh
{ for item; do printf '[%s]' "$item"; done; echo; } >> "$ZENITY_LOG.$LC_ALL"
case $* in *--directory*) echo "$FOLDER" ;; *--save*) echo "$IMAGE" ;; esac
exit $STATUS
"""
ASK_FOLDER = "[--file-selection][--title=Choose the folder to selfboot...][--directory"
ASK_FILE = ("[--file-selection][--title=Save your DiscJuggler file as...][--save"
            "][--file-filter=DiscJuggler (*.cdi) | *.cdi][--file-filter=All files (*.*) | *")
SHOW_ERROR = "[--error][--no-markup][--title=][--text=" + NOT_LOCATED
SHOW_USAGE = "[--info][--no-markup][--title=][--text=" + USAGE.strip() + "][--icon-name="


def start_at_a_terminal(workspace, typed, *arguments):
    user, program = pty.openpty()
    os.write(user, typed.encode())
    return user, program, workspace.start(*arguments, stdin=program, stdout=program, stderr=program)


@pytest.mark.posix
class TestOnPosix:
    def test_two_copies_at_once_make_both_images(self, workspace):
        """The second copy runs while the first one waits for its last tool."""
        (workspace.root / "other").mkdir()
        other = Workspace(workspace.build, workspace.root / "other")
        call = f"{other.program} --dir {other.game} --cdi {other.cdi}"
        prepare(workspace, f"""printf '#!/bin/sh\n{call} && test -e "$1" && echo whole > "$2"' > app/cdi4dc""")
        assert workspace.make_image() == (0, "")
        assert (workspace.cdi.read_text(), other.cdi.read_text()) == ("whole\n", "made by cdi4dc")

    def test_without_standard_error_messages_go_into_no_file(self, workspace):
        prepare(workspace, "echo speak > app/mkisofs.does; echo nothing > app/cdi4dc.does")
        process = workspace.start("--dir", workspace.game, "--cdi", workspace.cdi, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.DEVNULL, preexec_fn=lambda: os.close(2))
        assert process.wait() == 1 and len(workspace.log) == 4

    def test_closed_pipe_as_output_stops_neither_the_tools_nor_the_run(self, workspace):
        prepare(workspace, "for tool in scramble mkisofs cdi4dc; do echo speak > app/$tool.does; done")
        reader, writer = os.pipe()
        os.close(reader)
        closed = {"stdin": subprocess.DEVNULL, "stdout": writer, "stderr": writer}
        assert workspace.start("--dir", "none", "--cdi", "x", **closed).wait() == 1
        assert workspace.start("--dir", workspace.game, "--cdi", workspace.cdi, **closed).wait() == 0

    def test_interrupt_that_the_caller_ignores_is_ignored_by_the_run_and_the_tool(self, workspace):
        prepare(workspace, "echo interrupt > app/mkisofs.does")
        ignored = {"preexec_fn": lambda: signal.signal(signal.SIGINT, signal.SIG_IGN)}
        assert workspace.make_image(**ignored) == (0, "")
        assert "mkisofs goes on" in workspace.log

    def test_no_question_when_standard_error_is_not_a_terminal(self, workspace):
        process = workspace.start("--dir", "none", "--cdi", "x", stdin=pty.openpty()[1], stderr=subprocess.PIPE)
        assert process.communicate(timeout=TOO_LONG)[1] == USAGE.encode()

    def test_no_question_when_standard_input_is_not_a_terminal(self, workspace):
        user, terminal = pty.openpty()
        process = workspace.start("--dir", "none", "--cdi", "x", stdin=subprocess.DEVNULL, stderr=terminal)
        assert process.wait() == 1 and os.read(user, 4096).replace(b"\r", b"") == USAGE.encode()

    def test_interrupt_while_a_message_waits_ends_the_run(self, workspace):
        prepare(workspace, "echo nothing > app/scramble.does")
        user, _, process = start_at_a_terminal(workspace, "", "--dir", workspace.game, "--cdi", workspace.cdi)
        while b"scramble failed!" not in os.read(user, 4096):
            pass
        process.send_signal(signal.SIGINT)
        os.write(user, b"\n\n")
        assert process.wait() == -signal.SIGINT

    @pytest.mark.parametrize("typed, status, shown", [
        case("empty line is a cancel, and the message waits", "\n\n", 1, ["Choose", "Usage", "Enter"]),
        case("end of input is a cancel", "\x04\n", 1, ["Choose", "Usage", "Enter"]),
        case("line of spaces at the second question is a cancel", "{game}\n  \n\n", 1,
             ["Choose", "Save", "Usage", "Enter"]),
        case("two answers make the image", "{game}\n{cdi}\n", 0, ["Choose", "Save"]),
    ])
    def test_questions_at_a_terminal(self, workspace, typed, status, shown):
        typed = typed.format(game=workspace.game, cdi=workspace.cdi)
        user, program, process = start_at_a_terminal(workspace, typed)
        assert process.wait(TOO_LONG) == status
        os.set_blocking(program, False)
        with pytest.raises(BlockingIOError):
            os.read(program, 1)  # the program has read all that was typed
        os.close(program)
        seen = b""
        with contextlib.suppress(OSError):  # at the end of a closed terminal
            while piece := os.read(user, 4096):
                seen += piece
        asked = r"(Choose) the folder to selfboot... |(Save) your DiscJuggler file as... |(Usage): |(Enter)\]"
        assert ["".join(words) for words in re.findall(asked, seen.decode())] == shown
        assert workspace.cdi.read_text() == ("older" if status else "made by cdi4dc")

    @pytest.mark.parametrize("arguments, zenity_status, status, boxes", [
        case("two answers make the image", [], 0, 0, [ASK_FOLDER, ASK_FILE]),
        case("cancel shows the usage message", [], 1, 1, [ASK_FOLDER, SHOW_USAGE]),
        case("failure shows an error, then the usage message", ["--cdi", "x", "--dir", "/proc/self"], 0, 1,
             [SHOW_ERROR, SHOW_USAGE]),
    ])
    def test_boxes_at_a_display(self, workspace, arguments, zenity_status, status, boxes):
        """The caller ignores SIGCHLD. The program's name would be markup if zenity read the texts as markup."""
        workspace.program = workspace.program.rename(workspace.app / "<b>.&amp.x")
        (workspace.root / "zenity").write_text(ZENITY)
        (workspace.root / "zenity").chmod(0o755)
        log = workspace.root / "log.C.UTF-8"
        environment = {"WAYLAND_DISPLAY": "none", "PATH": f"{workspace.root}:/usr/bin:/bin", "LC_ALL": "C",
                       "ZENITY_LOG": workspace.root / "log", "STATUS": zenity_status,
                       "FOLDER": workspace.game, "IMAGE": workspace.cdi}
        ignore_children = {"preexec_fn": lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN)}
        ended = workspace.run(*arguments, env=environment, **ignore_children)
        assert ended.status == status and ("Usage" in ended.said) == (zenity_status != 0)
        assert log.read_bytes().decode().replace("<b>.&amp", "marrowvan").split("]\n") == [*boxes, ""]
        assert workspace.cdi.read_text() == ("older" if status else "made by cdi4dc")
