#!/usr/bin/env bash
# Runs a Windows program under Wine, without a display, in a prefix of the build's own:
#   run.sh PROGRAM.exe [ARGUMENT...]
#   run.sh --stop                     ends whatever still runs in the prefix, and waits for that
# Environment: KEL_WINE_PREFIX   the prefix (default: build-windows/wine of this tree)
#              KEL_WINE_SECONDS  the time limit (default: 600); exit status 124 when it is over
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export WINEPREFIX=${KEL_WINE_PREFIX:-$here/build-windows/wine}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES='mscoree=;mshtml='  # no prompt to install them
export LC_ALL=C.UTF-8  # names of files and arguments; what a program says stays English
unset DISPLAY WAYLAND_DISPLAY

if [[ ${1:-} == --stop ]]; then
    [[ -d $WINEPREFIX ]] || exit 0
    timeout 30 wineserver -k || true  # 1 when nothing runs, which is what we want
    exec timeout 30 wineserver -w
fi

# The compiler's runtime, which shares exceptions between the library and its users.
runtime=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")
export WINEPATH="Z:${runtime//\//\\};Z:\\usr\\x86_64-w64-mingw32\\lib"
mkdir -p "$(dirname "$WINEPREFIX")"
exec timeout --kill-after=10 "${KEL_WINE_SECONDS:-600}" wine "$@"
