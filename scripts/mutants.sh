#!/usr/bin/env bash
# Puts each deliberate fault of scripts/mutants.txt into a scratch copy of the
# tree, rebuilds only the test programs that reach it, runs them under Wine and
# records whether a test failed (killed), none did (survived), the fault did not
# compile, or its text is no longer in the code. Prints a table and the kill
# rate and writes them to build/mutants/results.txt.
#
#   scripts/mutants.sh                  every mutant of the list
#   scripts/mutants.sh 3 7-9 post-     a subset: numbers, ranges, or names (a name
#                                       prefix picks every mutant it begins)
#   options: --list FILE  --out FILE  --skip-check (no unmutated run first)
#            --timeout S  (a test's limit; a hang counts as killed)  --keep-going
#            (run every selected test of a mutant instead of stopping at the first failure)
#
# The working tree is never written: the copy lives in build/mutants/tree with
# its own build folder, kept between runs so each rebuild is incremental. It
# needs the set-up of the README (build/_deps from scripts/bootstrap.sh) and
# uses ccache when there is one.
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
work="$repo/build/mutants"
tree="$work/tree"
preset=release

if [ ! -d "$repo/build/_deps/install" ]; then
  echo "mutants: $repo/build/_deps/install is missing; run scripts/bootstrap.sh first" >&2
  exit 2
fi

if command -v ccache >/dev/null 2>&1; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CMAKE_C_COMPILER_LAUNCHER=ccache
fi

stop_session() { [ ! -x "$tree/scripts/wine-session.sh" ] || "$tree/scripts/wine-session.sh" stop "$tree/build/$preset" || true; }
trap stop_session EXIT

status=0
python3 "$repo/scripts/mutants.py" --repo "$repo" --tree "$tree" --preset "$preset" --work "$work" --list "$repo/scripts/mutants.txt" "$@" || status=$?
exit $status
