#!/usr/bin/env bash
# Runs a Windows program of build/windows/bin under Wine, with the DLLs of build/windows/lib in reach (or of
# the directories in QOR_DLL_DIR, separated by colons).
set -eu
program=$1
shift
root=$(cd "$(dirname "$0")/.." && pwd)
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
export WINEDEBUG=${WINEDEBUG:--all} WINEPREFIX=${WINEPREFIX:-$root/build/wine}
directories=${QOR_DLL_DIR:-$root/build/windows/lib}
export WINEPATH="Z:${directories//:/;Z:}"
mkdir -p "$WINEPREFIX"
# The first program makes the prefix, alone: others that start meanwhile lose their connection.
if [ ! -e "$WINEPREFIX/made" ]; then
    (
        flock 9
        if [ ! -e "$WINEPREFIX/made" ]; then
            "$wine" wineboot --init >"$WINEPREFIX/log" 2>&1 || { cat "$WINEPREFIX/log" >&2; exit 1; }
            touch "$WINEPREFIX/made"
        fi
    ) 9>"$WINEPREFIX/lock"
fi
exec "$wine" "$program" "$@"
