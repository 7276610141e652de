#!/usr/bin/env python3
"""Generates the library's Unicode tables from two files of the Unicode Character Database 13.0.0.

    tools/unicode/generate_tables.py [--ucd DIR]            writes the generated sources anew
    tools/unicode/generate_tables.py [--ucd DIR] --check    compares them byte for byte, writes nothing

DIR holds UnicodeData.txt and CaseFolding.txt, by default ../shared/ucd-13.0.0 beside the repository. Exit codes: 0 for
done or current, 1 for tables that differ or data that isn't Unicode 13.0.0, 77 where the data isn't there.
text/tables/README.md tells the formats. The output depends on nothing but this file and the data.
"""

import argparse
import hashlib
import struct
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
COMMAND = "tools/unicode/generate_tables.py"
PINNED = {
    "UnicodeData.txt": "bdbffbbfc8ad4d3a6d01b5891510458f3d36f7170422af4ea2bed3211a73e8bb",
    "CaseFolding.txt": "99d231d7c91688bbe8ca8ccebcc2f46b5b222f844babe4827295bae11e2abe5f",
}
NO_DATA = 77  # what ctest takes for a skipped test

BMP = range(0x10000)
NO_INDEX = 0xFFFF

# --- Categories -------------------------------------------------------------------------------------------------------

CATEGORY_NAMES = (
    "Lu Ll Lt Lm Lo Mn Mc Me Nd Nl No Pc Pd Ps Pe Pi Pf Po Sm Sc Sk So Zs Zl Zp Cc Cf Cs-high Cs-low Co Cn".split())
CATEGORY = {name: number for number, name in enumerate(CATEGORY_NAMES)}
MN = CATEGORY["Mn"]

# Characters that words are made of, or that end one, against their Unicode category.
MOVED = {**dict.fromkeys((0x23, 0x25, 0x26, 0x40, 0xA7, 0xB6), CATEGORY["So"]),
         **dict.fromkeys((0x2B, 0x3C, 0x3D, 0x3E, 0x7C, 0x7E), CATEGORY["Po"])}

IDEOGRAPHIC, SYMBOL_PLANE = 0x80, 0x40
FLAG_RANGES = (
    # Kept on purpose: one short of the last ideographs of 13.0, U+4DBF and U+9FFC.
    (IDEOGRAPHIC, ((0x2E80, 0x333F), (0x3400, 0x4DBE), (0x4E00, 0x9FFB), (0xF900, 0xFA6C), (0xFA70, 0xFAD8))),
    # The high surrogates of ideographic supplementary blocks.
    (IDEOGRAPHIC, ((0xD81C, 0xD823), (0xD82C, 0xD82C), (0xD840, 0xD87A), (0xD87E, 0xD87E), (0xD880, 0xD884))),
    # The high surrogates of musical and mathematical symbols and of pictographs.
    (SYMBOL_PLANE, ((0xD834, 0xD834), (0xD836, 0xD836), (0xD83C, 0xD83E))),
)

CATEGORY_BLOBS = (
    ("sLetterNumberCategoryTableData", "Lu Ll Lt Lm Lo Nd Nl No Cs-high Cs-low"),
    ("sLetterNumberNSMCategoryTableData", "Lu Ll Lt Lm Lo Mn Nd Nl No Cs-high Cs-low"),
    ("sMarkSymbolCategoryTableData", "Mc Me Sm Sc Sk So"),
    ("sNSMCategoryTableData", "Mn"),
    ("sPunctuationCategoryTableData", "Pc Pd Ps Pe Pi Pf Po"),
    ("sSeparatorControlCategoryTableData", "Zs Zl Zp Cc"),
)

# --- Mappings ---------------------------------------------------------------------------------------------------------

# A character with such a decomposition is a word of its own: its result stands between two blanks.
BLANK_TAGS = {"font", "fraction", "circle", "square", "small"}
# Letters that readers take for two, or for the plain one, though Unicode gives them no decomposition.
ADDITIONS = {0xC6: "AE", 0xE6: "ae", 0x152: "OE", 0x153: "oe", 0x131: "i"}
DOTLESS_I = 0x131
YPOGEGRAMMENI = 0x345
BLANK = (0x20,)


class UnicodeData:
    """The fields of the two files that the tables are made from, for the BMP and what it decomposes to."""

    def __init__(self, texts):
        self.category = {}  # by code point; a code point that is missing is unassigned
        self.tag = {}  # of a compatibility decomposition
        self.parts = {}  # of one level of decomposition
        self.upper = {}  # simple upper case
        self.folding = {}  # common and full case folding
        first = None
        for line in texts["UnicodeData.txt"].splitlines():
            code, name, category, _, _, decomposition, *_, upper, _, _ = line.split(";")
            code = int(code, 16)
            if name.endswith(", First>"):
                first = code
                continue
            for each in range(first if name.endswith(", Last>") else code, code + 1):
                self.category[each] = category
            if decomposition:
                *tag, decomposition = decomposition[1:].split("> ") if decomposition[0] == "<" else (decomposition,)
                self.tag[code] = tag[0] if tag else None
                self.parts[code] = tuple(int(part, 16) for part in decomposition.split())
            if upper:
                self.upper[code] = int(upper, 16)
        for line in texts["CaseFolding.txt"].splitlines():
            fields = line.split("#")[0].split("; ")
            if len(fields) >= 3 and fields[1] in ("C", "F"):
                self.folding[int(fields[0], 16)] = tuple(int(part, 16) for part in fields[2].split())


def classify(data):
    """The 65,536 bytes of the classification table."""
    table = bytearray(len(BMP))
    for unit in BMP:
        name = data.category.get(unit, "Cn")
        if name == "Cs":
            name = "Cs-high" if unit < 0xDC00 else "Cs-low"
        table[unit] = MOVED.get(unit, CATEGORY[name])
    for flag, ranges in FLAG_RANGES:
        for first, last in ranges:
            for unit in range(first, last + 1):
                table[unit] |= flag
    return bytes(table)


class Mappings:
    """The five mapping tables, each a dictionary from a unit to a tuple of units, without identities."""

    def __init__(self, data, table):
        self.data = data
        self.category = [entry & 0x1F for entry in table]
        self.folding = {unit: to for unit, to in data.folding.items() if unit in BMP}
        self.strip = {unit: () for unit in BMP if self.category[unit] == MN}
        self.all = self._within_bmp({unit: self._decompose(unit) for unit in BMP if unit in data.parts})
        self.all.update({unit: tuple(map(ord, to)) for unit, to in ADDITIONS.items()})
        self.diacritics = self._within_bmp(
            {unit: self._strip_down(unit) for unit in BMP if self._reaches_mark(unit)})
        self.diacritics[DOTLESS_I] = tuple(map(ord, ADDITIONS[DOTLESS_I]))
        self.default = {unit: to for unit in BMP if (to := self._search_form(unit)) != (unit,)}

    @staticmethod
    def _within_bmp(mapping):
        return {unit: to for unit, to in mapping.items() if all(each in BMP for each in to)}

    def _between_blanks(self, code, units):
        return BLANK + units + BLANK if self.data.tag[code] in BLANK_TAGS else units

    def _decompose(self, code):
        """The whole decomposition, through all levels."""
        if code not in self.data.parts:
            return (code,)
        return self._between_blanks(code, sum(map(self._decompose, self.data.parts[code]), ()))

    def _is_mark(self, code):
        return code in BMP and self.category[code] == MN

    def _reaches_mark(self, code):
        return any(self._is_mark(part) or self._reaches_mark(part) for part in self.data.parts.get(code, ()))

    def _strip_down(self, code):
        """The decomposition of only those parts that lead to a nonspacing mark."""
        if not self._reaches_mark(code):
            return (code,)
        return self._between_blanks(code, sum(map(self._strip_down, self.data.parts[code]), ()))

    def _search_form(self, unit):
        """Decomposed, without nonspacing marks, case-folded."""
        # Kept on purpose: a nonspacing mark that isn't dropped.
        if unit == YPOGEGRAMMENI:
            return self.folding[unit]
        units = self.all.get(unit, (unit,))
        if self.category[units[0]] == MN:
            return ()
        kept = (each for each in units if self.category[each] != MN)
        return sum((self.folding.get(each, (each,)) for each in kept), ())


# --- Blobs ------------------------------------------------------------------------------------------------------------


def category_blob(table, categories):
    """Records of a page number and the page's bit set."""
    members = {CATEGORY[name] for name in categories.split()}
    records = []
    for page in range(256):
        bits = bytearray(32)
        for low in range(256):
            if table[page << 8 | low] & 0x1F in members:
                bits[low >> 3] |= 1 << (low & 7)
        if any(bits):
            records.append(bytes((page,)) + bits)
    return records


def mapping_blob(mapping):
    """Records of a page number, the page's entries and its index."""
    records = []
    for page in range(256):
        lows = [low for low in range(256) if page << 8 | low in mapping]
        if not lows:
            continue
        entries, index = [], {}
        for low in lows:
            to = mapping[page << 8 | low]
            index[low] = len(entries)
            entries += (len(to), *to)
        first, last = lows[0], lows[-1]
        offsets = [index.get(low, NO_INDEX) for low in range(first, last + 1)]
        records.append(struct.pack(f">BH{len(entries)}HBB{len(offsets)}H",
                                   page, len(entries), *entries, first, last, *offsets))
    return records


# --- Output -----------------------------------------------------------------------------------------------------------


def head(what):
    lines = "".join(f"// {line}\n" if line else "//\n" for line in what.splitlines())
    return f"// GENERATED BY {COMMAND}, DO NOT EDIT\n//\n{lines}// clang-format off\n"


def rows(items, in_row):
    return "".join("    " + " ".join(items[at:at + in_row]) + "\n" for at in range(0, len(items), in_row))


def blob_source(name, header, records, what):
    logical = b"".join(records)
    padded = logical + bytes(-len(logical) % 8)
    groups = [f"G(0x{padded[at:at + 8].hex().upper()})," for at in range(0, len(padded), 8)]
    return (head(f"{what}\n{len(records)} records, {len(logical)} bytes.")
            + f'#include "{header}"\n#include "text/tables/BlobGroup.h"\n\n'
            + f"signed char const {name}[] = {{\n{rows(groups, 4)}}};\n\n"
            + f"int const {name}Len = {len(logical)};\n")


def mapping_source(name, mapping, what):
    to_nothing = sum(not to for to in mapping.values())
    counts = (f"{len(mapping)} units mapped, {to_nothing} of them to nothing; the longest mapping has "
              f"{max(map(len, mapping.values()))} units.")
    return blob_source(name, "text/tables/MappingTableData.h", mapping_blob(mapping), f"{what}\n{counts}")


def category_source(name, table, categories):
    members = {CATEGORY[each] for each in categories.split()}
    count = sum(entry & 0x1F in members for entry in table)
    return blob_source(name, "text/tables/CategoryTableData.h", category_blob(table, categories),
                       f"The bit set of {categories}.\n{count} units.")


def classification_source(table):
    flags = ", ".join(f"{sum(bool(entry & flag) for entry in table)} units with {name}"
                      for flag, name in ((IDEOGRAPHIC, "kFlagIdeographic"), (SYMBOL_PLANE, "kFlagSymbolPlane")))
    counts = [sum(entry & 0x1F == number for entry in table) for number in range(len(CATEGORY_NAMES))]
    listed = [f"{name} {count}" for name, count in zip(CATEGORY_NAMES, counts)]
    lines = "\n".join(", ".join(listed[at:at + 8]) for at in range(0, len(listed), 8))
    body = "".join(f"    // {page << 8:04X}\n" + rows([f"{entry}," for entry in table[page << 8:page + 1 << 8]], 24)
                   for page in range(256))
    return (head(f"Category and flags of every UTF-16 unit, Unicode 13.0.0: {len(table)} bytes.\n{flags}.\n{lines}.")
            + '#include "text/CUnicodeCategoriesTable.h"\n\n'
            + f"unsigned char const CUnicodeCategoriesTable::sTable[{len(table)}] = {{\n{body}}};\n")


def upper_case_source(data):
    """Two stages: a page number for each high byte, and pages of distances, of which page 0 is all zero."""
    upper = {unit: to for unit, to in data.upper.items() if unit in BMP and to in BMP and to != unit}
    pages, stage = [(0,) * 256], []
    for high in range(256):
        page = tuple((upper.get(unit, unit) - unit) % 0x10000 for unit in range(high << 8, high + 1 << 8))
        if page not in pages:
            pages.append(page)
        stage.append(pages.index(page))
    body = "".join("    {\n" + rows([f"{step}," for step in page], 16) + "    },\n" for page in pages)
    return (head(f"Simple upper case of the BMP, Unicode 13.0.0: {len(upper)} units, {len(pages)} pages.")
            + '#include "marl/tables/UpperCase.h"\n\n'
            + f"unsigned char const kUpperCasePages[256] = {{\n{rows([f'{page},' for page in stage], 16)}}};\n\n"
            + f"char16_t const kUpperCaseSteps[][256] = {{\n{body}}};\n")


def generate(data):
    """All generated files: their content by path."""
    table = classify(data)
    mappings = Mappings(data, table)
    files = {
        "marl/tables/UpperCase.gen.cpp": upper_case_source(data),
        "text/tables/sTable.gen.cpp": classification_source(table),
    }
    for name, categories in CATEGORY_BLOBS:
        files[f"text/tables/{name}.gen.cpp"] = category_source(name, table, categories)
    for name, mapping, what in (
            ("sCaseFoldingMappingTableData", mappings.folding, "Common and full case folding."),
            ("sDecomposeAllMappingTableData", mappings.all, "Full decomposition, canonical and compatibility."),
            ("sDecomposeDiacriticsMappingTableData", mappings.diacritics,
             "Decomposition as far as it leads to nonspacing marks."),
            ("sDefaultMappingTableData", mappings.default,
             "Full decomposition, nonspacing marks dropped, case folded: the form for search."),
            ("sStripNSMMappingTableData", mappings.strip, "Nonspacing marks to nothing.")):
        files[f"text/tables/{name}.gen.cpp"] = mapping_source(name, mapping, what)
    return files


def read_pinned(folder):
    """The texts of the two files; ends the program where they aren't the pinned ones."""
    texts = {}
    for name, checksum in PINNED.items():
        path = folder / name
        if not path.is_file():
            print(f"{COMMAND}: skipped, {path} isn't there; text/tables/README.md says where to get it",
                  file=sys.stderr)
            sys.exit(NO_DATA)
        content = path.read_bytes()
        found = hashlib.sha256(content).hexdigest()
        if found != checksum:
            sys.exit(f"{COMMAND}: {path} is not that of Unicode 13.0.0: SHA-256 {found}, expected {checksum}")
        texts[name] = content.decode()
    return texts


def main():
    parser = argparse.ArgumentParser(description="Generates the library's Unicode tables.")
    parser.add_argument("--ucd", type=Path, default=ROOT.parent / "shared" / "ucd-13.0.0", metavar="DIR",
                        help="folder with UnicodeData.txt and CaseFolding.txt of Unicode 13.0.0")
    parser.add_argument("--check", action="store_true", help="compare with what stands in the tree, write nothing")
    arguments = parser.parse_args()

    files = generate(UnicodeData(read_pinned(arguments.ucd)))
    if not arguments.check:
        for path, content in files.items():
            (ROOT / path).write_text(content, encoding="ascii", newline="\n")
        return
    stale = [path for path, content in files.items()
             if not (ROOT / path).is_file() or (ROOT / path).read_bytes() != content.encode("ascii")]
    for path in stale:
        print(f"{path} differs from what {COMMAND} makes", file=sys.stderr)
    print(f"{len(files) - len(stale)} of {len(files)} generated files are current")
    sys.exit(1 if stale else 0)


if __name__ == "__main__":
    main()
