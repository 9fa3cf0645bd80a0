#!/usr/bin/env bash
# The whole test suite: install what is missing, build, run every test with CTest.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
bash scripts/build.sh
BUILD_DIR="${KV_BUILD_DIR:-build}"
# Servers started by fixtures are stopped by fixtures; the trap catches an interrupted run.
trap 'bash scripts/servers/stop-all.sh "$BUILD_DIR" >/dev/null 2>&1 || true' EXIT
ctest --test-dir "$BUILD_DIR" --output-on-failure -j "$(nproc)" "$@"
# Hostile input: each fuzz target briefly (about a minute in all), then the model, MIME and POP3
# tests under AddressSanitizer and UndefinedBehaviorSanitizer. KV_QUICK=1 skips both.
if [ "${KV_QUICK:-0}" != 1 ]; then
  bash scripts/fuzz.sh 10
  bash scripts/sanitize.sh --quick
fi
