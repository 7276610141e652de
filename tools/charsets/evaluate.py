#!/usr/bin/env python3
"""Measures how often `loamctl charset` is right.

    evaluate.py LOAMCTL FOLDER [--size BYTES] [--count TEXTS] [--charset NAME]

FOLDER holds UTF-8 texts named <language>.txt, which the tables were not made from: tools/languages/held_out.py gathers
such. Each text is written in each charset of its language and cut into pieces of BYTES (1,000), on a character where a
piece ends within one. A piece is as right as its text: the charset told must read the bytes as the text that they were
made from, so that a charset that holds all of another one counts as well. Paragraphs that a charset can't hold lose
their typographic quotes and dashes, and are left out if that doesn't help. Pieces of ASCII alone are left out.
"""

import argparse
import collections
import json
import pathlib
import random
import subprocess
import tempfile

WESTERN = "fr de es pt it nl sv da nb fi ca gl"

# A charset, Python's name for it, the languages written in it.
CHARSETS = [
    ("ISO-8859-1", "latin-1", WESTERN),
    ("windows-1252", "cp1252", WESTERN),
    ("windows-1251", "cp1251", "ru uk sr"),
    ("KOI8-R", "koi8-r", "ru"),
    ("ISO-8859-7", "iso8859-7", "el"),
    ("windows-1256", "cp1256", "ar"),
    ("Shift_JIS", "shift_jis", "ja"),
    ("EUC-JP", "euc_jp", "ja"),
    ("ISO-2022-JP", "iso2022_jp", "ja"),
    ("GBK", "gbk", "zh-Hans"),
    ("Big5", "big5", "zh-Hant"),
    ("EUC-KR", "euc_kr", "ko"),
    ("UTF-16LE", "utf-16-le", WESTERN + " ru el ar ja zh-Hans zh-Hant ko"),
    ("UTF-16BE", "utf-16-be", WESTERN + " ru el ar ja zh-Hans zh-Hant ko"),
    ("macintosh", "mac-roman", WESTERN),
    # Beyond those that there is a goal for.
    ("windows-1252 (en)", "cp1252", "en"),
    ("windows-1250", "cp1250", "pl cs hu hr sl"),
    ("ISO-8859-2", "iso8859-2", "pl cs hu hr sl"),
    ("windows-1254", "cp1254", "tr"),
    ("windows-1257", "cp1257", "lv lt"),
    ("windows-1253", "cp1253", "el"),
    ("ISO-8859-5", "iso8859-5", "ru uk sr"),
    ("ISO-8859-6", "iso8859-6", "ar"),
    ("KOI8-U", "koi8-u", "uk"),
    ("cp866", "cp866", "ru"),
    ("cp437", "cp437", "de fr es it"),
    ("x-mac-cyrillic", "mac-cyrillic", "ru"),
    ("x-mac-greek", "mac-greek", "el"),
    ("x-mac-centraleurroman", "mac-latin2", "pl cs hu"),
    ("UTF-8", "utf-8", "fr de ru el ar ja zh-Hans ko"),
]

PLAIN = str.maketrans({"’": "'", "‘": "'", "“": '"', "”": '"', "„": '"', "–": "-", "—": "-", "…": "...", "•": "*",
                       "→": ">", "▸": ">", "‣": ">", "\u202f": " ", "\u00a0": " ", "×": "x", "\u200c": None})

# Python's names for what loamctl may tell. Of Shift_JIS there are two readings that differ in some signs; the stricter
# one is written.
PYTHON = {"Shift_JIS": "shift_jis", "EUC-JP": "euc_jp", "GBK": "gb18030", "GB18030": "gb18030", "Big5": "cp950",
          "EUC-KR": "cp949", "windows-949": "cp949", "windows-874": "cp874", "macintosh": "mac-roman",
          "x-mac-cyrillic": "mac-cyrillic", "x-mac-greek": "mac-greek", "x-mac-centraleurroman": "mac-latin2",
          "x-mac-turkish": "mac-turkish", "ISO-2022-JP": "iso2022_jp_2", "US-ASCII": "ascii"}


def encoded(lines, codec):
    for line in lines:
        for candidate in (line, line.translate(PLAIN)):
            try:
                yield (candidate + "\n").encode(codec)
                break
            except UnicodeEncodeError:
                pass


def cut(piece, codec):
    while True:
        try:
            piece.decode(codec)
            return piece
        except UnicodeDecodeError:
            piece = piece[:-1]


def pieces(path, codec, size, count):
    lines = path.read_text(encoding="utf-8").split("\n")
    random.Random(1).shuffle(lines)
    found, piece = [], b""
    for line in encoded(lines, codec):
        piece += line
        if len(piece) < size:
            continue
        piece = cut(piece[:size], codec)
        if not piece.isascii() or codec == "iso2022_jp" and b"\x1b" in piece or b"\0" in piece:
            found.append(piece)
        piece = b""
        if len(found) == count:
            break
    return found


def is_right(piece, codec, told):
    codec_told = PYTHON.get(told, told.lower().replace("windows-", "cp"))
    try:
        return piece.decode(codec_told) == piece.decode(codec)
    except (UnicodeDecodeError, LookupError):
        return False


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("loamctl")
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--size", type=int, default=1000)
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--charset")
    options = parser.parse_args()

    for name, codec, languages in CHARSETS:
        if options.charset not in (None, name):
            continue
        right, total, wrong = 0, 0, collections.Counter()
        with tempfile.TemporaryDirectory() as folder:
            made = []
            for language in languages.split():
                path = options.folder / f"{language}.txt"
                texts = pieces(path, codec, options.size, options.count) if path.exists() else []
                for number, piece in enumerate(texts):
                    file = pathlib.Path(folder, f"{language}-{number}")
                    file.write_bytes(piece)
                    made.append((str(file), language, piece))
            if not made:
                continue
            told = subprocess.run([options.loamctl, "charset", "--json", *(file for file, _, _ in made)],
                                  capture_output=True, text=True, check=False).stdout
            for (_, language, piece), line in zip(made, told.splitlines(), strict=True):
                verdict = json.loads(line).get("charset", "none")
                total += 1
                if is_right(piece, codec, verdict):
                    right += 1
                else:
                    wrong[f"{language}: {verdict}"] += 1
        missed = ", ".join(f"{what} ({n})" for what, n in wrong.most_common(5))
        print(f"{name:22} {100 * right / total:6.2f} % of {total:5}  {missed}", flush=True)


if __name__ == "__main__":
    main()
