#!/usr/bin/env bash
# Installs what is missing, builds the program and starts it with the arguments given. Where there is no
# display, its demo runs on a virtual screen and leaves pictures behind.
set -euo pipefail
cd "$(dirname "$0")"

tools/install-packages.sh tools/packages-build.txt
cmake --preset release
cmake --build build/release
program=$PWD/build/release/app/presenter-companion

if [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]; then
    exec "$program" "$@"
fi
tools/install-packages.sh tools/packages-demo.txt
exec tools/demo-on-virtual-screen.sh "$program" build/release/tools/sample-slide demo-screenshots "$@"
