#!/usr/bin/env bash
# Builds the library and the krel tool (release), then folds an example host
# list and expands the result back.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target krel
krel=build/release/tools/krel/krel
echo '$ krel fold node3 node1 node2 login1 "cn[09-010]" r1c1 r2c1'
folded=$("$krel" fold node3 node1 node2 login1 "cn[09-010]" r1c1 r2c1)
echo "$folded"
echo "\$ krel expand '$folded'"
"$krel" expand "$folded"
