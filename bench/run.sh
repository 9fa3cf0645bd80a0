#!/usr/bin/env bash
# The benchmarks, each against its reference, on loopback servers of their own:
#   bash bench/run.sh [host|receive|send|createnew|addressbook|viewer|mainlist|all] (default: all)
# host: the user's path, `kvhost receive` (1,000 and 10,000 mails of 20 KB) and `kvhost send`
# (500, 1,000 and 10,000 queued mails of 17 KB) as whole processes against a Python bare loop and
# a Python host peer each, best of three; writes the table to build/bench/host-path.md.
# receive: 1,000 mails of about 20 KB against a bare poplib loop, then one 50 MB mail's memory;
# send: 500 queued mails against smtplib over one session; createnew: a 1,000-record batch;
# addressbook: the address book and the recipient history on 100,000 distinct addresses;
# viewer: showing a 20 KB and a 10 MB mail, and next over 1,000 stored mails.
# mainlist: the demo's main window opening a store of 100,000 mails and scrolling 10,000 rows.
set -euo pipefail
cd "$(dirname "$0")/.."
WHAT="${1:-all}"
bash scripts/deps.sh >/dev/null
bash scripts/build.sh >/dev/null
BUILD_DIR="${KV_BUILD_DIR:-build}"
STATE="$BUILD_DIR/servers/bench"
bash scripts/servers/mailservers.sh start "$STATE" --pop3-port 11210 --smtp-port 12625 --find-free >/dev/null
trap 'bash scripts/servers/mailservers.sh stop "$STATE" >/dev/null 2>&1 || true' EXIT
export KV_MAILSERVERS_DIR="$STATE"

if [ "$WHAT" = host ] || [ "$WHAT" = all ]; then
  mkdir -p "$BUILD_DIR/bench"
  /usr/bin/python3 bench/host_path.py --kvhost "$BUILD_DIR/host/demo/kvhost" --servers "$STATE" \
    --receive "${HOST_RECEIVE:-1000,10000}" --send "${HOST_SEND:-500,1000,10000}" \
    --rounds "${ROUNDS:-3}" --out "$BUILD_DIR/bench/host-path.md"
fi
if [ "$WHAT" = receive ] || [ "$WHAT" = all ]; then
  "$BUILD_DIR/bench/receive/bench_receive" --count "${COUNT:-1000}" --user t39
  "$BUILD_DIR/bench/receive/bench_receive" --big-mb "${BIG_MB:-50}" --user t40
fi
if [ "$WHAT" = send ] || [ "$WHAT" = all ]; then
  "$BUILD_DIR/bench/send/bench_send" --count "${SEND_COUNT:-500}" --user t38
fi
if [ "$WHAT" = createnew ] || [ "$WHAT" = all ]; then
  "$BUILD_DIR/bench/createnew/bench_createnew" 1000
fi
if [ "$WHAT" = addressbook ] || [ "$WHAT" = all ]; then
  "$BUILD_DIR/bench/addressbook/bench_addressbook" --addresses "${ADDRESSES:-100000}"
fi
if [ "$WHAT" = viewer ] || [ "$WHAT" = all ]; then
  "$BUILD_DIR/bench/viewer/bench_viewer" --mails "${VIEW_COUNT:-1000}"
fi
if [ "$WHAT" = mainlist ] || [ "$WHAT" = all ]; then
  "$BUILD_DIR/bench/mainlist/bench_mainlist" --mails "${LIST_MAILS:-100000}"
fi
