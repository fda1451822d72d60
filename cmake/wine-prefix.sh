#!/bin/sh
# Creates a throw-away Wine prefix with the null graphics driver. Safe to call from several
# processes at once: the first one builds it, the others wait on the lock.
set -e
prefix="$1"
mkdir -p "$prefix"
exec 9>"$prefix.lock"
flock 9
if [ ! -f "$prefix/.cpputil-ready" ]; then
    export WINEPREFIX="$prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
    wineboot -i >/dev/null 2>&1 || true
    wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null
    # A crashing test ends at once instead of waiting for a debugger.
    wine reg delete 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /f \
        >/dev/null 2>&1 || true
    wineserver -w
    touch "$prefix/.cpputil-ready"
fi
