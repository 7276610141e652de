#!/usr/bin/env python3
"""What a host pays at its start for a library that it links: next to nothing, and no table is built before it is used.

    startup_test.py LIBRARY...      libloam.so and libmarl.so; the names choose what is allowed

Read from the files, with binutils: which sources have initialisers, how much the loader has to patch and may not share
between processes, and which libraries it loads along. How long all of it takes is told by benchmarks/bench_startup.
"""

import re
import subprocess
import sys
from pathlib import Path

# Sources whose initialisers may run at the start, each with the reason.
INITIALISERS = {
    "libloam": {"CNetServiceEventsThread.cpp": "makes one lock, so that the first two users can meet in it"},
    "libmarl": {},
}
# The compiler's own start-up code has one entry.
COMPILERS_OWN = 1

# Libraries that start in no time. What takes longer is loaded when it is needed: docs/late-libraries.md.
LOADED_ALONG = re.compile(r"^(libmarl|libbz2|libicuuc|libplist-2\.0|libzstd|libstdc\+\+|libm|libgcc_s|libc|ld-linux[^.]*)\.so")

# A table that is made of pointers, or isn't constant, would go far beyond.
MOST_RELOCATIONS = 5000
MOST_WRITABLE_BYTES = 24 << 10


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def problems_of(library):
    name = library.name.split(".")[0]
    allowed = INITIALISERS[name]
    sections = dict(re.findall(r"\] (\.[\w.]+)\s+\w+\s+\w+ \w+ (\w+) ", output_of("readelf", "-SW", library)))
    size_of = lambda section: int(sections.get(section, "0"), 16)

    found = set(re.findall(r" _GLOBAL__sub_I_(\S+\.cpp)$", output_of("nm", library), re.MULTILINE))
    for source in sorted(found - allowed.keys()):
        yield f"{source} has an initialiser that runs at every start"
    for source in sorted(allowed.keys() - found):
        yield f"{source} has no initialiser any more: take it off the list"
    entries = size_of(".init_array") // 8
    if entries > COMPILERS_OWN + len(allowed):
        yield f"{entries} initialisers in all, {COMPILERS_OWN + len(allowed)} are known"

    relocations = (size_of(".rela.dyn") + size_of(".rela.plt")) // 24
    if not 0 < relocations <= MOST_RELOCATIONS:
        yield f"{relocations} places for the loader to patch, at most {MOST_RELOCATIONS} are expected"
    writable = size_of(".data") + size_of(".bss")
    if not 0 < writable <= MOST_WRITABLE_BYTES:
        yield f"{writable} bytes of variables, at most {MOST_WRITABLE_BYTES} are expected"

    for needed in re.findall(r"NEEDED.*\[(.+)\]", output_of("readelf", "-dW", library)):
        if not LOADED_ALONG.match(needed):
            yield f"{needed} is loaded at every start"


def main():
    failed = False
    for library in map(Path, sys.argv[1:]):
        for problem in problems_of(library):
            print(f"{library.name}: {problem}", file=sys.stderr)
            failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
