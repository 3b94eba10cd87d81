#!/usr/bin/env bash
# Installs what is missing, builds, and runs all tests; the unit and receiver tests once more under the sanitizers, and
# libFuzzer for a few seconds on everything that takes bytes from outside.
# Arguments go to ctest: ./test.sh -R Spotlight
set -euo pipefail
cd "$(dirname "$0")"

tools/install-packages.sh tools/packages-build.txt tools/packages-demo.txt tools/packages-package.txt \
    tools/packages-test.txt tools/packages-desktops.txt
export COMPANION_TEST_PICTURES="$PWD/build/test-pictures" # Of checks that failed.
rm -rf "$COMPANION_TEST_PICTURES"

cmake --preset dev
cmake --build build/dev
ctest --preset dev --parallel 2 "$@"

cmake --preset asan
cmake --build build/asan --target unit_tests receiver_suites
ctest --preset asan --parallel 2 --label-regex '^(unit|receiver)$' --no-tests=ignore "$@"

CXX=clang++ cmake --preset fuzz
cmake --build build/fuzz --target fuzz_targets
ctest --test-dir build/fuzz --output-on-failure --tests-regex '^fuzz_'
