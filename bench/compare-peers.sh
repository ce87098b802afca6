#!/usr/bin/env bash
# Times `krel fold` (the default fold and --report), `krel expand`,
# `krel count`, `krel ranges` and set operations beside nodeset (clustershell)
# and scontrol (slurm) on lists of 32,768 to 10,000,000 names, n-dimensional
# xnames among them, and `krel gather` beside dshbak -c (pdsh) and clubak -b
# (bench/compare_gather.py), checks every output, and writes the tables to
# bench/RESULTS.md.
#
# Usage: bench/compare-peers.sh [--quick] [--groups-only]
#   --quick        small sizes and few runs, report in build/RESULTS-quick.md:
#                  tries the script in a minute without touching bench/RESULTS.md.
#   --groups-only  only the node-group cases (bench/compare_groups.py), report
#                  in build/RESULTS-groups.md; nodeset's regroup alone takes
#                  minutes.
#
# Installs what is missing from Debian (the build tools, clustershell,
# slurm-client, hyperfine, time, python3), builds the release preset, and
# works in a temporary folder that it removes at the end. Takes about
# 10 minutes on two cores, most of it waiting for the peers. Not part of CI.
# On a machine shared with other work, `nice -n -10 bench/compare-peers.sh`
# (as root) keeps that work from stretching the wall times; the report
# states the niceness it ran with.
set -euo pipefail
cd "$(dirname "$0")/.."

flags=()
out=bench/RESULTS.md
for option in "$@"; do
  case $option in
    --quick) flags+=(--quick); out=build/RESULTS-quick.md ;;
    --groups-only) flags+=(--groups-only); out=build/RESULTS-groups.md ;;
    *) echo "usage: bench/compare-peers.sh [--quick] [--groups-only]" >&2; exit 2 ;;
  esac
done

bash scripts/install-deps.sh clustershell slurm-client pdsh hyperfine time python3

cmake --preset release >/dev/null
cmake --build --preset release --target krel
krel=build/release/tools/krel/krel

work=$(mktemp -d "${TMPDIR:-/tmp}/krel-peers.XXXXXX")
trap 'rm -rf "$work"' EXIT

# scontrol needs a configuration even for its offline host-list commands.
printf 'ClusterName=bench\nSlurmctldHost=localhost\n' >"$work/slurm.conf"
export SLURM_CONF="$work/slurm.conf"

mkdir -p "$(dirname "$out")"
python3 bench/compare_peers.py --krel "$krel" --work "$work" --out "$out" "${flags[@]}"
