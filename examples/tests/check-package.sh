#!/usr/bin/env bash
# Installs a build tree into a prefix of its own and builds outside programs against what is installed there: a small
# one by find_package and by pkg-config, and loamctl by the former.
#
#     check-package.sh BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
work=$build/package-check
prefix=$work/prefix
rm -rf "$work"
mkdir -p "$work"

# Below one folder the paths of any two build trees are the same to the compiler cache.
export CCACHE_BASEDIR=$work
launcher=
if command -v ccache >/dev/null; then launcher=-DCMAKE_CXX_COMPILER_LAUNCHER=ccache; fi

# Every program must find the word, and miss another; a missing folder comes as an exception from the library.
check() {
    "$@" "$here/../documents/europe" cafe | grep fr-menu.txt >/dev/null
    if "$@" "$here/../documents/europe" cappuccino; then return 1; elif [ $? != 1 ]; then return 1; fi
    if "$@" "$here/nowhere" cafe 2>/dev/null; then return 1; elif [ $? != 3 ]; then return 1; fi
}

echo "--- install"
cmake --install "$build" --prefix "$prefix" >"$work/install.log"
if [ -n "$(find "$prefix" -type l -name '*.h')" ]; then echo "a link was installed as a header"; exit 1; fi

echo "--- find_package"
cmake -S "$here/package" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" $launcher >"$work/cmake.log"
cmake --build "$work/cmake" >>"$work/cmake.log"
check "$work/cmake/find-word"

echo "--- pkg-config"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name loam.pc)")
export PKG_CONFIG_PATH
static=
if [ -n "$(find "$prefix" -name libloam.a)" ]; then static=--static; fi
cp "$here"/package/main.cpp "$here"/package/Makefile "$work"
make -s -C "$work" STATIC=$static
check "$work/find-word"

echo "--- an installed tree that was moved"
mv "$prefix" "$work/moved"
rm -r "$work/cmake" "$work/find-word"
PKG_CONFIG_PATH=${PKG_CONFIG_PATH/#$prefix/$work/moved}
make -s -C "$work" STATIC=$static
check "$work/find-word"

echo "--- loamctl by itself"
cmake -S "$here/.." -B "$work/examples" -DCMAKE_PREFIX_PATH="$work/moved" $launcher \
      >"$work/examples.log"
cmake --build "$work/examples" -j 2 >>"$work/examples.log"
"$work/examples/loamctl/loamctl" search -l cafe "$here/../documents" | grep fr-mirabeau.txt >/dev/null
"$work/examples/loamctl/loamctl" --version
echo "the package is good"
