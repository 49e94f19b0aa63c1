#!/usr/bin/env bash
# Builds the fuzz targets (gas tables, isotherm, measurement and DFT model files, kernel CSV,
# kernel recipes, temperature-programmed runs, the batch analyses of an isotherm file) with
# clang++ and runs each on a copy of its
# seed corpus (the checked-in corpus is never modified). Exits non-zero when any target crashes.
#
#   fuzz/run.sh [build-dir]                   short, deterministic smoke run (about a minute in all)
#   FUZZ_SECONDS=600 fuzz/run.sh [build-dir]  each target for that many seconds
#   FUZZ_CORPUS=DIR fuzz/run.sh [build-dir]   keep each target's grown corpus in DIR/<name>
#                                             between runs (seeded from fuzz/corpus once)
#
# Inputs go up to 64 kB (FUZZ_MAX_LEN), past the readers' first buffers and size checks.
# Crash reproducers are kept as <build-dir>/artifacts/<target>-crash-*; replay one with
# <build-dir>/<target> <file>.
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
build="${1:-$(cd "$here/.." && pwd)/build-fuzz}"
seconds="${FUZZ_SECONDS:-0}"
cxx="${FUZZ_CXX:-clang++}"
targets=(gas_stream_fuzz gas_json_fuzz isotherm_fuzz measurement_fuzz dft_model_fuzz kernel_csv_fuzz
  kernel_recipe_fuzz ramp_runs_fuzz batch_fuzz)

cmake -S "$here" -B "$build" -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$build" -j"${FUZZ_JOBS:-2}"
mkdir -p "$build/artifacts"

if [[ -n "${FUZZ_CORPUS:-}" ]]; then
  work="$FUZZ_CORPUS"
  mkdir -p "$work"
else
  work="$(mktemp -d)"
  trap 'rm -rf "$work"' EXIT
fi

common=(-max_len="${FUZZ_MAX_LEN:-65536}" -rss_limit_mb=2048 -timeout=20 -print_final_stats=1)
if [[ "$seconds" -gt 0 ]]; then
  limits=(-max_total_time="$seconds")
else
  # Fixed seed and run count keep the smoke run reproducible; the time cap bounds it on
  # slow machines.
  limits=(-seed=1 -runs=20000 -max_total_time=12)
fi

status=0
for target in "${targets[@]}"; do
  corpus="$work/${target%_fuzz}"
  mkdir -p "$corpus"
  # A kept corpus is seeded once; a fresh one gets the seeds every run.
  if [[ -z "$(ls -A "$corpus")" ]]; then cp "$here/corpus/${target%_fuzz}/"* "$corpus/"; fi
  log="$build/$target.log"
  echo "== $target (${limits[*]})"
  if "$build/$target" "$corpus" "${common[@]}" "${limits[@]}" \
      -artifact_prefix="$build/artifacts/$target-" >"$log" 2>&1; then
    result=ok
  else
    result="FAILED (exit $?), log in $log"
    status=1
    grep -A40 -m1 -E "ERROR: |runtime error|deadly signal" "$log" || tail -n 40 "$log"
  fi
  executed="$(grep -m1 'stat::number_of_executed_units' "$log" | awk '{print $2}' || true)"
  echo "$target: ${executed:-?} executions, $result"
done
exit "$status"
