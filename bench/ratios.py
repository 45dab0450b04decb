"""Whole programs beside cp and cat, and the whole job beside its tools by hand: in turns, from a warm cache, medians.

Usage: ratios.py BIN_FOLDER [FOLDER]; FOLDER (default: a new one in /tmp) needs 4 GB of room."""

import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROUNDS = 9
MEBIBYTE = 1024 * 1024


def run(command, stderr=subprocess.DEVNULL):
    return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=stderr, check=True)


def measure_wall(*command):
    """Runs a command; gives its wall time in seconds."""
    start = time.perf_counter()
    run(command)
    return time.perf_counter() - start


def measure_peak(*command):
    """Runs a command; gives its peak memory in MiB. Started from here, it would have this program's for a floor."""
    told = run(["time", "-f", "%M", *command], subprocess.PIPE)
    return int(told.stderr.split()[-1]) / 1024


def compare(name, ours, theirs):
    """Two ways in turns, after a round for the memory: their medians and the median of the pairs' ratios."""
    peak, _ = ours(measure_peak), theirs()
    walls, others = zip(*((ours(measure_wall), theirs()) for _ in range(ROUNDS)))
    ratio = statistics.median(wall / other for wall, other in zip(walls, others))
    print(f"| {name} | {statistics.median(walls):.3f} s | {statistics.median(others):.3f} s "
          f"| {ratio:.2f} | {peak:.1f} MiB |", flush=True)


def write_random_file(path, mebibytes):
    with open(path, "wb") as file:
        for _ in range(mebibytes):
            file.write(os.urandom(MEBIBYTE))


def remove(*names):
    for name in names:
        Path(name).unlink(missing_ok=True)


def copy_by_hand(source):
    remove("copy")
    return measure_wall("cp", source, "copy")


def compare_scramble(scramble):
    def scramble_it(measure):
        remove("scrambled")
        return measure(scramble, "plain", "scrambled")

    write_random_file("plain", 16)
    compare("`scramble`, 16 MiB, beside `cp`", scramble_it, lambda: copy_by_hand("plain"))


def compare_images(marrowvan, cdi4dc, cdicheck, room):
    iso = f"{room}/data.iso"
    mkisofs = ["mkisofs", "-G", f"{room}/ip", "-C", "0,11702", "-J", "-l", "-r", "-V", "disc", "-o", iso]
    mkisofs.append(f"{room}/disc")

    def write_image(measure):
        remove("out.cdi")
        return measure(cdi4dc, iso, "out.cdi")

    def check_image(measure):
        return measure("sh", "-c", '"$0" out.cdi || [ $? = 1 ]', cdicheck)  # its boot file is no program

    def do_whole_job(measure):
        remove("out.cdi", iso)
        return measure(marrowvan, "--dir", f"{room}/disc", "--cdi", f"{room}/out.cdi")

    def do_job_by_hand():
        os.rename("disc/IP.BIN", "ip")
        remove("out.cdi", iso)
        start = time.perf_counter()
        measure_wall(*mkisofs)
        measure_wall(cdi4dc, iso, "out.cdi")
        remove(iso)
        wall = time.perf_counter() - start
        os.rename("ip", "disc/IP.BIN")
        return wall

    os.mkdir("disc")
    write_random_file("disc/data.bin", 650)
    shutil.copy("scrambled", "disc/1ST_READ.BIN")
    do_whole_job(measure_wall)
    os.rename("disc/IP.BIN", "ip")
    measure_wall(*mkisofs)
    compare("`cdi4dc`, 650 MiB, beside `cp` of the image", write_image, lambda: copy_by_hand("out.cdi"))
    remove("copy")
    compare("`cdicheck`, 650 MiB, beside `cat` of the image", check_image, lambda: measure_wall("cat", "out.cdi"))
    os.rename("ip", "disc/IP.BIN")
    compare("`marrowvan`, 650 MiB, beside its tools by hand", do_whole_job, do_job_by_hand)


def main():
    programs = Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory(dir=sys.argv[2] if len(sys.argv) > 2 else "/tmp") as room:
        os.chdir(room)
        os.environ["TMPDIR"] = room
        shutil.copytree(programs, "app")
        print("| | ours | beside it | ratio | our peak memory |\n|---|---|---|---|---|", flush=True)
        compare_scramble(f"{room}/app/scramble")
        compare_images(f"{room}/app/marrowvan", f"{room}/app/cdi4dc", f"{room}/app/cdicheck", room)
        os.chdir("/")


main()
