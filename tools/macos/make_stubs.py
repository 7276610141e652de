#!/usr/bin/env python3
"""Writes the text stubs that the macOS libraries are linked against.

    make_stubs.py OUT

One for each framework and for libobjc, from the declarations beside this script, and libc++'s from the symbols of
Debian's libc++ 14 and libc++abi. OUT is laid out as a system root; libSystem's stub comes with the compiler.
"""
import pathlib
import re
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


def runtime_symbols():
    symbols = set()
    for library in ("libc++.so.1", "libc++abi.so.1"):
        found = sorted(pathlib.Path("/usr/lib").glob(f"*/{library}"))
        if not found:
            sys.exit(f"make_stubs: {library} is missing (Debian's libc++1-14)")
        listing = subprocess.run(["llvm-nm-14", "-D", "--defined-only", found[0]], check=True, text=True,
                                 capture_output=True).stdout
        symbols |= {"_" + line.split()[-1].split("@")[0] for line in listing.splitlines()}
    return symbols


def main():
    out = pathlib.Path(sys.argv[1])
    for name, (version, extra) in FRAMEWORKS.items():
        write_framework(out, name, version, extra)
    write_stub(out / "usr/lib/libobjc.tbd", "/usr/lib/libobjc.A.dylib", OBJC_SYMBOLS, ["NSObject"])
    write_stub(out / "usr/lib/libc++.tbd", "/usr/lib/libc++.1.dylib", runtime_symbols())


main()
