#!/usr/bin/env bash
# clang-tidy (.clang-tidy) over every translation unit of the module's folders,
# through the clang build's compile database; fails on any finding.
#   tidy.sh [build dir, default build/clang]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/clang}
[ -f "$build/compile_commands.json" ] || { echo "tidy: no $build/compile_commands.json (configure the clang preset)" >&2; exit 2; }
log="$build/clang-tidy.log"
status=0
run-clang-tidy -quiet -p "$build" -j "$(nproc)" \
  "$PWD/(NotificationAPI|Orvale\.Notification\.msix|hostapi)/" >"$log" 2>&1 || status=$?
# Findings only, without the counts of suppressed system-header warnings.
grep -v '^[0-9]* warnings\? generated\.$\|^Suppressed [0-9]* warnings\|^Use -header-filter\|^Running clang-tidy\|^clang-tidy-14 \|^$' "$log" || true
[ $status = 0 ] && echo "clang-tidy: no findings in $(grep -c '^clang-tidy-14 ' "$log") translation units"
exit $status
