"""The man pages list the options and messages of their programs, all of them and no others."""

import re
import subprocess

import pytest

from conftest import ROOT

pytestmark = pytest.mark.posix_only
PACKAGING = ROOT / "packaging"
PAGES = ["marrowvan", "cdicheck", "marrowvan-scramble", "marrowvan-cdi4dc"]


def items(page, heading):
    text = (PACKAGING / f"man/{page}.1").read_text()
    text = text.replace(r"\-", "-").replace(r"\(aq", "'").replace(r"\(dq", '"')
    section = re.search(rf"^\.S[hs] {heading}\n(.*?)(^\.S[hs]|\Z)", text, re.DOTALL | re.MULTILINE)[1]
    return set(re.findall(r"^\.It (.+)", section, re.MULTILINE))


@pytest.mark.parametrize("page", PAGES)
def test_the_options(build, page):
    told = build.run(page.removeprefix("marrowvan-"), "--help").said
    options = {"--help", *re.findall(r"(?<![\w-])--?[a-z]+", told)}  # marrowvan's usage leaves --help out
    assert {"-" + name for item in items(page, "OPTIONS") for name in re.findall(r"Fl (\S+)", item)} == options


def test_the_messages_of_a_run(build):
    code = "\n".join(path.read_text() for path in (ROOT / "src").rglob("*.[ch]*"))
    renamed = {number: {text: message} for number, text, message in
               re.findall(r'\{(\d+), L"(.*?)", L"(.*?)"\}', code)}
    messages = {build.run("marrowvan", "--help").said.splitlines()[1], *re.findall(r'L"([^"]+!)"', code)}
    for number, text in re.findall(r'RuntimeError \w+\{(\d+), L"(.*?)"\}', code):
        plain = {text: f"Run-time error: '{number}' {text}"}
        messages.add(renamed.get(number, plain).get(text, "(no message, and exit status 1)"))
    assert items("marrowvan", "DIAGNOSTICS") == messages


@pytest.mark.parametrize("severity", ["Error", "Warning"])
def test_how_the_problems_of_an_image_begin(severity):
    code = re.sub(r'"\s*"', "", (ROOT / "tools/cdicheck/problems.h").read_text())
    texts = re.findall(rf'{severity}\(\s*"(.*)"\);', code.replace('\\"', '"'))
    begins = {re.match(r".*?[.:](?= |$)", text)[0].replace("{}", "...") for text in texts}
    assert items("cdicheck", severity + "s") == begins


@pytest.mark.parametrize("command", [
    *(f"LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z man/{page}.1 >/dev/null"
      for page in PAGES),
    "desktop-file-validate desktop/marrowvan.desktop",
])
def test_the_checkers_of_the_host_have_nothing_to_say(command):
    assert subprocess.check_output(command, shell=True, stderr=subprocess.STDOUT, cwd=PACKAGING) == b""
