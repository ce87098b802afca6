#!/usr/bin/env bash
# Installs the project into a scratch prefix and checks what a user gets
# there besides the program: that "man krel" renders the manual page without
# a warning, that the page and the bash completion name every subcommand and
# every option the program's help lists, and that bash-completion loads the
# completion by itself and completes subcommands and options.
#
#   krel_docs.sh BUILD_DIR
set -uo pipefail
build=$1
source "$(dirname "${BASH_SOURCE[0]}")/check_support.sh"

prefix="$work/prefix"
if ! cmake --install "$build" --prefix "$prefix" >"$work/install.log" 2>&1; then
  cat "$work/install.log" >&2
  echo "cannot install into $prefix" >&2
  exit 1
fi
krel="$prefix/bin/krel"
page="$prefix/share/man/man1/krel.1"
completion="$prefix/share/bash-completion/completions/krel"

# The page renders, through "man krel" on the prefix's manual path, without
# a warning from the formatter.
checks=$((checks + 1))
if MANPATH="$prefix/share/man" MANWIDTH=100 man --warnings krel >"$work/man.txt" 2>"$work/man.err"; then
  [[ ! -s $work/man.err ]] || fail "man krel warns: $(cat "$work/man.err")"
  for heading in NAME SYNOPSIS DESCRIPTION SUBCOMMANDS "EXIT STATUS" EXAMPLES; do
    grep -q "^$heading" "$work/man.txt" || fail "the manual page has no $heading section"
  done
else
  fail "man krel failed: $(cat "$work/man.err")"
fi
checks=$((checks + 1))
man -l "$page" >"$work/man-l.txt" 2>&1 || fail "man -l $page failed"
cmp -s "$work/man-l.txt" <(MANPATH="$prefix/share/man" man krel 2>&1) ||
  fail "man -l and man krel render differently"

# The options of each subcommand, as its help lists them in its first column.
help_options() {
  # shellcheck disable=SC2086
  "$krel" $1 --help | sed -n '/^Options:/,/^[A-Z]/p' | grep -E '^  -' | awk '{ print $1 }' |
    tr ',' '\n' | sort -u
}

for command in "" fold expand count ranges wrap version "version newer" libname gather groups; do
  checks=$((checks + 1))
  options=$(help_options "$command")
  [[ -n $options ]] || fail "no options found in krel $command --help"
  for option in $options; do
    # The page writes a hyphen as \-.
    grep -qF -- "${option//-/\\-}" "$page" || fail "the manual page lacks $option of krel $command"
    grep -qE -- "(^|[ \"])$option( |\"|$)" "$completion" || fail "the completion lacks $option of krel $command"
  done
  [[ -z $command ]] && continue
  grep -qE "^\\.B(I|R)? \"?(krel )?$command( |\"|$)|^\\.BI? \"$command " "$page" ||
    grep -qE "^\\.B krel $command$" "$page" || fail "the manual page does not name krel $command"
done

# bash-completion finds the script in the prefix's data directory (for
# /usr/local and /usr it looks there by default; another prefix is named in
# XDG_DATA_DIRS) and completes with it. complete_words WORD... prints the completions of the
# last word.
complete_words() {
  PATH="$prefix/bin:$PATH" HOME="$work" XDG_DATA_DIRS="$prefix/share:/usr/share" bash --norc --noprofile -c '
    source /usr/share/bash-completion/bash_completion || exit 3
    __load_completion krel || exit 4
    COMP_WORDS=("$@")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMP_LINE="${COMP_WORDS[*]}"
    COMP_POINT=${#COMP_LINE}
    COMPREPLY=()
    "$(complete -p krel | sed -n "s/.*-F \([^ ]*\) krel$/\1/p")" krel "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf "%s\n" "${COMPREPLY[@]}" | sort | tr "\n" " "
  ' complete "$@"
}

# expect_completion NAME EXPECTED WORD...
expect_completion() {
  local name=$1 expected=$2
  shift 2
  checks=$((checks + 1))
  local got
  got=$(complete_words "$@")
  local status=$?
  [[ $status == 0 ]] || fail "$name: bash-completion did not load the completion (status $status)"
  got=${got% }
  [[ $got == "$expected" ]] || fail "$name: completions '$got', expected '$expected'"
}

expect_completion "subcommands" "count expand fold gather groups libname ranges version wrap" krel ""
expect_completion "subcommand prefix" "fold" krel fo
expect_completion "top-level options" "--help --version" krel --
expect_completion "fold options" "--seed --separator --slice --split" krel fold --s
expect_completion "fold autostep values" "auto" krel fold --autostep a
expect_completion "expand --sort" "--sort" krel expand --so
expect_completion "count options" "--exclude" krel count --ex
expect_completion "set options after names" "--xor" krel fold 'node[1-4]' --xo
expect_completion "no completion of a host list" "" krel fold --exclude ""
expect_completion "version newer" "newer" krel version ""
expect_completion "gather styles" "clubak dshbak" krel gather --style ""
expect_completion "gather options" "--per-node" krel gather --pe
expect_completion "wrap options" "--table" krel wrap --ta
printf 'site:\n  compute: n1\n  gpu: n2\nracks:\n  rack1: n3\n' >"$work/site.yaml"
expect_completion "group names after @" "@compute @gpu @racks:rack1" krel fold --groups "$work/site.yaml" @
expect_completion "group sources" "racks" krel groups --groups "$work/site.yaml" --group-source r
touch "$work/libdemo.so"
expect_completion "libname completes paths" "$work/libdemo.so" krel libname "$work/libd"

finish_checks
