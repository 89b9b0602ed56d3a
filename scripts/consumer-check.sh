#!/usr/bin/env bash
# Installs a build into a prefix (printing the shipped sizes), then builds the
# client project of tests/consumer against that prefix only and runs it under
# Wine, beside the stand-alone host library (the client's own on a user's machine).
#   consumer-check.sh <build dir>      (its Wine session must be up)
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "$1" && pwd)
prefix="$build/install-prefix"
consumer="$build/consumer"

rm -rf "$prefix"
cmake --install "$build" --prefix "$prefix" | grep -v -- '-- Up-to-date\|-- Installing'
# What the client's installer takes must not carry a package file: the client
# puts its real, signed one beside the module.
module_only="$build/install-module"
rm -rf "$module_only"
cmake --install "$build" --prefix "$module_only" --component module >/dev/null
if find "$module_only" -iname '*.msix' | grep .; then
  echo "the module component holds a package file" >&2
  exit 1
fi
# A cross build reaches the package by its folder: the toolchain confines
# find_package to the target's root paths.
cmake -S tests/consumer -B "$consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64-x86_64.cmake" \
  -DNotificationAPI_DIR="$prefix/lib/cmake/NotificationAPI" >/dev/null
cmake --build "$consumer" >/dev/null

run="$consumer/run"
rm -rf "$run" && mkdir -p "$run"
cp "$prefix"/bin/* "$consumer"/ConsumerC.exe "$consumer"/ConsumerCpp.exe "$build/bin/OrvaleHostStandalone.dll" "$run/"
export ORVALE_STANDALONE_APPDATA="Z:${run//\//\\}\\appdata\\"
export ORVALE_STANDALONE_LOG="Z:${run//\//\\}\\consumer.log"
mkdir -p "$run/appdata"
status=0
for program in ConsumerCpp ConsumerC; do
  echo "$program:"
  "$build/wine-run.sh" "$run/$program.exe" | tr -d '\r' || status=1
done
exit $status
