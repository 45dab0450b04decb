"""The whole job with the real tools, from the example's ELF file to a processor that runs the boot file."""

import shutil
import subprocess

import pytest

import disc_reference
from finished_disc import FinishedDisc

OTHER_MAKERS = [pytest.param(tool, marks=pytest.mark.posix)
                for tool in ("xorrisofs", "genisoimage") if shutil.which(tool)]


@pytest.fixture(scope="module", params=["mkisofs", *OTHER_MAKERS])
def job(build, tmp_path_factory, request):
    """The folder of one whole run. On POSIX, PATH has only this maker of ISO images. On Windows, the portable
    folder has all tools."""
    folder = tmp_path_factory.mktemp("job")
    app, game = folder / "app", folder / "my g\xE4me"
    shutil.copytree(build.bin, app)
    shutil.copytree(build.root / "examples/hello/data", game)
    shutil.copy(build.hello_elf, game)
    if build.is_windows:
        request.getfixturevalue("windows_mkisofs")
        environment = {"PRESS_OK_TEMP": build.host_path(folder)}
    else:
        for tool in ("sh-elf-objcopy", request.param):
            (folder / tool).symlink_to(shutil.which(tool))
        (app / request.param).mkdir()  # a folder does not count as the tool
        if request.param == "xorrisofs":
            (folder / "genisoimage").symlink_to("/bin/false")  # xorrisofs comes first
        environment = {"TMPDIR": folder, "PATH": folder}
    ended = build.run(app / build.program("marrowvan").name, "--dir", game, "--cdi", folder / "hello.cdi",
                      "--cdvol", "Hello", "--coder", "Me", env=environment)
    assert ended.status == 0 and "Usage" not in ended.said
    assert build.run("cdicheck", folder / "hello.cdi").status == 0
    return folder


def test_image_is_the_boot_sector_and_the_folder(build, job):
    boot_sector = (job / "my g\xE4me/IP.BIN").read_bytes()
    disc = FinishedDisc(build, job / "hello.cdi", job)
    assert disc.content[:32768] == boot_sector
    assert boot_sector[256:] == (build.bin / "IP.TMPL").read_bytes()[256:]
    assert disc.names == [
        "/1ST_READ.BIN", "/about.txt", "/levels", "/levels/first.txt", "/levels/second level.txt"]


def test_boot_file_is_the_scrambled_program_and_runs(build, job):
    disc, plain = FinishedDisc(build, job / "hello.cdi", job), job / "plain.bin"
    objcopy = ["sh-elf-objcopy", "-O", "binary", "-R", ".stack", build.hello_elf, plain]
    subprocess.run(objcopy, check=True)
    assert disc.program == plain.read_bytes()
    assert disc.boot_file == disc_reference.scramble(plain.read_bytes())
    assert disc.run() == b"Marrowvane hello\r\n"
