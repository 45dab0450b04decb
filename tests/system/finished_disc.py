"""Takes a finished image apart and runs its program."""

import subprocess

import disc_reference

MACHINE = ("timeout 60 qemu-system-sh4 -M r2d -nodefaults -net none -display none -monitor none"
           " -serial null -serial stdio -device loader,file=boot.bin,addr=0x0c008000,force-raw=on"
           " -device loader,file=program.bin,addr=0x0c010000,force-raw=on"
           " -device loader,addr=0xac008300,cpu-num=0")


class FinishedDisc:
    """The contents of an image. Its parts are written to `folder`."""

    def __init__(self, build, image, folder):
        self.folder, self.content = folder, disc_reference.read_image(image).iso
        (folder / "disc.iso").write_bytes(self.content)
        self.names = sorted(self._isoinfo("-R", "-f").decode().splitlines())
        self.boot_file = self._isoinfo("-x", "/1ST_READ.BIN;1")
        (folder / "packed.bin").write_bytes(self.boot_file)
        assert build.run("scramble", "-d", folder / "packed.bin", folder / "program.bin") == (0, "")
        self.program = (folder / "program.bin").read_bytes()

    def _isoinfo(self, *arguments):
        return subprocess.check_output(["isoinfo", "-N", "11702", "-i", self.folder / "disc.iso", *arguments])

    def run(self):
        """Starts the program on an SH-4 processor and returns the first line that it prints."""
        (self.folder / "boot.bin").write_bytes(self.content[:32768])
        running = subprocess.Popen(MACHINE.split(), cwd=self.folder, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE)
        output = running.stdout.readline()
        running.terminate()  # ends the machine too
        running.communicate()
        return output
