#!/usr/bin/env python3
"""Writes the text stubs that the macOS libraries are linked against.

    make_stubs.py OUT

One for each framework and for libobjc, from the declarations beside this script, and libc++'s from the symbols of
Debian's libc++ 14 and libc++abi. Libraries that are the same on both systems come from Debian too, with their headers.
OUT is laid out as a system root; libSystem's stub comes with the compiler.
"""
import pathlib
import re
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
TARGETS = "[ x86_64-macos, arm64-macos ]"
# Framework: the letter of its current version, and symbols that the compiler asks for by itself.
FRAMEWORKS = {
    "ApplicationServices": ("A", []),
    "CoreFoundation": ("A", ["___CFConstantStringClassReference"]),
    "CoreServices": ("A", []),
    "Foundation": ("C", []),
    "IOKit": ("A", []),
    "NaturalLanguage": ("A", []),
    "Security": ("A", []),
}
# Library: Debian's file of it, its install name, and the headers, which ask for nothing of the system but libc's.
SHARED_LIBRARIES = {
    "libbz2": ("libbz2.so.1.0", "/usr/lib/libbz2.1.0.dylib", ["bzlib.h"]),
    "libzstd": ("libzstd.so.1", "@rpath/libzstd.1.dylib", ["zdict.h", "zstd.h", "zstd_errors.h"]),
}
OBJC_SYMBOLS = """
    ___objc_personality_v0 __objc_empty_cache __objc_empty_vtable _class_getName _objc_alloc _objc_alloc_init
    _objc_autorelease _objc_autoreleasePoolPop _objc_autoreleasePoolPush _objc_begin_catch _objc_copyStruct
    _objc_ehtype_vtable _objc_end_catch _objc_enumerationMutation _objc_exception_rethrow _objc_exception_throw
    _objc_getClass _objc_getProperty _objc_lookUpClass _objc_msgSend _objc_msgSendSuper2 _objc_msgSend_stret
    _objc_opt_class _objc_opt_isKindOfClass _objc_opt_new _objc_opt_respondsToSelector _objc_opt_self _objc_release
    _objc_retain _objc_setProperty_nonatomic_copy _objc_sync_enter _objc_sync_exit _objc_terminate
    _object_getClass _sel_registerName _OBJC_EHTYPE_id
""".split()

FUNCTION = re.compile(r'^(?:CF_EXPORT|extern)\s+[^;{}="]*?\b([A-Za-z_]\w*)\((?!\*)', re.M)
DATUM = re.compile(r'^(?:CF_EXPORT|extern|FOUNDATION_EXPORT)\s+[^;(){}"]*?\b(?:const\s+)?(\w+);', re.M)
CLASS = re.compile(r"^@interface (\w+) :", re.M)


def write_stub(path, install_name, symbols, classes=(), exceptions=()):
    lists = [("symbols", symbols), ("objc-classes", classes), ("objc-eh-types", exceptions)]
    lines = ["--- !tapi-tbd", "tbd-version: 4", f"targets: {TARGETS}", f"install-name: '{install_name}'",
             "current-version: 1", "compatibility-version: 1", "exports:", f"  - targets: {TARGETS}"]
    for name, entries in lists:
        if entries:
            quoted = ", ".join(f"'{entry}'" for entry in sorted(entries))
            lines.append(f"    {name}: [ {quoted} ]")
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("\n".join([*lines, "...", ""]))


def write_framework(out, name, version, extra):
    headers = sorted((HERE / f"Frameworks/{name}.framework/Headers").rglob("*.h"))
    text = "\n".join(header.read_text() for header in headers)
    names = set(FUNCTION.findall(text)) | set(DATUM.findall(text)) - {"CF_EXTERN_C_BEGIN"}
    classes = set(CLASS.findall(text))
    folder = f"System/Library/Frameworks/{name}.framework"
    write_stub(out / folder / f"{name}.tbd", f"/{folder}/Versions/{version}/{name}",
               ["_" + symbol for symbol in names] + extra, classes, classes & {"NSException"})


def exported_symbols(library):
    """What Debian's library of that name exports, as macOS's linker spells it."""
    found = sorted(pathlib.Path("/usr/lib").glob(f"*/{library}")) or sorted(pathlib.Path("/lib").glob(f"*/{library}"))
    if not found:
        sys.exit(f"make_stubs: {library} is missing")
    listing = subprocess.run(["llvm-nm-14", "-D", "--defined-only", found[0]], check=True, text=True,
                             capture_output=True).stdout
    return {"_" + line.split()[-1].split("@")[0] for line in listing.splitlines()}


def write_library(out, name, file, install_name, headers):
    write_stub(out / f"usr/lib/{name}.tbd", install_name, exported_symbols(file))
    (out / "usr/include").mkdir(parents=True, exist_ok=True)
    for header in headers:
        shutil.copy(pathlib.Path("/usr/include") / header, out / "usr/include")


def main():
    out = pathlib.Path(sys.argv[1])
    for name, (version, extra) in FRAMEWORKS.items():
        write_framework(out, name, version, extra)
    write_stub(out / "usr/lib/libobjc.tbd", "/usr/lib/libobjc.A.dylib", OBJC_SYMBOLS, ["NSObject"])
    write_stub(out / "usr/lib/libc++.tbd", "/usr/lib/libc++.1.dylib",
               exported_symbols("libc++.so.1") | exported_symbols("libc++abi.so.1"))
    for name, (file, install_name, headers) in SHARED_LIBRARIES.items():
        write_library(out, name, file, install_name, headers)


main()
