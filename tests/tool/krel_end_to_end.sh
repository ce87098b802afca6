#!/usr/bin/env bash
# Runs the built krel as a real process, through real pipes, and checks its
# standard output, standard error and exit status.
#
#   krel_end_to_end.sh PATH_TO_KREL cli VERSION          # every subcommand, option and error
#   krel_end_to_end.sh PATH_TO_KREL brackets VERSION     # words that begin with "["
#   krel_end_to_end.sh PATH_TO_KREL million VERSION      # pipes of 1,000,000 names
#   krel_end_to_end.sh PATH_TO_KREL ten_million VERSION  # standard input of 10,000,000 names
#   krel_end_to_end.sh PATH_TO_KREL expressions VERSION  # set expressions and nodeset's options
#   krel_end_to_end.sh PATH_TO_KREL gather VERSION       # krel gather's pages and errors
#
# VERSION is the project version CMake configured, which --version must print.
set -uo pipefail
krel=$1
section=$2
version=$3
source "$(dirname "${BASH_SOURCE[0]}")/check_support.sh"

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

# expect_write_error NAME ARGUMENTS...: with standard output on /dev/full and
# with it closed, krel ARGUMENTS exits 2 with one line on standard error.
expect_write_error() {
  local name=$1
  shift
  local target reason
  for target in full closed; do
    checks=$((checks + 1))
    local got_status
    if [[ $target == full ]]; then
      "$krel" "$@" </dev/null >/dev/full 2>"$work/err"
      got_status=$?
      reason="No space left on device"
    else
      "$krel" "$@" </dev/null >&- 2>"$work/err"
      got_status=$?
      reason="Bad file descriptor"
    fi
    [[ $got_status == 2 ]] || fail "$name, output $target: exit status $got_status, expected 2"
    [[ $(cat "$work/err") == "krel: cannot write standard output: $reason" ]] ||
      fail "$name, output $target: standard error: $(cat "$work/err")"
  done
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

  # fold: the engine's notation
  expect "fold names" 0 "login1,node[1-3]" "" -- fold node3 node1 node2 login1
  expect "fold notation and names" 0 "node[1-5,7]" "" -- fold 'node[1-5]' node7
  expect "fold padded run across a width change" 0 "node[001-150]" "" "$(seq -f 'node%03g' 1 150)" -- fold
  expect "fold mixed widths" 0 "cn[09,010]" "" -- fold cn09 cn010
  expect "fold widths never merge" 0 "cn[09,11,010]" "" -- fold cn09 cn010 cn11
  expect "fold unpadded and padded" 0 "cn[8,09-10]" "" -- fold cn8 cn09 cn10
  expect "fold three spellings of one number" 0 "cn[1,01,001]" "" -- fold cn1 cn01 cn001
  expect "fold width order" 0 "n[8-10,010-011]" "" -- fold n011 n8 n010 n10 n9
  expect "fold never merges spellings" 0 "server[1-2,03]" "" -- fold server1 server2 server03
  expect "fold two dimensions" 0 "r[1-2]c[1-2]" "" -- fold r2c2 r1c1 r2c1 r1c2
  expect "fold irregular rectangle" 0 "r1c[1-3],r2c1" "" -- fold r1c1 r1c2 r1c3 r2c1
  expect "fold steps in brackets" 0 "node[1,3,5,7,9]" "" -- fold 'node[1-9/2]'
  expect "fold padding rules" 0 "n[009-011]" "" -- fold 'n[009-11]'
  expect "fold separator" 0 "login1 + node[1-3]" "" -- fold --separator ' + ' node3 node1 node2 login1
  expect "fold spaced separator" 0 "login1, node[1-3]" "" -- fold -s ', ' 'node[1-3]' login1
  expect "fold standard input" 0 "node[1-3,5]" "" $'node1\nnode2,node3  node5\n' -- fold
  expect "fold dash is standard input" 0 "login1,node[1-2]" "" $'node1 node2' -- fold login1 -
  expect "fold brackets protect commas and blanks" 0 "node[1-2,5]" "" "node[1-2, 5]" -- fold
  expect "fold empty input" 0 "" "" "" -- fold
  expect "fold digit-only names" 0 "[0,42]" "" -- fold 0 42
  expect "fold numbers beyond 32 bits" 0 "cn[1,099999999999]" "" -- fold cn1 cn099999999999
  expect "fold a huge range" 0 "node[0-18446744073709551614]" "" -- fold 'node[0-18446744073709551614]'
  expect "fold bad notation" 2 "" 'krel: cannot read "node[3-1]": descending range 3-1' -- fold 'node[3-1]' n1
  expect "fold bad notation in a set operation" 2 "" 'krel: cannot read "n[": unbalanced brackets' -- fold n1 --exclude 'n['
  expect_usage_error "fold unknown option" "bogus" fold --bogus n1
  expect_usage_error "fold option without value" "exclude" fold n1 --exclude

  # fold --axis, --autostep
  expect "fold axis -1, as Slurm writes" 0 "r1c[1-2],r2c[1-2]" "" -- fold --axis -1 r1c1 r1c2 r2c1 r2c2
  expect "fold axis 1" 0 "r[1-2]c1,r[1-2]c2" "" -- fold --axis 1 r1c1 r1c2 r2c1 r2c2
  expect "fold axes 1-2" 0 "x[1-2]c[1-2]s1,x[1-2]c[1-2]s2" "" -- fold --axis 1-2 'x[1-2]c[1-2]s[1-2]'
  expect "fold bad axis" 2 "" 'krel: --axis: cannot read axes "x": bad item x' -- fold --axis x r1
  expect "fold autostep" 0 "node[1-7/2]" "" -- fold --autostep 3 node1 node3 node5 node7
  expect "fold autostep needs K members" 0 "node[1,3,5]" "" -- fold --autostep 4 node1 node3 node5
  expect_usage_error "fold autostep of 1" "autostep" fold --autostep 1 n1

  # fold --report: the suite's report notation
  expect "fold report" 0 "login1, node[1-3]" "" -- fold --report node3 node1 node2 login1
  expect "fold report keeps padding runs apart" 0 "cn11, cn[09-010]" "" -- fold --report cn09 cn010 cn11
  expect "fold report splits at a change of padding" 0 "node[001-009], node[010-099], node[100-150]" "" \
    "$(seq -f 'node%03g' 1 150)" -- fold --report
  expect "fold report folds one number" 0 "r[1-2]c1, r[1-2]c2" "" -- fold --report r1c1 r1c2 r2c1 r2c2
  expect "fold report with a separator" 0 "login1,node[1-3]" "" -- fold --report -s , node3 node1 node2 login1
  expect "fold report after set operations" 0 "n[1-2,4]" "" -- fold --report 'n[1-5]' -x 'n[3,5]'
  expect "fold report number too large" 2 "" \
    'krel: cannot write "cn099999999999" in the report notation: a number is above 2147483647' \
    -- fold --report cn1 cn099999999999
  expect_usage_error "fold report and axis" "axis" fold --report --axis 1 n1
  expect_usage_error "fold report and split" "split" fold --report --split 2 n1

  # fold set operations
  expect "fold exclude" 0 "node[1-2,5-8,10]" "" -- fold 'node[1-10]' --exclude 'node[3-4]' --exclude node9
  expect "fold exclude, short" 0 "node[1-2,5-8,10]" "" -- fold 'node[1-10]' -x 'node[3-4]' -x node9
  expect "fold intersect" 0 "node[8-10]" "" -- fold 'node[1-10]' --intersect 'node[8-20]'
  expect "fold intersect, short" 0 "node[8-10]" "" -- fold 'node[1-10]' -i 'node[8-20]'
  expect "fold xor" 0 "node[1-3,6-7]" "" -- fold 'node[1-5]' --xor 'node[4-7]'
  expect "fold xor, short" 0 "node[1-3,6-7]" "" -- fold 'node[1-5]' -X 'node[4-7]'
  expect "fold set operations in order" 0 "n[5-6,8-10]" "" -- fold 'n[1-10]' --intersect 'n[5-20]' --exclude n7
  expect "fold set operations in order, reversed" 0 "n8" "" -- fold 'n[1-10]' --exclude n7 --intersect 'n[7-8]'
  expect "fold exclude everything" 0 "" "" -- fold 'n[1-3]' --exclude 'n[1-3]'
  expect "fold exclude list from standard input" 0 "n[1,4]" "" $'n2\nn3\n' -- fold 'n[1-4]' --exclude -
  expect "fold exclude from a huge set" 0 "n[1-4,6-9999999]" "" -- fold 'n[1-9999999]' -x n5
  expect "fold exclude keeps widths apart" 0 "n[1-9,010]" "" -- fold 'n[1-10]' n010 -x n10

  # fold --slice, --split, --contiguous
  expect "fold slice" 0 "node[1-3,10]" "" -- fold 'node[1-10]' --slice 0-2,9
  expect "fold slice with a step" 0 "n[1,3,5,7,9]" "" -- fold -I 0-9/2 'n[1-10]'
  expect "fold slice after set operations" 0 "n[2,4]" "" -- fold 'n[1-5]' -x n3 --slice 1-2
  expect "fold slice in the set's order" 0 "cn[09,010]" "" -- fold cn010 cn09 cn8 --slice 1-2
  expect "fold slice past the end" 0 "" "" -- fold 'n[1-5]' --slice 20
  expect "fold bad slice" 2 "" 'krel: --slice: cannot read "3-1": descending range 3-1' -- fold 'n[1-5]' --slice 3-1
  expect "fold split" 0 $'n[1-4]\nn[5-7]\nn[8-10]' "" -- fold --split 3 'n[1-10]'
  expect "fold split into more parts than names" 0 $'n1\nn2' "" -- fold --split 5 'n[1-2]'
  expect "fold split two dimensions" 0 $'r1c[1-2]\nr2c[1-2]' "" -- fold --split 2 'r[1-2]c[1-2]'
  expect_usage_error "fold split 0" "split" fold --split 0 n1
  expect "fold contiguous" 0 $'m1\nn[1-3]\nn5\nn[7-8]' "" -- fold --contiguous 'n[1-3,5,7-8]' m1
  expect "fold contiguous with a separator" 0 $'n[1-2]\nn[4-5]' "" -- fold --contiguous -s ' ' 'n[1-2,4-5]'
  expect_usage_error "fold split and contiguous" "contiguous" fold --split 2 --contiguous n1

  # expand
  expect "expand" 0 $'login1\nnode01\nnode02\nnode03\nnode05' "" -- expand 'login1, node[01-03,05]'
  expect "expand separator" 0 "r1c1 r1c2 r2c1 r2c2" "" -- expand -s ' ' 'r[1-2]c[1-2]'
  expect "expand padding" 0 "cn09,cn010,node08,node09,node10,n009,n010,n011" "" -- expand -s , 'cn[09-010]' 'node[08-10]' 'n[009-11]'
  expect "expand steps" 0 "node1,node5,node9" "" -- expand -s , 'node[1-9/4]'
  expect "expand keeps duplicates in order" 0 $'n3\nn1\nn3' "" -- expand 'n[3,1,3]'
  expect "expand keeps order across arguments" 0 "b2 a1 b2" "" -- expand -s ' ' b2 a1 b2
  expect "expand sort" 0 "n1 n3 n10 n010" "" -- expand -s ' ' --sort n3 n1 n3 n10 n010
  expect "expand sort by pattern, width, value" 0 "cn8 cn09 cn10 listserv3 listserv01" "" -- expand -s ' ' --sort listserv01 cn10 listserv3 cn09 cn8
  expect "expand exclude gives the set" 0 "n1 n4" "" -- expand -s ' ' 'n[4,1-3,3]' -x 'n[2-3]'
  expect "expand intersect" 0 "n2 n3" "" -- expand -s ' ' 'n[1-3]' -i 'n[2-9]'
  expect "expand xor" 0 "n1 n4" "" -- expand -s ' ' 'n[1-3]' -X 'n[2-4]'
  expect "expand slice" 0 "n2 n10" "" -- expand -s ' ' 'n[1-10]' --slice 1,9
  expect "expand standard input" 0 $'a1\na2\nb' "" $'a[1-2]\nb\n' -- expand
  expect "expand empty input" 0 "" "" $'  \n' -- expand
  expect "expand writes nothing half-way" 2 "" 'krel: cannot read "b[3-1]": descending range 3-1' -- expand 'a[1-3]' 'b[3-1]'
  expect "expand empty brackets" 2 "" 'krel: cannot read "node[]": empty brackets' -- expand 'node[]'
  expect "expand nested brackets" 2 "" 'krel: cannot read "a[1[2]]": nested brackets' -- expand 'a[1[2]]'
  expect "expand bad item" 2 "" 'krel: cannot read "a[1-x]": bad item 1-x' -- expand 'a[1-x]'
  expect "expand step 0" 2 "" 'krel: cannot read "a[1-3/0]": step 0 in 1-3/0' -- expand 'a[1-3/0]'
  # Arguments are read together a line each: a bracket never spans two.
  expect "expand bracket across arguments" 2 "" 'krel: cannot read "n[2": unbalanced brackets' -- expand n1 'n[2' '3]'
  expect "fold bracket across arguments" 2 "" 'krel: cannot read "n[2": unbalanced brackets' -- fold n1 'n[2' '3]'
  expect "expand arguments and standard input in order" 0 "n3 n1 n2 n1" "" 'n1 n2' -- expand -s ' ' n3 - n1
  expect "expand an expression among arguments" 0 "n3 n1 n2 n4 n3" "" -- expand -s ' ' n3 'n[1-4]!n3' n3

  # count
  expect "count distinct" 0 "100" "" -- count 'node[1-100]' node7
  expect "count without expanding" 0 "4000000000" "" -- count 'node[1-4000000000]'
  expect "count the largest set" 0 "18446744073709551615" "" -- count 'node[0-18446744073709551614]'
  expect "count exclude" 0 "90" "" -- count 'node[1-100]' -x 'node[1-10]'
  expect "count intersect and slice" 0 "3" "" -- count 'n[1-100]' -i 'n[50-60]' --slice 0-2
  expect "count widths apart" 0 "3" "" -- count n1 n01 n001 n1
  expect "count standard input" 0 "3" "" $'a b\na c\n' -- count
  expect "count nothing" 0 "0" "" "" -- count
  expect "count bad notation" 2 "" 'krel: cannot read "x]": unbalanced brackets' -- count 'x]'

  # unwritable output
  expect_write_error "fold" fold 'n[1-5]'
  expect_write_error "fold split" fold --split 2 'n[1-5]'
  expect_write_error "fold report" fold --report 'n[1-5]'
  expect_write_error "expand as written" expand 'n[1-100000]'
  expect_write_error "expand sorted" expand --sort 'n[1-100000]'
  expect_write_error "count" count 'n[1-4000000000]'

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

# expect_same_as_input NAME TEXT [ARGUMENTS...]: krel ARGUMENTS with TEXT put
# in place of the "@" in an argument ("@", "--xor=@") must do exactly what
# krel ARGUMENTS with "-" there does when TEXT is on standard input: same
# output, errors and status.
expect_same_as_input() {
  local name=$1 text=$2
  shift 2
  local with_text=() with_dash=() argument
  for argument in "$@"; do
    if [[ $argument == *@* ]]; then
      with_text+=("${argument//@/$text}")
      with_dash+=("${argument//@/-}")
    else
      with_text+=("$argument")
      with_dash+=("$argument")
    fi
  done
  checks=$((checks + 1))
  "$krel" "${with_text[@]}" </dev/null >"$work/out1" 2>"$work/err1"
  local status1=$?
  printf '%s' "$text" | "$krel" "${with_dash[@]}" >"$work/out2" 2>"$work/err2"
  local status2=$?
  [[ $status1 == "$status2" ]] || fail "$name: exit status $status1 with the argument, $status2 with standard input"
  cmp -s "$work/out1" "$work/out2" ||
    fail "$name: standard output differs"$'\n'"--- argument:"$'\n'"$(cat "$work/out1")"$'\n'"--- standard input:"$'\n'"$(cat "$work/out2")"
  cmp -s "$work/err1" "$work/err2" ||
    fail "$name: standard error differs"$'\n'"--- argument:"$'\n'"$(cat "$work/err1")"$'\n'"--- standard input:"$'\n'"$(cat "$work/err2")"
}

# Words that begin with "[" and end with "]" reach krel as written, as
# arguments and as option values, after "--" too.
bracket_checks() {
  local text
  for text in '[1-5]' '[]' '[1-2][4-5]' '[3-4]n,n[1-2]' '[0-20]'; do
    expect_same_as_input "fold $text" "$text" fold @
    expect_same_as_input "fold $text among names" "$text" fold 7 @ 12
    expect_same_as_input "fold $text after --" "$text" fold -s , -- @
    expect_same_as_input "fold --exclude $text" "$text" fold '[0-30]' n1 3n --exclude @
    expect_same_as_input "fold --intersect $text" "$text" fold '[0-30]' n1 3n --intersect @
    expect_same_as_input "fold --xor $text" "$text" fold '[0-30]' n1 3n --xor=@
    expect_same_as_input "expand $text" "$text" expand @
    expect_same_as_input "expand $text after --" "$text" expand -s , -- x @
    expect_same_as_input "expand --sort $text" "$text" expand --sort @
    expect_same_as_input "expand -x $text" "$text" expand '[0-30]' 3n -x @
    expect_same_as_input "count -i $text" "$text" count '[0-30]' n1 -i @
    expect_same_as_input "count --xor= $text" "$text" count '[0-30]' n1 --xor=@
    expect_same_as_input "fold --split $text" "$text" fold --split 2 @
    expect_same_as_input "fold --report $text" "$text" fold --report @
    expect_same_as_input "count $text" "$text" count @
    expect_same_as_input "count $text among names" "$text" count 1 @ n2
    expect_same_as_input "ranges $text" "$text" ranges @
    expect_same_as_input "ranges --fold $text" "$text" ranges --fold @
    expect_same_as_input "libname $text" "$text" libname @
  done

  expect "fold [1-5]" 0 "[1-5]" "" -- fold '[1-5]'
  expect "fold [0-20] with names" 0 "[0-20]" "" -- fold -s , '[0-20]' 12 15
  expect "fold [1-2][4-5]" 0 "[14-15,24-25]" "" -- fold '[1-2][4-5]'
  expect "fold [] is empty brackets" 2 "" 'krel: cannot read "[]": empty brackets' -- fold '[]'
  expect "fold --exclude [0-20]" 0 "[21-22]" "" -- fold '[0-22]' --exclude '[0-20]'
  expect "fold --intersect [1-2][4-5]" 0 "[14-15]" "" -- fold '[10-20]' --intersect '[1-2][4-5]'
  expect "expand [1-5]" 0 $'1\n2\n3\n4\n5' "" -- expand '[1-5]'
  expect "expand [3-4]n,n[1-2]" 0 "3n 4n n1 n2" "" -- expand -s ' ' '[3-4]n,n[1-2]'
  expect "expand [1-2][4-5] after --" 0 "14 15 24 25" "" -- expand -s ' ' -- '[1-2][4-5]'
  expect "expand []" 2 "" 'krel: cannot read "[]": empty brackets' -- expand '[]'
  expect "fold [3-4]n,n[1-2]" 0 "[3-4]n,n[1-2]" "" -- fold '[3-4]n,n[1-2]'
  expect "fold --exclude [3-4]n,n[1-2]" 0 "3n" "" -- fold '[3-4]n,n[1-2]' --exclude '[4]n,n[1-2]'
  expect "expand --sort [0-20] [1-5]" 0 "$(seq -s ' ' 0 20)" "" -- expand -s ' ' --sort '[0-20]' '[1-5]'
  expect "count [1-2][4-5] -x [1-2][4]" 0 "2" "" -- count '[1-2][4-5]' -x '[1-2][4]'
  expect "count [1-10]" 0 "10" "" -- count '[1-10]'
  expect "count [0-20]" 0 "21" "" -- count '[0-20]'
  expect "libname [1-5]" 0 "[1-5]" "" -- libname '[1-5]'
  expect "ranges [1-5]" 2 "" 'krel: bad range list "[1-5]"' -- ranges '[1-5]'
  expect "fold separator [1-5]" 0 "a[1-5]b" "" -- fold -s '[1-5]' a b
  expect "expand separator [,]" 0 "n1[,]n2" "" -- expand --separator='[,]' 'n[1-2]'
  expect "wrap indent [1-5]" 0 $'aaa bbb\n[1-5]ccc' "" 'aaa bbb ccc' -- wrap --width 8 --indent '[1-5]'
  expect "version newer [1-5]" 2 "" "Unable to parse version." -- version newer '[1-5]' 1.2
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

  # Fifty thousand different texts as arguments: the same set as on
  # standard input.
  checks=$((checks + 1))
  awk 'BEGIN { for (i = 0; i < 50000; i++) printf "host%c%c%c%c-%d\n", 97 + i % 26, 97 + int(i / 26) % 26, 97 + int(i / 676) % 26, 97 + int(i / 17576) % 26, i % 7 }' >"$names"
  # shellcheck disable=SC2046
  folded=$("$krel" fold $(cat "$names")) || fail "fold of 50,000 arguments: exit status $?"
  [[ $folded == "$("$krel" fold <"$names")" ]] || fail "fold of 50,000 arguments differs from standard input"
  checks=$((checks + 1))
  # shellcheck disable=SC2046
  expanded=$("$krel" count $(cat "$names") - <"$names") || fail "count of 50,000 arguments: exit status $?"
  [[ $expanded == 50000 ]] || fail "count of 50,000 arguments and the same on standard input: $expanded"

  # Numbers at the width changes: 1..1000000 written with and without zeros.
  checks=$((checks + 1))
  seq 1 500000 | awk '{ print "cn" $1; printf "cn%07d\n", $1 }' >"$names"
  folded=$("$krel" fold - <"$names") || fail "fold of mixed padding: exit status $?"
  [[ $folded == "cn[1-500000,0000001-0500000]" ]] ||
    fail "fold of mixed padding: '$folded'"
  "$krel" expand "$folded" | sort >"$work/expanded"
  sort "$names" | cmp -s - "$work/expanded" || fail "mixed padding does not come back"
}

# Ten million names on standard input: read, counted and folded without a
# name-by-name set.
ten_million_checks() {
  local names="$work/names" got
  seq 1 10000000 | sed 's/^/n/' >"$names"
  checks=$((checks + 1))
  got=$("$krel" count <"$names") || fail "count of ten million names: exit status $?"
  [[ $got == 10000000 ]] || fail "count of ten million names: '$got'"
  checks=$((checks + 1))
  got=$(shuf --random-source=<(yes) "$names" | "$krel" fold -x 'n[5000000-5000009]') ||
    fail "fold of ten million shuffled names: exit status $?"
  [[ $got == "n[1-4999999,5000010-10000000]" ]] || fail "fold of ten million shuffled names: '$got'"
  checks=$((checks + 1))
  "$krel" expand <"$names" | cmp -s - "$names" || fail "expand of ten million names changes them"
}

# Set expressions, set operations in command-line order and the options
# nodeset users expect: -O, --pick, --autostep N% and auto, escapes in -s.
expression_checks() {
  # Set expressions in every host input
  expect "fold difference" 0 "n[1-2,4-5]" "" -- fold 'n[1-5]!n3'
  expect "count difference" 0 "4" "" -- count 'n[1-5]!n3'
  expect "fold intersection" 0 "node[5-10]" "" -- fold 'node[1-10]&node[5-20]'
  expect "fold symmetric difference" 0 "n[1,4-5]" "" -- fold 'n[1-3]^n[2-5]'
  expect "fold operators left to right" 0 "n1" "" -- fold 'n[1-5],n7!n[2-7]'
  expect "fold blanks around operators" 0 "n[1,3]" "" -- fold 'n[1-3] ! n2'
  expect "fold expression in an option" 0 "n[1,5]" "" -- fold 'n[1-5]' -x 'n[1-5]!n[1,5]'
  expect "fold expression on standard input" 0 "n[2-3]" "" $'n1\nn[1-3]!n1\n' -- fold
  expect "fold expression arguments apart" 0 "n[1-3]" "" -- fold 'n[1-3]!n2' n2
  expect "expand an expression gives the set" 0 "n1 n3 n5" "" -- expand -s ' ' 'n[5,1-3]!n2'
  expect "expand plain and expression arguments" 0 "n9 n1 n3 n9" "" -- expand -s ' ' n9 'n[1-3]!n2' n9
  expect "count an expression on standard input" 0 "2" "" 'n[1-3]&n[2-9]' -- count
  expect "fold missing operand" 2 "" 'krel: cannot read "n1&&n2": missing operand after "&" at position 3' -- fold 'n1&&n2'
  expect "fold missing left operand" 2 "" 'krel: cannot read "!n1": missing operand before "!" at position 1' -- fold -- '!n1'
  expect "expand missing operand" 2 "" 'krel: cannot read "n1!": missing operand after "!" at position 3' -- expand n2 'n1!'
  expect "fold operator inside a bracket" 2 "" 'krel: cannot read "n[1!2]": bad item 1!2' -- fold 'n[1!2]'
  expect "fold unknown group source" 2 "" 'krel: unknown group source "nosrc"' -- fold 'n1,@nosrc:rack1'
  expect "fold at sign inside a name" 0 "a@b" "" -- fold 'a@b'

  # -x/-i/-X and positional inputs in command-line order
  expect "fold exclude then union" 0 "A,C" "" -- fold A -x B C
  expect "fold exclude then union, same as the expression" 0 "n[1,3]" "" -- fold 'n[1-2]' -x n2 n3
  expect "fold union after exclude keeps the later input" 0 "n[1-3]" "" -- fold 'n[1-3]' -x n2 n2
  expect "fold intersect then union" 0 "n[5,7]" "" -- fold n5 -i 'n[1-9]' n7
  expect "fold operation before any input" 0 "n[1-3]" "" -- fold -x n1 'n[1-3]'
  expect "fold operations between inputs" 0 "n[1,3-4]" "" -- fold 'n[1-3]' -x n2 'n[3-4]' -x n5
  expect "fold implied standard input comes first" 0 "n[1,3]" "" $'n[1-3]\n' -- fold -x n2
  expect "fold written standard input in its place" 0 "n[2,4]" "" $'n[2-4]\n' -- fold n1 -x n1 - -x n3
  expect "count xor between inputs" 0 "4" "" -- count 'n[1-3]' -X 'n[3-4]' n9

  # -O/--output-format
  expect "fold output format" 0 "<m1>,<n[1-3]>" "" -- fold -O '<%s>' 'n[1-3]' m1
  expect "fold output format and separator" 0 "@m1 @n[1-3]" "" -- fold --output-format '@%s' -s ' ' 'n[1-3]' m1
  expect "fold output format with split" 0 $'-n[1-2]-\n-n[3-4]-' "" -- fold -O '-%s-' --split 2 'n[1-4]'
  expect "fold output format with a percent sign" 0 "%n1" "" -- fold -O '%%%s' n1
  expect "fold output format on the chosen axes" 0 "<r1c[1-2]>;<r2c1>" "" -- fold --axis -1 -O '<%s>' -s ';' r1c1 r1c2 r2c1
  expect "fold report with an output format" 0 "[login1], [node[1-3]]" "" -- fold --report -O '[%s]' node3 node1 node2 login1
  expect "expand output format" 0 "xn1y xn2y" "" -- expand -O 'x%sy' -s ' ' 'n[1-2]'
  expect "expand output format on the set" 0 "n1.ib n3.ib" "" -- expand -O '%s.ib' -s ' ' 'n[1-3]' -x n2
  expect "count output format" 0 "count=3" "" -- count -O 'count=%s' 'n[1-3]'
  expect_usage_error "output format without %s" "output-format" fold -O 'none' n1
  expect_usage_error "output format with two %s" "output-format" fold -O '%s%s' n1
  expect_usage_error "output format with another conversion" "output-format" expand -O '%d' n1

  # --pick and --seed
  expect "pick more than the set" 0 "n[1-3]" "" -- fold --pick 5 'n[1-3]'
  expect "pick a count" 0 "2" "" -- count --pick 2 'n[1-100]'
  expect "pick after set operations" 0 "n1" "" -- fold --pick 1 'n[1-3]' -x 'n[2-3]'
  checks=$((checks + 1))
  local first second
  first=$("$krel" fold --pick 5 --seed 7 'n[1-1000]') || fail "pick with a seed: exit status $?"
  second=$("$krel" fold --pick 5 --seed 7 'n[1-1000]')
  [[ $first == "$second" ]] || fail "pick with one seed gives '$first' then '$second'"
  [[ $("$krel" count "$first" -i 'n[1-1000]') == 5 ]] || fail "pick gives names outside the set: $first"
  expect_usage_error "pick 0" "pick" fold --pick 0 n1
  expect_usage_error "pick not a number" "pick" fold --pick x n1
  expect_usage_error "seed without pick" "pick" fold --seed 3 n1
  expect_usage_error "negative seed" "seed" fold --pick 1 --seed -1 n1

  # --autostep N% and auto, as nodeset reads them
  local stepped='n[1,3,5,7,9,11],m[1-3],x[2,4,6]'
  expect "autostep percent" 0 "m[1-3],n[1-11/2],x[2,4,6]" "" -- fold --autostep 50% "$stepped"
  expect "autostep percent too high" 0 "m[1-3],n[1,3,5,7,9,11],x[2,4,6]" "" -- fold --autostep 75% "$stepped"
  expect "autostep 0 percent" 0 "m[1-3],n[1-11/2],x[2-6/2]" "" -- fold --autostep 0% "$stepped"
  expect "autostep percent with decimals" 0 "m[1-7],n[1-7/2]" "" -- fold --autostep 36.3% 'n[1,3,5,7],m[1-7]'
  expect "autostep percent with decimals, just above" 0 "m[1-7],n[1,3,5,7]" "" -- fold --autostep 36.37% 'n[1,3,5,7],m[1-7]'
  expect "autostep auto on one progression" 0 "n[1-11/2]" "" -- fold --autostep auto 'n[1,3,5,7,9,11]'
  expect "autostep auto on a mixed set" 0 "m[1-3],n[1,3,5,7,9,11],x[2,4,6]" "" -- fold --autostep auto "$stepped"
  expect "autostep auto needs three" 0 "n[1,3]" "" -- fold --autostep auto 'n[1,3]'
  expect "autostep above 100 percent writes no step" 0 "n[1,3,5]" "" -- fold --autostep 1000% 'n[1,3,5]'
  expect_usage_error "autostep too large" "too large" fold --autostep 99999999999999999999 n1
  expect_usage_error "autostep word" "autostep" fold --autostep often n1
  expect_usage_error "autostep bad percent" "autostep" fold --autostep 5x% n1

  # Separators given as escapes
  expect "expand separator escape newline" 0 $'n1\nn2' "" -- expand -s '\n' 'n[1-2]'
  expect "expand separator escape tab" 0 $'n1\tn2' "" -- expand -s '\t' 'n[1-2]'
  expect "expand separator escaped backslash" 0 'n1\n2' "" -- expand -s '\\' 'n[1-2]'
  expect "fold separator escape" 0 $'m1\nn[1-2]' "" -- fold -s '\n' 'n[1-2]' m1
  expect "fold separator other backslash stays" 0 'm1\xn[1-2]' "" -- fold -s '\x' 'n[1-2]' m1
}

# krel gather: pages, refused lines (one line on standard error, nothing on
# standard output), option errors and a large interleaved input.
gather_checks() {
  local input=$'node2: a\nnode1: a\nnode3: b\r\nnode10: a'
  expect "gather, dshbak's page" 0 $'----------------\nnode[1-2,10]\n----------------\na\n----------------\nnode3\n----------------\nb\r' "" "$input" -- gather
  expect "gather, clubak's page" 0 $'---------------\nnode[1-2,10] (3)\n---------------\n a\n---------------\nnode3\n---------------\n b' "" "$input" -- gather --style clubak
  expect "gather -L" 0 $'node[1-2,10]:  a\nnode3:  b' "" "$input" -- gather --style clubak -L
  expect "gather --per-node -L" 0 $'node1: a\nnode2: a\nnode3: b\r\nnode10: a' "" "$input" -- gather --per-node --lines
  expect "gather -S" 0 "n[1-2]: x=y" "" $'n1=x=y\nn2=x=y\n' -- gather -L -S =
  expect "gather of nothing" 0 "" "" "" -- gather
  expect "gather, a line without separator" 2 "" 'krel: line 2: no ":" between node name and text in "oops"' $'n1: a\noops\nn2: b\n' -- gather
  expect "gather, an empty name" 2 "" 'krel: line 1: no node name before ":" in "  : a"' $'  : a\n' -- gather
  expect "gather, a name with a comma" 2 "" 'krel: line 1: node name "a,b" is not one host name' $'a,b: x\n' -- gather --style clubak
  expect_usage_error "gather, unknown style" "style" gather --style pdsh
  expect_usage_error "gather, empty separator" "SEP" gather -S ""

  # 100,000 nodes x 5 lines, interleaved: three groups and one node alone.
  checks=$((checks + 1))
  awk 'BEGIN { for (l = 1; l <= 5; l++) for (i = 1; i <= 100000; i++)
         printf "node%d: %s\n", (i * 7919) % 100000 + 1, (i * 7919) % 100000 + 1 == 77 ? "odd " l : "line " l % 3 }' \
    >"$work/pages"
  local got
  got=$("$krel" gather --style clubak -L <"$work/pages") || fail "gather of 500,000 lines: exit status $?"
  [[ $got == $'node[1-76,78-100000]:  line 1\nnode[1-76,78-100000]:  line 2\nnode[1-76,78-100000]:  line 0\nnode[1-76,78-100000]:  line 1\nnode[1-76,78-100000]:  line 2\nnode77:  odd 1\nnode77:  odd 2\nnode77:  odd 3\nnode77:  odd 4\nnode77:  odd 5' ]] ||
    fail "gather of 500,000 lines: '$got'"
}

case $section in
  cli) cli_checks ;;
  brackets) bracket_checks ;;
  million) million_checks ;;
  ten_million) ten_million_checks ;;
  expressions) expression_checks ;;
  gather) gather_checks ;;
  *) echo "unknown section '$section'" >&2; exit 2 ;;
esac

finish_checks
