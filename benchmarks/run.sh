#!/usr/bin/env bash
# Installs what is missing, builds, and measures everything beside its peers, on one core: one table.
#
#     benchmarks/run.sh                   build/benchmarks/results.md and results.json; the table is printed too
#     benchmarks/run.sh --readme          and README.md gets that table
#     benchmarks/run.sh --filter base64   only the rows that are called so; a regular expression, of programs too
#     benchmarks/run.sh --quick           two short repetitions, to see that all of it runs
#     benchmarks/run.sh --core 0          on that core and not on the last one
#
# It takes five minutes on a quiet machine once everything is built. What is measured stands in rows.py.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/setup.sh

readme=
options=()
while [ $# -gt 0 ]; do
    case "$1" in
        --readme) readme=yes ;;
        --quick) options+=(--quick) ;;
        --filter | --core)
            [ $# -gt 1 ] || { echo "run.sh: $1 of what?" >&2; exit 2; }
            options+=("$1" "$2")
            shift
            ;;
        *) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" >&2; exit 2 ;;
    esac
    shift
done

if [ -n "$readme" ] && [ ${#options[@]} -gt 0 ]; then
    case " ${options[*]} " in
        *" --quick "* | *" --filter "*) echo "run.sh: README.md gets whole tables only" >&2; exit 2 ;;
    esac
fi

need build examples benchmarks
build benchmarks | tail -n 1
python3 benchmarks/table.py --build build/benchmarks ${options[@]+"${options[@]}"}
[ -z "$readme" ] || python3 benchmarks/table.py --build build/benchmarks --readme README.md
