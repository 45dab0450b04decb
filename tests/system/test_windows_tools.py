"""Tests what only Windows has: mkisofs.exe, which makes the same disc as the distribution's mkisofs, shares,
regions, consoles, and names that the code page lacks."""

import contextlib
import os
import pty
import re
import resource
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest
from conftest import VERSION, case, names

pytestmark = [pytest.mark.windows, pytest.mark.usefixtures("windows_mkisofs")]
Files = {
    "1ST_READ.BIN": b"b" * 50001, "sector": b"s" * 2048, "empty": b"", "empty folder/../also empty": b"",
    "Größe/Straße ä.txt": b"umlauts", "日本語/ゲーム.dat": b"kana",
    "日" * 40 + "/" + "本" * 45: b"l",
    "/".join(["m" * 60] * 5): b"longer than MAX_PATH", "n" * 100: b"longer than a name in Joliet",
    "/".join("abcdefghijklmnopqrstuvwxyz"): b"deep", "z/b/c/d/e/f/g/h/other": b"in a folder of the same name",
    "31 equal characters before the one": b"1", "31 equal characters before the two": b"2",
} | {f"many/{i % 7}/file {i:04}.dat": bytes([i % 256]) * (i % 5000) for i in range(3000)}
Twins = {"../twins/" + "n" * 64 + last: b"" for last in "nx"}
Line = "-G ip -C 0,11702 -J -l -r -V NAME -o data.iso game"


def make_folder(folder, files, boot_area=b"i" * 32768):
    for name, content in (files | {"../ip": boot_area, "../data.iso": b"older"}).items():
        (folder / "game" / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / "game" / name).write_bytes(content)
    return folder


def read_image(folder):
    """Returns the boot area, both volume names, and both trees as another program reads them."""
    image, trees = (folder / "data.iso").read_bytes(), []
    (folder / "disc").write_bytes(image[:65536].ljust(11702 * 2048, b"\0") + image)  # after a first session
    for names_read in ("any", "norock"):
        unpack = f"xorriso -read_fs {names_read} -load sbsector 11702 -osirrox on -indev disc -extract / tree"
        subprocess.run(unpack.split(), cwd=folder, check=True, stderr=subprocess.PIPE)
        trees.append({path: (path.stat().st_mode, path.is_file() and path.read_bytes())
                      for path in (folder / "tree").rglob("*")})
        subprocess.run(["chmod", "-R", "u+w", "tree"], cwd=folder, check=True)
        subprocess.run(["rm", "-r", "tree"], cwd=folder, check=True)
    return image[:32768], image[32808:32840], image[34856:34888], *trees


@pytest.mark.parametrize("name, files, ip_size, said", [
    case("3000 files, long names and a file of 300 MiB",
         "Größe " + "1" * 24, Files | {"large": bytes(300 << 20)}, 32768, ""),
    case("empty folder, empty volume name, boot sector of 1000 bytes",
         "", {}, 1000, "mkisofs: ip: warning: 1000 bytes, filled with zeros to 32768\n"),
    case("volume name with special characters, boot sector of 33000 bytes",
         "a*b/c:d;e?f\\", {"file": b""}, 33000, "mkisofs: ip: warning: 33000 bytes, cut to 32768\n"),
])
def test_same_disc(build, tmp_path, name, files, ip_size, said):
    folder = make_folder(tmp_path, files, b"i" * ip_size)
    line = [name if word == "NAME" else word for word in Line.split()]
    subprocess.run(["genisoimage", "-quiet", "-input-charset", "utf-8", *line], cwd=folder, check=True)
    image = read_image(folder)
    assert build.run("mkisofs", *line, cwd=folder) == (0, said) and read_image(folder) == image


def test_same_order_and_dates(build, tmp_path):
    """The names are in the order of the image. Their order decides what is nearest to the middle of a disc."""
    files = "000DUMMY.DAT a.b abc abc.txt abc! B_c zed ..y .a .git _q ~t -x !z".split()
    folder = make_folder(tmp_path, {name: b"f" for name in files})
    for date, name in ((2_400_000_000, "abc.txt"), (5_800_000_000, ".git")):  # 2046 and 2153
        os.utime(folder / "game" / name, (date, date))
    listings = []
    for make in (lambda: subprocess.run(["genisoimage", "-quiet", *Line.split()], cwd=folder, check=True),
                 lambda: build.run("mkisofs", *Line.split(), cwd=folder)):
        make()
        read = "isoinfo -l -N 11702 -i data.iso"
        listings += [subprocess.check_output(f"{read}; {read} -R; {read} -J", cwd=folder, shell=True)]
    assert listings[0] == listings[1] and b"2046" in listings[1]


@pytest.mark.parametrize("theirs, ours", [
    ("*.o", "*.O"), ("b?", "b?"), ("[!a-z]", "[!a-z]"), ("[]x-z]y", "[]X-Z]y"), ("[ab", "[ab"), ("c", "c"),
    ("game/d/*", "game\\D\\*"), ("game*f", "game*f"), ("d/f", "d/f"), ("game", "game")])
def test_same_files_are_excluded(build, tmp_path, theirs, ours):
    folder = make_folder(tmp_path, dict.fromkeys(
        "1 a.o .o b bc bcd [ab ]y yy c/x d/f d/.g d/e/h e/game".split(), b"f"))
    line = Line.split()
    subprocess.run(["genisoimage", "-quiet", "-m", theirs, "-m", "none", *line], cwd=folder, check=True)
    image = read_image(folder)
    found = build.run("mkisofs", "-m", ours, "-m", "none", *line[:-1], "game\\", cwd=folder)
    assert found == (0, "") and read_image(folder) == image


def test_backslash_before_a_quote_belongs_to_the_value(build, tmp_path):
    folder, tool = make_folder(tmp_path, {"file": b"f"}), build.host_path(build.program("mkisofs"))
    line = Line.replace("NAME", r'"a b\"').replace("game", r'"game\"')
    (folder / "run.bat").write_text(f'@"{tool}" {line}\n')
    assert build.run(folder / "run.bat", cwd=folder) == (0, "") and read_image(folder)[1].strip() == b"a b\\"


@pytest.mark.parametrize("old, new, largest_file, said", [
    case("unknown option", "-G", "-x y -G", -1, "not expected: -x\n"),
    case("-C without a value", "0,11702", "", -1, '-C: "-J" is not two sectors'),
    case("-C with a letter", "0,11702", "0,11702x", -1, '-C: "0,11702x" is not two sectors'),
    case("volume name of 34 bytes", "NAME", "ü" * 17, -1, "takes 34 bytes in UTF-8, more than 32"),
    case("two names with 64 equal characters",
         "game", "twins", -1, "n: equal to " + "n" * 64 + "x in its first 64 characters"),
    case("disk full during the temporary file", "game", "game", 500000, "temporary file"),
    case("disk full during the image", "game", "game", 1000000, "mkisofs: data.iso: "),
])
def test_failure_keeps_the_older_image(build, tmp_path, old, new, largest_file, said):
    folder, limit = make_folder(tmp_path, Twins | {"file": b"f" * 900000}), (largest_file, largest_file)
    found = build.run("mkisofs", *Line.replace(old, new).split(), cwd=folder, restore_signals=False,
                      preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, limit))
    assert found.status == 1 and said in found.said and names(folder) == ["data.iso", "game", "ip", "twins"]
    assert (folder / "data.iso").read_bytes() == b"older"


def make_disc(build, folder, place, env):
    """Runs the whole archive on a folder with an umlaut. All of its paths are in `place`."""
    shutil.copytree(build.bin, folder / "app")
    (folder / "gr\xFCn").mkdir()
    shutil.copy(build.hello_elf, folder / "gr\xFCn")
    found = build.run(folder / "app/marrowvan.exe", "--dir", f"{place}\\gr\xFCn", "--cdi", f"{place}\\x.cdi",
                      env={"PRESS_OK_TEMP": place} | env)
    assert "Unknown error" not in found.said and found.status == 0
    assert build.run("cdicheck", folder / "x.cdi").status == 0


def test_job_with_all_paths_on_a_share(build, tmp_path):
    cache = os.environ.get("XDG_CACHE_HOME", Path.home() / ".cache")
    shares = Path(os.environ.get("WINEPREFIX", f"{cache}/marrowvane/wine-prefix")) / "dosdevices/unc/localhost"
    shares.mkdir(parents=True, exist_ok=True)
    share = shares / tmp_path.parent.name
    share.symlink_to(tmp_path)
    try:
        make_disc(build, tmp_path, f"\\\\localhost\\{share.name}", {})
    finally:
        share.unlink()


def test_job_with_a_region_of_another_code_page(build, tmp_path):
    (tmp_path / "ru_RU.UTF-8").symlink_to("/usr/lib/locale/C.utf8")
    region = {"LC_ALL": "", "LC_CTYPE": "C.UTF-8", "LC_MESSAGES": "ru_RU.UTF-8", "LOCPATH": tmp_path}
    make_disc(build, tmp_path, build.host_path(tmp_path), region)


def test_name_that_the_code_page_lacks_is_not_taken_for_a_similar_one(workspace):
    similar = shutil.copytree(workspace.game, workspace.root / "g\u0101me")
    shown = workspace.run("--dir", similar, "--cdi", workspace.cdi).said
    assert shown.startswith(f"Marrowvane {VERSION}\nUsage: ")
    workspace.program = shutil.copytree(workspace.app, workspace.root / "\u0101pp") / workspace.program.name
    assert "Unknown error: sh-objcopy failed!\n" in workspace.make_image().said
    assert names(workspace.game) == names(similar) == ["demo.elf"] and workspace.log == []


def test_boot_sector_that_cannot_leave_its_folder_is_not_copied(workspace):
    with tempfile.TemporaryDirectory(dir="/dev/shm") as game:  # another volume
        for name in ("1ST_READ.BIN", "IP.BIN"):
            (Path(game) / name).write_bytes(b"b" * 32768)
        os.chmod(game, 0o555)
        found = workspace.run("--dir", Path(game), "--cdi", workspace.cdi)
        os.chmod(game, 0o755)
        assert found == (1, "Cannot read/write file - Already in use\n")
        assert names(game) == ["1ST_READ.BIN", "IP.BIN"] and not (workspace.app / "IP.BIN").exists()


def test_console_shows_each_character(build, tmp_path):
    """The bytes for a file or a pipe are UTF-8 as on other hosts."""
    name = "Gr\xF6\xDFe_\u65E5\u672C"
    user, program = pty.openpty()
    call = build.call("scramble", name, "out")
    subprocess.run(**call, cwd=tmp_path, stdin=program, stdout=program, stderr=program)
    os.set_blocking(user, False)
    shown = b""
    with contextlib.suppress(BlockingIOError):
        while True:
            shown += os.read(user, 4096)
    assert f"scramble:{name}:" in re.sub(r"\x1b\[[0-9;?]*[A-Za-z]| ", "", shown.decode())
    assert f"scramble: {name}: " in build.run("scramble", name, "out", cwd=tmp_path).said
