"""The real dialogs of the built executable, driven by the keyboard."""

import contextlib
import os
import shutil
import signal
import subprocess
import time
from pathlib import Path

import pytest
from conftest import names

ASK_FOLDER = {False: "Choose the folder to selfboot...", True: "Browse for Folder"}
ASK_FILE = "Save your DiscJuggler file as..."


def xdotool(*arguments):
    return subprocess.run(["xdotool", *arguments], capture_output=True, text=True).stdout.split()


def press(*keys):
    xdotool("key", "--clearmodifiers", "--delay", "60", *keys)


def type_in(text):
    # A dialog that has just opened loses the first keys, as does the line that "/" opens.
    time.sleep(1 + os.getloadavg()[0] / os.cpu_count())
    xdotool("type", "--clearmodifiers", "--delay", "20", text)


def wait_until(condition, meanwhile=lambda: None):
    """Waits for a state of the display or of the program. Calls `meanwhile` before each new look."""
    for _ in range(400):
        if result := condition():
            return result
        meanwhile()
        time.sleep(0.1)
    raise TimeoutError


def windows(title):
    return xdotool("search", "--onlyvisible", "--name", f"^{title}$")


def take_focus(title):
    """Waits for a dialog and focuses it; under Wine it takes the focus itself. Its window may change."""
    def give_focus():
        for window in windows(title):
            xdotool("windowfocus", window)
    wait_until(lambda: set(xdotool("getwindowfocus")) & set(windows(title)), give_focus)


def press_return_until(condition):
    """Without a window manager, a zenity box does not take the focus itself."""
    def press_return():
        xdotool("search", "--onlyvisible", "--class", "zenity", "windowfocus")
        press("Return")
    wait_until(condition, press_return)


@pytest.fixture
def workspace(build, workspace):
    """A workspace with a game folder that a few keys reach. Under Wine it is on the drive C."""
    cache = os.environ.get("XDG_CACHE_HOME", Path.home() / ".cache")
    prefix = os.environ.get("WINEPREFIX", f"{cache}/marrowvane/wine-prefix")
    place = Path(prefix) / "drive_c" if build.is_windows else workspace.root
    workspace.game = Path(shutil.move(workspace.game, place / "zz caf\xE9 game"))
    yield workspace
    shutil.rmtree(workspace.game)


@pytest.fixture
def run_with_keys(workspace, display):
    """Starts the program without options, presses keys, and returns its exit status. Nobody else presses OK.
    A key that is pressed while a window opens or closes may be lost, so there are three attempts."""
    workspace.program = workspace.program.rename(workspace.program.with_stem("by_hand"))
    environment = {"DISPLAY": display, "PATH": os.environ["PATH"], "GSETTINGS_BACKEND": "memory",
                   "XDG_DATA_HOME": workspace.root}  # the user's list of recent files stays unchanged

    def try_once(press_keys, *arguments, **how):
        call = workspace.build.call(workspace.program, *arguments, env=workspace.environment(environment))
        no_terminal = {"stdin": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        run = subprocess.Popen(**call, **no_terminal, **how, start_new_session=True)
        try:
            press_keys(run)
            wait_until(lambda: run.poll() is not None)
            return run.returncode
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(run.pid, signal.SIGKILL)  # its dialogs too
            run.wait()

    def try_until_done(*how, **more):
        for _ in range(2):
            with contextlib.suppress(TimeoutError):
                return try_once(*how, **more)
        return try_once(*how, **more)
    return try_until_done


def choose_folder(workspace):
    title = ASK_FOLDER[workspace.build.is_windows]
    take_focus(title)
    if workspace.build.is_windows:  # the tree starts with the user's home, whose contents are unknown
        press("shift+Tab", "Home")
        type_in("My Comp")
        press("Right", "Down", "Right")  # to the drive C
        type_in("zz")
    else:
        type_in("/")
        type_in(str(workspace.game)[1:])
    press_return_until(lambda: not windows(title))


def name_file(workspace, folders=()):
    take_focus(ASK_FILE)
    for folder in folders:
        type_in(workspace.build.host_path(folder))
        press("Return")
    type_in(workspace.build.host_path(workspace.cdi))
    press_return_until(lambda: not windows(ASK_FILE))


def test_chosen_folder_and_file_make_an_image(workspace, run_with_keys):
    def choose_both(_run):
        choose_folder(workspace)
        name_file(workspace)
    assert run_with_keys(choose_both) == 0
    assert workspace.cdi.read_text() == "made by cdi4dc" and (workspace.game / "1ST_READ.BIN").exists()


@pytest.mark.windows
def test_relative_folder_stays_the_same_while_the_user_browses(workspace, run_with_keys):
    other = shutil.copytree(workspace.game, workspace.cdi.parent / workspace.game.name)

    def browse(_run):
        name_file(workspace, [workspace.cdi.parent])
    assert run_with_keys(browse, "--dir", workspace.game.name, cwd=workspace.game.parent) == 0
    assert names(workspace.game) == ["1ST_READ.BIN", "IP.BIN"] and names(other) == ["demo.elf"]


def test_cancel_shows_the_usage_message(workspace, run_with_keys):
    def cancel(run):
        take_focus(ASK_FOLDER[workspace.build.is_windows])
        press("Escape")
        press_return_until(lambda: run.poll() is not None)
    assert run_with_keys(cancel) == 1 and workspace.log == []
