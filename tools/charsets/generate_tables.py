#!/usr/bin/env python3
"""Generates the tables of the charsets that the Linux side converts by itself because ICU's data in Debian has none.

    tools/charsets/generate_tables.py            writes the generated source anew
    tools/charsets/generate_tables.py --check    compares it byte for byte, writes nothing

The facts come from what Debian 12 has on board: Python's codecs for the single-byte charsets, Perl's Encode (package perl,
which build-essential pulls in) for those in which some characters have two bytes or are several units of Unicode. Both
stem from the mappings that the charsets' maker published through the Unicode Consortium (VENDORS/APPLE); ISO 8859-16 is the
Consortium's own (ISO8859/8859-16.TXT). Exit codes: 0 for done or current, 1 for a table that differs, 77 where Perl or its
Encode isn't there.
"""

import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))
from generated_table import write_or_check  # noqa: E402

TARGET = ROOT / "text/tables/OldCharsets.gen.cpp"
COMMAND = "tools/charsets/generate_tables.py"
NO_DATA = 77  # what ctest takes for a skipped test

# The constant, its source, and what the source calls the charset.
CHARSETS = (
    ("kISO_8859_16", "python", "iso8859_16"),
    ("kMacArabic", "python", "mac_arabic"),
    ("kMacChineseSimp", "perl", "MacChineseSimp"),
    ("kMacChineseTrad", "perl", "MacChineseTrad"),
    ("kMacCroatian", "python", "mac_croatian"),
    ("kMacFarsi", "python", "mac_farsi"),
    ("kMacHebrew", "perl", "MacHebrew"),
    ("kMacIcelandic", "python", "mac_iceland"),
    ("kMacJapanese", "perl", "MacJapanese"),
    ("kMacKorean", "perl", "MacKorean"),
    ("kMacRomanian", "python", "mac_romanian"),
)

# Writes a line for each byte and each pair of bytes that is a character: the bytes, then its units, in hexadecimal.
PERL = r"""
use strict; use Encode;
my $charset = find_encoding($ARGV[0]) or exit 77;
for my $first (0x80 .. 0xFF) {
    my $text = eval { $charset->decode(my $copy = chr($first), Encode::FB_CROAK) };
    if (defined $text && length $text) { show($text, $first); next }
    for my $second (0x30 .. 0xFF) {
        $text = eval { $charset->decode(my $copy = chr($first) . chr($second), Encode::FB_CROAK) };
        show($text, $first, $second) if defined $text && length $text;
    }
}
sub show {
    my ($text, @bytes) = @_;
    my @units = unpack('n*', encode('UTF-16BE', $text));
    print join('', map { sprintf '%02X', $_ } @bytes), ' ', join(' ', map { sprintf '%04X', $_ } @units), "\n";
}
"""

NO_UNIT = 0xFFFF
FIRST_TRAIL = 0x40  # of two bytes; a row of the table goes on to 0xFF
FIRST_SEQUENCE = 0xD800  # in place of a unit: this one's number in the list of sequences, since none is a surrogate
LONGEST = 5  # units of a character


def from_python(codec):
    characters = {}
    for byte in range(0x80, 0x100):
        characters[(byte,)] = [ord(bytes([byte]).decode(codec))]
    return characters


def from_perl(name):
    try:
        run = subprocess.run(["perl", "-e", PERL, name], capture_output=True, text=True, check=False)
    except FileNotFoundError:
        run = None
    if run is None or run.returncode:
        print(f"{COMMAND}: no Perl with Encode here that knows {name}", file=sys.stderr)
        sys.exit(NO_DATA)
    characters = {}
    for line in run.stdout.splitlines():
        code, *units = line.split()
        characters[tuple(bytes.fromhex(code))] = [int(unit, 16) for unit in units]
    return characters


def rows_of(values, per_line=14):
    return "".join("    " + ", ".join(f"0x{v:04X}" for v in values[at:at + per_line]) + ",\n"
                   for at in range(0, len(values), per_line))


def table(name, source, called):
    characters = from_python(called) if source == "python" else from_perl(called)
    # ASCII is the same in all of them but for the byte that is a currency sign in one.
    single = list(range(0x80)) + [NO_UNIT] * 0x80
    if name == "kMacJapanese":
        single[0x5C] = 0x00A5
    sequences, rows = [], {}
    for code, units in sorted(characters.items()):
        assert all(not 0xD800 <= unit < 0xE000 for unit in units) and len(units) <= LONGEST, (name, code, units)
        value = units[0]
        if len(units) > 1:
            value = FIRST_SEQUENCE + len(sequences)
            sequences.append(units)
        if len(code) == 1:
            single[code[0]] = value
        else:
            assert code[1] >= FIRST_TRAIL, (name, code)
            rows.setdefault(code[0], [NO_UNIT] * (0x100 - FIRST_TRAIL))[code[1] - FIRST_TRAIL] = value
    assert len(sequences) < 0x800
    text = f"\n// {called}: {sum(len(c) == 1 for c in characters)} characters of one byte from 0x80 on, " \
           f"{sum(len(c) == 2 for c in characters)} of two, {len(sequences)} of several units.\n"
    text += f"constexpr char16_t {name}Units[256] = {{\n{rows_of(single)}}};\n"
    if rows:
        row_of = [0] * 256
        for number, lead in enumerate(sorted(rows), 1):
            row_of[lead] = number
        text += f"constexpr std::uint8_t {name}RowOf[256] = {{\n"
        text += "".join("    " + ", ".join(str(v) for v in row_of[at:at + 24]) + ",\n" for at in range(0, 256, 24))
        text += f"}};\nconstexpr char16_t {name}Rows[][kOldCharsetRow] = {{\n"
        for lead in sorted(rows):
            text += "{\n" + rows_of(rows[lead]) + "},\n"
        text += "};\n"
    if sequences:
        text += f"constexpr OldCharsetSequence {name}Sequences[] = {{\n"
        for units in sequences:
            text += "    {" + str(len(units)) + ", {" + ", ".join(f"0x{u:04X}" for u in units) + "}},\n"
        text += "};\n"
    row_pointers = f"{name}RowOf, {name}Rows" if rows else "nullptr, nullptr"
    sequence_pointers = f"{name}Sequences, {len(sequences)}" if sequences else "nullptr, 0"
    definition = f"constinit OldCharsetTable const {name} = {{{name}Units, {row_pointers}, {sequence_pointers}}};\n"
    return text, definition


def generate():
    tables = [table(*charset) for charset in CHARSETS]
    return (f"// GENERATED BY {COMMAND}. DO NOT EDIT.\n"
            "// clang-format off\n\n"
            '#include "text/tables/OldCharsets.h"\n\n'
            "namespace {\n" + "".join(text for text, _ in tables) + "\n}  // namespace\n\n" +
            "".join(definition for _, definition in tables))


if __name__ == "__main__":
    sys.exit(write_or_check(__doc__, COMMAND, TARGET, generate))
