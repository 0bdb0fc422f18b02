#!/usr/bin/env bash
# Runs a Windows program of the build under Wine, in a prefix of the project's own.
#
#   scripts/wine.sh PROGRAM [ARGUMENT...]
#   scripts/wine.sh --prepare    makes the prefix, so that no test's time goes into that
#   scripts/wine.sh --end        ends what Wine left running in the prefix
#
# Programs find each other's windows only on a display: the first call starts one that nobody sees, when
# Xvfb is installed, and --end ends it.
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

# What tells the display of the prefix: the process of its server, then its number.
display_record=$WINEPREFIX/q7-display

display_runs() {
    [ -r "$display_record" ] && read -r server number <"$display_record" &&
        [[ $(tr '\0' ' ' 2>/dev/null <"/proc/$server/cmdline") == Xvfb\ * ]]
}

# Tells the number of the display, and starts one if there is none. The server outlives the call: it
# must not hold the caller's streams, nor the lock.
display_number() {
    local server number
    exec 9>"$display_record.lock"
    flock 9
    if ! display_runs; then
        # It writes the number when it is ready.
        rm -f "$display_record.ready"
        mkfifo "$display_record.ready"
        setsid Xvfb -displayfd 3 -screen 0 2048x1536x24 -nolisten tcp -noreset \
            3<>"$display_record.ready" 9>&- </dev/null >/dev/null 2>&1 &
        server=$!
        # Until it is on record, nothing else would end it.
        trap "kill $server" EXIT
        read -r -t 60 number <>"$display_record.ready" || return
        rm -f "$display_record.ready"
        echo "$server $number" >"$display_record"
        trap - EXIT
    fi
    echo "$number"
}

end_display() {
    local server number
    ! display_runs || kill "$server" || true
    rm -f "$display_record" "$display_record".*
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
    "$server" --wait
    end_display
    exit
    ;;
esac

wine=$(first_of wine64-stable wine64 /usr/lib/wine/wine64)
# Wine does not complete a prefix whose making was cut off: that one is made anew.
making=$WINEPREFIX.making
if [ "$1" = --prepare ]; then
    [ ! -e "$making" ] || rm -rf "$WINEPREFIX"
    mkdir -p "$(dirname "$WINEPREFIX")"
    [ -e "$WINEPREFIX" ] || touch "$making"
fi
mkdir -p "$WINEPREFIX"
if command -v Xvfb >/dev/null && number=$(display_number); then
    export DISPLAY=":$number"
fi
if [ "$1" = --prepare ]; then
    # Wine's services outlive the call and would hold the caller's streams open.
    exec </dev/null >/dev/null 2>&1
    "$wine" wineboot --init
    # Nothing manages the windows of that display: Wine would wait two seconds for each that goes.
    "$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
    rm -f "$making"
    exit
fi
exec "$wine" "$@"
