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
