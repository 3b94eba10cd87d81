#!/usr/bin/env bash
# Installs what is missing of the Debian packages listed in the files named: tools/install-packages.sh LIST...
# Of "new|old" it takes the first name that this Debian knows.
set -euo pipefail

mapfile -t packages < <(sed 's/#.*//' "$@" | grep -o '[^[:space:]]\+')

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "This is no Debian: install what corresponds to these packages if the build does not find it:" >&2
    echo "  ${packages[*]}" >&2
    exit 0
fi

is_installed() {
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

find_missing() {
    missing=()
    local names name
    for names in "${packages[@]}"; do
        for name in ${names//|/ }; do
            is_installed "$name" && continue 2
            apt-cache show "$name" >/dev/null 2>&1 && break
        done
        missing+=("$name")
    done
}

find_missing
((${#missing[@]})) || exit 0

echo "Installing: ${missing[*]}"
root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing, and only root can install them: ${missing[*]}" >&2
        exit 1
    fi
    root=(sudo)
fi
# A source that cannot be read must not matter if the packages come from another one.
"${root[@]}" apt-get update -qq || echo "The package lists could not all be refreshed." >&2
find_missing # Now that all names are known.
if ! "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null; then
    echo "These packages could not be installed: ${missing[*]}" >&2
    exit 1
fi
