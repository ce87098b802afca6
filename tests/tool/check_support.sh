# Sourced by the tool's check scripts: a scratch folder removed on exit, the
# count of checks and failures, and the closing summary.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
checks=0

fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

# Prints the counts; the status is that of the whole script.
finish_checks() {
  echo "$checks checks, $failures failures"
  ((failures == 0))
}
