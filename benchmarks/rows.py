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
         "FTS5 `unicode61`, diacritics removed", [*LANGUAGES, "short_ascii_lines"], level="best", goal=WORDS),
    Work("raw word walk", "bench_text", "raw_words/loam/{text}", "MB/s", texts=["en", "ru", "ja"]),
    Work("`MapText`, default table", "bench_text", "map_text/loam/{text}", "MB/s", "map_text/icu/{text}",
         "ICU NFKD, case folded", TEXTS, level="best", goal=4),
    Work("`MapText` with offsets", "bench_text", "map_text_offsets/loam/{text}", "MB/s", "map_text/icu/{text}",
         "ICU NFKD, case folded, no offsets", TEXTS, level="best", goal=3),
    Work("`FindMappedText`, a word that occurs", "bench_text", "find_hit/loam/{text}", "MB/s", "find_hit/icu/{text}",
         "ICU `usearch`, primary strength", TEXTS, level="best", goal=40),
    Work("`FindMappedText`, a word that never does", "bench_text", "find_miss/loam/{text}", "MB/s",
         "find_miss/icu/{text}", "ICU `usearch`, primary strength", TEXTS, level="best", goal=40),
    Work("`MapText`, of UTF-16", "bench_utf_levels", "map_text/{text}/AVX2", "GB/s", texts=["en", "fr", "ru", "zh"],
         level="AVX2"),
    Work("`FindMappedText`, of UTF-16, a word that never does", "bench_utf_levels", "find_miss/{text}/AVX2", "GB/s",
         texts=["en", "fr", "ru", "zh"], level="AVX2"),
]

SCANS = [
    Work("`HasMappableText`, nothing to find", "bench_text", "walk/has_mappable/{text}", "GB/s", texts=TEXTS,
         level="best", least=10),
    Work("`HasMappableText`, diacritics", "bench_text", "walk/has_diacritics/{text}", "GB/s",
         texts=["en", "ru", "zh", "emoji"], level="best", least=10),
    Work("first separator, none there", "bench_text", "walk/first_separator/{text}", "GB/s",
         "walk/first_separator_icu/{text}", "ICU `uset_span`", TEXTS, level="best", least=10),
    *(
        Work(f"{named}, none there", "bench_text", f"walk/{name}/{{text}}", "GB/s", texts=["en", "ru", "zh", *more],
             level="best", least=10)
        for named, name, *more in [
            ("last separator", "last_separator"),
            ("first separator, by a table of pages", "first_separator_pages"),
            ("first letter", "first_letter", "emoji"),
            ("first unit that is no letter", "first_other", "emoji"),
            ("last unit that is no letter", "last_other", "emoji"),
            ("first pictograph", "first_pictograph"),
        ]
    ),
]

# Converted by the library itself, and not by ICU.
OWN_CHARSETS = {"ISO-8859-1", "ISO-8859-15", "windows-1252", "macintosh"}

CHARSETS = [
    Work(f"{charset} to UTF-16, {what}", "bench_charsets", f"ToUnicode/{charset}/{what}/Loam", "MB/s",
         f"ToUnicode/{charset}/{what}/ICU", "ICU `ucnv_toUChars`", goal=1 if charset in OWN_CHARSETS else None)
    for charset, what in [
        ("ISO-8859-1", "english page"), ("ISO-8859-1", "german page"), ("ISO-8859-1", "german line"),
        ("ISO-8859-15", "german page"), ("windows-1252", "german page"), ("macintosh", "german page"),
        ("KOI8-R", "russian page"), ("Shift_JIS", "japanese page"),
    ]
] + [
    Work(f"UTF-16 to {charset}, {what}", "bench_charsets", f"FromUnicode/{charset}/{what}/Loam", "MB/s",
         f"FromUnicode/{charset}/{what}/ICU", "ICU `ucnv_fromUChars`", goal=1 if charset in OWN_CHARSETS else None)
    for charset, what in [
        ("ISO-8859-1", "english page"), ("ISO-8859-1", "german page"), ("ISO-8859-1", "german line"),
        ("ISO-8859-15", "german page"), ("windows-1252", "german page"), ("macintosh", "german page"),
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
    Work("byte order of UTF-16, of bytes", "bench_charset_tests", "SniffUTF16/no_zeros", "GB/s", level="best", least=10),
    Work("byte order of UTF-16, of UTF-16", "bench_charset_tests", "SniffUTF16/letters", "GB/s", level="best", least=10),
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

SECURITY = [
    Work("Base64 of 1 MB", "bench_security", "EncodeLoam/1000000", "GB/s", "EncodeOpenSSL/1000000",
         "OpenSSL `EVP_EncodeBlock`", level="best", goal=17),
    Work("Base64 of 2^20 bytes", "bench_security", "EncodeLoam/1048576", "GB/s", "EncodeOpenSSL/1048576",
         "OpenSSL `EVP_EncodeBlock`", level="best", goal=17),
    Work("Base64 of 100 bytes", "bench_security", "EncodeLoam/100", "MB/s", "EncodeOpenSSL/100",
         "OpenSSL `EVP_EncodeBlock`", level="best", goal=6),
    Work("1 MB from Base64", "bench_security", "DecodeLoam/one_line/1000000", "GB/s", "DecodeOpenSSL/1000000",
         "OpenSSL `EVP_DecodeBlock`", level="best", goal=18),
    Work("2^20 bytes from Base64", "bench_security", "DecodeLoam/one_line/1048576", "GB/s", "DecodeOpenSSL/1048576",
         "OpenSSL `EVP_DecodeBlock`", level="best", goal=18),
    Work("100 bytes from Base64", "bench_security", "DecodeLoam/one_line/100", "MB/s", "DecodeOpenSSL/100",
         "OpenSSL `EVP_DecodeBlock`", level="best", goal=3),
    Work("1 MB from Base64 in lines of 76", "bench_security", "DecodeLoam/lines/1000000", "GB/s",
         "DecodeLinesOpenSSL/1000000", "OpenSSL `EVP_DecodeUpdate`", level="best", goal=30),
    Work("AES, 1 MB encrypted", "bench_security", "AESLoam/encrypt/1000000", "MB/s", "AESOpenSSL/encrypt/1000000",
         "OpenSSL", goal=0.95),
    Work("AES, 1 MB decrypted", "bench_security", "AESLoam/decrypt/1000000", "MB/s", "AESOpenSSL/decrypt/1000000",
         "OpenSSL", goal=0.95),
    Work("AES, 64 bytes encrypted", "bench_security", "AESLoam/encrypt/64", "MB/s", "AESOpenSSL/encrypt/64", "OpenSSL",
         goal=0.8),
    Work("AES, 64 bytes decrypted", "bench_security", "AESLoam/decrypt/64", "MB/s", "AESOpenSSL/decrypt/64", "OpenSSL",
         goal=0.8),
]

COMPRESSION = [
    Work(f"zstd level {level}, {name}", "bench_compression", f"{ours}Loam/{level}/process_time", "MB/s",
         f"{ours}Zstd/{level}/process_time", "libzstd", goal=0.97)
    for ours, name in [("OneShot", "one shot"), ("Chunks", "chunks of 128 KB")] for level in (1, 3, 19)
] + [
    Work("zstd, decompressed", "bench_compression", "DecompressLoam", "MB/s", "DecompressZstd", "libzstd"),
    Work("zstd, 1,000 small documents with a dictionary", "bench_compression", "SmallDocumentsLoam", "MB/s",
         "SmallDocumentsZstd", "libzstd", goal=0.95),
    Work("bzip2, one shot", "bench_compression", "Bzip2Loam", "MB/s", "Bzip2Direct", "libbz2", goal=0.97),
    Work("bzip2, chunks of 128 KB", "bench_compression", "Bzip2ChunksLoam", "MB/s", "Bzip2ChunksDirect", "libbz2",
         goal=0.97),
    Work("zstd, memory to compress 2 MB", "bench_compression", "PeakCompressLoam/iterations:1", "KB",
         "PeakCompressZstd/iterations:1", "libzstd", counter="KB"),
    Work("zstd, memory to decompress 2 MB", "bench_compression", "PeakDecompressLoam/iterations:1", "KB",
         "PeakDecompressZstd/iterations:1", "libzstd", counter="KB"),
]

# By benchmarks/search_tree.py, which ends the names of its rows with the second of each pair.
SEARCHES = [
    Work(f"`loamctl search -j 2` through 500 MB of {tree}, a word that {occurs}", "search_tree.py",
         f"search {name}: a word that occurs {ending}", "MB/s",
         f"search {name}: a word that occurs {ending}/peer" if peer else "", peer, **goal, peer_may_lack=True, all_cores=True)
    for tree, name, peer, goal in [
        ("seven charsets", "mixed", "", {"least": 400}),
        ("ASCII", "ascii", "`rg -i`", {"goal": 1 / 3}),
    ]
    for occurs, ending in [
        ("never occurs", "never"),
        ("occurs often, counted", "often, counted"),
        ("occurs often, shown", "often, shown"),
    ]
] + [
    Work(f"`loamctl search -j 2` in a store of 1,000 documents, a word that {occurs}", "search_tree.py",
         f"search store: a word that occurs {ending}", "MB/s", f"search store: a word that occurs {ending}/peer",
         "the same in the files", goal=1, all_cores=True)
    for occurs, ending in [
        ("never occurs", "never"),
        ("occurs often, counted", "often, counted"),
        ("occurs often, shown", "often, shown"),
    ]
]

FILES = [
    Work("walk of 100,000 files", "bench_files", "Walk", "files/s", "WalkByReaddir", "`readdir` alone", goal=0.7),
    *(
        Work(f"walk of 100,000 files, {named}", "bench_files", f"WalkFolder<{name}>", "files/s",
             f"WalkFolderByReaddir<{name}>", "`readdir` alone", goal=0.7)
        for named, name in [
            ("twenty folders down", "kDeep"),
            ("names of 200 bytes", "kLongNames"),
            ("names beyond ASCII", "kOtherNames"),
        ]
    ),
    Work("walk, and whether each is visible", "bench_files", "WalkVisible", "files/s"),
    Work("walk, and whether each is a real file", "bench_files", "WalkRealFiles", "files/s", "WalkAndLstat",
         "walk and `lstat`"),
    Work("a `CFileSpec` of a path", "bench_files", "MakeFromPath", "ns"),
    Work("a `CFileSpec` of a folder and a name", "bench_files", "MakeInFolder", "ns"),
    Work("a `CFileSpec` in a well-known folder", "bench_files", "MakeInWellKnownFolder", "ns"),
    Work("a copy of a `CFileSpec`", "bench_files", "Copy", "ns"),
    Work("500 volumes, with all that is known of each", "bench_volumes", "AllVolumes", "ms", needs="linux"),
    Work("the volume of a path", "bench_volumes", "PathOnAVolume", "us", needs="linux"),
    Work("`loamctl vol` with 500 volumes", "bench_volumes", "ListByLoamctl/real_time", "ms", needs="linux", least=50),
    Work("`loamctl search` through 8 files of each text, a word that occurs", "bench_text",
         "SearchTree/a_word_that_occurs/real_time", "MB/s", all_cores=True),
    Work("`loamctl search` through 8 files of each text, a word that never does", "bench_text",
         "SearchTree/a_word_that_never_does/real_time", "MB/s", all_cores=True),
    *SEARCHES,
]

SYSTEM = [
    Work("start and end of a program that links the library", "bench_startup", "Start/with/manual_time", "us",
         "Start/without/manual_time", "the same without it"),
    Work("what linking the library adds to a start", "bench_startup", "Added/iterations:50", "us", counter="added_us",
         least=1000),
    Work("`CMutex`, locked and unlocked", "bench_concurrency", "LockLoam", "ns", "LockStandard", "`std::mutex`",
         goal=1 / 1.3),
    Work("`CMutex`, entered again", "bench_concurrency", "ReenterLoam", "ns", "ReenterStandard",
         "`std::recursive_mutex`", goal=1),
    Work("`CSemaphore`, posted and taken", "bench_concurrency", "PostAndTake<CSemaphore>", "ns",
         "PostAndTake<CPlainSemaphore>", "a condition and a count"),
    Work("`CSemaphore`, two threads in turn", "bench_concurrency", "PingPong<CSemaphore>/real_time", "us",
         "PingPong<CPlainSemaphore>/real_time", "a condition and a count", goal=1 / 1.2),
    Work("a log line", "bench_log", "PlainLoam", "ns", "PlainSpdlog", "spdlog, flushed", goal=0.9),
    Work("a stamped log line", "bench_log", "StampedLoam", "ns", "StampedSpdlog", "spdlog, flushed", goal=0.9),
    Work("echo of 64 bytes over the loopback", "bench_net", "EchoLoam/seconds:0/real_time", "us",
         "EchoPlain/seconds:0/real_time", "plain sockets", goal=0.95),
    Work("echo with a limit of time", "bench_net", "EchoLoam/seconds:5/real_time", "us",
         "EchoPlain/seconds:5/real_time", "plain sockets", goal=0.95),
    Work("lines of 80 bytes received", "bench_net", "LinesLoam/real_time", "MB/s", "LinesByteByByte/real_time",
         "`recv` byte by byte", goal=20),
    Work("a cancelled call returns, median", "bench_net", "CancelWakesUp/iterations:1000/real_time", "us",
         counter="p50_us"),
    Work("a cancelled call returns, 99 of 100", "bench_net", "CancelWakesUp/iterations:1000/real_time", "us",
         counter="p99_us", least=50000),
    Work("a program launched", "bench_process", "LaunchLoam/manual_time", "us", "LaunchPosixSpawn/manual_time",
         "`posix_spawn`", goal=1 / 1.1),
    Work("load of this machine", "bench_process", "LoadOfThisMachine", "us"),
    Work("load of 64 processors", "bench_process", "SnapshotOf64Processors", "us", least=1000),
    Work("type identifier that is known", "bench_types", "TypeLoam/real_time/threads:1", "ns",
         "TypePlainMap/real_time/threads:1", "`std::map` under a shared lock"),
    Work("the same by 8 threads", "bench_types", "TypeLoam/real_time/threads:8", "ns",
         "TypePlainMap/real_time/threads:8", "`std::map` under a shared lock", goal=0.5),
]

WORKS: Sequence[Work] = [
    *UTF, *TEXT, *SCANS, *CHARSETS, *CHARSET_TESTS, *LANGUAGE, *LINEAR, *SECURITY, *COMPRESSION, *FILES, *SYSTEM,
]
