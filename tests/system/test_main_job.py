"""The main job with the real tools, from the example's ELF file to a processor that runs what was packed."""

import shutil
import subprocess

import pytest

import disc_reference

OTHER_MAKERS = [pytest.param(tool, marks=pytest.mark.posix_only)
                for tool in ("xorrisofs", "genisoimage") if shutil.which(tool)]


@pytest.fixture(scope="module", params=["mkisofs", *OTHER_MAKERS])
def job(build, tmp_path_factory, request):
    """The folder in which one whole run took place, with this one tool that makes ISO images on PATH, or on
    Windows with the portable folder alone."""
    folder = tmp_path_factory.mktemp("job")
    app, game = folder / "app", folder / "my g\xE4me"
    for tool in () if build.is_windows else ("sh-elf-objcopy", request.param):
        (folder / tool).symlink_to(shutil.which(tool))
    shutil.copytree(build.bin, app)
    shutil.copytree(build.root / "examples/hello/data", game)
    if not build.is_windows:
        (app / request.param).mkdir()  # a folder is no tool
    shutil.copy(build.hello_elf, game)
    here = {"TMPDIR": folder, "PATH": folder}
    if build.is_windows:
        here = {"PRESS_OK_TEMP": build.host_path(folder)}
    ended = build.run(app / build.program("marrowvan").name, "--dir", game, "--cdi", folder / "hello.cdi",
                      "--cdvol", "Hello", "--coder", "Me", env=here)
    assert ended.status == 0 and "Usage" not in ended.said
    assert build.run("cdicheck", folder / "hello.cdi").status == 0
    image = disc_reference.read_image(folder / "hello.cdi")
    (folder / "hello.iso").write_bytes(image.iso)
    return folder


def isoinfo(job, *arguments):
    return subprocess.check_output(["isoinfo", "-N", "11702", "-i", job / "hello.iso", *arguments])


def test_the_image_is_the_folder_behind_its_boot_sector(build, job):
    boot_sector = (job / "my g\xE4me/IP.BIN").read_bytes()
    assert (job / "hello.iso").read_bytes()[:32768] == boot_sector
    assert boot_sector[256:] == (build.bin / "IP.TMPL").read_bytes()[256:]
    assert sorted(isoinfo(job, "-R", "-f").decode().splitlines()) == [
        "/1ST_READ.BIN", "/about.txt", "/levels", "/levels/first.txt", "/levels/second level.txt"]


def test_the_boot_file_is_the_scrambled_program_and_runs(build, job):
    packed, plain = isoinfo(job, "-x", "/1ST_READ.BIN;1"), job / "plain.bin"
    (job / "packed.bin").write_bytes(packed)
    assert build.run("scramble", "-d", job / "packed.bin", job / "program.bin") == (0, "")
    objcopy = ["sh-elf-objcopy", "-O", "binary", "-R", ".stack", build.hello_elf, plain]
    subprocess.run(objcopy, check=True)
    assert (job / "program.bin").read_bytes() == plain.read_bytes()
    assert packed == disc_reference.scramble(plain.read_bytes())

    machine = ("timeout 60 qemu-system-sh4 -M r2d -nodefaults -net none -display none -monitor none"
               " -serial null -serial stdio -device loader,file=hello.boot,addr=0x0c008000,force-raw=on"
               " -device loader,file=program.bin,addr=0x0c010000,force-raw=on"
               " -device loader,addr=0xac008300,cpu-num=0")
    (job / "hello.boot").write_bytes((job / "hello.iso").read_bytes()[:32768])
    running = subprocess.Popen(machine.split(), cwd=job, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    spoken = running.stdout.readline()
    running.terminate()  # which ends the machine as well
    running.communicate()
    assert spoken == b"Marrowvane hello\r\n"
