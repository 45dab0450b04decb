"""What cdicheck says of good images of all layouts, and of those in which one thing is wrong."""

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

BootFile, Volume, Root = b"1ST_READ.BIN;1", 16 * 2048, 18 * 2048
Files = {BootFile: scramble(make_program()), b"LAST.BIN;1": b"\7" * 2048}  # in sectors 20 and 21 of 22


def patch(data, at, new):
    return data[:at] + new + data[at + len(new):]


def image(*changes, track=make_track(make_iso(Files)), first=Silence, last=()):
    """An image with these tracks, in which the bytes at some place of a part are others."""
    parts = lay_out([[first], [track], *last], b"a.cdi", b"TEST")
    for part, *change in changes:
        name = part if part in parts else f"session 2, track 1: {part}"
        parts[name] = patch(parts[name], *change)
    return b"".join(parts.values())


def disc(files=Files, change=(0, b""), start=11702, **track):
    """Sectors of 2048 bytes, which have no checksum: only what is in the volume can be wrong."""
    return image(track=make_track(patch(make_iso(files, start), *change), 2048, start=start, **track))


def with_folder(sectors, size=2048):
    """A disc whose folder SUB lies in these sectors, the first one at LBA 11724."""
    return disc(Files | {b"HERE": sectors}, change=(Root + 68 + 2, pack("<I4xI", 11702 + 22, size)))


def with_wrong(what, track, sector):
    """With a parity that is right for the wrong bytes."""
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
NoTrack, OtherForm = Silence._replace(parts={}, pregap=0), 2 * b"\0\0\x28\0"
Many = image(track=make_track(make_iso(Files | {b"MANY.BIN;1": bytes(100 * 2048)})))
LastOfForm2 = make_track(make_iso(Files), subheaders={21: b"\0\0\x20\0"})
WithZeros = make_track(make_iso(Files | {b"LAST.BIN;1": bytes(2048)}))
Good, NoProgram, WrongSector = "No problems", "warning: ... does not look like a program", "1 sector has"
DamagedFolder, NoImage = "a folder of the volume is damaged", "cdicheck: a.cdi: no DiscJuggler image: "
Seen = {
    "version-2": "version 2, 2 sessions\n ... No problems",
    "version-old-3": "version 3, ... No problems",
    "mode-1-of-2048": "data, Mode 1, ... warning: ... not in Mode 2",
    "mode-1-of-2352": "warning: ... not in Mode 2",
    "audio-track-first": "warning: ... audio track",
}
ROWS = [
    *(pytest.param(Seen.get(layout, Good), small, id=layout) for layout, small in Layouts.items()),
    *(pytest.param(Good, image(first=track), id=kind) for kind, track in FirstTracks.items()),
    *(pytest.param("1 sector has ... at LBA 2:", image((what, 2, b"!"), first=track), id=f"{kind}, {what}")
      for kind, track in FirstTracks.items()
      for what in lay_out([[track]], b"", b"") if "sector 2:" in what and "subchannel" not in what),
    (WrongSector, image(("sector 21: header", 3, b"\1"), track=make_track(make_iso(Files), 2352))),
    (WrongSector, image(("sector 21: subheader", 0, OtherForm))),
    (WrongSector, image(("sector 21: subheader", 0, OtherForm), track=WithZeros)),
    (WrongSector, image(("sector 21: subheader", 0, OtherForm), ("sector 21: user data", 9, b"!"))),
    (WrongSector, image(("sector 21: subheader", 7, b"\1"))),
    (WrongSector, image(("sector 21: EDC", 0, bytes(4)), ("sector 21: subheader", 7, b"!"), track=LastOfForm2)),
    (WrongSector, image(track=with_wrong("EDC", make_track(make_iso(Files)), "sector 21: "))),
    *((WrongSector, image(first=with_wrong(what, FirstTracks["Mode 1 of 2352"], "sector 2: ")))
      for what in ("EDC", "zero")),
    (Good, image(("sector 21: user data", 0, bytes(2324)), ("sector 21: EDC", 0, bytes(4)), track=LastOfForm2)),
    ("unknown, ... warning: ... not in Mode 2", image(track=make_track(make_iso(Files), mode=3))),
    ("100 sectors have", patch(Many, DataOffset + 22 * 2336, b"\xff" * 233600)),
    (Good, disc(start=360000 - 22)),
    (Good, with_descriptor_of(1 << 20)),
    (Good, disc({BootFile: scramble(patch(make_program(13), 0, b"\t"))})),  # 25 addresses in 99 loads
    ("mkisofs -C 0,11702", disc(change=(Volume + 158, b"\1\0"))),
    ("no ISO 9660 volume", disc(change=(Volume + 1, b"X"))),
    ("no boot header. Remove IP.BIN from the folder and make the image again", disc(change=(0, b"X"))),
    ("warning: ... is \\x9B{}9, but product number and version make it 0FC8",
     disc(change=(32, b"\x9b{}9".ljust(32) + b"T0134"))),
    ("without an IP.TMPL", disc(change=(256, bytes(32512)))),
    ("no code at offset 0x300", disc(change=(0x300, b"\xff\xff"))),
    ("no code at offset 0x300", disc(change=(0x300, bytes(32768 - 0x300)))),
    (Good, disc(change=(0x300, b"\xff\1"))),
    (Good, disc(change=(0x300, b"\0\0\0\1"))),
    ("names 1st_READ.BIN, but no such file", disc(change=(96, b"1st"))),
    (Good, disc(change=(96, b"1ST_READ.BIN" + bytes(4)))),
    ("names TA.TXT, but no such file", disc(change=(96, b"TA.TXT      "))),
    ("lies in a folder (SUB/DATA.TXT)", disc(change=(96, b"DATA.TXT    "))),
    ('without the version ";1"', disc({b"1ST_READ.BIN": Files[BootFile]})),
    ('without the version ";1"', disc({b"1ST_READ.BIN;2": Files[BootFile]})),
    (NoProgram, disc({BootFile: bytes(0xFF0000)})),
    ("16711681 bytes, but the console has room for 16711680", disc({BootFile: bytes(0xFF0001)})),
    (Good, disc({BootFile: bytes(511)})),  # too short to be judged
    (NoProgram, disc({BootFile: bytes(512)})),
    (Good, disc({BootFile: pack("<H2xI24x", 0xD000, 0x8C010000) * 16})),  # the same when scrambled
    ("is empty", disc({BootFile: b""})),
    ("lies outside the data tracks", disc(change=(Root + 104 + 10, b"\1\x10\0\0"))),
    ("lies outside the data track", disc(change=(Root + 104 + 2, pack("<I", 20)))),  # an audio track's
    ("is not scrambled", disc({BootFile: make_program().ljust(65536)})),
    ("ELF file", disc({BootFile: b"\x7fELF" + bytes(600)})),
    (NoProgram, disc({BootFile: scramble(make_program(12))})),
    (NoProgram, disc({BootFile: pack("<2HI504x", 0xD000, 9, 0x8C010000)})),  # one load of an address
    (Good, disc({BootFile: scramble(pack("<2H504xI", 0xD07E, 0xD07E, 0x8C010000))})),  # two, of the last one
    (Good, disc({BootFile: scramble(bytes(65024) + make_program() + b"\xd0" * 65536)})),  # data behind 64 KiB
    ("warning: The folder SUB/ cannot be read (a folder of the volume is damaged)",
     with_folder(make_record(b"D", 7) + b"\1")),
    ("warning: The folder SUB/ cannot be read (sector 7 lies", disc(change=(Root + 68 + 2, b"\7\0"))),
    (DamagedFolder, disc(change=(Root, pack("B33x", 34) * 59 + b"\x2b"))),  # beyond the sector's end
    ("no such file", disc(change=(Root, pack("B34x", 35) + pack("B32x", 33) * 61))),  # up to it
    (DamagedFolder, disc(change=(Root + 68, b"\x20"))),  # shorter than any record
    (DamagedFolder, disc(change=(Root + 68 + 32, b"\4"))),  # a longer name than the record has room for
    ("read: the paths of the volume are longer", with_folder(b"".join(Nested))),
    ("read: the paths of the volume are longer", with_folder(b"".join([*Nested[:19], Deep, ManyFiles]))),
    ("read: the folders of the volume are larger than a disc", with_folder(Overlapping + bytes(10040 * 2048))),
    ("read: the volume holds more files than a disc can", with_folder(ManyFiles, len(ManyFiles))),
    (Good, disc(change=(Root + 68 + 2, pack("<I", 11702 + 18)))),  # a folder in itself
    ("2 sectors have ... first one at LBA 11722:",
     image(("session 1, track 1: sector 2: EDC", 0, b"!"), ("sector 20: P parity", 0, b"!"),
           first=make_track(bytes(3 * 2048), start=20000))),
    (WrongSector, image(("sector 21: Q parity", 103, b"!"), track=make_track(make_iso(Files), 2352))),
    ("truncated", Whole[:-1000]),
    ("2336 bytes belong to no track", Whole[:End] + bytes(2336) + Whole[End:]),
    ("too short for the tracks", Whole[: End - 2336] + Whole[End:]),
    ("length is not that of its parts", Whole.replace(pack("<II", 150, 302), pack("<II", 150, 301))
     .replace(pack("<II", 150, 22), pack("<II", 150, 21))),
    ("length is not that of its parts", image(("sector 21: EDC", 0, b"!"))
     .replace(pack("<II", 150, 302), pack("<II", 150, 301))
     .replace(pack("<II", 150, 22), pack("<II", 150, 21))),
    ("length is not that of its parts", image(("fields", 65, pack("<I", 171)))),
    ("unknown size", image(("fields", 56, b"\5"))),
    ("last session has no data track", image(last=[[NoTrack] * 97])),
    ("last session has no data track", image(last=[[NoTrack], []])),
    ("1 session\n ... no data track", b"".join(lay_out([[Silence]], b"", b"").values())),
    ("warning: The disc has 360001 sectors, but", image(first=Silence._replace(start=360001 - 302))),
    (Good, image(first=make_track(bytes(3 * 2048)))),  # where the last session's track is as well
    ("shorter than the boot sector", image(track=make_track(make_iso(Files)[32768:], start=11718),
                                           last=[[make_track(bytes(15 * 2048))]])),
    (NoImage + "the descriptor ends in the middle of a block", pack("<II", 0x80000005, 0)),
    (NoImage + "the descriptor is longer than the file", pack("<II", 0x80000006, 9)),
    (NoImage + "the descriptor lies at no possible place", with_descriptor_of((1 << 20) + 1)),
    (NoImage + "the descriptor tells of more tracks", image(last=[[NoTrack] * 98])),
    (NoImage + "the descriptor ends in the middle of a block", image(("fields", 0, b"\xff\xff"))),
    (NoImage + "the descriptor ends in the middle of a block", image(("fields", 10, b"\xff" * 4))),
    (NoImage, bytes(5000)),
]


MEASURED = "import resource, subprocess, sys; status = subprocess.call(sys.argv[1:]);" \
    "print('KiB:', resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, flush=True); sys.exit(status)"


@pytest.mark.parametrize("words, checked", ROWS, ids=lambda value: value if isinstance(value, str) else "-")
def test_says(build, tmp_path, words, checked):
    (tmp_path / "a.cdi").write_bytes(checked)
    checker = build.program("cdicheck")
    status, said = build.run(Path(sys.executable), "-c", MEASURED, checker, "a.cdi", cwd=tmp_path)
    [(verdict, kind)] = re.findall("^((No|error:|warning:|cdicheck:) .*)", said, re.MULTILINE)
    assert re.search(".*".join(map(re.escape, words.split(" ... "))), said, re.DOTALL)
    assert kind != "warning:" or kind in words
    assert status == {"No": 0, "error:": 1, "warning:": 1, "cdicheck:": 2}[kind]
    assert verdict.count("no DiscJuggler image") < 2
    bound = 512 if build.folder.name == "asan" else 96  # a sanitizer keeps what was freed for a while
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
Volume "Té\\x1BT"
  SUB/DATA.TXT  1 bytes
  \xa0.TXT  0 bytes
  é\\x1B.TXT  0 bytes
  é\\x9B.TXT  0 bytes
error: The boot header names"""


def test_reports(build, tmp_path):
    names = {b"\xa0.TXT;1": b"", b"\xc3\xa9\x1b.TXT;1": b"", b"\xe9\x9b.TXT;1": b""}
    header = b"\xe9ST_READ.BIN".ljust(16) + b"Software maker".ljust(16) + b"\n\x7f\xb5"
    named = disc(names, change=(96, header), pregap=100).replace(b"TEST ", b"T\xe9\x1bT ")
    (tmp_path / "a.cdi").write_bytes(named)
    assert build.run("cdicheck", "a.cdi", cwd=tmp_path).said.startswith(REPORT)
    in_json = build.run("cdicheck", "--json", "a.cdi", cwd=tmp_path).said
    report = json.loads(in_json)
    assert in_json.isascii()
    assert report["version"] == "3.5" and report["sessions"] == 2 and report["volume"] == "Té\x1bT"
    assert [list(track.values()) for track in report["tracks"]] == [
        [302, "audio", 2352, 1, 0], [20, "data, Mode 2", 2048, 2, 11702]]
    assert report["bootHeader"] == dict(re.findall("  ([a-z ]+): (.*)", REPORT)) | {"title": "\n\x7fµle"}
    assert report["files"][2:] == [{"path": path, "size": 0} for path in ("é\x1b.TXT", "é\x9b.TXT")]
    assert report["problems"][0]["severity"] == "error"
    (tmp_path / "a.cdi").write_bytes(b"")
    status, said = build.run("cdicheck", "--json", "a.cdi", cwd=tmp_path)
    assert status == 2 and "no DiscJuggler image: the" in json.loads(said)["problems"][0]["text"]


def test_fuzzer_starts_from_all_layouts():
    assert {path.stem: path.read_bytes() for path in Corpus} == Layouts


def test_tells_that_the_report_is_lost(build):
    reader, without_reader = os.pipe()
    os.close(reader)
    for output in (without_reader, os.open("/dev/full", os.O_WRONLY)):
        ended = subprocess.run(**build.call("cdicheck", Corpus[0]), stdout=output, stderr=subprocess.PIPE)
        os.close(output)
        assert (ended.returncode, ended.stderr) == (2, b"cdicheck: the report could not be written\n")
