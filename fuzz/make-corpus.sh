#!/usr/bin/env bash
# Writes the seed corpora under fuzz/corpus/<target>/ from the example tables
# of the library's documentation and tests. The seeds are checked in; run
# this again after changing it. Fields of an input are separated by the unit
# separator byte 0x1f (written $U below).
set -euo pipefail
cd "$(dirname "$0")"
U=$'\x1f'
declare -A counts=()

seed() {  # seed TARGET CONTENT
  local target=$1 n=${counts[$1]:-0}
  counts[$1]=$((n + 1))
  mkdir -p "corpus/$target"
  printf '%s' "$2" >"corpus/$target/seed-$(printf '%03d' "$n")"
}

rm -rf corpus
mkdir corpus

# Host names, one per line.
for names in $'node1\nnode2\nnode3\nnode5' $'node3\nnode1\nnode2' $'node01\nnode02\nnode10\nlogin1' \
  $'cn08\ncn09\ncn10\ncn11' $'cn09\ncn010' $'r1c1\nr1c2\nr2c1\nr2c2' $'r1c1\nr1c2\nr1c3\nr2c1' \
  $'a\na' $'cn1\ncn1' $'login\nadmin' $'cn1\ncn1x' $'\na1' cn007 node017 42 login cn000 a-1.b2 \
  0000000000001 cn99999999999 r2c3n14 $'c09\nc010' $'listserv01\nlistserv3' \
  $'server1\nserver2\nserver03' $'0\n42' $'n\xe9\xff1\nn\xe9\xff2' $'node 1\nnode 2'; do
  seed hosts_fold "$names"
done

# Host-list notation: name limit, notation.
for notation in "login1, node[01-03,05], r[1-2]c1" "r[1-2]c[1-2]" "cn[09-010]" "node[08-11]" \
  "n[3,1,3]" ", a1" "node[3-1]" "a[]" "a[[1]]" "a[1" "a]" "c09,c010" "listserv01,listserv3" \
  "node[541-570],node[0541-0570]" "0, 42" "n[ 1 - 3 ]" "n[1-3]x[7,9]y" "n[x]" \
  "n[0000000000000000000001-2]" "n[1-99999999999999999999]"; do
  seed expand_hosts "5000${U}${notation}"
done
seed expand_hosts "10${U}node[1-20]"
seed expand_hosts "0${U}a"

# Integer folding: zero count, values, separator for int_vect_to_str.
for row in "0${U}${U}, " "0${U}5" "0${U}5 5 5" "0${U}3 1 2" "0${U}1 2 3 5 7 8" "0${U}1 3 5" \
  "0${U}4 4 5" "1${U}8 9" "1${U}9 10" "2${U}1 2 4" "0${U}-3 -2 -1" "0${U}7 1 7 2 3${U}, " \
  "0${U}2147483647 -2147483648 2147483646 -2147483647" "-2${U}1 2${U};"; do
  seed merged_ints "$row"
done

# Range lists.
for list in "1-3,5" "5,1-3,2" " 7 " "4-4" "3-1" "1-3,x" "1 -3" "1-3a" "1,2-" "" "-5" \
  "4294967296" ",1" "0-18446744073709551615" "1--5" "4294967295-4294967300" "+1-+3" \
  "1,,2" $'\t1-2\r\n'; do
  seed expand_ranges "$list"
done

# Permutation counts: value, default count, source.
for value in 5 0 all ALL All -2 5abc " 12" "" 99999999999 "+7" "0x10"; do
  seed permutations "${value}${U}3${U}cfg"
done

# Splitting: the first byte is the delimiter.
for text in "" a a,b a,,b ,a ,,a a, a,,, , $'\n'; do
  seed split ",$text"
done
seed split $'\nline one\n\nline two\n'

# Trimming and replacing: text, character set, from, to.
for row in "  xx  ${U}" "--a-b--${U}-" "---${U}-" "abc${U}" $'abc\n'"${U}" $'\v x \f'"${U}" \
  $' \t'"${U}" "aaa${U}${U}aa${U}b" "abc${U}${U}b${U}bb" "a,,b,,,c,${U},${U},,${U}," \
  ",${U},${U}${U}x" $'ABC\xc9abc'"${U}${U}a${U}aa"; do
  seed strip "$row"
done

# Word wrapping: width, indent, text.
x100=$(printf 'x%.0s' {1..100})
for row in "10${U}${U}the quick brown fox jumps" "10${U}  ${U}the quick brown fox jumps" \
  "5${U}${U}abcdefghijklmno pq" "4${U}${U}aaaa bbbb" "4${U}${U}aaa  bbb" \
  "7${U}${U} leading space here" "9${U}> ${U}one two"$'\n\n'"three four five"$'\n' \
  "20${U}--${U}short" "1${U}${U}x y" "10${U}x${U}" "10${U}x${U}"$'\n' \
  "5${U}${x100}${U}aaaa bbbb cccc" "0${U}${U}any text" "-1${U}${U}any text" \
  "3${U}${U}a"$'\t'"b c" "1${U}${U}ab " "2147483647${U}${U}a b" "3${U}xxxx${U}aa bb cc dd" \
  "2${U}xx${U}a b c d" "-2147483648${U}  ${U}a b"; do
  seed word_wrap "$row"
done

# Column wrapping: width, indent, options (separator, hide flag), text.
for row in "80${U}  ${U}:0${U}name: value one"$'\n'"longer name: val" \
  "20${U}  ${U}:0${U}name: value one"$'\n'"longer name: val" \
  "80${U}${U}=1${U}name=value"$'\n'"longername=val"$'\n' \
  "12${U}    ${U}:0${U}key: a b c d e f g h" "10${U}> ${U}:0${U}no separator here" \
  "10${U}>${U}:0${U}averyverylongkey: v" "10${U}x${U}:0${U}" "-1${U}  ${U}:0${U}a:b" \
  "5${U}${U}:0${U}abcd: x y z w" "5${U}${U}:0${U}abcde: x y z"; do
  seed column_wrap "$row"
done

# Space wrapping: width, indent, text.
for row in "80${U}${U}a bb ccc"$'\n'"dddd e f" "80${U}${U}a bb ccc"$'\n'"dddd e f"$'\n' \
  "80${U}${U}x  y"$'\n'"ab c" "80${U}${U} a b"$'\n'"c d" "9${U}  ${U}one two three four"; do
  seed space_wrap "$row"
done

for text in $'a\nb' $'a \n b' $'a\n\n\nb' $'\n' "  x  " $'a\r\nb' $'a\t\nb'; do
  seed clean_formatting "$text"
done

# Versions: a, b.
for row in "2.0${U}1.9" "1.10${U}1.9" "1.9${U}1.10" "1.2${U}1.2" "1.2.1${U}1.2" "1.2${U}1.2.1" \
  "3rc1${U}2" "${U}5" "1..2${U}1.1.2" "1.x${U}1.2" "2.x${U}1.y" "99999999999${U}1" "+4${U}07" \
  " 1. 2${U}1.-2"; do
  seed compare_versions "$row"
done

for path in /usr/lib64/libz.so libcrypto.a libfoo.so.1.2 /opt/x/libbar mylib.so LIBfoo.so lib \
  lib.so /opt/x/ foo.tar.a; do
  seed lib_name "$path"
done

long_path=$(printf 'a/%.0s' {1..2500})
for path in /usr/lib/libx.so /usr/lib/ libx.so / a/b/c a/b/ abc node7:2 a:b:c "" //a//b// \
  "$long_path"; do
  seed path_strings "$path"
done

for text in 1.5xyz "  2" abc 1e999 0x1p-3 inf "nan(123)" -0.0 1e-400 3.4e38 1e-40 " +.5e+1z"; do
  seed selection_helper "$text"
done

# Host-set notation: every rule of the reader, good and bad.
for notation in "node[1-9/2]" "n[009-11]" "cn[09-010]" "n[8-10],n[010-011]" $'node3\nnode1\nnode2' \
  "r[1-2]c[1-2]" "x[1000-1063]c[0-7]s[0-7]b[0-1]n[0-3]" "n[1-2]3" "n0[1-9]" "n[0-1][0-9]" \
  "a1b1 a1b2 a2b1" "node[0-18446744073709551614]" "n[0-18446744073709551615]" "node[3-1]" \
  "node[1-3" "node[]" "node[1,,2]" "node[1-9/0]" "x99999999999999999999999y" "cn8 cn09 cn10" \
  "n[ 1 - 5 / 2 ]" "login, node[01-03,05]"; do
  seed hostset_read "$notation"
done
for row in "n[1-5]${U}n[4-8]${U}0-2" "r[1-4]c[1-4]${U}r[2-3]c[2-3]${U}0-15/3" \
  "cn[8-12] cn[08-12]${U}cn[09-010]${U}1,3" "a b c${U}b${U}" "x[1-2]c[0-1]n[0-3]${U}x1c1n[0-7]${U}5-9"; do
  seed hostset_algebra "$row"
done

# Set expressions: built from operands (a field per operand after the first,
# its first byte picking the operator: 2 ",", 3 "!", 4 "&", 0 "^", 1 blank;
# its second byte, odd, putting blanks around it), and written whole.
for row in "n[1-5]${U}30n3" "n[1-5]${U}20n7${U}31n[2-7]" "node[1-10]${U}41node[5-20]" \
  "n[1-3]${U}00n[2-5]" "n1${U}10n2${U}30n1" "r[1-2]c[1-2]${U}40r1c[1-9]${U}21x[01-10/3]" \
  "n[1-5],n7!n[2-7]" "n1 ! n2" "n1&&n2" "!n1" "n1!" "n1,!n2" "n[1!2]" "a@b,c" "@rack[1-3]!n1" \
  "@src:g^@@src" $'n[1-2]\nn[3-4]!n2'; do
  seed set_expression "$row"
done
# Per-node output: style and cut byte, then "node: text" lines (good and bad).
for text in $'node2: a\nnode1: a\nnode3: b\nnode1: x\nnode2: x' $'n1: a\r\nn2: a\r\n' \
  $' 0: a\n 1: a\n10: b\n' $'x1:   three\nx2:\ttab\nx3:none\nx4:\n' $'n1: \xff\xfe\nn2: \xff\xfe\n' \
  $'n1: a\nbroken\n' $'n1: a\n\nn2: b\n' $' : b\n' $'n1 x: a\n' $'a,b: x\n' $'n[1-2]: x\n' \
  $'n1: a: b\nn01: a: b\nr1c2: z' $'n1: a\r\r\nn2: b\rc\r\n'; do
  seed gather "A${text}"
  seed gather "${U}${text}"
done

# Group files: the atlas fixture's files, and small good and bad ones.
site=../tests/fixtures/groups/site
for file in "$site"/groups.d/*.yaml; do
  seed groups_yaml "$(cat "$file")"
done
for text in $'s:\n  a: n1' $'s:\n  101: n1' $'s:\n  yes: n1' $'s:\n  a: &x n1\n  b: *x' \
  $'s:\n  a: [n1, [n2]]' $'s:\n  a: @b\n  b: @a' $'- n1\n- n2' $'s: n1' $'s:\n  a: {b: c}' \
  $'s:\n  a: n1\ns:\n  a: n2' $'s:\n  a: \'n[1-3]\'\n  b: \'@a!n2\'\nt:\n  c: \'@s:a\'' \
  $'s:\n\ta: n1' $'s:\n  "a b": n1' $'s:\n  a: null' "[[[[[[[[[[" $'s:\n  a: "n[1-9999999999]"'; do
  seed groups_yaml "$text"
done
for file in "$site"/groups.conf "$site"/groups.conf.d/*.conf; do
  seed groups_conf "$(cat "$file")"
done
for text in $'[Main]\ndefault: b\nconfdir: x\n[a,b]\nmap: x\nlist: y\nall: z' \
  $'[s]\nmap: x\n  continued\nlist: y' $'[Main]\nautodir: x\n[Main]\ndefault: none' \
  $'[s]\nmap = x\ncache_time = 0.5\nreverse = r' $'no section\nmap: x' $'[s\nmap: x' \
  $'[a,a]\nmap: x' $'[]\nmap: x' $'[s]\nMAP: x\nList: y' $'[s]\nall: x'; do
  seed groups_conf "$text"
done
seed genders "$(cat "$site"/genders)"
for text in $'n1 a,b=c\nn2 a' $'n[1-4] rack=1\nn[3-6] rack=2' $'n1 a\nn1 a' $'n1 a=b=c' \
  $'n1\tx,y\n# comment\nn2 x' $'n[1-3 a' $'n1 a,,b' $'n1 a b' $'n[1-99999] a' $'n1 =x'; do
  seed genders "$text"
done
for expression in "@compute!@down" "@rack[1-2]^@roles:even" "@site:*" "@*" "@@site" "@@roles" \
  "@loop" "@site:pool,cn01" "@nosuch" "@nosrc:x" "@ml&@site:gpu" "@empty,login1" "@" "@@" \
  "@site:" "@:a" "@rack[1-3" "cn[01-32]!@compute" "@compute&&@gpu" "!@gpu" "@gpu!" \
  "@roles:ml,@site:rack1 @site:rack2" "@rack[1-99999999999]"; do
  seed groups_expr "$expression"
done

for target in "${!counts[@]}"; do echo "$target: ${counts[$target]} seeds"; done | sort
