#!/usr/bin/env bash
# Prints what a screen reader is told of the settings window, with a receiver there, on a virtual screen:
#   tools/accessible-tree.sh [ARGUMENTS OF THE PROGRAM]
# COMPANION_UNDER_TEST names another binary than the development build's.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-packages.sh tools/packages-build.txt tools/packages-demo.txt tools/packages-test.txt >&2
cmake --preset dev >/dev/null
cmake --build build/dev --target presenter-companion accessible_tree >/dev/null
program=${COMPANION_UNDER_TEST:-$PWD/build/dev/app/presenter-companion}
tree=$PWD/build/dev/tests/tools/accessible_tree

source tools/virtual-screen.sh
printf '[General]\nSYSTEM_LANGUAGEINDEX=1\nCENTRECLICK=off\n' \
    >"$XDG_CONFIG_HOME/presenter-companion/presenter-companion.conf"

start_screen 1280x1024
export DBUS_SESSION_BUS_ADDRESS=unix:path=$scratch/bus
dbus-daemon --session --nofork --nopidfile --address="$DBUS_SESSION_BUS_ADDRESS" >"$scratch/bus.log" 2>&1 &
children+=($!)
wait_for "the session bus" test -S "$scratch/bus"
start_window_manager

# The variable stands for the desktop's own switch, which screen readers turn on.
QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 "$program" --virtual-receiver="$scratch/receiver" --settings "$@" \
    2>"$scratch/program.log" &
children+=($!)
controls_are_shown() { # They come with the first poll of the receiver.
    "$tree" presenter-companion >"$scratch/tree" && grep -q slider "$scratch/tree"
}
wait_for "the settings window" controls_are_shown
cat "$scratch/tree"
