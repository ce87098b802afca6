#!/usr/bin/env bash
# Runs the built krel with group files: references in every host input,
# -a, fold -r and krel groups, checked against exact output.
#
#   krel_groups.sh PATH_TO_KREL FIXTURE_FOLDER
set -uo pipefail
krel=$1
fixtures=$2
source "$(dirname "${BASH_SOURCE[0]}")/check_support.sh"

# check NAME EXPECTED_STATUS EXPECTED_OUTPUT -- ARGUMENTS...: standard output
# (standard error as well when the status is not 0) compared exactly.
check() {
  local name=$1 status=$2 expected=$3
  shift 4
  checks=$((checks + 1))
  local got got_status
  got=$("$krel" "$@" 2>"$work/err" </dev/null)
  got_status=$?
  ((got_status != 0)) && got=$(cat "$work/err")
  [[ $got_status == "$status" ]] || fail "$name: exit status $got_status, expected $status"
  [[ $got == "$expected" ]] || fail "$name: got '$got', expected '$expected'"
}

cat >"$work/site.yaml" <<'YAML'
site:
  compute: 'node[1-8]'
  gpu: 'node[1-2]'
  login: [login1, login2]
  empty: ''
racks:
  rack1: 'node[1-4]'
  rack2: 'node[5-8]'
  rack3: 'node[9-12]'
YAML
y=(--groups "$work/site.yaml")
conf=(--groups-conf "$fixtures/site.conf")
genders=(--genders "$fixtures/site.genders")

check "fold of references" 0 "login[1-2],node[3-8]" -- fold "${y[@]}" '@compute!@gpu' @login
check "a named source" 0 "node[1-4,9-12]" -- fold "${y[@]}" '@racks:rack[1,3]'
check "--group-source" 0 "node[1-4,9-12]" -- fold "${y[@]}" --group-source racks '@rack[1,3]'
check "expand of a group" 0 "node1 node2 n0" -- expand "${y[@]}" -s ' ' @gpu n0
check "count -a" 0 "10" -- count "${y[@]}" -a
check "count -a of a source" 0 "12" -- count "${y[@]}" -a --group-source racks
check "fold -a with -x" 0 "login[1-2],node[3-8]" -- fold "${y[@]}" -a -x @gpu
check "unknown group is empty" 0 "n1" -- fold "${y[@]}" @nosuch n1
check "unknown source" 2 'krel: unknown group source "nosrc"' -- fold "${y[@]}" @nosrc:g
check "no group files named: plain hosts" 0 "n[1-3]" -- fold --groups-conf /nonexistent 'n[1-3]'
check "bad group file" 2 "krel: /nonexistent: cannot open: No such file or directory" -- fold --groups-conf /nonexistent @g
check "regroup" 0 "@compute,login1" -- fold "${y[@]}" -r 'node[1-8]' login1
check "regroup in a source" 0 "@racks:rack[1-3]" -- fold "${y[@]}" -r --group-source racks 'node[1-12]'
check "regroup without prefix" 0 "@rack[1-2],n1" -- fold "${y[@]}" -r -G --group-source racks 'node[1-8]' n1
check "regroup with overlap" 0 "@compute,@gpu" -- fold "${y[@]}" -r --overlap 'node[1-8]'
check "groups" 0 $'@compute\n@empty\n@gpu\n@login' -- groups "${y[@]}"
check "groups -l 2 NODES" 0 $'@compute node1\n@gpu node1' -- groups "${y[@]}" -l 2 node1
check "groups -l 3 NODES" 0 $'@racks:rack1 node[1-4] 4/4\n@racks:rack2 node5 1/4' -- \
  groups "${y[@]}" --group-source racks -l 3 'node[1-5]'
check "groups -L" 0 $'@compute\n@empty\n@gpu\n@login\n@racks:rack1\n@racks:rack2\n@racks:rack3' -- \
  groups "${y[@]}" -L
check "groups -l 3" 0 $'@rack1 node[1-4] 4\n@rack2 node[5-8] 4\n@rack3 node[9-12] 4' -- \
  groups "${y[@]}" --group-source racks -G -l 3
printf 'loops:\n  ping: "@pong"\n  pong: "@ping"\n  fine: n1\n' >"$work/loops.yaml"
check "names of groups in a cycle" 0 $'@fine\n@ping\n@pong' -- groups --groups "$work/loops.yaml"
check "members leave cycles out" 0 '@fine n1' -- groups --groups "$work/loops.yaml" -l 2
check "groups --sources" 0 $'site (default)\nracks' -- groups "${y[@]}" --sources
check "groups --sources -q" 0 $'site\nracks' -- groups "${y[@]}" --sources -q
check "groups of an unknown source" 2 'krel: unknown group source "x"' -- groups "${y[@]}" --group-source x
check "groups.conf sources" 0 $'local (default)\nfailing\nwhere\nroles\neast\nwest' -- groups "${conf[@]}" --sources
check "groups.conf upcall" 0 "east-a[1-2],io[1-4],login[1-2],node[1-2]" -- \
  fold "${conf[@]}" @east:a @roles:storage @gpu
check "failing command" 2 'krel: command "exit 4" failed with status 4' -- fold "${conf[@]}" @@failing
check "genders" 0 "mgmt1,node[1-4]" -- fold "${genders[@]}" @rack=a
check "genders -a" 0 "9" -- count "${genders[@]}" -a
check "shell text in a group name" 2 \
  'krel: group name "$(touch${IFS}x)" holds characters a group name cannot hold' -- \
  fold "${conf[@]}" '@$(touch${IFS}x)'

finish_checks
