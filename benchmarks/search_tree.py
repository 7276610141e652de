#!/usr/bin/env python3
"""`loamctl search` over trees of files, beside `rg -i` where both can find the same, and in a store.

    benchmarks/search_tree.py --loamctl build/benchmarks/examples/loamctl/loamctl
    benchmarks/search_tree.py --loamctl ... --json       one JSON object a line and no table
    benchmarks/search_tree.py --loamctl ... --size 50    smaller trees, in MB (10^6 bytes) each
    benchmarks/search_tree.py --loamctl ... --keep DIR   make the trees there once, and leave them

Two trees of 500 MB: `mixed`, four tenths of it UTF-8 in eleven kinds of text and a tenth each of
Latin-1, windows-1251, KOI8-R, Shift_JIS, and UTF-16 with and without a byte-order mark; and `ascii`.
A third of each tree's bytes is in files of 8 MB, the rest in files of 1 MB, 64 KB and 8 KB. The texts
are those of LOAM_CORPORA or ../shared/corpora, and where neither is there, common words in an order
of chance. What a charset lacks is left out. A third tree, `letters`, has 1,000 files of 5 KB in UTF-8:
there the peer of a search in a store of them is the search of the files, which must show the same.

The programs run in turn, with two threads each, on files that have been read before; the best of
several rounds counts. MB/s are bytes of files by the clock; the time of all processors stands
beside them, since that one is hardly disturbed by what else the machine does.
"""

import argparse
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
JOBS = "2"

OFTEN = "file"
NEVER = "qzxqzxqzx"

# Where there are no corpora.
WORDS = {
    "ar": "من إلى على في هذا الملف النظام الذي كل بعد عند اسم أو لا يتم استخدام",
    "de": "der die und für über das Verzeichnis wird nicht Datei file größer können Länge mit auf ein",
    "el": "το αρχείο και στη για με από δεν είναι ένα όνομα που θα κατάλογος χρήση",
    "en": "the file and of is a name that system option directory not can be which when if in",
    "fr": "le fichier et de la répertoire file à être même système où déjà les une option dans pour",
    "hi": "के लिए फ़ाइल और का में यह है नाम से करें नहीं विकल्प सूची",
    "ja": "ファイル の 名前 を 指定 する この 場合 は 使用 され ます システム ディレクトリ",
    "ko": "파일 이름 을 지정 하는 경우 사용 합니다 시스템 디렉터리 이 옵션 그리고",
    "ru": "файл имя и в для не это система которые может быть если каталог при использовать",
    "zh": "文件 的 名称 用于 指定 这个 系统 目录 选项 如果 使用 可以 不是",
    "emoji": "file 🏳️‍🌈 ☕ name 1️⃣ система ✅ 🧑🏿‍🚀 ❤️ 文件 option 🔥 이름 🥐 ⚠️",
}

# Share of the tree in tenths, its languages, how they are encoded and what stands before the text.
MIXED = [
    (4, sorted(WORDS), "utf-8", b""),
    (1, ["fr", "de"], "iso-8859-1", b""),
    (1, ["ru"], "cp1251", b""),
    (1, ["ru"], "koi8-r", b""),
    (1, ["ja"], "shift_jis", b""),
    (0.5, ["ru", "ja"], "utf-16-le", b"\xff\xfe"),
    (0.5, ["fr", "ar"], "utf-16-be", b"\xfe\xff"),
    (0.5, ["en", "de"], "utf-16-le", b""),
    (0.5, ["fr", "ko"], "utf-16-be", b""),
]
ASCII = [(10, ["en"], "ascii", b"")]

LETTERS = 1000
LETTER_SIZE = 5000

# Share of the bytes, and the size of a file.
SIZES = [(0.33, 8_000_000), (0.37, 1_000_000), (0.2, 64_000), (0.1, 8_000)]


def corpora_folder():
    named = os.environ.get("LOAM_CORPORA")
    return pathlib.Path(named) if named else ROOT.parent / "shared" / "corpora"


def lines_of(language):
    path = corpora_folder() / f"{language}.txt"
    if path.is_file():
        return path.read_text(encoding="utf-8").splitlines(keepends=True)
    chance = random.Random(language)
    words = WORDS[language].split()
    return [" ".join(chance.choices(words, k=chance.randint(4, 30))) + "\n" for _ in range(8000)]


class Text:
    """The lines of one language in one encoding, again and again."""

    def __init__(self, language, encoding):
        self.lines = [line.encode(encoding, "ignore") for line in lines_of(language)]
        self.next = 0

    def take(self, size):
        taken, length = [], 0
        while length < size:
            line = self.lines[self.next]
            self.next = (self.next + 1) % len(self.lines)
            taken.append(line)
            length += len(line)
        return b"".join(taken)


def make_tree(folder, kinds, size):
    for tenths, languages, encoding, mark in kinds:
        texts = [Text(language, encoding) for language in languages]
        for share, file_size in SIZES:
            count = max(1, round(size * tenths / 10 * share / file_size))
            for number in range(count):
                name = f"{encoding}{'-mark' if mark else ''}-{file_size}"
                place = folder / name / str(number // 100)
                place.mkdir(parents=True, exist_ok=True)
                text = texts[number % len(texts)]
                (place / f"{number}.txt").write_bytes(mark + text.take(file_size))


def tree_in(folder, name, kinds, size):
    path = folder / name
    if not path.is_dir():
        make_tree(path, kinds, size)
    return path


def letters_in(folder):
    path = folder / "letters"
    if not path.is_dir():
        texts = [Text(language, "utf-8") for language in sorted(WORDS)]
        for number in range(LETTERS):
            place = path / str(number // 100)
            place.mkdir(parents=True, exist_ok=True)
            (place / f"{number}.txt").write_bytes(texts[number % len(texts)].take(LETTER_SIZE))
    return path


def size_of(folder):
    return sum(path.stat().st_size for path in folder.rglob("*.txt"))


def run(command, expected):
    """Seconds by the clock and of all processors."""
    start = time.perf_counter()
    child = subprocess.Popen(command, stdout=subprocess.PIPE)
    # As a reader would: a program may do less for a null device.
    while os.read(child.stdout.fileno(), 1 << 20):
        pass
    child.stdout.close()
    _, status, usage = os.wait4(child.pid, 0)
    seconds = time.perf_counter() - start
    code = os.waitstatus_to_exitcode(status)
    child.returncode = code
    if code != expected:
        sys.exit(f"search_tree: {' '.join(map(str, command))}: exit code {code}")
    return seconds, usage.ru_utime + usage.ru_stime


def best(commands, expected, rounds):
    """The least of both times for each command; the commands take turns."""
    times = [[] for _ in commands]
    for number in range(rounds + 1):
        for command, taken in zip(commands, times):
            seconds = run(command, expected)
            if number > 0:
                taken.append(seconds)
    return [tuple(min(column) for column in zip(*taken)) for taken in times]


def measure_store(arguments, folder, searches):
    letters = letters_in(folder)
    store = folder / "letters.store"
    subprocess.run([arguments.loamctl, "index", "-f", "-o", store, letters], check=True, stdout=subprocess.DEVNULL)
    size = size_of(letters) / 1e6
    for what, word, ours, _, expected in searches:
        command = [arguments.loamctl, "search", "-j", JOBS, *ours, word]
        in_store, in_files = command + ["--in", store], command + [letters]
        shown = [subprocess.run(each, stdout=subprocess.PIPE).stdout for each in (in_store, in_files)]
        if shown[0] != shown[1]:
            sys.exit(f"search_tree: the store doesn't answer as the files do: {' '.join(map(str, in_store))}")
        (clock, processors), peer = best([in_store, in_files], expected, 4 * arguments.rounds)
        yield {
            "name": f"search store: a word that occurs {what}",
            "ours": round(size / clock, 1),
            "peer": round(size / peer[0], 1),
            "ratio": round(peer[0] / clock, 3),
            "unit": "MB/s",
            "least": 1,
            "ours_processor_seconds": round(processors, 3),
            "peer_processor_seconds": round(peer[1], 3),
        }


def measure(arguments, folder):
    mixed = tree_in(folder, "mixed", MIXED, arguments.size * 1_000_000)
    ascii_only = tree_in(folder, "ascii", ASCII, arguments.size * 1_000_000)
    ripgrep = shutil.which("rg")
    searches = [
        ("never", NEVER, [], [], 1),
        ("often, counted", OFTEN, ["-c"], ["--count-matches"], 0),
        ("often, shown", OFTEN, [], ["-n", "--column"], 0),
    ]
    for tree, has_peer in ((mixed, False), (ascii_only, True)):
        size = size_of(tree) / 1e6
        for what, word, ours, peers, expected in searches:
            commands = [[arguments.loamctl, "search", "-j", JOBS, *ours, word, tree]]
            if has_peer and ripgrep:
                commands.append([ripgrep, "-i", "-uu", "-j", JOBS, *peers, word, tree])
            (clock, processors), *peer = best(commands, expected, arguments.rounds)
            row = {
                "name": f"search {tree.name}: a word that occurs {what}",
                "ours": round(size / clock, 1),
                "peer": round(size / peer[0][0], 1) if peer else None,
                "ratio": round(peer[0][0] / clock, 3) if peer else None,
                "unit": "MB/s",
                "least": 1 / 3 if has_peer else 400,
                "ours_processor_seconds": round(processors, 3),
                "peer_processor_seconds": round(peer[0][1], 3) if peer else None,
            }
            yield row
    yield from measure_store(arguments, folder, searches)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--loamctl", required=True)
    parser.add_argument("--json", action="store_true")
    parser.add_argument("--size", type=int, default=500)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--keep", type=pathlib.Path)
    arguments = parser.parse_args()

    with tempfile.TemporaryDirectory(prefix="loam-search-") as temporary:
        folder = arguments.keep or pathlib.Path(temporary)
        if not arguments.json:
            print(f"{'':48}{'loamctl':>10}{'peer':>10}{'ratio':>8}{'CPU':>8}{'peer':>8}")
        for row in measure(arguments, folder):
            if arguments.json:
                print(json.dumps(row), flush=True)
                continue
            shown = [row[key] for key in ("ours", "peer", "ratio", "ours_processor_seconds", "peer_processor_seconds")]
            cells = ["" if value is None else f"{value:g}" for value in shown]
            widths = (10, 10, 8, 8, 8)
            print(f"{row['name']:48}" + "".join(f"{c:>{w}}" for c, w in zip(cells, widths)), flush=True)


if __name__ == "__main__":
    main()
