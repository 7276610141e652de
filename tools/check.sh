#!/usr/bin/env bash
# Every check that a change must pass besides the tests. See docs/style.md.
#
#     tools/check.sh                all of them
#     tools/check.sh format tidy    only the ones named: format tidy headers exports tables macos
#
# clang-tidy reads what changed since LOAM_TIDY_BASE. Without that it passes over the tests, which take it half a minute
# each, and reads what changed since this branch left origin/main, or everything where that can't be told. Benchmarks are
# for measuring only.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/setup.sh

check_format() {
    git ls-files '*.h' '*.cpp' '*.mm' | grep -vE '\.gen\.cpp$|^tools/macos/' |
        xargs clang-format-14 --dry-run --Werror
    echo "format: clean"
}

check_tidy() {
    local base files passed_over='\.gen\.cpp$|/macos/|^benchmarks/|^fuzz/|^examples/tests/'
    base=${LOAM_TIDY_BASE:-$(git merge-base HEAD origin/main 2>/dev/null || true)}
    [ -n "${LOAM_TIDY_BASE:-}" ] || passed_over="$passed_over|_test\.cpp$"
    [ "$base" != "$(git rev-parse HEAD)" ] || base=
    if [ -n "$base" ]; then
        files=$(git diff --name-only --diff-filter=d "$base")
    else
        files=$(git ls-files)
    fi
    # Only what is compiled on this system, and nothing generated.
    files=$(echo "$files" | grep -E '\.cpp$' | grep -vE "$passed_over" || true)
    [ -n "$files" ] || { echo "tidy: nothing changed"; return; }
    need examples tests benchmarks
    [ -f build/tidy/compile_commands.json ] ||
        cmake -S . -B build/tidy -G Ninja -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=Debug \
              -DLOAM_BENCHMARKS=ON >/dev/null
    echo "$files" | xargs -P "$jobs" -n 4 clang-tidy-14 --quiet -p build/tidy
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
