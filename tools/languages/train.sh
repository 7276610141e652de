#!/usr/bin/env bash
# Trains examples/languages/*.lm from the texts that collect.py gathers in build/languages. Takes about a minute and 60 MB
# of downloads where nothing is there yet.
#
#     tools/languages/train.sh [LOAMCTL]
set -euo pipefail
cd "$(dirname "$0")/../.."
. tools/setup.sh

need languages
command -v npm >/dev/null || need npm
loamctl=${1:-}
if [ -z "$loamctl" ]; then
    need build examples
    build release loamctl >/dev/null
    loamctl=build/release/examples/loamctl/loamctl
fi
work=build/languages
profiles=examples/languages
tools/languages/collect.py "$work"

rm -rf "$work/counts"
mkdir -p "$work/counts" "$profiles"
tags=$(cd "$work/texts" && ls | cut -d. -f1 | sort -u)
train() {
    local out=$1
    shift
    for tag in $tags; do echo "$tag"; done | xargs -P "$jobs" -I TAG \
        bash -c '"$0" lang-train --force "$1/TAG.lm" --name TAG "$2/texts/TAG".*.txt "${@:3}"' "$loamctl" "$out" "$work" "$@"
}
train "$work/counts"
train "$profiles" --against "$work/counts"
