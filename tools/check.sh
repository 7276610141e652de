#!/usr/bin/env bash
# Every check that a change must pass besides the tests. See docs/style.md.
#
#     tools/check.sh                all of them
#     tools/check.sh format tidy    only the ones named: format tidy headers exports tables macos
#
# clang-tidy reads what changed since LOAM_TIDY_BASE, otherwise since this branch left origin/main. Where that can't be told
# it reads all sources, and the tests that changed in the last twenty commits: all of them take six minutes, and clang compiles
# them in any case. Benchmarks are for measuring only. Tests are read for mistakes: they copy and build up what they need
# as it is plainest, state rules case by case, reckon with small numbers and call fixtures after what they test, the linker's
# --wrap wants names with underlines, and the analyser would follow GoogleTest's templates for half a minute each.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/setup.sh

check_format() {
    git ls-files '*.h' '*.cpp' '*.mm' | grep -vE '\.gen\.cpp$|^tools/macos/' |
        xargs clang-format-14 --dry-run --Werror
    echo "format: clean"
}

check_tidy() {
    local base files sources tests passed_over='\.gen\.cpp$|/macos/|^benchmarks/|^fuzz/|^examples/tests/'
    local off_in_tests='-clang-analyzer-*,-performance-*,-readability-identifier-naming,-bugprone-reserved-identifier'
    off_in_tests+=',-bugprone-branch-clone,-bugprone-implicit-widening-of-*,-bugprone-narrowing-conversions'
    base=${LOAM_TIDY_BASE:-$(git merge-base HEAD origin/main 2>/dev/null || true)}
    [ "$base" != "$(git rev-parse HEAD)" ] || base=
    if [ -n "$base" ]; then
        files=$(git diff --name-only --diff-filter=d "$base")
    else
        files=$(git ls-files | grep -v '_test\.cpp$'
                git diff --name-only --diff-filter=d HEAD~20 -- '*_test.cpp' 2>/dev/null || true)
    fi
    # Only what is compiled on this system, and nothing generated.
    files=$(echo "$files" | grep -E '\.cpp$' | grep -vE "$passed_over" || true)
    [ -n "$files" ] || { echo "tidy: nothing changed"; return; }
    need examples tests benchmarks
    [ -f build/tidy/compile_commands.json ] ||
        cmake -S . -B build/tidy -G Ninja -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=Debug \
              -DLOAM_BENCHMARKS=ON >/dev/null
    sources=$(echo "$files" | grep -vE '_test\.cpp$' || true)
    tests=$(echo "$files" | grep -E '_test\.cpp$' || true)
    echo "$sources" | xargs -r -P "$jobs" -n 4 clang-tidy-14 --quiet -p build/tidy
    echo "$tests" | xargs -r -P "$jobs" -n 4 clang-tidy-14 --quiet -p build/tidy --checks="$off_in_tests"
    echo "tidy: $(echo "$files" | wc -l) files clean"
}

check_headers() { tools/check-headers; }
check_exports() { tools/check-exports; }
check_macos() { tools/check-macos; }

check_tables() {
    python3 tools/types/generate_table.py --check
    python3 tools/charsets/generate_tables.py --check || [ $? = 77 ]  # no Perl here that knows them
    if [ -d ../shared/ucd-13.0.0 ]; then
        python3 tools/unicode/generate_tables.py --check
    else
        echo "tables: skipped, since ../shared/ucd-13.0.0 isn't there"
    fi
}

need build checks
[ $# -gt 0 ] || set -- format tidy headers exports tables macos
for check in "$@"; do
    echo "--- $check"
    "check_$check"
done
