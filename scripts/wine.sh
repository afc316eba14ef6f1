#!/usr/bin/env bash
# Runs a Windows program of build/windows/bin under Wine, with the DLLs of build/windows/lib in reach.
set -eu
program=$1
shift
root=$(cd "$(dirname "$0")/.." && pwd)
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
export WINEDEBUG=${WINEDEBUG:--all} WINEPREFIX=${WINEPREFIX:-$root/build/wine}
export WINEPATH="${QOR_DLL_DIR:-$root/build/windows/lib}"
mkdir -p "$WINEPREFIX"
exec "$wine" "$program" "$@"
