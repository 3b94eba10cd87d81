#!/usr/bin/env bash
# Runs the unit tests and some sessions of the program under valgrind's memcheck, some minutes, and fails on any
# error or definite leak that is ours. What is not ours stands in tools/valgrind.supp.
#   tools/valgrind.sh
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-packages.sh tools/packages-build.txt tools/packages-demo.txt tools/packages-test.txt
cmake --preset dev >/dev/null
cmake --build build/dev --target unit_tests e2e_tests

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
memcheck=(valgrind -q --error-exitcode=99 --leak-check=full --show-leak-kinds=definite
    --errors-for-leak-kinds=definite --num-callers=25 --suppressions="$PWD/tools/valgrind.supp")
failed=()

# Not those that do a thing five hundred times, or live a day. What counts is what memcheck says: it is too slow for
# tests of time.
for suite in build/dev/tests/unit/*_tests; do
    echo "== $suite"
    "${memcheck[@]}" "$suite" --gtest_brief=1 --gtest_filter='-*FiveHundred*:DayOfPolls*' ||
        (($? != 99)) || failed+=("$suite")
done

# Sessions: the same.
cat >"$scratch/program" <<END
#!/bin/sh
exec ${memcheck[*]} --log-file=$scratch/log.%p "$PWD/build/dev/app/presenter-companion" "\$@"
END
chmod +x "$scratch/program"
echo "== sessions"
COMPANION_UNDER_TEST=$scratch/program build/dev/tests/e2e/e2e_tests --gtest_brief=1 \
    --gtest_filter='Hint.*:Lens.Keeps*:PulledReceiver.*:Compositor.*:Changes/*:SettingsControls.*' || true
sessions=$(find "$scratch" -name 'log.*' | wc -l)
cat "$scratch"/log.*
if ((sessions == 0)) || [[ -n $(cat "$scratch"/log.*) ]]; then
    failed+=("sessions")
fi

echo "$sessions sessions, and $(find build/dev/tests/unit -name '*_tests' | wc -l) unit suites"
((${#failed[@]} == 0)) || { echo "FAILED: ${failed[*]}" && exit 1; }
echo "clean"
