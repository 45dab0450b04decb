"""mkisofs.exe, held against the distribution's: the same folder has to become the same disc."""

import hashlib
import os
import re
import resource
import subprocess

import pytest
from conftest import names

KiB = 1024
Deep = "a/b/c/d/e/f/g/h"
Files = {
    "1ST_READ.BIN": b"b" * 50001, "empty": b"", "also empty": b"", ".hidden": b"h", "a.b.c": b"dots",
    "Größe/Straße ä.txt": b"umlauts", "日本語/ゲーム.dat": b"kana", "exact": b"e" * 2048,
    "日" * 40 + "/" + "本" * 45: b"a long path, shorter in characters", "n" * 100 + ".txt": b"a long name",
    f"{Deep}/i/j/k": b"deep", f"z{Deep[1:]}/other": b"in a folder of the same name, as deep",
    "/".join(["m" * 60] * 5): b"longer than MAX_PATH", "sp ace": b"equal", "sp_ace": b"in plain names",
    "prefix of 31 characters at least, one": b"1", "prefix of 31 characters at least, two": b"2",
} | {f"many/{i % 7}/file {i:04}.dat": bytes([i % 256]) * (i % 5000) for i in range(3000)}
Line = "-G ip -C 0,11702 -J -l -r -V NAME -o data.iso game".split()


def make_folder(folder, files):
    for name, content in files.items():
        (folder / "game" / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / "game" / name).write_bytes(content)
    (folder / "ip").write_bytes(b"i" * 32768)
    (folder / "data.iso").write_bytes(b"older")
    return folder


def read_image(folder, iso):
    """The boot area, both volume names, and both trees as another reader finds them."""
    image = (folder / iso).read_bytes()
    disc, found = folder / "disc", [image[:32768], image[32808:32840], image[34856:34888]]
    with disc.open("wb") as file:
        file.write(image[:65536])  # the disc's first session, which only has to be there
        file.seek(11702 * 2048)
        file.write(image)
    for name_kind in ("any", "norock"):
        tree = folder / f"{iso} {name_kind}"
        line = ("xorriso", "-read_fs", name_kind, "-load", "sbsector", "11702", "-osirrox", "on")
        subprocess.run([*line, "-indev", f"stdio:{disc}", "-extract", "/", tree], check=True,
                       stderr=subprocess.DEVNULL)
        found.append({str(path.relative_to(tree)): (path.stat().st_mode, path.is_file() and
                      hashlib.file_digest(path.open("rb"), "md5").digest()) for path in tree.rglob("*")})
    return found


def make_both(build, folder, name):
    """What each of the two tools makes of the folder, with what ours says."""
    line = [name if word == "NAME" else word for word in Line]
    reference = ["genisoimage", "-quiet", "-input-charset", "utf-8", *line[:-2], "reference", "game"]
    subprocess.run(reference, cwd=folder, check=True)
    said = build.run("mkisofs", *line, cwd=folder)
    return said, read_image(folder, "data.iso"), read_image(folder, "reference")


def test_makes_the_same_disc(build, tmp_path):
    folder = make_folder(tmp_path, Files | {"large": b"l"})
    (folder / "game/none").mkdir()
    os.truncate(folder / "game/large", 300 << 20)
    said, image, reference = make_both(build, folder, "Größe " + "1" * 24)
    assert said == (0, "") and image == reference and image[3].keys() > {*Files, "none", "large"}


@pytest.mark.parametrize("size, said", [(1000, "filled with zeros"), (33000, "cut")])
def test_brings_the_boot_area_to_its_size(build, tmp_path, size, said):
    folder = make_folder(tmp_path, {"file": b"f"})
    (folder / "ip").write_bytes(b"i" * size)
    found, image, reference = make_both(build, folder, "")
    assert found == (0, f"mkisofs: ip: warning: {size} bytes, {said} to 32768\n") and image == reference


@pytest.mark.parametrize("old, new, status, said", [
    ("-J", "-x", 1, "-x"),
    ("0,11702", "0,117x", 1, "117x"),
    ("0,11702", "11702", 1, "-C: "),
    ("-r", "", 1, "-r is required"),
    ("-J", "--version", 0, r"^mkisofs \d+\.\d+$"),
    ("NAME", "ü" * 17, 1, "the volume name is too long: .* takes 34 bytes"),
    ("game", "nowhere", 1, "nowhere: .*not found"),
    ("game", "ip", 1, "ip: "),
    ("ip", "nowhere", 1, "nowhere: .*not found"),
    ("game", "twins", 1, "n{65}: equal to n{64}x in its first 64 characters"),
])
def test_leaves_the_older_image(build, tmp_path, old, new, status, said):
    folder = make_folder(tmp_path, {"file": b"f", "../twins/" + "n" * 65: b"1", f"../twins/{'n' * 64}x": b"2"})
    before = names(folder)
    found = build.run("mkisofs", *filter(None, (new if word == old else word for word in Line)), cwd=folder)
    assert found.status == status and re.search(said, found.said, re.MULTILINE)
    assert names(folder) == before and (folder / "data.iso").read_bytes() == b"older"


@pytest.mark.parametrize("limit", [500 * KiB, 1000 * KiB], ids=["temporary file", "image"])
def test_leaves_the_older_image_when_the_disk_is_full(build, tmp_path, limit):
    folder = make_folder(tmp_path, {"file": b"f" * 900 * KiB})
    found = build.run("mkisofs", *Line, cwd=folder, restore_signals=False,
                      preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
    assert found.status == 1 and found.said.startswith("mkisofs: ")
    assert (folder / "data.iso").read_bytes() == b"older" and len(names(folder)) == 3


def test_takes_paths_in_quotes_that_end_in_a_backslash(build, tmp_path):
    folder = make_folder(tmp_path, {"file": b"f"})
    line = f'@"{build.host_path(build.program("mkisofs"))}" ' + " ".join(Line[:-5])
    (folder / "run.bat").write_text(line + ' -V "my name\\" -o "data.iso" "game\\"\n')
    assert build.run(folder / "run.bat", cwd=folder) == (0, "")
    assert read_image(folder, "data.iso")[1].strip() == b"my name\\"
