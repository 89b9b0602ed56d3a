#!/usr/bin/env bash
# Installs everything the build and the tests need on a fresh Debian machine
# (run as root) and builds the third-party libraries for the MinGW target.
# Idempotent: a second run only checks and returns.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
deps="$root/build/_deps"
stamp_dir="$deps/stamps"

# clang, lld and clang-tidy: the second compiler (cmake/clang-mingw-w64-x86_64.cmake,
# which uses GCC's libstdc++, so the libraries below serve both) and the analysis.
need_pkgs=(g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix mingw-w64-tools
           wine64 wine cmake ninja-build dpkg-dev python3 curl clang lld clang-tidy)

missing=()
for p in "${need_pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

enable_deb_src() {
  local f=/etc/apt/sources.list.d/debian.sources
  if [ -f "$f" ] && ! grep -q 'deb-src' "$f"; then
    sed -i 's/^Types: deb$/Types: deb deb-src/' "$f"
    return 0
  fi
  if [ -f /etc/apt/sources.list ] && grep -q '^deb ' /etc/apt/sources.list \
     && ! grep -q '^deb-src ' /etc/apt/sources.list; then
    sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >> /etc/apt/sources.list
    return 0
  fi
  return 1
}

updated=0
if enable_deb_src; then apt-get update -qq; updated=1; fi
if [ ${#missing[@]} -gt 0 ]; then
  [ $updated = 1 ] || apt-get update -qq
  updated=1
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

mkdir -p "$deps/src" "$stamp_dir"

source_dir() {  # $1 = folder glob below the sources folder
  local d
  for d in "$deps"/src/$1; do [ -d "$d" ] && { echo "$d"; return 0; }; done
  return 1
}

fetch_source() {  # $1 = Debian source package, $2 = folder glob
  local pkg=$1
  if ! source_dir "$2" >/dev/null; then
    [ $updated = 1 ] || { apt-get update -qq; updated=1; }
    (cd "$deps/src" && apt-get source -qq --download-only "$pkg" >/dev/null 2>&1 \
       && dpkg-source -x --no-check ./"$pkg"_*.dsc >/dev/null)
  fi
  source_dir "$2"
}

build_dep() {  # $1 = name, $2 = source dir, rest = cmake options
  local name=$1 src=$2; shift 2
  [ -f "$stamp_dir/$name" ] && return 0
  cmake -S "$src" -B "$deps/build-$name" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$deps/install" \
    -DBUILD_SHARED_LIBS=OFF "$@" >/dev/null
  cmake --build "$deps/build-$name" >/dev/null
  cmake --install "$deps/build-$name" >/dev/null
  touch "$stamp_dir/$name"
}

fmt_src=$(fetch_source fmtlib 'fmtlib-*')
jsoncpp_src=$(fetch_source libjsoncpp 'libjsoncpp-*')
gtest_src=$(fetch_source googletest 'googletest-*')

build_dep fmt "$fmt_src" -DFMT_TEST=OFF -DFMT_DOC=OFF
build_dep jsoncpp "$jsoncpp_src" -DJSONCPP_WITH_TESTS=OFF -DJSONCPP_WITH_POST_BUILD_UNITTEST=OFF \
  -DJSONCPP_WITH_PKGCONFIG_SUPPORT=OFF -DBUILD_STATIC_LIBS=ON -DBUILD_OBJECT_LIBS=OFF
build_dep googletest "$gtest_src" -Dgtest_disable_pthreads=OFF -DBUILD_GMOCK=OFF

echo "bootstrap: ready ($deps/install)"
