#!/usr/bin/env bash
# The module's main job on the stand-alone host: a raw push payload is put
# into shared memory, the host runs "-action raw-notification -guid <guid>",
# and the service stand-in is started with the decoded message.
# Prints the module's log and the command line the service received.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${PRESET:-release}
payload=${1:-'{"type":"raw","text":"Hello from the push channel"}'}

bash scripts/bootstrap.sh >/dev/null
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" >/dev/null

build="$PWD/build/$preset"
demo="$build/demo"
rm -rf "$demo" && mkdir -p "$demo"
cp "$build"/bin/{OrvaleHost.exe,NotificationAPI.dll,OrvaleHostStandalone.dll,OrvaleService.exe,PushWriter.exe} "$demo/"

scripts/wine-session.sh start "$build"
trap 'scripts/wine-session.sh stop "$build"' EXIT

winpath() { echo "Z:${1//\//\\}"; }
export WINEPREFIX="$build/wineprefix" WINEDEBUG=-all
export ORVALE_STANDALONE_LOG=$(winpath "$demo/host.log")
export ORVALE_STANDALONE_SERVICE_RECORD=$(winpath "$demo/service-record.txt")
guid=$(cat /proc/sys/kernel/random/uuid)

echo "== push payload: $payload"
(cd "$demo" && /usr/lib/wine/wine64 PushWriter.exe "$(winpath "$demo/OrvaleHost.exe")" "$guid" --text "$payload")
for _ in $(seq 50); do [ -s "$demo/service-record.txt" ] && break; sleep 0.1; done

echo "== module log (level, source, line, function, message)"
grep -v 'flush async log queue' "$demo/host.log" | sed 's/\t/ | /g'
echo "(+ $(grep -c 'flush async log queue' "$demo/host.log") closing 'flush async log queue...' lines)"
echo "== OrvaleService.exe received"
cat "$demo/service-record.txt" 2>/dev/null || echo "(nothing: the service was not started)"
