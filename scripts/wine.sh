#!/usr/bin/env bash
# Runs a Windows program of the build under Wine, in a prefix of the project's own.
set -eu
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX="${Q7_WINEPREFIX:-$top/build/wine}" WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}"
# Neither the HTML nor the .NET component is needed; without this the first start asks for them.
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree=;mshtml=}"
unset DISPLAY
mkdir -p "$WINEPREFIX"
wine=$(command -v wine64-stable || command -v wine64 || echo /usr/lib/wine/wine64)
exec "$wine" "$@"
