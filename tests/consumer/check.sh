#!/usr/bin/env bash
# Installs the built project into a temporary prefix, then builds a client
# against it twice -- through find_package and through pkg-config -- and runs
# both. Arguments: the project's build folder, this folder.
set -euo pipefail
build_dir=$1
consumer_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$build_dir" --prefix "$prefix" >/dev/null

expect_record() {
  local what=$1 program=$2
  local err
  err=$(env -u LD_LIBRARY_PATH "$program" 2>&1 >/dev/null)
  if [[ "$err" != "consumer linked" ]]; then
    echo "FAIL ($what): expected the record 'consumer linked' on standard error, got '$err'" >&2
    exit 1
  fi
  echo "ok ($what): $program printed the record"
}

cmake -S "$consumer_dir" -B "$work/cmake-build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$work/cmake-build" >/dev/null
expect_record find_package "$work/cmake-build/consumer"

pc_file=$(find "$prefix" -name generic_lib.pc | head -n 1)
[[ -n "$pc_file" ]] || { echo "FAIL: generic_lib.pc not installed" >&2; exit 1; }
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$pc_file")
libdir=$(pkg-config --variable=libdir generic_lib)
# shellcheck disable=SC2046
c++ -std=c++17 "$consumer_dir/main.cpp" -o "$work/pc-consumer" \
  $(pkg-config --cflags --libs generic_lib) -Wl,-rpath,"$libdir"
expect_record pkg-config "$work/pc-consumer"

# Installed programs find the library through their RPATH alone.
if [[ -x "$prefix/bin/krel" ]]; then
  env -u LD_LIBRARY_PATH "$prefix/bin/krel" --version >/dev/null
  echo "ok (tool): installed krel runs without LD_LIBRARY_PATH"
fi
for lib in "$libdir"/libgeneric_lib.so.0 "$libdir"/libzuno.so.2; do
  [[ -e "$lib" ]] || { echo "FAIL: $lib not installed" >&2; exit 1; }
done
for header in krel/generic_lib.hpp krel/generic_lib_export.hpp zuno/io.hpp; do
  [[ -e "$prefix/include/$header" ]] || { echo "FAIL: $header not installed" >&2; exit 1; }
done
echo "consumer check passed"
