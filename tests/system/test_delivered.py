"""The programs as delivered: hardened, stripped, and described to their host."""

import os
import re
import subprocess
from pathlib import Path

import pytest
from conftest import names

pytestmark = pytest.mark.delivered


@pytest.mark.posix
@pytest.mark.parametrize("program", ["marrowvan", "scramble", "cdi4dc", "cdicheck"])
def test_programs_are_hardened_and_stripped(build, program):
    found = subprocess.check_output(["readelf", "-SWld", "--dyn-syms", build.program(program)], text=True)
    for wanted in ("Flags: NOW PIE", "GNU_RELRO", "GNU_STACK .* RW ", "__stack_chk_fail@", r"[fh]_chk@"):
        assert re.search(wanted, found)
    assert not re.search(r"\.symtab|\.debug_", found)
    symbols = (build.folder / f"symbols/{program}.debug").read_bytes()
    assert b"-fstack-clash-protection" in symbols  # among the flags of the compiler
    assert b"-fcf-protection" in symbols or os.uname().machine != "x86_64"


@pytest.mark.posix
def test_host_without_proc_is_an_error(workspace):
    without_proc = ["--dev-bind", "/", "/", "--tmpfs", "/proc", workspace.program, "--dir", "x"]
    ended = workspace.build.run(Path("/usr/bin/bwrap"), *without_proc)
    assert ended == (1, "Run-time error: '57'\n\nDevice I/O error\n")


@pytest.mark.windows
def test_programs_have_version_information_and_a_manifest(build):
    for program in build.bin.glob("*.exe"):
        content, is_ours = program.read_bytes(), program.stem != "sh-elf-objcopy"
        assert f"OriginalFilename\0{program.name}\0".encode("utf-16-le") in content
        # Without the identifier of Windows 10, Windows reports an older version to the program.
        assert b"8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a" in content
        assert (b"IHDR\0\0\1\0\0\0\1\0" in content) == is_ours, "an icon with an image of 256 pixels"
        assert (b">UTF-8<" in content) == (is_ours and program.stem != "marrowvan")
        header = subprocess.check_output(["objdump", "-ph", program], text=True)
        assert " .debug_" not in header
        assert re.search(r"MajorSubsystemVersion\s6\n", header) or not is_ours


def test_archive_has_the_programs_documents_and_examples(build, tmp_path):
    pack = ["cmake", "--install", build.folder, "--component", "portable", "--prefix", tmp_path]
    subprocess.run(pack, check=True, stdout=subprocess.DEVNULL)
    assert {path.name for path in build.bin.iterdir()} | {
        "README.md", "NEWS.md", "LICENSE", "THIRD-PARTY.md", "docs", "examples"} == {*names(tmp_path)}
    assert (tmp_path / "examples/hello/hello.elf").read_bytes() == build.hello_elf.read_bytes()
    assert names(tmp_path / "examples/cmake") == ["CMakeLists.txt", "CdiImage.cmake", "sh4.cmake"]
