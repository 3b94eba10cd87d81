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

# A name that apt knows may have no version to install: one that only another package's file speaks of, for example.
can_be_installed() {
    grep -q 'Candidate: [^(]' <<<"$(LC_ALL=C apt-cache policy "$1" 2>/dev/null)"
}

find_missing() {
    missing=()
    local names name
    for names in "${packages[@]}"; do
        for name in ${names//|/ }; do
            is_installed "$name" && continue 2
            can_be_installed "$name" && break
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
# apt-get, for up to five minutes again while another package manager is at work, as right after a machine's start.
apt_get() {
    local tries said
    for ((tries = 0; tries < 60; tries++)); do
        { said=$("${root[@]}" env LC_ALL=C DEBIAN_FRONTEND=noninteractive \
            apt-get -qq "$@" 2>&1 >&3 </dev/null); } 3>&1 && return
        [[ $said == *"Could not get lock"* ]] || break
        ((tries)) || echo "Waiting for another package manager to finish, for up to five minutes." >&2
        sleep 5
    done
    echo "$said" >&2
    return 1
}

# A source that cannot be read must not matter if the packages come from another one.
apt_get update || echo "The package lists could not all be refreshed." >&2
find_missing # Now that all names are known.
if ! apt_get install -y --no-install-recommends "${missing[@]}"; then
    echo "These packages could not be installed: ${missing[*]}" >&2
    exit 1
fi
