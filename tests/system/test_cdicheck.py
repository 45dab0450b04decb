"""Checks images of all layouts, and images in which one thing is wrong, with cdicheck."""

import json
import os
import re
import subprocess
import sys
from pathlib import Path
from struct import pack

import pytest
from disc_reference import DataOffset, Silence, lay_out, make_iso, make_parity, make_program, make_record
from disc_reference import make_track, scramble, small_images

pytestmark = pytest.mark.posix
BootFile, Volume, Root = b"1ST_READ.BIN;1", 16 * 2048, 18 * 2048
Files = {BootFile: scramble(make_program()), b"LAST.BIN;1": b"\7" * 2048}  # in sectors 20 and 21 of 22


def patch(data, at, new):
    return data[:at] + new + data[at + len(new):]


def image(*changes, track=make_track(make_iso(Files)), first=Silence, last=()):
    """An image of these tracks. A change is the name of a part, an offset in it, and new bytes."""
    parts = lay_out([[first], [track], *last], b"a.cdi", b"TEST")
    for part, *change in changes:
        name = part if part in parts else f"session 2, track 1: {part}"
        parts[name] = patch(parts[name], *change)
    return b"".join(parts.values())


def disc(files=Files, change=(0, b""), start=11702, **track):
    """An image with sectors of 2048 bytes. They have no checksum, so only the volume can be wrong."""
    return image(track=make_track(patch(make_iso(files, start), *change), 2048, start=start, **track))


def with_folder(sectors, size=2048):
    """An image whose folder SUB is in these sectors. The first one is at LBA 11724."""
    return disc(Files | {b"HERE": sectors}, change=(Root + 68 + 2, pack("<I4xI", 11702 + 22, size)))


def with_boot_file(content):
    return disc({BootFile: content})


def scrambled(program):
    return with_boot_file(scramble(program))


def with_wrong(what, track, sector):
    """A track with a wrong part of a sector, and the parity of the wrong bytes."""
    parts = dict(track.parts)
    parts[sector + what] = bytes(byte ^ 0x55 for byte in parts[sector + what])
    mode_1 = sector + "zero" in parts
    names = ("header", "user data", "EDC", "zero") if mode_1 else ("subheader", "user data", "EDC")
    covered = b"".join([b"" if mode_1 else bytes(4), *(parts[sector + name] for name in names)])
    parts[sector + "P parity"], parts[sector + "Q parity"] = make_parity(covered)
    return track._replace(parts=parts)


def with_descriptor_of(length, short=disc()):
    return short[:-8] + bytes(length - 636) + short[-8:-4] + pack("<I", length)


Nested = [make_record(b"D" * 200, 11725 + i).ljust(2048, b"\0") for i in range(25)]
Overlapping = [patch(make_record(b"D", 11725 + i), 10, pack("<I", 10000 * 2048)) for i in range(40)]
Overlapping = b"".join(Overlapping).ljust(2048, b"\0")
ManyFiles = (make_record(b"F", 0, 0) * 60).ljust(2048, b"\0") * 1667
Deep = patch(Nested[19], 10, pack("<I", len(ManyFiles)))
Whole, End = image(), DataOffset + 22 * 2336
Kinds = {"Mode 1": {"mode": 1}, "Form 1": {}, "Form 2": {"subheaders": {2: b"\0\0\x20\0"}}}
FirstTracks = {f"{kind} of {size}": make_track(bytes(3 * 2048), size, start=0, **how)
               for kind, how in Kinds.items() for size in (2352, 2448)}
Layouts, Corpus = small_images(), sorted(Path(__file__).parents[2].glob("fuzz/corpus/*.cdi"))
NoTrack, MarkedAsForm2 = Silence._replace(parts={}, pregap=0), ("sector 21: subheader", 0, b"\0\0\x28\0" * 2)
Many = image(track=make_track(make_iso(Files | {b"MANY.BIN;1": bytes(100 * 2048)})))
RawTrack, GoodTrack = make_track(make_iso(Files), 2352), make_track(make_iso(Files))
LastOfForm2 = make_track(make_iso(Files), subheaders={21: b"\0\0\x20\0"})
WithZeros = make_track(make_iso(Files | {b"LAST.BIN;1": bytes(2048)}))
Good, NoProgram, NoCode = "No problems", "warning: ... does not look like a program", "no code at offset 0x300"
ECC = "error correction code"
Reasons = {"sync": "header", "header": "header", "subheader": "subheader", "user data": "checksum",
           "EDC": "checksum", "zero": ECC, "P parity": ECC, "Q parity": ECC}
NoFile, Outside = "but no such file", "lies outside the data tracks"
Damaged, Unversioned = "a folder of the volume is damaged", 'without the version ";1"'
UnreadableSub, LongPaths = "warning: The folder SUB/ cannot be read ", "the paths of the volume are longer"
NoTracks, WrongLength = "last session has no data track", "length is not that of its parts"
NoImage = "cdicheck: a.cdi: no DiscJuggler image: the descriptor "
NoBlock = NoImage + "ends in the middle of a block"
LayoutWords = {
    "version-2": "version 2, 2 sessions\n ... No problems",
    "version-old-3": "version 3, ... No problems",
    "mode-1-of-2048": "data, Mode 1, ... warning: ... not in Mode 2",
    "mode-1-of-2352": "warning: ... not in Mode 2",
    "audio-track-first": "warning: ... audio track",
}


def wrong(part, lba=11723):
    return f"1 sector has a wrong ... at LBA {lba} ({Reasons[part]}):"


# The words of the report on each image. "&" separates those of several problems.
CASES = {
    **{f"layout {layout}": (LayoutWords.get(layout, Good), small) for layout, small in Layouts.items()},
    **{f"good track of {kind}": (Good, image(first=track)) for kind, track in FirstTracks.items()},
    **{f"wrong {part} in {kind}": (wrong(part, 2), image((name, 2, b"!"), first=FirstTracks[kind + " of 2352"]))
       for kind in Kinds for part in Reasons for name in [f"session 1, track 1: sector 2: {part}"]
       if f"sector 2: {part}" in FirstTracks[kind + " of 2352"].parts},
    "header of another mode": (wrong("header"), image(("sector 21: header", 3, b"\1"), track=RawTrack)),
    "Form 1 marked as Form 2": (wrong("EDC"), image(MarkedAsForm2)),
    "Form 1 of zeros marked as Form 2": (wrong("subheader"), image(MarkedAsForm2, track=WithZeros)),
    "copies of the subheader differ": (wrong("subheader"), image(("sector 21: subheader", 7, b"\1"))),
    "copies of the subheader differ in Form 2 without an EDC": (wrong("subheader"), image(
        ("sector 21: EDC", 0, bytes(4)), ("sector 21: subheader", 7, b"!"), track=LastOfForm2)),
    "wrong EDC in the parity": (wrong("EDC"), image(track=with_wrong("EDC", GoodTrack, "sector 21: "))),
    **{f"wrong {part} of Mode 1 in the parity":
       (wrong(part, 2), image(first=with_wrong(part, FirstTracks["Mode 1 of 2352"], "sector 2: ")))
       for part in ("EDC", "zero")},
    "empty sector of Form 2 without an EDC": (Good, image(
        ("sector 21: user data", 0, bytes(2324)), ("sector 21: EDC", 0, bytes(4)), track=LastOfForm2)),
    "mode 3": ("unknown, ... warning: ... not in Mode 2", image(track=make_track(make_iso(Files), mode=3))),
    "100 damaged sectors": ("100 sectors have ... first one at LBA 11724 (subheader):",
                            patch(Many, End, (b"\xff" + bytes(2335)) * 100)),
    "damaged sectors in two tracks, the later one first": (
        f"2 sectors have ... first one at LBA 11722 ({ECC}):",
        image(("session 1, track 1: sector 2: EDC", 0, b"!"), ("sector 20: P parity", 0, b"!"),
              first=make_track(bytes(3 * 2048), start=20000))),
    "damaged sector without a track to boot from": (
        f"{NoTracks} & {wrong('EDC')}", image(("sector 21: EDC", 0, b"!"), last=[[NoTrack]])),
    "sector 360000, the last of a disc": (Good, disc(start=360000 - 22)),
    "sector 360001": ("warning: The disc has 360001 sectors, but", image(first=Silence._replace(start=359699))),
    "boot sector without a hardware id": ("no boot header. Remove IP.BIN from", disc(change=(0, b"X"))),
    "boot sector with a wrong check value": ("warning: ... is \\x9B{}9, but ... version make it 0FC8",
                                             disc(change=(32, b"\x9b{}9".ljust(32) + b"T0134"))),
    "boot sector of zeros after its header": ("without an IP.TMPL", disc(change=(256, bytes(32512)))),
    "boot sector with code FF FF": (NoCode, disc(change=(0x300, b"\xff\xff"))),
    "boot sector with code FF 01": (Good, disc(change=(0x300, b"\xff\1"))),
    "boot sector with code 00 00 00 00": (NoCode, disc(change=(0x300, bytes(32768 - 0x300)))),
    "boot sector with code 00 00 00 01": (Good, disc(change=(0x300, b"\0\0\0\1"))),
    "data track of 15 sectors": ("shorter than the boot sector", image(
        track=make_track(make_iso(Files)[32768:], start=11718), last=[[make_track(bytes(15 * 2048))]])),
    "volume made for another address": ("mkisofs -C 0,11702", disc(change=(Volume + 158, b"\1\0"))),
    "data track without a volume": ("no ISO 9660 volume", disc(change=(Volume + 1, b"X"))),
    "folder with a damaged record": (UnreadableSub + f"({Damaged})", with_folder(make_record(b"D", 7) + b"\1")),
    "folder before the data track": (UnreadableSub + "(sector 7 lies", disc(change=(Root + 68 + 2, b"\7\0"))),
    "folder that contains itself": (Good, disc(change=(Root + 68 + 2, pack("<I", 11702 + 18)))),
    "record that ends after its sector": (Damaged, disc(change=(Root, pack("B33x", 34) * 59 + b"\x2b"))),
    "record that ends with its sector": (NoFile, disc(change=(Root, pack("B34x", 35) + pack("B32x", 33) * 61))),
    "record shorter than its fields": (Damaged, disc(change=(Root + 68, b"\x20"))),
    "record shorter than its name": (Damaged, disc(change=(Root + 68 + 32, b"\4"))),
    "path of 5000 characters": (LongPaths, with_folder(b"".join(Nested))),
    "paths of 32 MiB": (LongPaths, with_folder(b"".join([*Nested[:19], Deep, ManyFiles]))),
    "folders of 400000 sectors": ("larger than a disc", with_folder(Overlapping + bytes(10040 * 2048))),
    "100020 files": ("more files than a disc can", with_folder(ManyFiles, len(ManyFiles))),
    "boot file in lower case": ("1st_READ.BIN, " + NoFile, disc(change=(96, b"1st"))),
    "name of the boot file ends in NUL": (Good, disc(change=(96, b"1ST_READ.BIN" + bytes(4)))),
    "boot file with half the name of a file": ("TA.TXT, " + NoFile, disc(change=(96, b"TA.TXT      "))),
    "boot file in a folder": ("lies in a folder (SUB/DATA.TXT)", disc(change=(96, b"DATA.TXT    "))),
    "hidden boot file": (Good, disc(change=(Root + 104 + 25, b"\1"))),
    "boot file without a version": (Unversioned, disc({b"1ST_READ.BIN": Files[BootFile]})),
    "boot file of version 2": (Unversioned, disc({b"1ST_READ.BIN;2": Files[BootFile]})),
    "boot file of the largest size": (NoProgram, with_boot_file(bytes(0xFF0000))),
    "boot file one byte larger": ("16711681 bytes, ... room for 16711680", with_boot_file(bytes(0xFF0001))),
    "boot file of 511 bytes, which is not judged": (Good, with_boot_file(bytes(511))),
    "boot file of 512 bytes": (NoProgram, with_boot_file(bytes(512))),
    "boot file of equal slices": (Good, with_boot_file(pack("<H2xI24x", 0xD000, 0x8C010000) * 16)),
    "empty boot file": ("is empty", with_boot_file(b"")),
    "boot file that ends after the data track": (Outside, disc(change=(Root + 104 + 10, b"\1\x10\0\0"))),
    "boot file one sector before the data track": (Outside, disc(change=(Root + 104 + 2, pack("<I", 11701)))),
    "boot file that is not scrambled": ("is not scrambled", with_boot_file(make_program().ljust(65536))),
    "boot file in ELF": ("ELF file", with_boot_file(b"\x7fELF" + bytes(600))),
    "program with 12 addresses in 50 loads": (NoProgram, scrambled(make_program(12))),
    "program with 25 addresses in 99 loads": (Good, scrambled(patch(make_program(13), 0, b"\t"))),
    "program with one load": (NoProgram, with_boot_file(pack("<2HI504x", 0xD000, 9, 0x8C010000))),
    "loads of the last word": (Good, scrambled(pack("<2H504xI", 0xD07E, 0xD07E, 0x8C010000))),
    "loads of half a word at the end": (NoProgram, scrambled(pack("<2H508xH", 0xD07F, 0xD07F, 0x8C01))),
    "data after the first 64 KiB": (Good, scrambled(bytes(65024) + make_program() + b"\xd0" * 65536)),
    "file cut off": ("truncated", Whole[:-1000]),
    "file with a sector too many": ("2336 bytes belong to no track", Whole[:End] + bytes(2336) + Whole[End:]),
    "file with a sector too few": ("too short for the tracks", Whole[: End - 2336] + Whole[End:]),
    "index lengths too short, damage after their end": (
        WrongLength, image(("sector 21: EDC", 0, b"!")).replace(pack("<II", 150, 302), pack("<II", 150, 301))
        .replace(pack("<II", 150, 22), pack("<II", 150, 21))),
    "second total length too short": (WrongLength, image(("fields", 65, pack("<I", 171)))),
    "sector size of code 5": ("unknown size", image(("fields", 56, b"\5"))),
    "99 tracks": (NoTracks, image(last=[[NoTrack] * 97])),
    "100 tracks": (NoImage + "tells of more tracks", image(last=[[NoTrack] * 98])),
    "open session after a session without data": (NoTracks, image(last=[[NoTrack], []])),
    "session of audio": ("1 session\n ... no data track", b"".join(lay_out([[Silence]], b"", b"").values())),
    "two data tracks at one address": (Good, image(first=make_track(bytes(3 * 2048)))),
    "descriptor of 1 MiB": (Good, with_descriptor_of(1 << 20)),
    "descriptor of 1 MiB and 1 byte": (NoImage + "lies at no possible", with_descriptor_of((1 << 20) + 1)),
    "descriptor without a session": (NoBlock, pack("<II", 0x80000005, 0)),
    "descriptor longer than the file": (NoImage + "is longer than the file", pack("<II", 0x80000006, 9)),
    "descriptor with 65535 index lengths": (NoBlock, image(("fields", 0, b"\xff\xff"))),
    "descriptor with 4294967295 CD-Text blocks": (NoBlock, image(("fields", 10, b"\xff" * 4))),
    "file of 5000 zeros": ("cdicheck: a.cdi: no DiscJuggler image: no version", bytes(5000)),
}


MEASURED = "import resource, subprocess, sys; status = subprocess.call(sys.argv[1:]);" \
    "print('KiB:', resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, flush=True); sys.exit(status)"


@pytest.mark.parametrize("words, checked", CASES.values(), ids=CASES)
def test_exactly_these_problems_are_reported(build, tmp_path, words, checked):
    (tmp_path / "a.cdi").write_bytes(checked)
    checker = build.program("cdicheck")
    status, said = build.run(Path(sys.executable), "-c", MEASURED, checker, "a.cdi", cwd=tmp_path)
    for problem in words.split(" & "):
        assert re.search(".*".join(map(re.escape, problem.split(" ... "))), said, re.DOTALL)
    verdicts = re.findall("^(No|error:|warning:|cdicheck:) ", said, re.MULTILINE)
    assert len(verdicts) == len(words.split(" & "))
    assert "warning:" not in verdicts or "warning:" in words
    assert status == max({"No": 0, "error:": 1, "warning:": 1, "cdicheck:": 2}[kind] for kind in verdicts)
    assert said.count("no DiscJuggler image") < 2
    bound = 512 if build.folder.name == "asan" else 96  # a sanitizer keeps freed memory for a while
    assert int(re.search("^KiB: (.*)", said, re.MULTILINE)[1]) < bound * 1024


REPORT = """DiscJuggler image, version 3.5, 2 sessions
  session 1: audio, 302 sectors of 2352 bytes from LBA 0
  session 2: data, Mode 2, 20 sectors of 2048 bytes from LBA 11702
Boot header
  hardware: SEGA SEGAKATANA
  maker: SEGA ENTERPRISES
  device: B6D8 CD-ROM1/1
  areas: JUE
  peripherals: E000010
  product: T0000
  version: V1.000
  date: 20260101
  boot file: éST_READ.BIN
  software maker: Software maker
  title: \\x0A\\x7Fµle
Volume "Té\\x1FT"
  SUB/DATA.TXT  1 bytes
  \xa0.TXT  0 bytes
  é\\x1F.TXT  0 bytes
  é\\x9F.TXT  0 bytes
error: The boot header names"""


def test_reports(build, tmp_path):
    names = {b"\xa0.TXT;1": b"", b"\xc3\xa9\x1f.TXT;1": b"", b"\xe9\x9f.TXT;1": b""}
    header = b"\xe9ST_READ.BIN".ljust(16) + b"Software maker".ljust(16) + b"\n\x7f\xb5"
    named = disc(names, change=(96, header), pregap=100).replace(b"TEST ", b"T\xe9\x1fT ")
    (tmp_path / "a.cdi").write_bytes(named)
    assert build.run("cdicheck", "a.cdi", cwd=tmp_path).said.startswith(REPORT)
    in_json = build.run("cdicheck", "--json", "a.cdi", cwd=tmp_path).said
    report = json.loads(in_json)
    assert in_json.isascii()
    assert report["version"] == "3.5" and report["sessions"] == 2 and report["volume"] == "Té\x1fT"
    assert [list(track.values()) for track in report["tracks"]] == [
        [302, "audio", 2352, 1, 0], [20, "data, Mode 2", 2048, 2, 11702]]
    assert report["bootHeader"] == dict(re.findall("  ([a-z ]+): (.*)", REPORT)) | {"title": "\n\x7fµle"}
    assert report["files"][2:] == [{"path": path, "size": 0} for path in ("é\x1f.TXT", "é\x9f.TXT")]
    assert report["problems"][0]["severity"] == "error"
    (tmp_path / "a.cdi").write_bytes(b"")
    status, said = build.run("cdicheck", "--json", "a.cdi", cwd=tmp_path)
    assert status == 2 and "no DiscJuggler image: the" in json.loads(said)["problems"][0]["text"]


def test_names_are_read_as_utf_8_or_as_iso_8859_1(build, tmp_path):
    valid = ["\x7f\x80\u07ff", "\u0800\ud7ff", "\ue000\uffff", "\U00010000\U0010ffff"]
    other = ["\x80", "\xc3", "\xe2\x82", "\xe2\x82A", "\xc1\xbf", "\xe0\x9f\xbf", "\xf0\x8f\xbf\xbf",
             "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80"]
    names = [name.encode() for name in valid] + [name.encode("latin-1") for name in other]
    (tmp_path / "a.cdi").write_bytes(disc({name + b";1": b"" for name in names}))
    report = json.loads(build.run("cdicheck", "--json", "a.cdi", cwd=tmp_path).said)
    assert {file["path"] for file in report["files"]} == {*valid, *other, "SUB/DATA.TXT"}


def test_corpus_of_the_fuzzer_has_all_layouts():
    assert {path.stem: path.read_bytes() for path in Corpus} == Layouts


def test_report_that_cannot_be_written_is_a_failure(build):
    reader, without_reader = os.pipe()
    os.close(reader)
    for output in (without_reader, os.open("/dev/full", os.O_WRONLY)):
        ended = subprocess.run(**build.call("cdicheck", Corpus[0]), stdout=output, stderr=subprocess.PIPE)
        os.close(output)
        assert (ended.returncode, ended.stderr) == (2, b"cdicheck: the report could not be written\n")
