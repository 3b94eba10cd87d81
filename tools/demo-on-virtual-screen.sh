#!/usr/bin/env bash
# Runs the program's demo on a virtual screen with a sample slide, and takes a picture of each effect:
# tools/demo-on-virtual-screen.sh PROGRAM SLIDE FOLDER [ARGUMENTS OF THE PROGRAM]
set -euo pipefail

program=$1
slide=$2
pictures=$3
shift 3

scratch=$(mktemp -d)
children=()
clean_up() {
    for child in "${children[@]}"; do
        kill "$child" 2>/dev/null || true
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
mkdir -p "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME"

Xvfb -displayfd 3 -noreset -screen 0 1920x1080x24 3>"$scratch/display" 2>"$scratch/xvfb.log" &
children+=($!)
wait_for "the virtual screen" grep -q . "$scratch/display"
DISPLAY=:$(<"$scratch/display")
export DISPLAY
openbox --sm-disable >"$scratch/openbox.log" 2>&1 &
children+=($!)
window_manager_is_up() {
    xprop -root -notype _NET_SUPPORTING_WM_CHECK | grep -q '#'
}
wait_for "the window manager" window_manager_is_up # It loses windows that are shown while it starts.
picom --config /dev/null --backend xrender >"$scratch/picom.log" 2>&1 &
children+=($!)

slide_is_up() { # It is wide enough for the screen, and the picture of the screen is not of one colour.
    [[ $(import -window root -resize 16x9! -colors 16 -format %k info:-) -gt 4 ]]
}
"$slide" &
children+=($!)
wait_for "the slide" slide_is_up

mkdir -p "$pictures"
rm -f "$pictures"/[0-9][0-9]-*.png
number=0
"$program" --demo "$@" 2> >(
    # Each effect says when it begins; give it time to be in full view.
    while IFS= read -r line; do
        echo "$line" >&2
        [[ $line =~ demo:\ ([a-z]+)$ && ${BASH_REMATCH[1]} != end ]] || continue
        sleep 1.2
        number=$((number + 1))
        import -window root "$pictures/$(printf '%02d' $number)-${BASH_REMATCH[1]}.png"
    done
    touch "$scratch/pictures-done"
) && status=0 || status=$?
wait_for "the last picture" test -e "$scratch/pictures-done"
echo "Pictures of the demo: $PWD/$pictures"
exit $status
