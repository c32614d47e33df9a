#!/usr/bin/env bash
# wine.sh PROGRAM [ARGUMENT...]: runs a Windows program under Wine, in a Wine folder of the build's own.
set -euo pipefail
: "${WINEPREFIX:=$(cd "$(dirname "$0")/.." && pwd)/build/windows/wine}"
export WINEPREFIX WINEDEBUG=-all LC_ALL=C.UTF-8 VL_WINE_PREFIX=$WINEPREFIX
# Neither a desktop, nor Mono and Gecko, nor entries in the user's menus.
export DISPLAY='' WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe='
exec /usr/lib/wine/wine64 "$@"
