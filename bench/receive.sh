#!/usr/bin/env bash
# Receive benchmark: 1,000 mails of about 20 KB against a bare poplib loop, then the peak memory
# of one 50 MB mail. Starts its own loopback servers and stops them afterwards.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh >/dev/null
bash scripts/build.sh >/dev/null
BUILD_DIR="${KV_BUILD_DIR:-build}"
STATE="$BUILD_DIR/servers/bench"
bash scripts/servers/mailservers.sh start "$STATE" --pop3-port 11210 --smtp-port 12625 --find-free >/dev/null
trap 'bash scripts/servers/mailservers.sh stop "$STATE" >/dev/null 2>&1 || true' EXIT
export KV_MAILSERVERS_DIR="$STATE"
"$BUILD_DIR/bench/receive/bench_receive" --count "${COUNT:-1000}" --user t39
"$BUILD_DIR/bench/receive/bench_receive" --big-mb "${BIG_MB:-50}" --user t40
