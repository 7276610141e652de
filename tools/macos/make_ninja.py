#!/usr/bin/env python3
"""Writes the build file of the macOS check.

    make_ninja.py WORK ZIG

WORK/cmake/macos-sources.txt names the sources, one a line behind its library ("marl" or "loam"); the build file
comes to WORK/build.ninja. ZIG is the folder of the Zig package.
"""
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
# Zig's name of the architecture for each of the linker's.
ARCHITECTURES = {"x86_64": "x86_64", "arm64": "aarch64"}
OLDEST, NEWEST = "11.0", "13.0"
SYSTEM_LIBRARIES = (
    "-framework ApplicationServices -framework CoreFoundation -framework CoreServices -framework Foundation "
    "-framework IOKit -framework Security -weak_framework NaturalLanguage -lbz2 -lzstd -lobjc -lc++ -lSystem")

RULES = """\
ninja_required_version = 1.5
builddir = .
root = {root}
here = {here}
zig = {zig}
warnings = -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror $
    -Wno-deprecated-declarations -Wno-multichar -Wno-four-char-constants
language = -std=c++20 -fno-objc-arc
visibility = -fvisibility=hidden -fvisibility-inlines-hidden
stubs = -isystem $here/include -isystem sysroot/usr/include -iframework $here/Frameworks
libc = $zig/lib/libc/include

rule stubs
  command = python3 $here/make_stubs.py sysroot && touch $out
  description = STUBS

rule compile
  command = $zig/zig c++ -target ${{target}}-macos.{oldest} -O1 $language $warnings $visibility -I $root $stubs $
      -MD -MF $out.d -c $in -o $out
  depfile = $out.d
  deps = gcc
  description = COMPILE $arch $name

rule link
  command = ld64.lld-14 -arch $arch -platform_version macos {oldest} {newest} -syslibroot sysroot -dylib $
      -install_name @rpath/$name.1.dylib -o $out $in {libraries}
  description = LINK $arch $name

rule analyse
  command = clang++-14 --analyze -target arm64-apple-macos{oldest} $language -nostdinc++ -nostdlibinc $
      -isystem $zig/lib/libcxx/include -isystem $here/include -isystem sysroot/usr/include $
      -isystem $libc/aarch64-macos.11-none -isystem $libc/any-macos.11-any -isystem $libc/any-macos-any $
      -D_LIBCPP_DISABLE_VISIBILITY_ANNOTATIONS -iframework $here/Frameworks -I $root -w $
      -Xclang -analyzer-output=text -Xclang -analyzer-checker=osx -Xclang -analyzer-werror $in && touch $out
  description = ANALYSE $name
"""


def read_sources(work):
    sources = {"marl": [], "loam": []}
    for line in (work / "cmake/macos-sources.txt").read_text().splitlines():
        library, path = line.split(" ", 1)
        sources[library].append(path)
    return sources


def architecture(arch, target, sources, lines):
    """The objects and the two libraries of one architecture; the libraries' names are the answer."""
    objects = {library: [] for library in sources}
    for library, paths in sources.items():
        for path in paths:
            name = str(pathlib.Path(path).relative_to(ROOT))
            objects[library].append(f"{arch}/{name}.o")
            lines += [f"build {arch}/{name}.o: compile {path} || stubs.stamp",
                      f"  arch = {arch}", f"  target = {target}", f"  name = {name}"]
    # Loam is linked against Marl, as it is for real.
    for library, others in (("marl", ""), ("loam", f"{arch}/libmarl.dylib")):
        lines += [f"build {arch}/lib{library}.dylib: link {' '.join(objects[library])} {others} | stubs.stamp",
                  f"  arch = {arch}", f"  name = lib{library}"]
    return [f"{arch}/lib{library}.dylib" for library in sources]


def main():
    work, zig = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    sources = read_sources(work)
    lines = [RULES.format(root=ROOT, here=HERE, zig=zig, oldest=OLDEST, newest=NEWEST, libraries=SYSTEM_LIBRARIES)]
    headers = " ".join(str(header) for header in sorted(HERE.glob("Frameworks/*/Headers/**/*.h")))
    lines.append(f"build stubs.stamp: stubs | {HERE}/make_stubs.py {headers}")

    checked = []
    for arch, target in ARCHITECTURES.items():
        checked += architecture(arch, target, sources, lines)
    for path in sources["marl"] + sources["loam"]:
        name = str(pathlib.Path(path).relative_to(ROOT))
        if "/macos/" in name:
            # Its object knows the headers, so whatever has it compiled anew has it analysed anew.
            checked.append(f"analysed/{name}.stamp")
            lines += [f"build analysed/{name}.stamp: analyse {path} | arm64/{name}.o", f"  name = {name}"]
    lines += [f"build all: phony {' '.join(checked)}", "default all", ""]

    text = "\n".join(lines)
    build_file = work / "build.ninja"
    if not build_file.exists() or build_file.read_text() != text:
        build_file.write_text(text)


main()
