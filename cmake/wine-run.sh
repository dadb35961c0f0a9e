#!/bin/sh
# Runs a Windows program under Wine with a prefix private to the build tree
# (created on first use), quiet, and with the program's folder on the DLL path.
set -e
exe="$1"
: "${WINEPREFIX:=$(cd "$(dirname "$exe")/.." && pwd)/wineprefix}"
export WINEPREFIX WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  /usr/lib/wine/wine64 wineboot --init >/dev/null 2>&1 || true
  /usr/lib/wine/wineserver -w || true
fi
exec /usr/lib/wine/wine64 "$@"
