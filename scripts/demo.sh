#!/usr/bin/env bash
# The demo: installs what is missing, builds, starts the loopback mail servers (POP3 on 110, the
# port kvMail uses; SMTP on 2525), drops a few mails into the demo mailbox, queues one outgoing
# mail and opens the demo host kvhost on its SQLite store. Without a display it runs send-receive
# instead and prints the result. The servers are stopped when the demo ends, whichever way.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT="$(pwd)"
BUILD_DIR="${KV_BUILD_DIR:-build}"
STATE="$BUILD_DIR/servers/demo"
DB="$BUILD_DIR/demo/kvhost.db"
SERVERS="$ROOT/scripts/servers/mailservers.sh"
PY=/usr/bin/python3  # Debian's interpreter, as the servers use

bash scripts/deps.sh
bash scripts/build.sh
KVHOST="$BUILD_DIR/host/demo/kvhost"
[ -x "$KVHOST" ] || { echo "demo: $KVHOST was not built" >&2; exit 1; }

port_open() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

stop_servers() { bash "$SERVERS" stop "$STATE" >/dev/null 2>&1 || true; }
trap stop_servers EXIT
trap 'exit 130' INT TERM

# Servers of an earlier demo that did not end cleanly would hold the ports.
stop_servers

POP3_PORT=110
if [ "$(id -u)" -ne 0 ]; then
  echo "demo: POP3 port 110 needs root; the demo server listens on a high port instead" >&2
  POP3_PORT=11110
elif port_open 110; then
  echo "demo: port 110 (POP3, the port kvMail uses) is taken by another program:" >&2
  (command -v ss >/dev/null && ss -ltnp 'sport = :110' | tail -n +2) >&2 || true
  echo "demo: the demo server listens on a high port instead; kvhost is told with --pop3-port" >&2
  POP3_PORT=11110
fi
bash "$SERVERS" start "$STATE" --pop3-port "$POP3_PORT" --smtp-port 2525 --find-free
# shellcheck disable=SC1091
. "$STATE/env"

# A few mails for the demo mailbox, Chinese ones in gb2312 among them; only into an empty box.
MAILBOX="$KV_MAILDIR_ROOT/demo"
if [ -z "$(find "$MAILBOX/new" "$MAILBOX/cur" -type f 2>/dev/null | head -n 1)" ]; then
  "$PY" scripts/servers/seed.py "$MAILBOX" 3 --size 6000 --gb2312
  "$PY" scripts/servers/seed.py "$MAILBOX" 2 --size 30000
fi

PORTS=(--smtp-port "$KV_SMTP_PORT")
[ "$KV_POP3_PORT" = 110 ] || PORTS+=(--pop3-port "$KV_POP3_PORT")
mkdir -p "$(dirname "$DB")"
"$KVHOST" --db "$DB" queue "${PORTS[@]}"

if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
  echo "demo: opening kvhost on $DB; the servers stop when its window closes"
  "$KVHOST" --db "$DB" "${PORTS[@]}"
  exit 0
fi

echo "demo: no display; running send-receive on $DB"
status=0
"$KVHOST" --db "$DB" send-receive "${PORTS[@]}" || status=$?
echo
"$KVHOST" --db "$DB" list
echo
echo "demo: open the window later on a desktop with: $KVHOST --db $DB"
exit "$status"
