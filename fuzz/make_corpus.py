"""Writes the first inputs of the fuzzer to a folder, a small image of each layout: make_corpus.py FOLDER"""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests/system"))
from disc_reference import small_images

for layout, image in small_images().items():
    Path(sys.argv[1], layout + ".cdi").write_bytes(image)
