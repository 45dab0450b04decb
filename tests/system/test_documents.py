"""The documents agree with the programs: options, messages and version."""

import re
import subprocess

import pytest

from conftest import ROOT, VERSION
from test_cdicheck import WARNINGS

pytestmark = [pytest.mark.posix, pytest.mark.delivered]
PACKAGING = ROOT / "packaging"
PAGES = ["marrowvan", "cdicheck", "marrowvan-scramble", "marrowvan-cdi4dc"]


def items(page, heading):
    text = (PACKAGING / f"man/{page}.1").read_text()
    text = text.replace(r"\-", "-").replace(r"\(aq", "'").replace(r"\(dq", '"')
    section = re.search(rf"^\.S[hs] {heading}\n(.*?)(^\.S[hs]|\Z)", text, re.DOTALL | re.MULTILINE)[1]
    return set(re.findall(r"^\.It (.+)", section, re.MULTILINE))


def texts_in(program, encoding):
    found = subprocess.check_output(["strings", "-n", "6", "-e", encoding, program], text=True)
    return set(found.splitlines())


@pytest.mark.parametrize("page", PAGES)
def test_man_page_lists_all_options(build, page):
    shown = build.run(page.removeprefix("marrowvan-"), "--help").said
    options = {"--help", *re.findall(r"(?<![\w-])--?[a-z]+", shown)}  # marrowvan's usage leaves --help out
    assert {"-" + name for item in items(page, "OPTIONS") for name in re.findall(r"Fl (\S+)", item)} == options


def test_man_page_lists_the_messages_of_a_run(build):
    texts = texts_in(build.program("marrowvan"), "L")
    usage = build.run("marrowvan", "--help").said.splitlines()[1]
    listed = {re.sub(r"^Run-time error: '\d+' ", "", item) for item in items("marrowvan", "DIAGNOSTICS")}
    assert listed - texts == {usage, "(no message, and exit status 1)"}
    assert {text for text in texts if text.endswith("!")} <= listed


def test_documents_list_the_problems_of_an_image(build):
    known = set(re.findall("^  ([a-z-]+)$", build.run("cdicheck", "--ignore", "X", "image").said, re.MULTILINE))
    errors, warnings = ({item.removeprefix("Sy ") for item in items("cdicheck", kind)}
                        for kind in ("Errors", "Warnings"))
    assert warnings == {*WARNINGS} and errors | {"not-an-image"} == known - warnings
    rows = re.findall(r"^\| (`.*?) \|", (ROOT / "docs/troubleshooting.md").read_text(), re.MULTILINE)
    assert {id for row in rows for id in re.findall("`([a-z-]+)`", row)} >= known


def test_documents_name_the_version():
    for name, newest in {"NEWS.md": "## (.*)", "packaging/debian/changelog": r"marrowvane \((.*?)\)"}.items():
        assert re.search(newest, (ROOT / name).read_text())[1] == VERSION, name
    for page in [path for folder in (".", "docs", "examples") for path in ROOT.glob(f"{folder}/*.md")]:
        named = re.findall(r"(?:[Mm]arrowvane[ _-]|\bv)(\d+\.\d+)", page.read_text())
        assert set(named) <= {VERSION}, page


@pytest.mark.parametrize("command", [
    *(f"LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z man/{page}.1 >/dev/null"
      for page in PAGES),
    "desktop-file-validate desktop/marrowvan.desktop",
], ids=[*PAGES, "desktop entry"])
def test_checkers_of_the_host_find_no_fault(command):
    assert subprocess.check_output(command, shell=True, stderr=subprocess.STDOUT, cwd=PACKAGING) == b""
