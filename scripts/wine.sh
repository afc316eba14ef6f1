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
exec "$wine" "$program" "$@"
