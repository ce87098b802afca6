#!/usr/bin/env bash
# Runs the built krel as a real process, through real pipes, and checks its
# standard output, standard error and exit status.
#
#   krel_end_to_end.sh PATH_TO_KREL cli VERSION      # every subcommand, option and error
#   krel_end_to_end.sh PATH_TO_KREL million VERSION  # pipes of 1,000,000 names
#
# VERSION is the project version CMake configured, which --version must print.
set -uo pipefail
krel=$1
section=$2
version=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
checks=0

fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

# expect NAME STATUS STDOUT STDERR [INPUT] -- ARGUMENTS...
# Runs krel ARGUMENTS with INPUT on standard input (none: /dev/null) and
# compares all three results exactly. STDOUT and STDERR are compared as
# written, with a final newline added when not empty (as $(...) drops it).
expect() {
  local name=$1 status=$2 stdout=$3 stderr=$4
  shift 4
  local input=""
  local has_input=0
  if [[ $1 != "--" ]]; then
    input=$1
    has_input=1
    shift
  fi
  shift  # --
  checks=$((checks + 1))
  if ((has_input)); then
    printf '%s' "$input" | "$krel" "$@" >"$work/out" 2>"$work/err"
  else
    "$krel" "$@" <"/dev/null" >"$work/out" 2>"$work/err"
  fi
  local got_status=$?
  local want_out="" want_err=""
  [[ -n $stdout ]] && want_out="$stdout"$'\n'
  [[ -n $stderr ]] && want_err="$stderr"$'\n'
  local got_out got_err
  got_out=$(cat "$work/out"; printf x)
  got_out=${got_out%x}
  got_err=$(cat "$work/err"; printf x)
  got_err=${got_err%x}
  [[ $got_status == "$status" ]] || fail "$name: exit status $got_status, expected $status"
  [[ $got_out == "$want_out" ]] ||
    fail "$name: standard output"$'\n'"--- got:"$'\n'"$got_out"$'\n'"--- expected:"$'\n'"$want_out"
  [[ $got_err == "$want_err" ]] ||
    fail "$name: standard error"$'\n'"--- got:"$'\n'"$got_err"$'\n'"--- expected:"$'\n'"$want_err"
}

# expect_usage_error NAME ARGUMENTS...: status 2, nothing on standard output,
# exactly one line on standard error that starts with "krel: " and holds WORD.
expect_usage_error() {
  local name=$1 word=$2
  shift 2
  [[ -n $word ]] || fail "$name: no word to look for (an empty one matches any line)"
  checks=$((checks + 1))
  "$krel" "$@" </dev/null >"$work/out" 2>"$work/err"
  local got_status=$?
  [[ $got_status == 2 ]] || fail "$name: exit status $got_status, expected 2"
  [[ ! -s $work/out ]] || fail "$name: standard output not empty: $(cat "$work/out")"
  local lines
  lines=$(wc -l <"$work/err")
  [[ $lines == 1 ]] || fail "$name: $lines lines on standard error: $(cat "$work/err")"
  grep -q "^krel: .*$word" "$work/err" || fail "$name: standard error lacks 'krel: ...$word': $(cat "$work/err")"
}

cli_checks() {
  # --version, --help
  expect "version flag" 0 "$version" "" -- --version
  checks=$((checks + 1))
  "$krel" --help >"$work/out" 2>&1 || fail "--help: nonzero exit"
  for word in fold expand count ranges wrap version libname Examples; do
    grep -q "$word" "$work/out" || fail "--help lacks '$word'"
  done
  for command in fold expand count ranges wrap "version newer" libname; do
    checks=$((checks + 1))
    # shellcheck disable=SC2086
    "$krel" $command --help >"$work/out" 2>&1 || fail "$command --help: nonzero exit"
    grep -q 'Examples:' "$work/out" || fail "$command --help has no examples"
  done

  # fold
  expect "fold names" 0 "login1, node[1-3]" "" -- fold node3 node1 node2 login1
  expect "fold notation and names" 0 "node[1-5,7]" "" -- fold 'node[1-5]' node7
  expect "fold keeps padding" 0 "cn11, cn[09-010]" "" -- fold cn09 cn010 cn11
  expect "fold never merges spellings" 0 "server03, server[1-2]" "" -- fold server1 server2 server03
  expect "fold plain comma separator" 0 "login1,node[1-3]" "" -- fold -s , node3 node1 node2 login1
  expect "fold long separator" 0 "a + b + c" "" -- fold --separator ' + ' c b a
  expect "fold standard input" 0 "node[1-3,5]" "" $'node1\nnode2,node3  node5\n' -- fold
  expect "fold dash is standard input" 0 "login1, node[1-2]" "" $'node1 node2' -- fold login1 -
  expect "fold brackets protect commas and blanks" 0 "node[1-2,5]" "" "node[1-2, 5]" -- fold
  expect "fold empty input" 0 "" "" "" -- fold
  expect "fold digit-only names" 0 "[0,42]" "" -- fold 0 42
  expect "fold exclude" 0 "node[1-2,5-8,10]" "" -- fold 'node[1-10]' --exclude 'node[3-4]' --exclude node9
  expect "fold intersect" 0 "node[8-10]" "" -- fold 'node[1-10]' --intersect 'node[8-20]'
  expect "fold xor" 0 "node[1-3,6-7]" "" -- fold 'node[1-5]' --xor 'node[4-7]'
  expect "fold set operations in order" 0 "n[5-6,8-10]" "" -- fold 'n[1-10]' --intersect 'n[5-20]' --exclude n7
  expect "fold set operations in order, reversed" 0 "n8" "" -- fold 'n[1-10]' --exclude n7 --intersect 'n[7-8]'
  expect "fold exclude everything" 0 "" "" -- fold 'n[1-3]' --exclude 'n[1-3]'
  expect "fold exclude list from standard input" 0 "n[1,4]" "" $'n2\nn3\n' -- fold 'n[1-4]' --exclude -
  expect "fold bad notation" 2 "" 'cannot expand "node[3-1]": descending range "3-1"' -- fold 'node[3-1]' n1
  expect "fold bad notation in a set operation" 2 "" 'cannot expand "n[": unbalanced brackets' -- fold n1 --exclude 'n['
  expect "fold number too large" 2 "" 'krel: cannot fold "cn099999999999": its number 099999999999 is above 2147483647' -- fold cn1 cn099999999999
  expect_usage_error "fold unknown option" "bogus" fold --bogus n1
  expect_usage_error "fold option without value" "exclude" fold n1 --exclude

  # expand
  expect "expand" 0 $'login1\nnode01\nnode02\nnode03\nnode05' "" -- expand 'login1, node[01-03,05]'
  expect "expand separator" 0 "r1c1 r1c2 r2c1 r2c2" "" -- expand -s ' ' 'r[1-2]c[1-2]'
  expect "expand padding" 0 "cn09,cn010,node08,node09,node10" "" -- expand -s , 'cn[09-010]' 'node[08-10]'
  expect "expand keeps duplicates in order" 0 $'n3\nn1\nn3' "" -- expand 'n[3,1,3]'
  expect "expand standard input" 0 $'a1\na2\nb' "" $'a[1-2]\nb\n' -- expand
  expect "expand empty input" 0 "" "" $'  \n' -- expand
  expect "expand refuses a huge range" 2 "" 'cannot expand "n[1-20000000]": more than 10000000 names' -- expand 'n[1-20000000]'
  expect "expand writes nothing half-way" 2 "" 'cannot expand "b[3-1]": descending range "3-1"' -- expand 'a[1-3]' 'b[3-1]'
  expect "expand empty brackets" 2 "" 'cannot expand "node[]": empty brackets' -- expand 'node[]'
  expect "expand nested brackets" 2 "" 'cannot expand "a[1[2]]": nested brackets' -- expand 'a[1[2]]'
  expect "expand bad item" 2 "" 'cannot expand "a[1-x]": bad item "1-x"' -- expand 'a[1-x]'

  # count
  expect "count distinct" 0 "100" "" -- count 'node[1-100]' node7
  expect "count standard input" 0 "3" "" $'a b\na c\n' -- count
  expect "count nothing" 0 "0" "" "" -- count
  expect "count bad notation" 2 "" 'cannot expand "x]": unbalanced brackets' -- count 'x]'

  # ranges
  expect "ranges" 0 $'1\n2\n3\n5' "" -- ranges 1-3,5
  expect "ranges several lists" 0 $'1\n2\n5\n9' "" -- ranges 5,1-2 9 2
  expect "ranges standard input" 0 $'4\n7\n8' "" $'7-8\n4\n' -- ranges
  expect "ranges carry into a new digit" 0 $'-2\n-1\n0\n1\n8\n9\n10\n11\n99\n100\n999\n1000\n2147483646\n2147483647' "" \
    -- ranges -- -2--1,0-1,8-11,99-100,999-1000,2147483646-2147483647
  expect "ranges fold" 0 "1-3,5" "" -- ranges --fold 1 2 3 5
  expect "ranges fold range lists" 0 "1-3,5,7-9" "" -- ranges --fold 5 1-3 7-9,8
  expect "ranges fold negative numbers" 0 "-3--1" "" -- ranges --fold -- -3 -2 -1
  expect "ranges fold nothing" 0 "" "" "" -- ranges --fold
  expect "ranges bad list" 2 "" 'krel: bad range list "1-x"' -- ranges 1-3 1-x
  expect "ranges descending" 2 "" 'krel: bad range list "3-1"' -- ranges 3-1
  expect "ranges guard" 2 "" 'krel: the range list "1-4000000000" names more than 10000000 numbers' -- ranges 1-4000000000

  # wrap
  expect "wrap width" 0 $'the quick\nbrown fox\njumps' "" $'the quick brown fox jumps\n' -- wrap --width 10
  expect "wrap indent" 0 $'the quick\n  brown\n  fox\n  jumps' "" $'the quick brown fox jumps\n' -- wrap --width 10 --indent '  '
  local words
  words=$(printf 'word%02d ' $(seq 1 20))
  expect "wrap default width is 80 off a terminal" 0 \
    "$(printf 'word%02d ' $(seq 1 11) | sed 's/ $//')"$'\n'"$(printf 'word%02d ' $(seq 12 20) | sed 's/ $//')" \
    "" "${words% }"$'\n' -- wrap
  expect "wrap columns" 0 $'name:        value one\nlonger name: val' "" $'name: value one\nlonger name: val\n' -- wrap --columns :
  expect "wrap columns hidden" 0 $'name       value\nlongername val' "" $'name=value\nlongername=val\n' -- wrap --columns = --hide-separator
  expect "wrap adds a missing final newline" 0 $'the quick\nbrown' "" 'the quick brown' -- wrap --width 10
  expect "wrap table" 0 $'a    bb ccc\ndddd e  f' "" $'a bb ccc\ndddd e f\n' -- wrap --table
  expect_usage_error "wrap zero width" "width" wrap --width 0
  expect_usage_error "wrap hidden separator needs columns" "columns" wrap --hide-separator
  expect_usage_error "wrap separator of two characters" "one character" wrap --columns ab
  expect_usage_error "wrap table and columns" "table" wrap --table --columns :
  expect "wrap indent as wide as the line" 2 "" "krel: the indent (4 bytes) must be shorter than the width (4)" "a b" -- wrap --width 4 --indent xxxx
  expect_usage_error "wrap takes no arguments" "stray" wrap stray

  # version newer
  expect "version newer yes" 0 "" "" -- version newer 2.10 2.9
  expect "version newer no" 1 "" "" -- version newer 2.9 2.10
  expect "version newer equal" 1 "" "" -- version newer 1.2 1.2
  expect "version newer longer" 1 "" "" -- version newer 1.2.1 1.2
  expect "version newer unreadable" 2 "" "Unable to parse version." -- version newer 1.x 1.2
  expect_usage_error "version newer needs two versions" "B" version newer 1.2
  expect_usage_error "version needs newer" "subcommand" version

  # libname
  expect "libname" 0 $'z\ncrypto\nfoo.so.1.2\nmylib' "" -- libname /usr/lib64/libz.so libcrypto.a libfoo.so.1.2 mylib.so
  expect "libname standard input, one path a line" 0 $'my lib\nbar' "" $'/opt/lib dir/libmy lib.so\n\n/opt/x/libbar\n' -- libname

  # the command line itself
  expect_usage_error "no subcommand" "subcommand"
  expect_usage_error "unknown subcommand" "frobnicate" frobnicate
  expect_usage_error "unknown option" "bogus" --bogus
}

million_checks() {
  local names="$work/names" folded expanded
  seq 1 1000000 | awk '{ print "node" $1 }' >"$names"

  checks=$((checks + 1))
  folded=$("$krel" fold <"$names" 2>"$work/err") || fail "fold of a million names: exit status $?"
  [[ $folded == "node[1-1000000]" ]] || fail "fold of a million names: '$folded'"
  [[ ! -s $work/err ]] || fail "fold of a million names wrote: $(cat "$work/err")"

  checks=$((checks + 1))
  "$krel" expand "$folded" >"$work/expanded" 2>"$work/err" || fail "expand of a million names: exit status $?"
  cmp -s "$names" "$work/expanded" || fail "expand of the fold does not give the million names back"

  # Through real pipes end to end, in random order, with padding and racks.
  checks=$((checks + 1))
  awk 'BEGIN { for (r = 1; r <= 10; r++) for (n = 0; n < 100000; n++) printf "r%02dn%05d\n", r, n }' \
    | shuf --random-source=<(yes) >"$names"
  folded=$(cat "$names" | "$krel" fold -s ,) || fail "fold of a million padded names: exit status $?"
  checks=$((checks + 1))
  "$krel" expand "$folded" | sort >"$work/expanded" || fail "expand of a million padded names failed"
  sort "$names" | cmp -s - "$work/expanded" || fail "the padded million does not come back: $folded"
  checks=$((checks + 1))
  expanded=$(printf '%s' "$folded" | "$krel" count) || fail "count of a million names failed"
  [[ $expanded == 1000000 ]] || fail "count of a million names: $expanded"

  # Numbers at the width changes: 1..1000000 written with and without zeros.
  checks=$((checks + 1))
  seq 1 500000 | awk '{ print "cn" $1; printf "cn%07d\n", $1 }' >"$names"
  folded=$("$krel" fold - <"$names") || fail "fold of mixed padding: exit status $?"
  [[ $folded == "cn[0000001-0000009], cn[0000010-0000099], cn[0000100-0000999], cn[0001000-0009999], cn[0010000-0099999], cn[0100000-0500000], cn[1-500000]" ]] ||
    fail "fold of mixed padding: '$folded'"
  "$krel" expand "$folded" | sort >"$work/expanded"
  sort "$names" | cmp -s - "$work/expanded" || fail "mixed padding does not come back"
}

case $section in
  cli) cli_checks ;;
  million) million_checks ;;
  *) echo "unknown section '$section'" >&2; exit 2 ;;
esac

echo "$checks checks, $failures failures"
((failures == 0))
