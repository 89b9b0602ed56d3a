#!/usr/bin/env bash
# Sets up what is missing, then: the GCC build and every test under Wine; the
# install, the client project built against it and run, the symbolised stripped
# module; the clang build and the module's tests with it; clang-tidy.
# Prints where the time went.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${PRESET:-release}
times=()

step() {  # $1 = name, rest = command
  local name=$1 start=$SECONDS; shift
  echo "== $name"
  "$@"
  times+=("$(printf '%-18s %4ds' "$name" $((SECONDS - start)))")
}

session=""
stop_session() { [ -z "$session" ] || scripts/wine-session.sh stop "$session"; session=""; }
start_session() { stop_session; session=$1; scripts/wine-session.sh start "$session"; }
trap stop_session EXIT

build_preset() { cmake --preset "$1" >/dev/null && cmake --build --preset "$1"; }
install_and_consume() {
  scripts/consumer-check.sh "build/$preset"
  scripts/symbolise.sh --check "build/$preset/install-prefix/bin/NotificationAPI.dll"
}

step bootstrap bash scripts/bootstrap.sh
step "gcc build" build_preset "$preset"
start_session "build/$preset"
step "gcc ctest" ctest --preset "$preset" -j2
step "install+consumer" install_and_consume
stop_session

step "clang build" build_preset clang
start_session build/clang
# The module's own tests; the long-running fuzz and soak programs run with GCC above.
step "clang ctest" ctest --preset clang -j2 -E '^(fuzz|soak)\.'
stop_session
step clang-tidy scripts/tidy.sh build/clang

printf '%s\n' "== time" "${times[@]}"
