#!/usr/bin/env bash
# Sets up what is missing, builds, and runs every test under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${PRESET:-release}

bash scripts/bootstrap.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"

scripts/wine-session.sh start "build/$preset"
trap 'scripts/wine-session.sh stop "build/$preset"' EXIT
ctest --preset "$preset" -j2
