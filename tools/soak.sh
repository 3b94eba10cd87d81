#!/usr/bin/env bash
# Lets the program work for a presenter on a virtual screen for a long time, and prints every minute what it holds:
# memory, open files, threads, X resources, log. Fails unless the last half was flat.
#   tools/soak.sh [MINUTES]     60 unless told otherwise
# COMPANION_UNDER_TEST names another binary than the release build.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-packages.sh tools/packages-build.txt tools/packages-demo.txt tools/packages-test.txt
cmake --preset release >/dev/null
cmake --build build/release --target presenter-companion
cmake --preset dev >/dev/null
cmake --build build/dev --target soak
export COMPANION_UNDER_TEST=${COMPANION_UNDER_TEST:-$PWD/build/release/app/presenter-companion}
exec build/dev/tests/tools/soak "$@"
