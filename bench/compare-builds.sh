#!/usr/bin/env bash
# Times krel and the in-process benchmarks of an older revision beside the
# working tree's, in turns (bench/compare_builds.py), and writes the table to
# build/RESULTS-builds.md. For changes that must leave speed alone.
#
# Usage: bench/compare-builds.sh OLD_REV [compare_builds.py options]
#
# Builds both release trees (the old one in a temporary git worktree, removed
# at the end); needs what the release preset and Google Benchmark need
# (scripts/install-deps.sh). Takes about 15 minutes on two cores.
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -ge 1 ] || { sed -n '2,10p' "$0"; exit 2; }
old_rev=$1
shift
old_tree=$(mktemp -d /tmp/krel-old.XXXXXX)
work=$(mktemp -d /tmp/krel-builds.XXXXXX)
trap 'git worktree remove --force "$old_tree" 2>/dev/null || true; rm -rf "$old_tree" "$work"' EXIT
git worktree add --detach "$old_tree" "$old_rev" >/dev/null
targets=(krel bench_hostset bench_hostlist)
(cd "$old_tree" && cmake --preset release >/dev/null && cmake --build build/release -j2 --target "${targets[@]}")
cmake --preset release >/dev/null
cmake --build build/release -j2 --target "${targets[@]}"
python3 bench/compare_builds.py --old "$old_tree/build/release" --new build/release \
  --work "$work" --out build/RESULTS-builds.md "$@"
