#!/usr/bin/env bash
# Builds and runs the whole test suite: a normal (debug) build with the
# install-and-consume check, an AddressSanitizer + UBSan build, a
# ThreadSanitizer build, one valgrind (memcheck) run of every unit test
# program of the debug build, and a short run of every fuzz target. The debug
# build's tests include the Python module's; the package stage builds the
# Debian packages from debian/ in a scratch copy of the tree, checks them with
# lintian, installs them (into the system in CI), uses them and removes them.
# Usage: scripts/test.sh [FUZZ_SECONDS]   (seconds per fuzz target, default 10)
set -euo pipefail
cd "$(dirname "$0")/.."
fuzz_seconds=${1:-10}
bash scripts/install-deps.sh
for preset in debug asan tsan; do
  echo "=== ${preset}: configure, build, test (at ${SECONDS} s)"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done

echo "=== package: dpkg-buildpackage, lintian, install, use, purge (at ${SECONDS} s)"
bash tests/package/check_deb.sh .

echo "=== valgrind: every unit test program of the debug build, once (at ${SECONDS} s)"
# Two tests make allocations fail on purpose (a replaced operator new, a
# limited address space); valgrind brings its own allocator, which cannot.
not_under_valgrind="-*.FailureWhileWrappingGivesEmptyText:*.ResultTooLargeForMemoryIsEmpty"
for program in build/debug/tests/test_*; do
  [[ -f $program && -x $program ]] || continue
  echo "--- $program"
  LC_ALL=C valgrind --error-exitcode=1 --leak-check=full --quiet \
    --errors-for-leak-kinds=definite,indirect,possible \
    "$program" --gtest_brief=1 --gtest_filter="$not_under_valgrind"
done

echo "=== fuzz: every target for ${fuzz_seconds} s, two at a time (at ${SECONDS} s)"
KREL_FUZZ_JOBS=2 bash fuzz/run.sh "$fuzz_seconds"
echo "=== all stages passed in ${SECONDS} s"
