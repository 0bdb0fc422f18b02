#!/usr/bin/env bash
# Runs a Windows program of the build under Wine, in a prefix of the project's own.
#
#   scripts/wine.sh PROGRAM [ARGUMENT...]
#   scripts/wine.sh --prepare    makes the prefix, so that no test's time goes into that
#   scripts/wine.sh --end        ends what Wine left running in the prefix
#
# Q7_WINEPREFIX names another prefix than build/wine.
set -eu

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX="${Q7_WINEPREFIX:-$top/build/wine}" WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}"
# Neither the HTML nor the .NET component is needed: without this the first start asks for them. And
# nothing goes into the menus of the desktop.
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree=;mshtml=;winemenubuilder.exe=d}"
# Wine takes from the locale which file names there can be.
export LC_ALL=C.UTF-8
unset DISPLAY

# The first of these commands or files that there is.
first_of() {
    local candidate
    for candidate in "$@"; do
        if command -v "$candidate"; then
            return
        fi
    done
    echo "wine.sh: Wine is not installed (scripts/setup.sh --windows installs it)" >&2
    return 127
}

case "${1-}" in
"")
    echo "wine.sh: no program given" >&2
    exit 2
    ;;
--end)
    [ -d "$WINEPREFIX" ] || exit 0
    server=$(first_of wineserver-stable wineserver /usr/lib/wine/wineserver64 /usr/lib/wine/wineserver)
    "$server" --kill || true # it fails when nothing runs
    exec "$server" --wait
    ;;
esac

wine=$(first_of wine64-stable wine64 /usr/lib/wine/wine64)
mkdir -p "$WINEPREFIX"
if [ "$1" = --prepare ]; then
    # Wine's services outlive the call and would hold the caller's streams open.
    exec "$wine" wineboot --init </dev/null >/dev/null 2>&1
fi
exec "$wine" "$@"
