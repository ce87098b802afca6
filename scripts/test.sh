#!/usr/bin/env bash
# Builds and runs the whole test suite: a normal (debug) build with the
# install-and-consume check, then an AddressSanitizer + UBSan build.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
for preset in debug asan; do
  echo "=== ${preset}: configure, build, test"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done
echo "=== all stages passed"
