#!/usr/bin/env bash
# Runs the program's demo on a virtual screen with a sample slide, and takes a picture of each effect:
# tools/demo-on-virtual-screen.sh PROGRAM SLIDE FOLDER [ARGUMENTS OF THE PROGRAM]
set -euo pipefail

program=$1
slide=$2
pictures=$3
shift 3

source "$(dirname "$0")/virtual-screen.sh"
start_screen 1920x1080
start_window_manager
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
