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

scratch=$(mktemp -d)
children=()
clean_up() {
    local child
    for ((i = ${#children[@]} - 1; i >= 0; i--)); do # What the bus has started goes with it.
        child=${children[i]}
        kill "$child" 2>/dev/null || true
        wait "$child" 2>/dev/null || true
    done
    rm -rf "$scratch"
}
trap clean_up EXIT

wait_for() { # WHAT COMMAND...: at most 15 s
    local what=$1
    shift
    for ((i = 0; i < 150; i++)); do
        "$@" >/dev/null 2>&1 && return
        sleep 0.1
    done
    echo "Waited 15 s in vain for $what." >&2
    exit 1
}

export HOME=$scratch XDG_CONFIG_HOME=$scratch/config XDG_CACHE_HOME=$scratch/cache XDG_RUNTIME_DIR=$scratch
mkdir -p "$XDG_CONFIG_HOME/presenter-companion"
printf '[General]\nSYSTEM_LANGUAGEINDEX=1\nCENTRECLICK=off\n' \
    >"$XDG_CONFIG_HOME/presenter-companion/presenter-companion.conf"

Xvfb -displayfd 3 -noreset -screen 0 1280x1024x24 3>"$scratch/display" 2>"$scratch/xvfb.log" &
children+=($!)
wait_for "the virtual screen" grep -q . "$scratch/display"
DISPLAY=:$(<"$scratch/display")
export DISPLAY
export DBUS_SESSION_BUS_ADDRESS=unix:path=$scratch/bus
dbus-daemon --session --nofork --nopidfile --address="$DBUS_SESSION_BUS_ADDRESS" >"$scratch/bus.log" 2>&1 &
children+=($!)
wait_for "the session bus" test -S "$scratch/bus"
openbox --sm-disable >"$scratch/openbox.log" 2>&1 &
children+=($!)
window_manager_is_up() {
    xprop -root -notype _NET_SUPPORTING_WM_CHECK | grep -q '#'
}
wait_for "the window manager" window_manager_is_up

# The variable stands for the desktop's own switch, which screen readers turn on.
QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 "$program" --virtual-receiver="$scratch/receiver" --settings "$@" \
    2>"$scratch/program.log" &
children+=($!)
controls_are_shown() { # They come with the first poll of the receiver.
    "$tree" presenter-companion >"$scratch/tree" && grep -q slider "$scratch/tree"
}
wait_for "the settings window" controls_are_shown
cat "$scratch/tree"
