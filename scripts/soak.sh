#!/usr/bin/env bash
# The long runs: every fuzz program in its long mode, then the full soak of
# the report queue (4 processes x 250 reports, late answers, kills). Prints
# what failed. Sets up what is missing and builds only what it runs.
#   scripts/soak.sh [fuzz|queue]   both when no part is named
# ORVALE_FUZZ_CASES (100000), ORVALE_FUZZ_SEED and ORVALE_SOAK_SEED (today's
# date) may be set; SOAK_BUILD names another build folder of the preset.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${PRESET:-release}
build=${SOAK_BUILD:-build/$preset}
part=${1:-all}
fuzzers="fuzz_toast_events fuzz_report_folder"

bash scripts/bootstrap.sh
cmake --preset "$preset" -B "$build" >/dev/null
cmake --build "$build" --target $fuzzers report_soak

scripts/wine-session.sh start "$build"
trap 'scripts/wine-session.sh stop "$build"' EXIT

export ORVALE_FUZZ_CASES=${ORVALE_FUZZ_CASES:-100000}
export ORVALE_FUZZ_SEED=${ORVALE_FUZZ_SEED:-$(date +%Y%m%d)}
status=0
if [ "$part" != queue ]; then
  for fuzzer in $fuzzers; do
    # A failing case is saved under tests/fuzz/corpus/; the other programs still run.
    echo "$fuzzer"
    "$build/wine-run.sh" "$build/bin/$fuzzer.exe" --gtest_brief=1 || status=1
  done
fi
[ "$part" = fuzz ] && exit $status

ORVALE_SOAK_PROCESSES=4 ORVALE_SOAK_REPORTS=250 ORVALE_SOAK_LATE=3 ORVALE_SOAK_KILLS=8 \
ORVALE_SOAK_SEED=${ORVALE_SOAK_SEED:-$ORVALE_FUZZ_SEED} \
  "$build/wine-run.sh" "$build/bin/report_soak.exe" --gtest_brief=1 || status=1
exit $status
