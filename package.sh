#!/usr/bin/env bash
# Installs what is missing, builds the program as users run it, and makes a Debian package of it.
set -euo pipefail
cd "$(dirname "$0")"

tools/install-packages.sh tools/packages-build.txt tools/packages-package.txt
cmake --preset release
cmake --build --preset package
