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
    # Toasts get hero images, audio and a scenario only on Windows 10; the
    # programs that show push boxes run as Windows 10, every other one keeps
    # the prefix's version (the OS probe tests set that one themselves).
    for program in toast_tests.exe PushBoxDemo.exe; do
      "$loader" reg add "HKCU\\Software\\Wine\\AppDefaults\\$program" /v Version /d win10 /f </dev/null >/dev/null 2>&1
    done
    if [ -f "$build/bin/SimRuntime.dll" ]; then
      "$loader" regsvr32 /s "$build/bin/SimRuntime.dll" </dev/null >/dev/null 2>&1
    fi
    ;;
  stop)
    "$server" -k </dev/null >/dev/null 2>&1 || true
    ;;
  *) echo "usage: $0 start|stop <build dir>" >&2; exit 2 ;;
esac
