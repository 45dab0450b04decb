"""The main job with the real tools, from the example's ELF file to a processor that runs what was packed."""

import shutil
import subprocess
import threading
from pathlib import Path, PureWindowsPath

import pytest

import disc_reference


def path_here(item):
    return "/" + PureWindowsPath(item).relative_to("Z:\\").as_posix() if item.startswith("Z:\\") else item


def run_requests(app, stop):
    """Runs on this machine the tools that their stand-ins on Windows leave to it, and keeps the ISO image."""
    while not stop.wait(0.005):
        if (app / "request").exists():
            tool, *arguments = map(path_here, (app / "request").read_text().splitlines())
            subprocess.run([Path(tool).stem, *arguments], check=False, stderr=subprocess.DEVNULL)
            if "-o" in arguments:
                shutil.copy(arguments[arguments.index("-o") + 1], app / "kept.iso")
            (app / "request").unlink()


OTHER_MAKERS = [pytest.param(tool, marks=pytest.mark.posix_only)
                for tool in ("xorrisofs", "genisoimage") if shutil.which(tool)]


@pytest.fixture(scope="module", params=["mkisofs", *OTHER_MAKERS])
def job(build, tmp_path_factory, request):
    """The folder in which one whole run took place, with this one tool that makes ISO images on PATH."""
    folder = tmp_path_factory.mktemp("job")
    app, game = folder / "app", folder / "my game"
    for tool in ("sh-elf-objcopy", request.param):
        (folder / tool).symlink_to(shutil.which(tool))
    shutil.copytree(build.bin, app)
    shutil.copytree(build.root / "examples/hello/data", game)
    shutil.copy(build.hello_elf, game)
    for tool in ("sh-elf-objcopy", "mkisofs") if build.is_windows else ():
        shutil.copy(build.program("stand_in"), app / f"{tool}.exe")
        (app / f"{tool}.does").write_text("bridge")

    stop = threading.Event()
    bridge = threading.Thread(target=run_requests, args=(app, stop))
    bridge.start()
    here = {"TMPDIR": folder, "PATH": folder}
    if build.is_windows:
        here = {"PRESS_OK_TEMP": build.host_path(folder)}
    ended = build.run(app / build.program("marrowvan").name, "--dir", game, "--cdi", folder / "hello.cdi",
                      "--cdvol", "Hello", "--coder", "Me", env=here)
    stop.set()
    bridge.join()
    assert ended.status == 0 and "Usage" not in ended.said
    image = disc_reference.read_image(folder / "hello.cdi")
    (folder / "hello.iso").write_bytes(image.iso)
    return folder


def isoinfo(job, *arguments):
    return subprocess.check_output(["isoinfo", "-N", "11702", "-i", job / "hello.iso", *arguments])


def test_the_image_is_the_folder_behind_its_boot_sector(build, job):
    boot_sector = (job / "my game/IP.BIN").read_bytes()
    assert (job / "hello.iso").read_bytes()[:32768] == boot_sector
    assert boot_sector[256:] == (build.bin / "IP.TMPL").read_bytes()[256:]
    assert sorted(isoinfo(job, "-R", "-f").decode().splitlines()) == [
        "/1ST_READ.BIN", "/about.txt", "/levels", "/levels/first.txt", "/levels/second level.txt"]
    if build.is_windows:
        assert (job / "hello.iso").read_bytes() == (job / "app/kept.iso").read_bytes()


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
