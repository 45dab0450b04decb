"""Makes images from the description of the format alone. Tests compare the programs with them."""

from collections import namedtuple
from functools import cache, reduce
from struct import pack

DataStart = 11702  # the data track's address on the disc
DataOffset = 1413504  # and its first byte in the file
SizeCodes = {2048: 0, 2336: 1, 2352: 2, 2368: 3, 2448: 4}
Versions = {"2": 0x80000004, "old-3": 0x80000005, "3": 0x80000005, "3.5": 0x80000006}


def _slices(length):
    """Yields the slices of the plain file in the order of the scrambled one."""
    state, done = length & 0xFFFF, 0
    for chunk in (2 << 20 >> halvings for halvings in range(17)):
        while length - done >= chunk:
            order = list(range(done // 32, (done + chunk) // 32))
            for i in reversed(range(len(order))):
                state = (state * 2109 + 9273) & 0x7FFF
                x = ((state + 0xC000) & 0xFFFF) * i >> 16
                order[i], order[x] = order[x], order[i]
                yield order[i]
            done += chunk


def scramble(plain):
    slices = [plain[32 * number : 32 * number + 32] for number in _slices(len(plain))]
    return b"".join(slices) + plain[32 * len(slices) :]


_EdcTable = [reduce(lambda edc, _: edc >> 1 ^ edc % 2 * 0xD8018001, range(8), byte) for byte in range(256)]
_Sync = b"\0" + b"\xff" * 10 + b"\0"
_TimesX = bytes((byte << 1 ^ (0x11D if byte > 127 else 0)) for byte in range(256))
_OverXPlus1 = bytes(sorted(range(256), key=lambda byte: byte ^ _TimesX[byte]))
_QOrder = [2 * ((44 * m + 43 * n) % 1118) + byte for m in range(43) for n in range(26) for byte in (0, 1)]


def _edc(data):
    return pack("<I", reduce(lambda edc, byte: edc >> 8 ^ _EdcTable[(edc ^ byte) & 0xFF], data, 0))


def _xor(a, b):
    return (int.from_bytes(a, "big") ^ int.from_bytes(b, "big")).to_bytes(len(a), "big")


def _parity(data, words):
    """Returns the two parity bytes of `words` code words. `data`: all their first bytes, all second, ..."""
    plain_sum = weighted_sum = bytes(words)
    for at in range(0, len(data), words):
        plain_sum = _xor(plain_sum, data[at : at + words])
        weighted_sum = _xor(weighted_sum.translate(_TimesX), data[at : at + words])
    weighted_sum = weighted_sum.translate(_TimesX).translate(_TimesX)
    first = _xor(plain_sum, weighted_sum).translate(_OverXPlus1)
    return first + _xor(first, plain_sum)


def make_parity(covered):
    """Returns the P and Q parity from header to EDC, in Mode 1 with the zeros after it."""
    p_parity = _parity(covered, 86)
    return p_parity, _parity(bytes(map((covered + p_parity).__getitem__, _QOrder)), 52)


@cache
def make_sector(user_data, subheader=b"\0\0\x08\0", header=bytes(4)):
    """Returns the parts of a sector after its header: of a form of Mode 2, or of Mode 1 without a subheader."""
    if subheader:
        form2, header = subheader[2] & 0x20, bytes(4)
        parts = {"subheader": 2 * subheader, "user data": user_data.ljust(2324 if form2 else 2048, b"\5")}
        parts["EDC"] = _edc(b"".join(parts.values()))
        if form2:
            return parts
    else:
        parts = {"user data": user_data, "EDC": _edc(_Sync + header + user_data), "zero": bytes(8)}
    parts["P parity"], parts["Q parity"] = make_parity(header + b"".join(parts.values()))
    return parts


# `parts`: what is stored after the pregap, by name. `start`: the LBA of the first sector.
Fields = "parts mode sector_size start pregap index_lengths texts"
Track = namedtuple("Track", Fields, defaults=(2, 2336, DataStart, 150, 2, 0))
Silence = Track({"silence": bytes(302 * 2352)}, mode=0, sector_size=2352, start=0)


def make_track(iso, sector_size=2336, mode=2, start=DataStart, subheaders=(), **fields):
    """Returns a data track; `subheaders`: those that are unusual, by the number of the sector."""
    parts, usual = {}, b"\0\0\x08\0" if mode == 2 else b""
    for number, at in enumerate(range(0, len(iso), 2048)):
        seconds, frame = divmod(start + 150 + number, 75)
        header = bytes.fromhex(f"{seconds // 60:02}{seconds % 60:02}{frame:02}{mode:02}")
        sector = make_sector(iso[at : at + 2048], dict(subheaders).get(number, usual), header)
        raw = {"sync": _Sync, "header": header} | sector | {"subchannel": b"\x55" * (sector_size - 2352)}
        stored = {2048: ["user data"], 2336: sector}.get(sector_size, raw)
        parts |= {f"sector {number}: {what}": raw[what] for what in stored}
    return Track(parts, mode, sector_size, start, **fields)


def lay_out(sessions, name, volume, version="3.5", short_headers=False, cd_text=b""):
    """Returns all parts of an image by name."""
    parts, descriptor = {}, {"number of sessions": pack("<B", len(sessions))}
    header = bytes.fromhex("FFFF 0000 0100 0000 FFFF FFFF 000000") + pack("<B", sum(map(len, sessions)))
    header += pack("<B", len(name)) + name + pack("<11xB10x", 2)
    header += b"\0" if short_headers else pack("<BI2xH", 0x80, 360000, 0x98)
    for session, tracks in enumerate([*sessions, []]):
        block = pack("<xB7xIH", len(tracks), 1, 0xFFFF)
        descriptor[f"session block {session + 1}"] = block[version == "2" and session > 0 :]
        for number, track in enumerate(tracks):
            where = f"session {session + 1}, track {number + 1}: "
            parts[where + "pregap"] = bytes(track.pregap * track.sector_size)
            parts |= {where + what: part for what, part in track.parts.items()}
            length = sum(map(len, track.parts.values())) // track.sector_size
            total, end, more = track.pregap + length, track.start + length, track.index_lengths - 2
            fields = pack(f"<HII{more}I", 2 + more, track.pregap, length - more, *[1] * more)
            fields += pack("<I", track.texts) + (b"\5Title" + b"\0" * 16 + b"\x80" + b"T" * 128) * track.texts
            fields += pack("<2xI4xII", track.mode, session, number)
            fields += pack("<iI16xI", track.start + 150 - track.pregap, total, SizeCodes[track.sector_size])
            fields += pack("<IxI4x12xI", 4 if track.mode else 0, total, 0)
            if version != "2":
                fields += b"\0" + b"\xff" * 4 + (bytes(4) if version == "old-3" else b"\xff" * 4)
            if version in ("3", "3.5"):
                fields += pack("<IIIII42xI12x", 1, 0x80, 2, 0x10, 44100, 0xFFFFFFFF)
            fields += pack("<B5xBxI", track.mode, number + 1 < len(tracks), end)
            descriptor |= {where + "header": header, where + "fields": fields}
    fields = pack("<IB", end, len(volume)) + volume + pack("<xII13xII", 1, 1, 0, len(cd_text))
    fields += cd_text + pack("<8xI", Versions[version])
    descriptor |= {"disc block: header": header, "disc block: fields": fields}
    place = sum(map(len, descriptor.values())) + 4 if version == "3.5" else sum(map(len, parts.values()))
    return parts | descriptor | {"place of the descriptor": pack("<I", place)}


Image = namedtuple("Image", "iso name volume sectors")


def read_image(path):
    """Reads an image of cdi4dc. An AssertionError names the first part that is wrong."""
    image = path.read_bytes()
    sectors = (len(image) - int.from_bytes(image[-4:], "little") - DataOffset) // 2336
    iso = b"".join(image[at : at + 2048] for at in range(DataOffset + 8, DataOffset + 2336 * sectors, 2336))
    volume, at = iso[32808:32840], 0
    for what, right in lay_out([[Silence], [make_track(iso)]], path.name.encode(), volume).items():
        assert image[at : at + len(right)] == right, f"{path.name}: {what}"
        at += len(right)
    assert at == len(image), f"{path.name}: {len(image) - at} bytes too many"
    return Image(iso, path.name, volume.decode(errors="surrogateescape").rstrip(), sectors)


BootHeader = f"{'SEGA SEGAKATANA':16}SEGA ENTERPRISESB6D8 CD-ROM1/1  {'JUE':8}{'E000010':8}{'T0000':10}" \
    f"V1.000{'20260101':16}{'1ST_READ.BIN':16}{'Software maker':16}{'Title':128}"


def make_program(loaded=50, addresses=50):
    """Returns a plain boot file with a pool of addresses of the console. It loads the first ones."""
    areas = [0x0C010000, 0x8C010200, 0xAC01FFFF, 0xFF80001C, 0xA05F6800] * addresses
    pool = [*areas[:addresses], *[1] * (50 - addresses)]
    code = [0xD031] * 2 * loaded + [0x0009] * (100 - 2 * loaded)
    return pack(f"<100H{len(pool)}I", *code, *pool).ljust(512, b"\0")


def _both(number):
    return pack("<I", number) + pack(">I", number)


def make_record(name, address, file_size=None):
    record = b"\0" + _both(address) + _both(2048 if file_size is None else file_size)
    record += pack("<7xBxx", 2 * (file_size is None)) + b"\1\0\0\1" + bytes([len(name)]) + name
    return bytes([(len(record) + 2) & ~1]) + record + bytes((len(record) + 1) % 2)


def make_iso(files, start=DataStart, files_at=None):
    """Returns a volume of these files and SUB/DATA.TXT; `files_at`: where the files already are, after SUB."""
    first = files_at or start + 20
    root, sub, data = start + 18, first - 1, b""
    records = make_record(b"\0", root) + make_record(b"\1", root) + make_record(b"SUB", sub)
    for name, content in files.items():
        records += make_record(name, first + len(data) // 2048, len(content))
        data += content + bytes(-len(content) % 2048)
    descriptor = b"\1CD001\1".ljust(40, b"\0") + b"TEST".ljust(40) + _both(20 + len(data) // 2048)
    descriptor = descriptor.ljust(156, b"\0") + make_record(b"\0", root)
    parts = descriptor, b"\xffCD001\1", records, make_record(b"DATA.TXT;1", root, 1)
    sectors = b"".join(part.ljust(2048, b"\0") for part in parts)
    return BootHeader.encode().ljust(32768, b"\x09") + sectors + (b"" if files_at else data)


def _audio(start):
    return Track({"silence": bytes(2352)}, mode=0, sector_size=2352, start=start, pregap=0)


def small_images():
    """Returns a readable image of each layout, by the name of the layout."""
    files = {b"1ST_READ.BIN;1": scramble(make_program())}

    def data(sector_size=2048, start=DataStart, **how):
        return make_track(make_iso(files, start), sector_size, start=start, pregap=0, **how)

    def image(*last, first=(_audio(301),), behind=(), **how):
        return b"".join(lay_out([first, last, *behind], b"small.cdi", b"TEST", **how).values())

    forms = {20: b"\1\0\x09\0", 21: b"\0\0\x20\0", 22: b"\0\0\x28\0"}
    of_forms = make_track(make_iso(files | {b"LAST.BIN;1": b"\7" * 4096}), subheaders=forms, pregap=0)
    of_forms = of_forms._replace(parts=of_forms.parts | {"sector 22: EDC": bytes(4)})
    boot_session = make_track(make_iso(files, files_at=301), 2048, pregap=0)
    both, last = [_audio(300), _audio(301)], _audio(DataStart + 21)
    versions = {f"version-{v}": image(data(), last, first=both, version=v) for v in Versions}
    short = {f"version-{v}-short-headers": image(data(), version=v, short_headers=True) for v in ("2", "3.5")}
    sizes = {f"sectors-of-{size}": image(data(size)) for size in (2336, 2352, 2368, 2448)}
    modes = {f"mode-1-of-{size}": image(data(size, mode=1)) for size in (2048, 2352)}
    return versions | short | sizes | modes | {
        "both-forms": image(of_forms),
        "pregap-of-3": image(data()._replace(pregap=3)),
        "cd-text": image(data()._replace(index_lengths=4, texts=2), cd_text=b"Text" * 9),
        "open-disc": image(data(), behind=[[]]),
        "data-on-both-sessions": image(boot_session, first=[data(2336, start=281)]),
        "audio-track-first": image(_audio(DataStart), data(start=DataStart + 1)),
    }
