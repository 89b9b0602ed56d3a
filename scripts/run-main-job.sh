#!/usr/bin/env bash
# The module's main jobs on the stand-alone host, in one run:
#  1. raw push: a payload is put into shared memory, the host runs
#     "-action raw-notification -guid <guid>" and starts the service stand-in;
#  2. push box: a client shows one toast whose image is served over loopback;
#  3. package jobs: with the install experiment switched on, "-type 1" installs
#     the notification package and asks it to register its background tasks,
#     "-type 2" removes it again.
# Every report the module sends reaches a loopback collector; they are printed
# at the end. Environment: PRESET (default release), BUILD_DIR (default
# build/$PRESET).
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${PRESET:-release}
build_dir=${BUILD_DIR:-build/$preset}
payload=${1:-'{"type":"raw","text":"Hello from the push channel"}'}
programs=(OrvaleHost.exe NotificationAPI.dll OrvaleHostStandalone.dll OrvaleService.exe PushWriter.exe PushBoxDemo.exe
          ReportCollector.exe)

bash scripts/bootstrap.sh >/dev/null
cmake --preset "$preset" -B "$build_dir" >/dev/null
cmake --build "$build_dir" -j2 --target "${programs[@]%.*}" SimRuntime >/dev/null

build="$PWD/$build_dir"
demo="$build/demo"
rm -rf "$demo" && mkdir -p "$demo"
cp "${programs[@]/#/$build/bin/}" "$build/bin/Orvale.Notification.msix" "$demo/"

wine=/usr/lib/wine/wine64
winpath() { echo "Z:${1//\//\\}"; }
export WINEPREFIX="$build/wineprefix" WINEDEBUG=-all
client_folder="$WINEPREFIX/drive_c/users/$(id -un)/AppData/Roaming/Malvorn/Orvale"
config="$client_folder/config2.json"

collector= image_server=
cleanup() {
  [ -z "$collector" ] || kill "$collector" 2>/dev/null || true
  [ -z "$image_server" ] || kill "$image_server" 2>/dev/null || true
  if [ -f "$demo/config2.json.saved" ]; then mv "$demo/config2.json.saved" "$config"; else rm -f "$config"; fi
  scripts/wine-session.sh stop "$build"
}
scripts/wine-session.sh start "$build"
trap cleanup EXIT

# Prints a host log without the 200 filler lines of the closing phase.
print_log() {
  grep -v 'flush async log queue' "$1" | sed 's/\t/ | /g' || true
  echo "(+ $(grep -c 'flush async log queue' "$1" || true) closing 'flush async log queue...' lines)"
}
wait_for() { for _ in $(seq 50); do eval "$1" && return 0; sleep 0.1; done; return 1; }

# The collector first: reports left in the queue by earlier runs would reach it
# too, so the queue starts empty.
mkdir -p "$client_folder" && rm -rf "$client_folder/QuorvelCustomReport"
(cd "$demo" && exec "$wine" ReportCollector.exe 0 0 "$(winpath "$demo/reports.jsonl")" >"$demo/collector.out") &
collector=$!
wait_for '[ -s "$demo/collector.out" ]' || { echo "the collector did not start" >&2; exit 1; }
collector_port=$(head -n1 "$demo/collector.out" | tr -d '\r' | sed 's/.*://')
collector_host=$(sed -n 's/.*kCollectorHost\[\] = L"\(.*\)".*/\1/p' "$build/generated/QuorvelBuildSettings.h")
export SIMRUNTIME_HTTP_HOSTS="$collector_host=127.0.0.1:$collector_port"
export ORVALE_STANDALONE_DEVICE_GUID=demo-device-0001
echo "== collector for $collector_host listening on 127.0.0.1:$collector_port"

echo
echo "== raw push: $payload"
export ORVALE_STANDALONE_LOG=$(winpath "$demo/host.log")
export ORVALE_STANDALONE_SERVICE_RECORD=$(winpath "$demo/service-record.txt")
guid=$(cat /proc/sys/kernel/random/uuid)
(cd "$demo" && "$wine" PushWriter.exe "$(winpath "$demo/OrvaleHost.exe")" "$guid" --text "$payload")
wait_for '[ -s "$demo/service-record.txt" ]' || true
echo "-- module log (level | source | line | function | message)"
print_log "$demo/host.log"
echo "-- OrvaleService.exe received"
cat "$demo/service-record.txt" 2>/dev/null || echo "(nothing: the service was not started)"

echo
echo "== push box: a client calls NotificationSetToPushBox"
mkdir -p "$demo/www" && cp tools/notify.ico "$demo/www/picture.jpg"
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
python3 -m http.server "$port" --bind 127.0.0.1 --directory "$demo/www" >/dev/null 2>&1 &
image_server=$!
wait_for '(exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null' || true
export ORVALE_STANDALONE_LOG=$(winpath "$demo/push-box.log")
export SIMRUNTIME_SHOWN_TOASTS_FILE=$(winpath "$demo/shown-toasts.txt")
(cd "$demo" && "$wine" PushBoxDemo.exe "New episode" "Season 2 is out now" \
  "http://127.0.0.1:$port/picture.jpg" "orvale://open?page=series&id=42")
echo "-- module log of the push box"
grep NotificationAPIDLL "$demo/push-box.log" | sed 's/\t/ | /g' || true
echo "-- toast the notification centre received"
cat "$demo/shown-toasts.txt" 2>/dev/null || echo "(none)"

echo
echo "== package jobs, with the install experiment and background-task registration switched on"
[ ! -f "$config" ] || cp "$config" "$demo/config2.json.saved"
echo '{"pc_bg_task_wakeup_config":{"value":"{\"pc_bg_enable_install_notification_package\":\"1\",\"pc_bg_task_register\":\"1\"}"}}' >"$config"
# The package file beside the module installs this identity into a table that
# outlives each host process, as the system's does.
printf 'in-file\t4E7A21C9.store\tCN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31\t4E7A21C9.store_2.0.0.0_x64__n\t2.0.0.0\n' \
  >"$demo/packages.txt"
export SIMRUNTIME_PACKAGE_TABLE_FILE=$(winpath "$demo/packages.txt")
export SIMRUNTIME_LAUNCHED_URIS_FILE=$(winpath "$demo/launched.txt")
registered() { grep '^registered' "$demo/packages.txt" | cut -f4 || echo "(none)"; }

echo "-- OrvaleHost.exe -type 1 -install_dir \"C:\\Program Files\\Orvale\""
export ORVALE_STANDALONE_LOG=$(winpath "$demo/install.log")
(cd "$demo" && "$wine" OrvaleHost.exe -type 1 -install_dir 'C:\Program Files\Orvale')
print_log "$demo/install.log"
echo "-- packages registered: $(registered)"
echo "-- URI the package received"
tr -d '\r' <"$demo/launched.txt" 2>/dev/null || echo "(none)"

echo "-- OrvaleHost.exe -type 2"
export ORVALE_STANDALONE_LOG=$(winpath "$demo/uninstall.log")
(cd "$demo" && "$wine" OrvaleHost.exe -type 2)
print_log "$demo/uninstall.log"
echo "-- packages registered: $(registered)"

echo
echo "== reports the collector accepted"
wait_for '[ "$(wc -l <"$demo/reports.jsonl" 2>/dev/null || echo 0)" -ge 4 ]' || true
python3 - "$demo/reports.jsonl" <<'EOF'
import json, sys
shown = ("error_code", "function_name", "old_version", "new_version", "source", "install_toggle")
for line in open(sys.argv[1], encoding="utf-8"):
    message = json.loads(line)
    details = ", ".join(f"{key}={message[key]!r}" for key in shown if key in message)
    print(f"{message.get('event_name')} / {message.get('sub_event_name')}: {details}")
EOF
