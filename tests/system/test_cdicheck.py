"""Checks images of all layouts, and images in which one thing is wrong, with cdicheck."""

import json
import os
import pty
import random
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


def with_pool(address):
    """A program that ends with four loads and with the four addresses that they load."""
    return make_program(0, 0) + pack("<4H4I", 0xD001, 0xD002, 0xD002, 0xD003, *[address] * 4)


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
FirstTracks = {f"{kind} of {size}": make_track(bytes(3 * 2048), size, start=299, **how)
               for kind, how in Kinds.items() for size in (2352, 2448)}
Layouts, Corpus = small_images(), sorted(Path(__file__).parents[2].glob("fuzz/corpus/*.cdi"))
NoTrack = Silence._replace(parts={}, pregap=0, start=11724 + 6900)  # in a third session
MarkedAsForm2 = ("sector 21: subheader", 0, b"\0\0\x28\0" * 2)
Many = image(track=make_track(make_iso(Files | {b"MANY.BIN;1": bytes(100 * 2048)})))
RawTrack, GoodTrack = make_track(make_iso(Files), 2352), make_track(make_iso(Files))
LastOfForm2 = make_track(make_iso(Files), subheaders={21: b"\0\0\x20\0"})
WithZeros = make_track(make_iso(Files | {b"LAST.BIN;1": bytes(2048)}))
ECC = "error correction code"
Reasons = {"sync": "header", "header": "header", "subheader": "subheader", "user data": "checksum",
           "EDC": "checksum", "zero": ECC, "P parity": ECC, "Q parity": ECC}
RETURN = b"\x0b\0\x09\0"
Damaged, LongPaths = "a folder of the volume is damaged", "no-volume: the paths of the volume are longer"
LayoutWords = {
    "mode-1-of-2048": "wrong-mode",
    "mode-1-of-2352": "wrong-mode",
    "audio-track-first": "audio-track-first",
    "cd-text": "cd-text",
}
# All others are errors.
WARNINGS = """wrong-session-gap one-session disc-too-long descriptor-value cd-text audio-track-first wrong-mode
    other-hardware-name wrong-areas wrong-check-value folder-unreadable files-outside-tracks hole
    not-a-program""".split()


def wrong(part, lba=11723):
    return f"damaged-sectors: 1, the first one at LBA {lba} ({Reasons[part]})"


def at_end_of_disc(last_lba):
    start = last_lba - 21
    return image(first=Silence._replace(start=start - 11702),
                 track=make_track(make_iso(Files, start), start=start))


def third_session(start):
    return image(last=[[make_track(make_iso(Files, start), start=start)]])


# The problems of each image: identifiers, some with words of the report. "&" separates problems.
CASES = {
    **{f"layout {layout}": (LayoutWords.get(layout, ""), small) for layout, small in Layouts.items()},
    **{f"good track of {kind}": ("", image(first=track)) for kind, track in FirstTracks.items()},
    **{f"wrong {part} in {kind}":
       (wrong(part, 301), image((name, 2, b"!"), first=FirstTracks[kind + " of 2352"]))
       for kind in Kinds for part in Reasons for name in [f"session 1, track 1: sector 2: {part}"]
       if f"sector 2: {part}" in FirstTracks[kind + " of 2352"].parts},
    "header of another mode": (wrong("header"), image(("sector 21: header", 3, b"\1"), track=RawTrack)),
    "Form 1 of zeros marked as Form 2": (wrong("subheader"), image(MarkedAsForm2, track=WithZeros)),
    "copies of the subheader differ in Form 2 without an EDC": (wrong("subheader"), image(
        ("sector 21: EDC", 0, bytes(4)), ("sector 21: subheader", 7, b"!"), track=LastOfForm2)),
    "wrong EDC in the parity": (wrong("EDC"), image(track=with_wrong("EDC", GoodTrack, "sector 21: "))),
    **{f"wrong {part} of Mode 1 in the parity":
       (wrong(part, 301), image(first=with_wrong(part, FirstTracks["Mode 1 of 2352"], "sector 2: ")))
       for part in ("EDC", "zero")},
    "empty sector of Form 2 without an EDC": ("", image(
        ("sector 21: user data", 0, bytes(2324)), ("sector 21: EDC", 0, bytes(4)), track=LastOfForm2)),
    "mode 3": ("wrong-mode & descriptor-value", image(track=make_track(make_iso(Files), mode=3))),
    "100 damaged sectors": ("damaged-sectors: 100, the first one at LBA 11724 (subheader)",
                            patch(Many, End, (b"\xff" + bytes(2335)) * 100)),
    "damaged sectors in two tracks, the later one first": (
        f"damaged-sectors: 2, the first one at LBA 11722 ({ECC}) & wrong-session-gap",
        image(("session 1, track 1: sector 2: EDC", 0, b"!"), ("sector 20: P parity", 0, b"!"),
              first=make_track(bytes(3 * 2048), start=20000))),
    "damaged sector without a track to boot from": (
        f"no-data-track & {wrong('EDC')}", image(("sector 21: EDC", 0, b"!"), last=[[NoTrack]])),
    "sector of a file that was never written": (
        "hole: 1, the first one at LBA 11723", patch(Whole, End - 2336, bytes(2336))),
    "sector of a file that was never written, after its header": ("hole", image(
        *((f"sector 21: {part}", 0, bytes(size)) for part, size in [
            ("subheader", 8), ("user data", 2048), ("EDC", 4), ("P parity", 172), ("Q parity", 104)]),
        track=RawTrack)),
    "sector of the boot file that was never written": (
        "hole-in-boot-file: 1, the first one at LBA 11722 & not-a-program",
        patch(Whole, End - 2 * 2336, bytes(2336))),
    "sector after the last file that was never written": (
        "", patch(image(track=make_track(make_iso(Files) + bytes(2048))), End, bytes(2336))),
    "sector 359999, the last of a disc": ("", at_end_of_disc(359999)),
    "sector 360000": ("disc-too-long: 360001 sectors", at_end_of_disc(360000)),
    "boot sector without a hardware id": ("no-boot-header", disc(change=(0, b"X"))),
    "hardware id with another last character": ("other-hardware-name", disc(change=(15, b"X"))),
    "another hardware maker": ("other-hardware-name", disc(change=(16, b"X"))),
    "one area letter at its place": ("", disc(change=(48, b"  E"))),
    "no area letter": ("wrong-areas", disc(change=(48, b"   "))),
    "two area letters in the wrong order": ('wrong-areas: "UJ"', disc(change=(48, b"UJ "))),
    "area letter at the fourth place": ("wrong-areas", disc(change=(48, b"J  E"))),
    "boot sector with a wrong check value": (
        "wrong-check-value: is \\x9B{}9, but ... require 0FC8",
        disc(change=(32, b"\x9b{}9".ljust(16) + b"JUE".ljust(16) + b"T0134"))),
    "boot sector of zeros after its header": ("header-only", disc(change=(256, bytes(32512)))),
    "boot sector with code FF FF": ("no-start-code", disc(change=(0x300, b"\xff\xff"))),
    "boot sector with code FF 01": ("", disc(change=(0x300, b"\xff\1"))),
    "boot sector with code 00 00 00 00": ("no-start-code", disc(change=(0x300, bytes(32768 - 0x300)))),
    "boot sector with code 00 00 00 01": ("", disc(change=(0x300, b"\0\0\0\1"))),
    "data track of 15 sectors": ("no-boot-sector & wrong-session-gap & wrong-session-gap", image(
        track=make_track(make_iso(Files)[32768:], start=11718), last=[[make_track(bytes(15 * 2048))]])),
    "volume made for address 0": ("wrong-address: use -C 0,11702", image(track=make_track(make_iso(Files, 0)))),
    "volume made for an address two sectors before": (
        "wrong-address: use -C 0,11702", image(track=make_track(make_iso(Files, 11700)))),
    "volume made for another address on a disc that starts at 0": (
        "no-volume: the root folder is not at its address & one-session",
        b"".join(lay_out([[make_track(make_iso(Files, 9), start=0)]], b"", b"").values())),
    "address of the root in two notations that differ": (
        "no-volume: contradict each other", disc(change=(Volume + 158, b"\1\0"))),
    "root folder after the end of the file": (
        "no-volume: sector 11720 is in no data track & tracks-missing",
        Whole[: DataOffset + 17 * 2336] + Whole[End:]),
    "volume descriptor of type 2": ("no-volume: has type 2", disc(change=(Volume, b"\2"))),
    "data track without a volume": ("no-volume: no ISO 9660 volume", disc(change=(Volume + 1, b"X"))),
    "folder with a damaged record": (
        f"folder-unreadable: SUB/ cannot be read ({Damaged})", with_folder(make_record(b"D", 7) + b"\1")),
    "folder before the data track": (
        "folder-unreadable: SUB/ cannot be read (sector 7 is", disc(change=(Root + 68 + 2, b"\7\0"))),
    "folder that contains itself": ("", disc(change=(Root + 68 + 2, pack("<I", 11702 + 18)))),
    "record that ends after its sector": (
        f"no-volume: {Damaged}", disc(change=(Root + 34, pack("B33x", 34) * 58 + b"\x2b"))),
    "record that ends with its sector": (
        "no-boot-file", disc(change=(Root + 34, pack("B33x", 34) + pack("B32x", 33) * 60))),
    "record shorter than its fields": (f"no-volume: {Damaged}", disc(change=(Root + 68, b"\x20"))),
    "record shorter than its name": (f"no-volume: {Damaged}", disc(change=(Root + 68 + 32, b"\4"))),
    "path of 5000 characters": (LongPaths, with_folder(b"".join(Nested))),
    "paths of 32 MiB": (LongPaths, with_folder(b"".join([*Nested[:19], Deep, ManyFiles]))),
    "folders of 400000 sectors": (
        "no-volume: larger than a disc", with_folder(Overlapping + bytes(10040 * 2048))),
    "100020 files": ("no-volume: more files than a disc can", with_folder(ManyFiles, len(ManyFiles))),
    "file in an audio track": (
        "files-outside-tracks: 1, the first one is LAST.BIN", disc(change=(Root + 152 + 2, pack("<I", 5)))),
    "file that ends after the data track": (
        "files-outside-tracks: 1, the first one is LAST.BIN", disc(change=(Root + 152 + 10, pack("<I", 2049)))),
    "volume that was cut off": ("files-outside-tracks: 1", image(track=make_track(make_iso(Files)[:-2048]))),
    "boot file in lower case": ("no-boot-file: names 1st_READ.BIN,", disc(change=(96, b"1st"))),
    "name of the boot file ends in NUL": ("", disc(change=(96, b"1ST_READ.BIN" + bytes(4)))),
    "boot file with half the name of a file": ("no-boot-file", disc(change=(96, b"TA.TXT      "))),
    "no name of a boot file": ("no-boot-file-name", disc(change=(96, b" " * 16))),
    "boot file with a path": ("boot-file-path: names SUB/DATA.TXT,", disc(change=(96, b"SUB/DATA.TXT"))),
    "boot file in a folder": ("boot-file-in-folder: (SUB/DATA.TXT)", disc(change=(96, b"DATA.TXT    "))),
    "hidden boot file": ("", disc(change=(Root + 104 + 25, b"\1"))),
    "boot file without a version": ("no-file-version", disc({b"1ST_READ.BIN": Files[BootFile]})),
    "boot file of version 2": ("no-file-version", disc({b"1ST_READ.BIN;2": Files[BootFile]})),
    "boot file of the largest size": ("not-a-program", with_boot_file(bytes(0xFF0000))),
    "boot file one byte larger": (
        "boot-file-too-large: 16711681 bytes, ... room for 16711680", with_boot_file(bytes(0xFF0001))),
    "boot file of 511 bytes, which is not judged": ("", with_boot_file(bytes(511))),
    "boot file of 512 bytes": ("not-a-program", with_boot_file(bytes(512))),
    "boot file of equal slices": ("", with_boot_file(pack("<2H2I20x", 0xD000, 0xD001, *[0x8C010000] * 2) * 16)),
    "empty boot file": ("boot-file-empty", with_boot_file(b"")),
    "boot file that ends after the data track": (
        "boot-file-outside", disc(change=(Root + 104 + 10, b"\1\x10\0\0"))),
    "boot file one sector before the data track": (
        "boot-file-outside", disc(change=(Root + 104 + 2, pack("<I", 11701)))),
    "boot file that is not scrambled": ("not-scrambled", with_boot_file(make_program().ljust(65536))),
    "boot file in ELF": ("elf-file", with_boot_file(b"\x7fELF" + bytes(600))),
    "program that loads 4 of 11 addresses": ("", scrambled(make_program(4, 11))),
    "program that loads 4 of 12 addresses": ("not-a-program", scrambled(make_program(4, 12))),
    "program that loads 3 of 3 addresses": ("not-a-program", scrambled(make_program(3, 3))),
    "function that loads no address": ("", scrambled(make_program(0, 15) + RETURN)),
    "function that pops after its return": ("", scrambled(make_program(0, 15) + b"\x0b\0\xf6\x68")),
    "function that loads none of 16 addresses": ("not-a-program", scrambled(make_program(0, 16) + RETURN)),
    "program with addresses that have no neighbour": (
        "not-a-program", with_boot_file(pack("<H2xI24x", 0xD000, 0x8C010000) * 16)),
    "address at the end of the zeroed data": ("", scrambled(with_pool(0x0C020000 + 639).ljust(640, b"\0"))),
    "address after the zeroed data": (
        "not-a-program", scrambled(with_pool(0x0C020000 + 640).ljust(640, b"\0"))),
    "last load from a whole word": ("", scrambled(with_pool(0x8C010000))),
    "last load from half a word": ("not-a-program", scrambled(with_pool(0x8C010000)[:-2])),
    "program after 1 MiB of data": ("", scrambled(bytes(1 << 20) + make_program())),
    "program before 1 MiB of data": ("", scrambled(make_program() + random.Random(1).randbytes(1 << 20))),
    "file cut off": ("truncated", Whole[:-1000]),
    "version 7": ("unknown-version: version 7", Whole[:-8] + pack("<I", 0x80000007) + Whole[-4:]),
    "5 bytes after the descriptor": ("bytes-after-descriptor: 5 bytes", Whole + bytes(5)),
    "file with a sector too many": (
        "bytes-outside-tracks: 2336 bytes", Whole[:End] + bytes(2336) + Whole[End:]),
    "file with a sector too few": (
        "tracks-missing & files-outside-tracks", Whole[: End - 2336] + Whole[End:]),
    "index lengths too short, damage after their end": (
        "wrong-track-length & wrong-session-gap & files-outside-tracks",
        image(("sector 21: EDC", 0, b"!")).replace(pack("<II", 150, 302), pack("<II", 150, 301))
        .replace(pack("<II", 150, 22), pack("<II", 150, 21))),
    "second total length too short": ("wrong-track-length", image(("fields", 65, pack("<I", 171)))),
    "sector size of code 5": ("unknown-sector-size", image(("fields", 56, b"\5"))),
    "data track inside an audio track": (
        "tracks-overlap: at LBA 11702 & wrong-session-gap", image(first=Silence._replace(start=11402))),
    "data track one sector after an audio track": (
        "wrong-session-gap: 0 sectors", image(first=Silence._replace(start=11400))),
    "11399 sectors between two sessions": (
        "wrong-session-gap: 11399 sectors are between session 2 ... of 11400",
        image(first=Silence._replace(start=1))),
    "6900 sectors before a third session": ("", third_session(11724 + 6900)),
    "6901 sectors before a third session": (
        "wrong-session-gap: 6901 ... session 3 ... 6900", third_session(11724 + 6901)),
    "one session": (
        "one-session", b"".join(lay_out([[make_track(make_iso(Files, 0), start=0)]], b"", b"").values())),
    **{f"descriptor with another value: {what}": ("descriptor-value", image((part, at, new)))
       for what, part, at, new in [
           ("the zero of a session block", "session block 2", 0, b"\1"),
           ("the zero of the end mark", "session block 3", 0, b"\1"),
           ("the mark of a track's header", "session 1, track 1: header", 11, b"\xfe"),
           ("the mark of the disc's header", "disc block: header", 0, b"\xfe"),
           ("the mode of the first track", "session 1, track 1: fields", 16, b"\3"),
           ("the word after the ISRC", "session 1, track 1: fields", 97, b"\xfe")]},
    "99 tracks": ("no-data-track", image(last=[[NoTrack] * 97])),
    "100 tracks": ("not-an-image: describes more tracks", image(last=[[NoTrack] * 98])),
    "open session after a session without data": ("no-data-track", image(last=[[NoTrack], []])),
    "session of audio": (
        "no-data-track & one-session", b"".join(lay_out([[Silence]], b"", b"").values())),
    "two data tracks at one address": ("wrong-session-gap", image(first=make_track(bytes(3 * 2048)))),
    "descriptor of 1 MiB": ("", with_descriptor_of(1 << 20)),
    "descriptor of 1 MiB and 1 byte": (
        "not-an-image: it does not end like an image", with_descriptor_of((1 << 20) + 1)),
    "descriptor without a session": (
        "not-an-image: ends in the middle of a block", pack("<II", 0x80000005, 0)),
    "descriptor longer than the file": (
        "not-an-image: it does not end like an image", pack("<II", 0x80000006, 9)),
    "descriptor with 65535 index lengths": ("not-an-image", image(("fields", 0, b"\xff\xff"))),
    "descriptor with 4294967295 CD-Text blocks": ("not-an-image", image(("fields", 10, b"\xff" * 4))),
    "file of 5000 zeros": ("not-an-image: it does not end like an image", bytes(5000)),
}


def describes(problem, line):
    """True if a line of the report is about this problem and contains its words in their order."""
    id, _, words = problem.partition(": ")
    severity = "cdicheck" if id == "not-an-image" else "warning" if id in WARNINGS else "error"
    end = "" if id == "not-an-image" else f" [{id}]"
    pattern = ".*".join(map(re.escape, [f"{severity}: ", *words.split(" ... "), end]))
    return re.fullmatch(pattern, line)


MEASURED = "import resource, subprocess, sys; status = subprocess.call(sys.argv[1:]);" \
    "print('KiB:', resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, flush=True); sys.exit(status)"


@pytest.mark.parametrize("expected, checked", CASES.values(), ids=CASES)
def test_exactly_these_problems_are_reported(build, tmp_path, expected, checked):
    (tmp_path / "a.cdi").write_bytes(checked)
    checker = build.program("cdicheck")
    status, said = build.run(Path(sys.executable), "-c", MEASURED, checker, "a.cdi", cwd=tmp_path)
    found = re.findall("^(?:error|warning|cdicheck): .*", said, re.MULTILINE)
    assert ("No problems found." in said) == (found == [])
    for problem in expected.split(" & ") if expected else []:
        line = next((line for line in found if describes(problem, line)), None)
        assert line, f"{problem} is not in this report:\n{said}"
        found.remove(line)
    assert found == []
    ids = {problem.partition(":")[0] for problem in expected.split(" & ")} - {"", *WARNINGS}
    assert status == (2 if ids == {"not-an-image"} else 1 if ids else 0)
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
    assert report["problems"][0].items() >= {"id": "no-boot-file", "severity": "error"}.items()
    (tmp_path / "a.cdi").write_bytes(b"")
    status, said = build.run("cdicheck", "--json", "a.cdi", cwd=tmp_path)
    assert status == 2 and json.loads(said)["problems"] == [{
        "id": "not-an-image", "severity": "error", "text": "not a DiscJuggler image: the file is too short"}]


@pytest.mark.parametrize("options, status, ids", [
    pytest.param("", 0, ["wrong-areas", "wrong-check-value"], id="warnings alone do not fail"),
    pytest.param("--strict", 1, ["wrong-areas", "wrong-check-value"], id="--strict counts warnings"),
    pytest.param("--strict --ignore wrong-areas", 1, ["wrong-check-value"], id="--ignore leaves others"),
    pytest.param("--ignore wrong-areas --strict --ignore wrong-check-value", 0, [], id="two times --ignore"),
    pytest.param("--ignore wrong", 2, [], id="--ignore refuses an unknown problem"),
])
def test_options_decide_which_problems_count(build, tmp_path, options, status, ids):
    (tmp_path / "a.cdi").write_bytes(disc(change=(32, b"0000 CD-ROM1/1      ")))
    ended = build.run("cdicheck", *options.split(), "a.cdi", cwd=tmp_path)
    assert (ended.status, re.findall(r" \[(.*)\]$", ended.said, re.MULTILINE)) == (status, ids)


def test_progress_is_shown_at_a_terminal(build, tmp_path):
    (tmp_path / "a.cdi").write_bytes(Many)
    user, terminal = pty.openpty()
    call = build.call("cdicheck", tmp_path / "a.cdi")
    assert subprocess.run(**call, stdout=subprocess.DEVNULL, stderr=terminal).returncode == 0
    assert re.search(rb"cdicheck: \d+ %.*\rcdicheck: 100 %\r\n$", os.read(user, 4096))


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
