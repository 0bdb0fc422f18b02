#!/usr/bin/env bash
# Builds the reference of the library's functions from the public header, as web pages.
#
#   scripts/docs.sh [FOLDER]    into FOLDER/api; build/docs/api if none is given
#
# Begin with api/index.html. A function without documentation, or one that Doxygen does not
# understand, is an error.
set -euo pipefail
folder=$(realpath --canonicalize-missing "${1:-"$(dirname "${BASH_SOURCE[0]}")/../build/docs"}")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

command -v doxygen >/dev/null || {
    echo "docs: there is no doxygen (scripts/setup.sh --linux installs it)" >&2
    exit 1
}
Q7_VERSION=$(sed -n 's/^project(Q7Plugin VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export Q7_VERSION Q7_DOCS=$folder
mkdir -p "$folder"
doxygen docs/Doxyfile
echo "docs: $folder/api/index.html"
