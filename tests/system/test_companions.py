"""Tests the output files, the exit status and the messages of scramble and cdi4dc."""

import os
import pty
import random
import re
import resource
import subprocess

import pytest
from conftest import names
from disc_reference import make_iso, read_image, scramble

posix_only = pytest.mark.posix
MiB = 1 << 20
Iso = make_iso({b"A.BIN;1": random.Random(1).randbytes(109 * 2048)})  # two batches of 64 sectors, and one
Sizes = [0, 31, 127, 128, 299, 32767, 65536, MiB - 1, MiB + 32, 2 * MiB - 1, 2 * MiB, 3 * MiB, 3 * MiB + 65]
Files = {"good": Iso, "empty": b"", "odd": Iso + b".", "short": Iso[:32768], "cut": Iso[:-2048],
         "zeros": bytes(34816), "elsewhere": make_iso({}, 0), "beside": make_iso({}, 11700),
         "after": make_iso({}, 11704), "output": b"older"}


@pytest.fixture
def folder(tmp_path):
    for name, content in Files.items():
        (tmp_path / name).write_bytes(content)
    return tmp_path


@pytest.mark.parametrize("size", Sizes, ids="file of {} bytes".format)
def test_scrambles_and_back(build, folder, size):
    plain = random.Random(size).randbytes(size)
    (folder / "plain").write_bytes(plain)
    assert build.run("scramble", "plain", "scrambled", cwd=folder) == (0, "")
    assert (folder / "scrambled").read_bytes() == scramble(plain)
    assert (folder / "scrambled").stat().st_mode == (folder / "plain").stat().st_mode
    assert build.run("scramble", "-d", "scrambled", "scrambled", cwd=folder) == (0, "")
    assert (folder / "scrambled").read_bytes() == plain


@pytest.mark.parametrize("name", [
    pytest.param("output", id="over an older file"),
    pytest.param("--cdi", id="name that looks like an option"),
    pytest.param("\u65E5\u672C.cdi", id="name in Japanese"),
    pytest.param("n" * 255, id="name of 255 bytes", marks=posix_only)])
def test_makes_the_image(build, folder, name):
    assert build.run("cdi4dc", "good", name, cwd=folder) == (0, "")
    image = (folder / name).read_bytes()
    assert read_image(folder / name) == (Iso, name, "TEST", 129) and {*names(folder)} == {*Files, name}
    assert build.run("cdi4dc", "good", name, cwd=folder) == (0, "") and (folder / name).read_bytes() == image


@posix_only
def test_writes_the_file_that_a_link_leads_to(build, folder):
    (folder / "link").symlink_to("output")
    assert build.run("scramble", "good", "link", cwd=folder, umask=0) == (0, "")
    assert (folder / "output").read_bytes() == scramble(Iso) and (folder / "link").is_symlink()
    assert (folder / "output").stat().st_mode & 0o777 == 0o666 and {*names(folder)} == {*Files, "link"}


@pytest.mark.parametrize("line, status, said", [
    ("cdi4dc empty output", 1, "^cdi4dc: empty: the file is empty$"),
    ("cdi4dc odd output", 1, "odd: .*multiple of 2048"),
    ("cdi4dc short output", 1, "short: no ISO 9660"),
    ("cdi4dc zeros output", 1, "zeros: no ISO 9660"),
    ("cdi4dc elsewhere output", 1, "elsewhere: made for another address on the disc. Run .* -C 0,11702"),
    ("cdi4dc beside output", 1, "beside: made for another address"),
    ("cdi4dc after output", 1, "after: made for another address"),
    ("cdi4dc cut output", 1, "cut: ends too early: it has 128 of its volume's 129 sectors"),
    ("cdi4dc . output", 1, r"\.: not a file"),
    ("cdi4dc good .", 1, r"\.: not a file"),
    ("cdi4dc -- good nowhere/output", 1, "^cdi4dc: nowhere/output: .*no"),
    ("cdi4dc good", 1, "OUT.cdi is required"),
    ("cdi4dc good output more", 1, "not expected: more$"),
    ("cdi4dc --version", 0, r"^cdi4dc \d+\.\d+$"),
    ("scramble nowhere output", 1, "^scramble: nowhere: .*not? .*f"),
    ("scramble --help", 0, "Usage: "),
    pytest.param("scramble /sys/kernel/uevent_seqnum output", 1, "became shorter", marks=posix_only),
])
def test_leaves_the_older_output(build, folder, line, status, said):
    found = build.run(*line.split(), cwd=folder)
    assert found.status == status and re.search(said, found.said, re.IGNORECASE | re.MULTILINE)
    assert {*names(folder)} == {*Files} and (folder / "output").read_bytes() == b"older"


@posix_only
@pytest.mark.parametrize("line", ["scramble pipe output", "cdi4dc pipe output", "cdi4dc good pipe",
                                  "cdicheck pipe", "scramble /dev/null output"])
def test_pipes_and_devices_are_refused_at_once(build, folder, line):
    os.mkfifo(folder / "pipe")
    status, said = build.run(*line.split(), cwd=folder)
    assert status > 0 and said.endswith(": not a file\n") and {*names(folder)} == {*Files, "pipe"}


@posix_only
@pytest.mark.parametrize("end, said", [
    pytest.param(360000, "output: File too large", id="full disc"),
    pytest.param(360001, "output: warning: 360001 .*\ncdi4dc: output: File too large", id="one sector more"),
    pytest.param(2**32 - 150, "good: too large for an image", id="more sectors than the format can count")])
def test_tells_of_an_overfull_disc(build, folder, end, said):
    os.truncate(folder / "good", (end - 11702) * 2048)
    found = build.run("cdi4dc", "good", "output", cwd=folder, restore_signals=False,
                      preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (MiB, MiB)))
    assert found.status == 1 and re.fullmatch(f"cdi4dc: {said}\n", found.said)


@posix_only
def test_shows_its_progress_on_a_terminal(build, folder):
    screen, terminal = pty.openpty()
    os.truncate(folder / "good", 20000 * 2048)  # more batches than percents
    subprocess.run([build.program("cdi4dc"), "good", "output"], cwd=folder, stderr=terminal, check=True)
    os.set_blocking(screen, False)
    shown = "".join(f"\rcdi4dc: {percent} %" for percent in range(101))
    assert os.read(screen, 9999).decode() == shown + "\r\n"
