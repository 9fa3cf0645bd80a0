#!/usr/bin/env bash
# Send benchmark: 500 queued mails of about 20 KB through the transfer window against smtplib
# over one session. Starts its own loopback servers and stops them afterwards.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh >/dev/null
bash scripts/build.sh >/dev/null
BUILD_DIR="${KV_BUILD_DIR:-build}"
STATE="$BUILD_DIR/servers/bench"
bash scripts/servers/mailservers.sh start "$STATE" --pop3-port 11210 --smtp-port 12625 --find-free >/dev/null
trap 'bash scripts/servers/mailservers.sh stop "$STATE" >/dev/null 2>&1 || true' EXIT
export KV_MAILSERVERS_DIR="$STATE"
"$BUILD_DIR/bench/send/bench_send" --count "${COUNT:-500}" --user t38
