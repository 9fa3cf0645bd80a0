#!/usr/bin/env bash
# Builds kvMail with AddressSanitizer and UndefinedBehaviorSanitizer into build-asan/ and runs
# its tests. scripts/sanitize.sh            the whole suite
#         scripts/sanitize.sh --quick    only the model, MIME, POP3 and fuzz-replay tests (CI)
# Further arguments go to ctest. Any sanitizer report fails the test that produced it.
set -euo pipefail
cd "$(dirname "$0")/.."
ASAN_DIR="${KV_ASAN_DIR:-build-asan}"
QUICK_TESTS=(test_model test_mime test_pop3)
QUICK_TESTS+=(replay_mime_whole replay_mime_structure replay_received_fields replay_address
              replay_pop3_reply replay_sql_dialect)

quick=0
if [ "${1:-}" = "--quick" ]; then
  quick=1
  shift
fi

cmake -S . -B "$ASAN_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_SANITIZE=ON \
  -DKVMAIL_BUILD_BENCH=OFF >/dev/null
if [ "$quick" = 1 ]; then
  cmake --build "$ASAN_DIR" -j "$(nproc)" --target "${QUICK_TESTS[@]}"
else
  cmake --build "$ASAN_DIR" -j "$(nproc)"
fi

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0:strict_string_checks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
export LSAN_OPTIONS="${LSAN_OPTIONS:-suppressions=$PWD/scripts/lsan.supp:print_suppressions=0}"
trap 'bash scripts/servers/stop-all.sh "$ASAN_DIR" >/dev/null 2>&1 || true' EXIT
if [ "$quick" = 1 ]; then
  ctest --test-dir "$ASAN_DIR" --output-on-failure -j "$(nproc)" \
    -R "^(test_model|test_mime|test_pop3|fuzz_replay_.*)$" "$@"
else
  ctest --test-dir "$ASAN_DIR" --output-on-failure -j "$(nproc)" "$@"
fi
