"""The examples, built as a user builds them: in a copy, with the portable folder."""

import os
import shutil
from pathlib import Path

import pytest

from finished_disc import FinishedDisc

pytestmark = [pytest.mark.posix, pytest.mark.delivered]
MAKE = 'make -C {} MARROWVAN="$TOOLS/marrowvan" CDICHECK="$TOOLS/cdicheck"'
CMAKE = ('cd cmake; [ -e build ] || cmake -S . -B build -G "{}" --toolchain sh4.cmake'
         ' -DMARROWVAN="$TOOLS/marrowvan" -DCDICHECK="$TOOLS/cdicheck" && cmake --build build')
ASSEMBLER, C = ("hello/hello.s", b"Marrowvane hello\r\n"), ("hello-c/hello.c", b"Marrowvane hello from C\r\n")
EXAMPLES = {  # the command, the image, and the program on it
    "Makefile, assembler": (MAKE.format("hello"), "hello/hello.cdi", *ASSEMBLER),
    "Makefile, C": (MAKE.format("hello-c"), "hello-c/hello.cdi", *C),
    "CMake with Ninja": (CMAKE.format("Ninja"), "cmake/build/hello.cdi", *C),
    "CMake with make": (CMAKE.format("Unix Makefiles"), "cmake/build/hello.cdi", *C),
}
UNATTENDED = """#!/bin/sh
if [ "$DISPLAY$WAYLAND_DISPLAY" ] || read -r answer; then exit 1; fi
exec "${0%/*}/../app/marrowvan" "$@"
"""


@pytest.fixture(params=EXAMPLES.values(), ids=EXAMPLES)
def example(build, tmp_path, request):
    return Example(build, tmp_path / "my -- games", *request.param)


class Example:
    def __init__(self, build, root, command, image, source, greeting):
        self.folder = shutil.copytree(build.root / "examples", root / "examples")
        self.image, self.source = self.folder / image, self.folder / source
        self.build, self.command, self.greeting, self.tools = build, command, greeting, root / "tools"
        shutil.copytree(build.bin, root / "app")
        self.tools.mkdir()
        (self.tools / "marrowvan").write_text(UNATTENDED)
        (self.tools / "marrowvan").chmod(0o755)
        (self.tools / "cdicheck").symlink_to(root / "app/cdicheck")

    def run(self):
        """Builds it at a display, with text on standard input: neither may reach the program."""
        variables = {"DISPLAY": ":0", "WAYLAND_DISPLAY": "0", "TMPDIR": self.tools, "TOOLS": self.tools}
        return self.build.run(Path("sh"), "-c", self.command, cwd=self.folder, env=variables, input="yes\n")

    def make(self):
        ended = self.run()
        assert ended.status == 0, ended.said
        return self.image.stat().st_mtime_ns

    def touch(self, path):
        """Makes a file one nanosecond newer than the image."""
        os.utime(path, ns=(0, self.image.stat().st_mtime_ns + 1))


def test_image_is_made_again_only_after_a_change(build, example, tmp_path):
    data = example.source.parent / "data"
    for change in (example.source, next(data.rglob("* *")), data):
        made = example.make()
        assert example.make() == made
        if change == data:
            (data / "about.txt").unlink()
        example.touch(change)
        assert example.make() > made, change.name
    disc = FinishedDisc(build, example.image, tmp_path)
    left = [f"/{path.relative_to(data)}" for path in data.rglob("*")]
    assert disc.names == sorted(["/1ST_READ.BIN", *left])
    assert disc.run() == example.greeting


@pytest.mark.parametrize("tool", ["marrowvan", "cdicheck"])
def test_no_image_after_a_failure(example, tool):
    made = example.make()
    (example.tools / tool).rename(example.tools / "good")
    (example.tools / tool).symlink_to(shutil.which("false"))
    example.touch(example.source)
    assert example.run().status != 0 and not example.image.exists()
    (example.tools / "good").rename(example.tools / tool)
    assert example.make() > made
