#!/usr/bin/env bash
# Keeps one wine server up for a whole test run, so each test process starts
# in well under a tenth of a second.
#   wine-session.sh start <build dir>   prefix ready, server up, simulated runtime registered
#   wine-session.sh stop  <build dir>
set -euo pipefail
action=$1
build=$(cd "$2" && pwd)
export WINEPREFIX="$build/wineprefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
loader=/usr/lib/wine/wine64
server=/usr/lib/wine/wineserver64
[ -x "$server" ] || server=$(command -v wineserver)

case "$action" in
  start)
    mkdir -p "$WINEPREFIX"
    # Detached from our pipes: a wine service that inherits them makes CTest hang.
    "$server" -p </dev/null >/dev/null 2>&1 || true
    "$loader" wineboot -u </dev/null >/dev/null 2>&1 || true
    # The module's own platform: Windows 10 22H2 for every program of the
    # prefix (Wine reads these values when no Version is pinned; the OS probe
    # tests set others for a moment and put these back).
    nt_key='HKLM\Software\Microsoft\Windows NT\CurrentVersion'
    "$loader" reg add "$nt_key" /v CurrentVersion /d 10.0 /f </dev/null >/dev/null 2>&1
    "$loader" reg add "$nt_key" /v CurrentBuildNumber /d 19045 /f </dev/null >/dev/null 2>&1
    if [ -f "$build/bin/SimRuntime.dll" ]; then
      "$loader" regsvr32 /s "$build/bin/SimRuntime.dll" </dev/null >/dev/null 2>&1
    fi
    ;;
  stop)
    "$server" -k </dev/null >/dev/null 2>&1 || true
    ;;
  *) echo "usage: $0 start|stop <build dir>" >&2; exit 2 ;;
esac
