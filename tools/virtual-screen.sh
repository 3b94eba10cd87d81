# Sourced by scripts that show the program on a virtual screen: a home of their own in $scratch, and the end of all
# ${children[@]} with the script.
scratch=$(mktemp -d)
children=()
clean_up() {
    local child
    for ((i = ${#children[@]} - 1; i >= 0; i--)); do # What a session bus has started goes with it.
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
mkdir -p "$XDG_CONFIG_HOME/presenter-companion" "$XDG_CACHE_HOME"

start_screen() { # WIDTHxHEIGHT: sets DISPLAY
    Xvfb -displayfd 3 -noreset -screen 0 "$1x24" 3>"$scratch/display" 2>"$scratch/xvfb.log" &
    children+=($!)
    wait_for "the virtual screen" grep -q . "$scratch/display"
    DISPLAY=:$(<"$scratch/display")
    export DISPLAY
}

start_window_manager() { # It loses windows that are shown while it starts.
    openbox --sm-disable >"$scratch/openbox.log" 2>&1 &
    children+=($!)
    wait_for "the window manager" window_manager_is_up
}
window_manager_is_up() {
    xprop -root -notype _NET_SUPPORTING_WM_CHECK | grep -q '#'
}
