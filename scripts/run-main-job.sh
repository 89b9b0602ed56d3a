#!/usr/bin/env bash
# The module's main job on the stand-alone host: a raw push payload is put
# into shared memory, the host runs "-action raw-notification -guid <guid>",
# and the service stand-in is started with the decoded message.
# Prints the module's log and the command line the service received.
# Then a client shows one push box: its image is served over loopback, and
# the toast the (simulated) notification centre received is printed.
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
cp "$build"/bin/{OrvaleHost.exe,NotificationAPI.dll,OrvaleHostStandalone.dll,OrvaleService.exe,PushWriter.exe,PushBoxDemo.exe} "$demo/"

scripts/wine-session.sh start "$build"
image_server=
trap '[ -z "$image_server" ] || kill "$image_server"; scripts/wine-session.sh stop "$build"' EXIT

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

echo
echo "== push box: a client calls NotificationSetToPushBox"
mkdir -p "$demo/www" && cp tools/notify.ico "$demo/www/picture.jpg"
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
python3 -m http.server "$port" --bind 127.0.0.1 --directory "$demo/www" >/dev/null 2>&1 &
image_server=$!
for _ in $(seq 50); do (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break; sleep 0.1; done
export ORVALE_STANDALONE_LOG=$(winpath "$demo/push-box.log")
export SIMRUNTIME_SHOWN_TOASTS_FILE=$(winpath "$demo/shown-toasts.txt")
(cd "$demo" && /usr/lib/wine/wine64 PushBoxDemo.exe "New episode" "Season 2 is out now" \
  "http://127.0.0.1:$port/picture.jpg" "orvale://open?page=series&id=42")
echo "== module log of the push box"
grep NotificationAPIDLL "$demo/push-box.log" | sed 's/\t/ | /g' || true
echo "== toast the notification centre received"
cat "$demo/shown-toasts.txt" 2>/dev/null || echo "(none)"
