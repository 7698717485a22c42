#!/usr/bin/env bash
# Runs a Windows program under Wine, without a display, in a prefix of the build's own:
#   run.sh PROGRAM.exe [ARGUMENT...]
# Environment: KEL_WINE_PREFIX   the prefix (default: build-windows/wine beside this folder)
#              KEL_WINE_SECONDS  the time limit (default: 600)
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export WINEPREFIX=${KEL_WINE_PREFIX:-$here/build-windows/wine}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES='mscoree=;mshtml='  # nobody is there to be asked whether to install them
# The compiler's runtime, which shares exceptions between the library and its users.
runtime=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")
export WINEPATH="Z:${runtime//\//\\};Z:\\usr\\x86_64-w64-mingw32\\lib"
unset DISPLAY WAYLAND_DISPLAY

mkdir -p "$(dirname "$WINEPREFIX")"
exec timeout --kill-after=10 "${KEL_WINE_SECONDS:-600}" wine "$@"
