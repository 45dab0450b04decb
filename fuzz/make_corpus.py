"""Makes the fuzzer's first inputs, small images of all versions: make_corpus.py FOLDER"""

import itertools
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests/system"))
from disc_reference import Silence, lay_out, make_iso, make_program, make_track, scramble

iso = make_iso({b"1ST_READ.BIN;1": scramble(make_program())})
for version, headers, size in itertools.product(("2", "3", "3.5"), ("new", "old"), (2048, 2336)):
    sessions = [[Silence._replace(parts={}, pregap=0)], [make_track(iso, size, pregap=0)]]
    image = b"".join(lay_out(sessions, b"corpus.cdi", b"", version, headers == "old").values())
    Path(sys.argv[1], f"version-{version}-{headers}-{size}.cdi").write_bytes(image)
