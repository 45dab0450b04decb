"""mkisofs.exe beside the distribution's mkisofs: both make the same disc of the same folder."""

import resource
import subprocess

import pytest
from conftest import case, names

pytestmark = [pytest.mark.windows, pytest.mark.usefixtures("windows_mkisofs")]
Files = {
    "1ST_READ.BIN": b"b" * 50001, "sector": b"s" * 2048, "empty": b"", "empty folder/../also empty": b"",
    "Größe/Straße ä.txt": b"umlauts", "日本語/ゲーム.dat": b"kana",
    "日" * 40 + "/" + "本" * 45: b"l",
    "/".join(["m" * 60] * 5): b"longer than MAX_PATH", "n" * 100: b"longer than a name in Joliet",
    "a/b/c/d/e/f/g/h/i/j": b"deep", "z/b/c/d/e/f/g/h/other": b"in a folder of the same name, as deep",
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


def test_backslash_before_a_quote_belongs_to_the_value(build, tmp_path):
    folder, tool = make_folder(tmp_path, {"file": b"f"}), build.host_path(build.program("mkisofs"))
    line = Line.replace("NAME", r'"a b\"').replace("game", r'"game\"')
    (folder / "run.bat").write_text(f'@"{tool}" {line}\n')
    assert build.run(folder / "run.bat", cwd=folder) == (0, "") and read_image(folder)[1].strip() == b"a b\\"


@pytest.mark.parametrize("old, new, largest_file, said", [
    case("unknown option", "-J", "-J -x", -1, "not expected: -- -x"),
    case("-C with one number", "0,11702", "11702", -1, "-C: "),
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
