#!/usr/bin/env bash
# Configures and builds kvMail into build/ (or $KV_BUILD_DIR) with both cores.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR="${KV_BUILD_DIR:-build}"
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$BUILD_DIR" -j "$(nproc)"
