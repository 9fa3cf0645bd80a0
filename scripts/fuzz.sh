#!/usr/bin/env bash
# Builds the libFuzzer targets with clang into build-fuzz/ and runs each for a fixed time, one
# after the other: scripts/fuzz.sh [seconds-per-target] [target...]
# Prints each target's executions and findings; exits 1 when any target found something.
# New corpus entries stay in build-fuzz/corpus/, findings in build-fuzz/findings/<target>/.
set -euo pipefail
cd "$(dirname "$0")/.."
SECONDS_PER_TARGET="${1:-60}"
shift || true
FUZZ_DIR="${KV_FUZZ_DIR:-build-fuzz}"

CC=clang CXX=clang++ cmake -S . -B "$FUZZ_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DKV_FUZZ=ON >/dev/null
if ! cmake --build "$FUZZ_DIR" -j "$(nproc)" >"$FUZZ_DIR/build.log" 2>&1; then
  tail -40 "$FUZZ_DIR/build.log"
  echo "fuzz targets did not build" >&2
  exit 1
fi

if [ $# -gt 0 ]; then
  TARGETS=("$@")
else
  TARGETS=(mime_whole mime_structure received_fields address pop3_reply sql_dialect)
fi
MAIL_SEEDS=(tests/data/mime tests/data/viewer)
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1}"
export QT_QPA_PLATFORM=offscreen

found=0
printf '%-18s %12s %10s %8s  %s\n' target execs exec/s corpus findings
for t in "${TARGETS[@]}"; do
  corpus="$FUZZ_DIR/corpus/$t"
  findings="$FUZZ_DIR/findings/$t"
  mkdir -p "$corpus" "$findings"
  seeds=(fuzz/seeds/"$t")
  [ -d fuzz/regressions/"$t" ] && seeds+=(fuzz/regressions/"$t")
  case "$t" in mime_* | received_fields) seeds+=("${MAIL_SEEDS[@]}") ;; esac
  log="$FUZZ_DIR/findings/$t.log"
  # A finding stops the target early; the run goes on with the next target.
  "$FUZZ_DIR/fuzz/fuzz_$t" -max_total_time="$SECONDS_PER_TARGET" -timeout=10 -rss_limit_mb=2048 \
    -malloc_limit_mb=512 -max_len=65536 -print_final_stats=1 -artifact_prefix="$findings/" \
    "$corpus" "${seeds[@]}" >"$log" 2>&1 || true
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  size=$(find "$corpus" -type f | wc -l)
  n=$(find "$findings" -type f | wc -l)
  [ "$n" -gt 0 ] && found=1
  printf '%-18s %12s %10s %8s  %s\n' "$t" "${execs:-?}" "${rate:-?}" "$size" "$n"
  if [ "$n" -gt 0 ]; then
    find "$findings" -type f | sed 's/^/    /'
    grep -m3 -E 'ERROR|SUMMARY|runtime error|ASSERT' "$log" | sed 's/^/    /' || true
  fi
done
exit "$found"
