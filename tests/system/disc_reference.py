"""What an image has to be, made from the format's description alone: the tests hold the programs against it."""

from functools import cache
from operator import itemgetter
from struct import pack
from typing import NamedTuple

DataStart = 11702  # the data track's address on the disc
DataOffset = 1413504  # and its first byte in the file


def _slices(length):
    """Which slice of the plain file stands first, second, ... in the scrambled one."""
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


def unscramble(scrambled):
    plain = bytearray(scrambled)
    for i, number in enumerate(_slices(len(scrambled))):
        plain[32 * number : 32 * number + 32] = scrambled[32 * i : 32 * i + 32]
    return bytes(plain)


def _edc_step(value):
    for _ in range(8):
        value = value >> 1 ^ (0xD8018001 if value & 1 else 0)
    return value


_EdcSteps = [_edc_step(byte) for byte in range(256)]
_TimesX = bytes((byte << 1 ^ (0x11D if byte > 127 else 0)) for byte in range(256))
_OverXPlus1 = bytes(sorted(range(256), key=lambda byte: byte ^ _TimesX[byte]))
_QDiagonals = itemgetter(
    *(2 * ((44 * m + 43 * n) % 1118) + byte for m in range(43) for n in range(26) for byte in (0, 1))
)


def _edc(data):
    value = 0
    for byte in data:
        value = value >> 8 ^ _EdcSteps[(value ^ byte) & 0xFF]
    return pack("<I", value)


def _xor(a, b):
    return (int.from_bytes(a, "big") ^ int.from_bytes(b, "big")).to_bytes(len(a), "big")


def _parity(data, words):
    """The two parity bytes of `words` code words at once; `data` holds all their first bytes, their second, ..."""
    plain_sum = weighted_sum = bytes(words)
    for at in range(0, len(data), words):
        plain_sum = _xor(plain_sum, data[at : at + words])
        weighted_sum = _xor(weighted_sum.translate(_TimesX), data[at : at + words])
    weighted_sum = weighted_sum.translate(_TimesX).translate(_TimesX)
    first = _xor(plain_sum, weighted_sum).translate(_OverXPlus1)
    return first + _xor(first, plain_sum)


@cache
def make_sector(user_data):
    """The 2336 bytes of a Mode 2 Form 1 sector, in its parts."""
    parts = {"subheader": 2 * bytes.fromhex("00000800"), "user data": user_data}
    parts["EDC"] = _edc(b"".join(parts.values()))
    parts["P parity"] = _parity(bytes(4) + b"".join(parts.values()), 86)
    parts["Q parity"] = _parity(bytes(_QDiagonals(bytes(4) + b"".join(parts.values()))), 52)
    return parts


class Track(NamedTuple):
    parts: dict  # what is stored behind the pregap, by its name
    mode: int = 2
    sector_size: int = 2336
    start: int = DataStart
    pregap: int = 150

    def length(self):
        return sum(map(len, self.parts.values())) // self.sector_size


Silence = Track({"silence": bytes(302 * 2352)}, mode=0, sector_size=2352, start=0)


def make_track(iso, sector_size=2336, **fields):
    """A data track of sectors of 2048, 2336 or 2352 bytes."""
    parts = {}
    for number in range(len(iso) // 2048):
        user_data = iso[2048 * number : 2048 * number + 2048]
        sector = {"user data": user_data} if sector_size == 2048 else make_sector(user_data)
        if sector_size == 2352:
            seconds, frame = divmod(DataStart + 150 + number, 75)
            header = bytes.fromhex(f"{seconds // 60:02}{seconds % 60:02}{frame:02}02")
            sector = {"sync": b"\0" + b"\xff" * 10 + b"\0", "header": header} | sector
        for what, part in sector.items():
            parts[f"sector {number}: {what}"] = part
    return Track(parts, sector_size=sector_size, **fields)


def _track_fields(track, session, number, more_follow, version):
    total, size_code = track.pregap + track.length(), {2048: 0, 2336: 1, 2352: 2}[track.sector_size]
    fields = pack("<HIII2x", 2, track.pregap, track.length(), 0)
    fields += pack("<I4xIIII16x", track.mode, session, number, track.start, total)
    fields += pack("<IIxI4x12xI", size_code, 4 if track.mode else 0, total, 0)
    if version != "2":
        fields += pack("<x8s", b"\xff" * (4 if version == "3 early" else 8))
    if version in ("3", "3.5"):
        fields += pack("<IIIII42x4s12x", 1, 0x80, 2, 0x10, 44100, b"\xff" * 4)
    return fields + pack("<B5xBxI", track.mode, more_follow, track.start + track.length())


def lay_out(sessions, name, volume, version="3.5", short_headers=False):
    """All parts of an image by their names. Versions: 2, 3, 3.5, and "3 early", which has shorter tracks."""
    parts, track_count = {}, sum(map(len, sessions))
    header = bytes.fromhex("FFFF 0000 0100 0000 FFFF FFFF 000000") + pack("<BB", track_count, len(name))
    header += name + pack("<11xB10x", 2) + (b"\0" if short_headers else pack("<BI2xH", 0x80, 360000, 0x98))
    descriptor = {"number of sessions": pack("<B", len(sessions))}
    for session, tracks in enumerate([*sessions, []]):
        block = pack("<xB7xI2s", len(tracks), 1, b"\xff\xff")
        descriptor[f"session block {session + 1}"] = block[version == "2" and session > 0 :]
        for number, track in enumerate(tracks):
            where = f"session {session + 1}, track {number + 1}"
            parts[f"{where}: pregap"] = bytes(track.pregap * track.sector_size)
            parts |= {f"{where}: {what}": part for what, part in track.parts.items()}
            fields = _track_fields(track, session, number, number + 1 < len(tracks), version)
            descriptor |= {f"{where}: header": header, f"{where}: fields": fields}
            size_of_disc = track.start + track.length()
    number = {"2": 0x80000004, "3": 0x80000005, "3 early": 0x80000005, "3.5": 0x80000006}[version]
    fields = pack("<IB", size_of_disc, len(volume)) + volume + pack("<xII13xII8xI", 1, 1, 0, 0, number)
    descriptor |= {"disc block: header": header, "disc block: fields": fields}
    place = sum(map(len, descriptor.values())) + 4 if version == "3.5" else sum(map(len, parts.values()))
    return parts | descriptor | {"place of the descriptor": pack("<I", place)}


def make_image(iso, name="image.cdi"):
    """The image that cdi4dc makes of `iso`."""
    volume = iso[32808:32840]
    return b"".join(lay_out([[Silence], [make_track(iso)]], name.encode(), volume).values())


class Image(NamedTuple):
    iso: bytes
    name: str
    volume: str
    sectors: int


def read_image(path):
    """Reads an image as cdi4dc has to write it. A ValueError names the first byte that is another."""
    image = path.read_bytes()
    sectors = (len(image) - int.from_bytes(image[-4:], "little") - DataOffset) // 2336
    data = [DataOffset + 2336 * number + 8 for number in range(sectors)]
    iso = b"".join(image[at : at + 2048] for at in data)
    volume, at = iso[32808:32840], 0
    for what, right in lay_out([[Silence], [make_track(iso)]], path.name.encode(), volume).items():
        found = image[at : at + len(right)]
        if found != right:
            i = next(i for i in range(len(right)) if found[i : i + 1] != right[i : i + 1])
            raise ValueError(f"{path.name}: {what}, byte {i}: {found[i:i+8].hex()} is no {right[i:i+8].hex()}")
        at += len(right)
    if at != len(image):
        raise ValueError(f"{path.name}: {len(image) - at} bytes too many")
    return Image(iso, path.name, volume.decode(errors="surrogateescape").rstrip(), sectors)
