#!/usr/bin/env bash
# wine.sh PROGRAM [ARGUMENT...]: runs a Windows program under Wine, in a Wine folder of the build's own.
set -euo pipefail
: "${WINEPREFIX:=$(cd "$(dirname "$0")/.." && pwd)/build/windows/wine}"
export WINEPREFIX WINEDEBUG=-all LC_ALL=C.UTF-8 VL_WINE_PREFIX=$WINEPREFIX
# Neither a desktop, nor Mono and Gecko, nor entries in the user's menus.
export DISPLAY='' WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe='
# Wine needs the page at 0x7ffe0000 of each process; with address space randomisation the kernel has its heap there
# once in some thousand starts, which then fail with ERROR_INTERNAL_ERROR (1359). Some containers refuse to go without.
run=()
if setarch --addr-no-randomize true 2>/dev/null; then run=(setarch --addr-no-randomize); fi
exec "${run[@]}" /usr/lib/wine/wine64 "$@"
