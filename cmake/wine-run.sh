#!/bin/sh
# Runs a Windows program under Wine for CTest. The prefix is private to the build tree
# (CPPUTIL_WINEPREFIX, set by the test fixture) and uses the null graphics driver, so hidden
# windows work without a display.
set -e
: "${WINEPREFIX:=${CPPUTIL_WINEPREFIX:-$PWD/wineprefix}}"
export WINEPREFIX
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
if [ ! -f "$WINEPREFIX/.cpputil-ready" ]; then
    "$(dirname "$0")/wine-prefix.sh" "$WINEPREFIX"
fi
exec wine "$@"
