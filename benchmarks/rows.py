"""The rows of the table that benchmarks/run.sh writes: data, and nothing else.

A work is measured by one benchmark of ours and, where there is one, by a peer's in the same program; both are named as
`--benchmark_list_tests` names them. `{text}` stands for each of the texts in turn, so that one work makes several rows, and
`{size}` for each of the sizes, which make one row of what a byte costs at most and at least.
"""

from typing import Mapping, NamedTuple, Sequence, Union

Goals = Union[float, Mapping[str, float], None]


class Work(NamedTuple):
    work: str  # what is done, as the table says it
    program: str
    ours: str
    unit: str  # GB/s, MB/s: of `bytes_per_second`; other .../s: of `items_per_second`; ns, us, ms: time; else a counter
    peer: str = ""
    by: str = ""  # whose the peer is
    texts: Sequence[str] = ()
    sizes: Sequence[int] = ()
    level: str = ""  # "best": what hosts get; one level's name: where the processor has it and a better one; else portable
    counter: str = ""  # the counter that `unit` is the unit of
    goal: Goals = None  # how many times as fast as the peer we want to be, for every text or for each
    least: Goals = None  # what ours should come to at least (a time: at most), in `unit`
    peer_may_lack: bool = False  # the peer isn't to be had on every system
    needs: str = ""  # what a machine may lack, so that there is no such benchmark: linux
    all_cores: bool = False  # not pinned to one core


def each(names: str, value: float) -> dict:
    """The same goal for several texts."""
    return dict.fromkeys(names.split(), value)


LANGUAGES = "en fr de ru el ar hi zh ja ko".split()
TEXTS = [*LANGUAGES, "emoji"]
SHORT = ["short_mixed_lines", "short_ascii_lines"]

# How texts are called in the table, where their names don't say it.
TEXT_NAMES = {
    "short_mixed_lines": "lines of 8 to 200 bytes",
    "short_ascii_lines": "ASCII lines of 8 to 200 bytes",
}

TO_UTF16 = {"en": 15, "fr": 5.5, **each("ru el ar ko", 8), "zh": 6.5, "ja": 5.7, "emoji": 6}
TO_UTF16_AVX2 = {"fr": 1.7, **each("ru el ar ko", 2), "zh": 1.6}
TO_UTF8 = {"en": 15, "fr": 3.3, **each("ru el ar", 17), "zh": 7.5, "ja": 6.8, "ko": 10, "emoji": 7}
SHORT_INTO_BUFFER = {"short_mixed_lines": 5.5, "short_ascii_lines": 6}
WORDS = {**each("en fr de", 2), **each("ru el ar ja ko", 5), "zh": 3}

# How often a program's benchmarks are run, where they take long. Otherwise seven times.
REPETITIONS = {"bench_compression": 3, "bench_linear": 3, "bench_net": 3}

UTF = [
    Work("UTF-8 to UTF-16 into a buffer", "bench_text", "utf8_to_utf16/buffer/loam/{text}", "GB/s",
         "utf8_to_utf16/buffer/icu/{text}", "ICU `u_strFromUTF8`", TEXTS, level="best", goal=TO_UTF16),
    Work("UTF-16 to UTF-8 into a buffer", "bench_text", "utf16_to_utf8/buffer/loam/{text}", "GB/s",
         "utf16_to_utf8/buffer/icu/{text}", "ICU `u_strToUTF8`", TEXTS, level="best", goal=TO_UTF8),
    Work("UTF-8 to UTF-16 into a buffer", "bench_text", "utf8_to_utf16/buffer/loam/{text}", "MB/s",
         "utf8_to_utf16/buffer/icu/{text}", "ICU `u_strFromUTF8`", SHORT, level="best", goal=SHORT_INTO_BUFFER),
    Work("UTF-16 to UTF-8 into a buffer", "bench_text", "utf16_to_utf8/buffer/loam/{text}", "MB/s",
         "utf16_to_utf8/buffer/icu/{text}", "ICU `u_strToUTF8`", SHORT, level="best", goal=SHORT_INTO_BUFFER),
    Work("UTF-8 to UTF-16 into a string", "bench_text", "utf8_to_utf16/string/loam/{text}", "MB/s",
         "utf8_to_utf16/string/icu/{text}", "ICU into a new string", SHORT, level="best", goal=1.6),
    Work("UTF-16 to UTF-8 into a string", "bench_text", "utf16_to_utf8/string/loam/{text}", "MB/s",
         "utf16_to_utf8/string/icu/{text}", "ICU into a new string", SHORT, level="best", goal=1.6),
    Work("UTF-8 to UTF-16 into a buffer", "bench_utf_levels", "utf8_to_utf16/{text}/AVX2", "GB/s",
         "utf8_to_utf16/{text}/icu", "ICU `u_strFromUTF8`", TEXTS, level="AVX2", goal=TO_UTF16_AVX2),
    Work("UTF-16 to UTF-8 into a buffer", "bench_utf_levels", "utf16_to_utf8/{text}/AVX2", "GB/s",
         "utf16_to_utf8/{text}/icu", "ICU `u_strToUTF8`", TEXTS, level="AVX2"),
]

TEXT = [
    Work("mapped word walk, default table", "bench_text", "words/loam/{text}", "MB/s", "words/fts5/{text}",
         "FTS5 `unicode61`, diacritics removed", [*LANGUAGES, "short_ascii_lines"], goal=WORDS),
    Work("raw word walk", "bench_text", "raw_words/loam/{text}", "MB/s", texts=["en", "ru", "ja"]),
    Work("`MapText`, default table", "bench_text", "map_text/loam/{text}", "MB/s", "map_text/icu/{text}",
         "ICU NFKD, case folded", LANGUAGES, level="best", goal=4),
    Work("`MapText` with offsets", "bench_text", "map_text_offsets/loam/{text}", "MB/s", "map_text/icu/{text}",
         "ICU NFKD, case folded, no offsets", LANGUAGES, level="best", goal=3),
    Work("`FindMappedText`, a word that occurs", "bench_text", "find_hit/loam/{text}", "MB/s", "find_hit/icu/{text}",
         "ICU `usearch`, primary strength", LANGUAGES, level="best", goal=40),
    Work("`FindMappedText`, a word that never does", "bench_text", "find_miss/loam/{text}", "MB/s",
         "find_miss/icu/{text}", "ICU `usearch`, primary strength", LANGUAGES, level="best", goal=40),
    Work("`HasMappableText`, nothing to find", "bench_text", "has_mappable/loam/{text}", "MB/s", texts=["en", "ru", "zh"]),
]

CHARSETS = [
    Work(f"{charset} to UTF-16, {what}", "bench_charsets", f"ToUnicode/{charset}/{what}/Loam", "MB/s",
         f"ToUnicode/{charset}/{what}/ICU", "ICU `ucnv_toUChars`")
    for charset, what in [
        ("ISO-8859-1", "english page"), ("ISO-8859-1", "german page"), ("ISO-8859-1", "german line"),
        ("ISO-8859-15", "german page"), ("windows-1252", "german page"), ("macintosh", "german page"),
        ("KOI8-R", "russian page"), ("Shift_JIS", "japanese page"),
    ]
] + [
    Work(f"UTF-16 to {charset}, {what}", "bench_charsets", f"FromUnicode/{charset}/{what}/Loam", "MB/s",
         f"FromUnicode/{charset}/{what}/ICU", "ICU `ucnv_fromUChars`")
    for charset, what in [
        ("ISO-8859-1", "english page"), ("ISO-8859-1", "german page"), ("ISO-8859-1", "german line"),
        ("windows-1252", "german page"), ("macintosh", "german page"),
        ("KOI8-R", "russian page"), ("Shift_JIS", "japanese page"),
    ]
]

CHARSET_TESTS = [
    Work("can bytes be ISO 8859-1", "bench_charset_tests", "TestBytes/iso_8859_1", "GB/s", "ConvertByICU/iso_8859_1",
         "ICU, by converting", least=10),
    Work("can bytes be ISO 8859-7", "bench_charset_tests", "TestBytes/iso_8859_7", "GB/s", "ConvertByICU/iso_8859_7",
         "ICU, by converting", least=10),
    Work("can bytes be CP 1251", "bench_charset_tests", "TestBytes/cp_1251", "GB/s", "TestBytesOneByOne",
         "a loop with a table", least=10),
    Work("can bytes be CP 1257", "bench_charset_tests", "TestBytes/cp_1257", "GB/s", "TestBytesOneByOne",
         "a loop with a table", least=10),
    Work("can units be US-ASCII", "bench_charset_tests", "TestUnits/us_ascii", "GB/s", "SpanByICU", "ICU `uset_span`",
         least=10),
    Work("can units be ISO 8859-1", "bench_charset_tests", "TestUnits/iso_8859_1", "GB/s", "TestUnitsOneByOne",
         "a loop", least=10),
    Work("escapes of ISO 2022", "bench_charset_tests", "SniffISO2022", "GB/s", least=10),
    Work("byte order of UTF-16, of bytes", "bench_charset_tests", "SniffUTF16/no_zeros", "GB/s", least=10),
    Work("byte order of UTF-16, of UTF-16", "bench_charset_tests", "SniffUTF16/letters", "GB/s", least=10),
]

LANGUAGE = [
    Work(f"language of {size:,} bytes, {profiles} profiles", "bench_language", f"language/{ours}/{{text}}/{size}", "texts/s",
         f"language/cld2/{{text}}/{size}", "CLD2", texts, level="best", least=least, peer_may_lack=True)
    for size, profiles, ours, texts, least in [
        (100, 75, "loam", ["en"], None),
        (1000, 75, "loam", ["en", "fr", "ru", "ar", "zh", "ja"], 25000),
        (10000, 75, "loam", ["en", "fr", "ru", "ar", "zh", "ja"], 5000),
        (1000, 83, "loam_83", ["en"], None),
    ]
]

SIZES = [1 << 10, 16 << 10, 256 << 10, 4 << 20, 64 << 20]

LINEAR = [
    Work(f"1 KB to 64 MB: {name}", "bench_linear", f"linear/{ours}/{{size}}", "ns/byte", sizes=SIZES, level=level)
    for name, ours, level in [
        ("UTF-8 to UTF-16", "utf8_to_utf16", "best"),
        ("UTF-16 to UTF-8", "utf16_to_utf8", "best"),
        ("`MapText`", "map_text", "best"),
        ("`MapText` with offsets", "map_text_offsets", "best"),
        ("`FindMappedText`", "find_mapped_text", "best"),
        ("`HasMappableText`", "has_mappable", "best"),
        ("mapped word walk", "words", "best"),
        ("search for a category", "categories", "best"),
        ("Base64", "base64", "best"),
        ("from Base64", "base64_decoded", "best"),
        ("byte order of UTF-16", "sniff_utf16", "best"),
        ("escapes of ISO 2022", "sniff_iso_2022", ""),
        ("language", "language", "best"),
    ]
]

WORKS: Sequence[Work] = [
    *UTF, *TEXT, *CHARSETS, *CHARSET_TESTS, *LANGUAGE, *LINEAR, *SECURITY, *COMPRESSION, *FILES, *SYSTEM,
]
