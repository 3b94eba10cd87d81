#!/usr/bin/env bash
# Installs what is missing, builds the program as users run it, measures it, and prints one table. Takes about
# a quarter of an hour on an otherwise idle machine; --quick takes five minutes and is good for a look only.
set -euo pipefail
cd "$(dirname "$0")"

tools/install-packages.sh tools/packages-build.txt tools/packages-demo.txt tools/packages-test.txt \
    tools/packages-bench.txt
{
    cmake --preset bench
    cmake --build build/bench --target presenter-companion companion_benchmarks companion_meter \
        companion_wayland_meter
} >&2

echo "Machine: $(nproc) × $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1), Linux $(uname -r)"
echo "Load before: $(cut -d' ' -f1-3 /proc/loadavg)"
echo
build/bench/bench/companion_meter "$@"
# Names may hold blanks; times are nanoseconds unless the benchmark says otherwise.
build/bench/bench/companion_benchmarks --benchmark_format=csv 2>/dev/null |
    awk -F, 'NR > 1 { gsub("\"", "", $1); printf "| %s | %s | | %.4g | | | |\n", $1, $5, $4 }'
echo
echo "On Wayland:"
echo
options=() # The effects and sizes are not those of the meter above.
for each in "$@"; do
    [[ $each != --quick ]] || options+=("$each")
done
build/bench/bench/companion_wayland_meter "${options[@]}"
echo
echo "Load after: $(cut -d' ' -f1-3 /proc/loadavg)"
