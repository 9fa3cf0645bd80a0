#!/usr/bin/env bash
# A private PostgreSQL server on 127.0.0.1 for tests and the demo.
#   postgres.sh start <statedir> [port]   initialises <statedir>/data on first use, starts the
#                                         server, creates database "kvmail" (user kvmail,
#                                         password kvtest) and writes <statedir>/postgres.pid
#   postgres.sh stop <statedir>           stops the server named by that pid file
# As root the server runs as the postgres user (it refuses to run as root).
set -euo pipefail

ACTION="${1:-}"
STATE="${2:-}"
PORT="${3:-15432}"
if [ -z "$ACTION" ] || [ -z "$STATE" ]; then
  echo "usage: $0 start|stop <statedir> [port]" >&2
  exit 2
fi
mkdir -p "$STATE"
STATE="$(cd "$STATE" && pwd)"
DATA="$STATE/data"
PIDFILE="$STATE/postgres.pid"
LOG="$STATE/postgres.log"

PGBIN="$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -1)"
if [ -z "$PGBIN" ] || [ ! -x "$PGBIN/postgres" ]; then
  echo "postgres.sh: PostgreSQL server binaries not found (install package postgresql)" >&2
  exit 1
fi

as_owner() {
  if [ "$(id -u)" -eq 0 ]; then
    runuser -u postgres -- "$@"
  else
    "$@"
  fi
}

running() {
  [ -f "$PIDFILE" ] && kill -0 "$(cat "$PIDFILE")" 2>/dev/null
}

start() {
  if running; then
    echo "postgres.sh: already running (pid $(cat "$PIDFILE"), port $PORT)"
    return 0
  fi
  [ "$(id -u)" -eq 0 ] && chown postgres: "$STATE"
  if [ ! -f "$DATA/PG_VERSION" ]; then
    rm -rf "$DATA"
    local pwfile="$STATE/pwfile"
    printf 'kvtest\n' >"$pwfile"
    [ "$(id -u)" -eq 0 ] && chown postgres: "$pwfile"
    chmod 600 "$pwfile"
    as_owner "$PGBIN/initdb" -D "$DATA" -U kvmail --pwfile="$pwfile" -E UTF8 --no-locale \
      --auth-local=trust --auth-host=scram-sha-256 >"$STATE/initdb.log" 2>&1
    rm -f "$pwfile"
  fi
  rm -f "$DATA/postmaster.pid"
  as_owner "$PGBIN/pg_ctl" -D "$DATA" -l "$LOG" -w -t 60 \
    -o "-p $PORT -c listen_addresses=127.0.0.1 -c unix_socket_directories=$STATE -c fsync=off" \
    start </dev/null >"$STATE/pg_ctl.log" 2>&1 || {
    echo "postgres.sh: server did not start; see $LOG" >&2
    tail -5 "$LOG" >&2 || true
    exit 1
  }
  head -1 "$DATA/postmaster.pid" >"$PIDFILE"
  if ! as_owner "$PGBIN/psql" -h "$STATE" -p "$PORT" -U kvmail -d postgres -tAc \
      "select 1 from pg_database where datname='kvmail'" | grep -q 1; then
    as_owner "$PGBIN/createdb" -h "$STATE" -p "$PORT" -U kvmail kvmail
  fi
  echo "postgres.sh: running on 127.0.0.1:$PORT (pid $(cat "$PIDFILE"))"
}

stop() {
  if ! [ -f "$PIDFILE" ]; then
    echo "postgres.sh: not running"
    return 0
  fi
  local pid
  pid="$(cat "$PIDFILE")"
  kill -INT "$pid" 2>/dev/null || true
  for _ in $(seq 1 300); do
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
  done
  if kill -0 "$pid" 2>/dev/null; then
    echo "postgres.sh: pid $pid still running after 30 s" >&2
    exit 1
  fi
  rm -f "$PIDFILE"
  echo "postgres.sh: stopped"
}

case "$ACTION" in
  start) start ;;
  stop) stop ;;
  *) echo "usage: $0 start|stop <statedir> [port]" >&2; exit 2 ;;
esac
