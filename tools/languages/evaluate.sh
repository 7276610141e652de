#!/usr/bin/env bash
# Tells how often the profiles in examples/languages name the language of texts that they were not trained on: GNOME's
# help, the Debian handbook and installation guide, and the texts of CORPORA where given. CLD2 is measured beside us.
# Takes a minute and 60 MB of downloads where nothing is there yet.
#
#     tools/languages/evaluate.sh [CORPORA]
set -euo pipefail
cd "$(dirname "$0")/../.."
. tools/setup.sh

need build examples benchmarks languages
build benchmarks language_accuracy >/dev/null
tools/languages/held_out.py build/languages "$@" >/dev/null
build/benchmarks/benchmarks/language_accuracy examples/languages build/languages/held-out
