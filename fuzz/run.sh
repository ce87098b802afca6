#!/usr/bin/env bash
# Builds the fuzz targets with the fuzz preset and runs each one for SECONDS
# seconds, starting from its checked-in seeds (fuzz/corpus/<target>) plus
# what earlier runs found (build/fuzz/corpus/<target>, kept between runs).
# Fails when any target crashes, breaks a property, times out (5 s on one
# input) or runs out of memory; the input is then kept in
# build/fuzz/artifacts/<target>/ and the end of the log is printed. Each
# target runs inside its own scratch folder, build/fuzz/scratch/<target>/,
# so that whatever libFuzzer writes on its own (crash-*, fuzz-*.log under
# -jobs, ...) stays out of the source tree.
#
# Usage: fuzz/run.sh SECONDS [TARGET...]      (default: every target)
# Environment: KREL_FUZZ_JOBS    targets run at once (default 1)
#              KREL_FUZZ_ARGS    extra libFuzzer options (e.g. -use_value_profile=1)
set -euo pipefail
seconds=${1:?usage: fuzz/run.sh SECONDS [TARGET...]}
shift
cd "$(dirname "$0")/.."
root=$PWD
jobs=${KREL_FUZZ_JOBS:-1}
extra=(${KREL_FUZZ_ARGS:-})

# When the compiler changes (an older folder made with another one), CMake
# drops the whole cache and the preset's settings with it: configure once
# more then.
configured=$(cmake --preset fuzz 2>&1) || { echo "$configured"; exit 1; }
if [[ $configured == *"cache to be deleted"* ]]; then
  cmake --preset fuzz >/dev/null
fi
build=$root/build/fuzz
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || mapfile -t targets <"$build/fuzz/targets.txt"
cmake --build --preset fuzz --target "${targets[@]/#/fuzz_}"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

run_target() {
  local target=$1
  local work=$build/corpus/$target artifacts=$build/artifacts/$target log=$build/logs/$target.log
  local scratch=$build/scratch/$target
  mkdir -p "$work" "$artifacts" "$build/logs" "$scratch"
  # Standard input is not a terminal, so that widths of 0 or less always
  # meet an unknown terminal width, as in CI.
  if (cd "$scratch" && exec "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=5 \
    -rss_limit_mb=2048 -max_len=8192 -print_final_stats=1 -artifact_prefix="$artifacts/" \
    "${extra[@]}" "$work" "$root/fuzz/corpus/$target" </dev/null >"$log" 2>&1); then
    local execs cov
    execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    cov=$(grep -E '^#[0-9]+' "$log" | tail -n 1 | grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+/[0-9a-zA-Z]+' || true)
    printf '%-18s ok    %12s execs  %s\n' "$target" "$execs" "$cov"
  else
    printf '%-18s FAILED (log %s)\n' "$target" "$log"
    tail -n 60 "$log"
    return 1
  fi
}

echo "=== fuzzing ${#targets[@]} targets for ${seconds} s each, ${jobs} at a time"
failed=0
running=0
for target in "${targets[@]}"; do
  run_target "$target" &
  running=$((running + 1))
  if ((running >= jobs)); then
    wait -n || failed=1
    running=$((running - 1))
  fi
done
while ((running > 0)); do
  wait -n || failed=1
  running=$((running - 1))
done
if ((failed)); then
  echo "=== fuzzing found a problem"
  exit 1
fi
echo "=== fuzzing passed"
