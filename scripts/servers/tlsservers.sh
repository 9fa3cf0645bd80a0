#!/usr/bin/env bash
# Loopback mail servers that insist on TLS, for the transport security tests, all presenting
# certificates of a private test CA (testcerts.sh):
#
#   tlsservers.sh start|stop|status <statedir> [--pop3-port N] [--smtp-port N] [--find-free]
#
#   <statedir>/certs      the certificates
#   <statedir>/good       Dovecot and the SMTP sink with a valid certificate for 127.0.0.1:
#                         POP3 with STLS required, POP3 over TLS, SMTP with STARTTLS required
#                         and SMTP over TLS; ports in <statedir>/good/env (mailservers.sh)
#   <statedir>/wrongname  an SMTP sink whose certificate names another host
#   <statedir>/expired    an SMTP sink whose certificate expired in 2020
#
# The two bad sinks offer STARTTLS on one port and TLS from the first byte on another. Their
# handshake fails before any protocol is spoken, so a POP3 client over TLS meets the same refusal
# there as it would at a POP3 server. <statedir>/env names it all: KV_TLS_CA, KV_TLS_OTHER_CA,
# KV_TLS_GOOD_CERT, KV_TLS_GOOD_DIR, and KV_TLS_<BAD>_STARTTLS_PORT / KV_TLS_<BAD>_TLS_PORT.
set -euo pipefail

HERE="$(cd "$(dirname "$0")" && pwd)"
PY=/usr/bin/python3
BAD=(wrongname expired)

usage() {
  echo "usage: $0 start|stop|status <statedir> [--pop3-port N] [--smtp-port N] [--find-free]" >&2
  exit 2
}

[ $# -ge 2 ] || usage
ACTION="$1"
STATE="$2"
shift 2
POP3_PORT=11210
SMTP_PORT=12625
FIND_FREE=0
while [ $# -gt 0 ]; do
  case "$1" in
    --pop3-port) POP3_PORT="$2"; shift 2 ;;
    --smtp-port) SMTP_PORT="$2"; shift 2 ;;
    --find-free) FIND_FREE=1; shift ;;
    *) usage ;;
  esac
done
mkdir -p "$STATE"
STATE="$(cd "$STATE" && pwd)"

PORT_OWNER=tlsservers
. "$HERE/ports.sh"

sink_alive() {
  local pidfile="$1" pid
  [ -f "$pidfile" ] || return 1
  pid="$(cat "$pidfile" 2>/dev/null || true)"
  [ -n "$pid" ] && [ -r "/proc/$pid/cmdline" ] && tr '\0' ' ' <"/proc/$pid/cmdline" | grep -qF -- "$pidfile"
}

do_stop() {
  local pid
  for bad in "${BAD[@]}"; do
    if sink_alive "$STATE/$bad/sink.pid"; then
      pid="$(cat "$STATE/$bad/sink.pid")"
      kill -TERM "$pid" 2>/dev/null || true
      for _ in $(seq 1 50); do [ -d "/proc/$pid" ] || break; sleep 0.1; done
      kill -KILL "$pid" 2>/dev/null || true
    fi
    rm -f "$STATE/$bad/sink.pid"
  done
  [ -d "$STATE/good" ] && bash "$HERE/mailservers.sh" stop "$STATE/good" >/dev/null || true
  rm -f "$STATE/env"
}

wait_port() {
  for _ in $(seq 1 150); do
    port_open "$1" && return 0
    sleep 0.1
  done
  return 1
}

do_start() {
  do_stop
  bash "$HERE/testcerts.sh" "$STATE/certs" >/dev/null
  local free=()
  [ "$FIND_FREE" = 1 ] && free=(--find-free)
  bash "$HERE/mailservers.sh" start "$STATE/good" --pop3-port "$POP3_PORT" \
    --smtp-port "$SMTP_PORT" --pop3s-port $((POP3_PORT + 50)) --smtps-port $((SMTP_PORT + 50)) \
    --tls "$STATE/certs/good-chain.pem" "$STATE/certs/good.key" "${free[@]}"
  # The bad sinks look for ports past the good pair's.
  local env_lines=() next=$((SMTP_PORT + 100)) starttls tls
  for bad in "${BAD[@]}"; do
    mkdir -p "$STATE/$bad"
    pick_port "$next" || { do_stop; exit 1; }
    starttls=$PORT
    pick_port $((PORT + 1)) || { do_stop; exit 1; }
    tls=$PORT
    next=$((PORT + 1))
    setsid "$PY" "$HERE/smtp_sink.py" --port "$starttls" --smtps-port "$tls" \
      --users "$STATE/good/users" --maildir-root "$STATE/$bad/maildirs" \
      --pid-file "$STATE/$bad/sink.pid" --tls-cert "$STATE/certs/$bad-chain.pem" \
      --tls-key "$STATE/certs/$bad.key" </dev/null >"$STATE/$bad/sink.log" 2>&1 &
    env_lines+=("KV_TLS_${bad^^}_STARTTLS_PORT=$starttls" "KV_TLS_${bad^^}_TLS_PORT=$tls")
  done
  for bad in "${BAD[@]}"; do
    local p
    for p in $(sed -n 's/^KV_TLS_'"${bad^^}"'_[A-Z]*_PORT=//p' <(printf '%s\n' "${env_lines[@]}")); do
      wait_port "$p" || {
        echo "tlsservers: the $bad sink did not come up" >&2
        cat "$STATE/$bad/sink.log" >&2 || true
        do_stop
        exit 1
      }
    done
  done
  {
    echo "KV_TLS_CA=$STATE/certs/ca.pem"
    echo "KV_TLS_OTHER_CA=$STATE/certs/other-ca.pem"
    echo "KV_TLS_GOOD_CERT=$STATE/certs/good.pem"
    echo "KV_TLS_GOOD_DIR=$STATE/good"
    printf '%s\n' "${env_lines[@]}"
  } >"$STATE/env.tmp"
  mv "$STATE/env.tmp" "$STATE/env"
  echo "tlsservers: ${env_lines[*]}, state in $STATE"
}

case "$ACTION" in
  start) do_start ;;
  stop) do_stop; echo "tlsservers: stopped ($STATE)" ;;
  status)
    rc=0
    bash "$HERE/mailservers.sh" status "$STATE/good" || rc=3
    for bad in "${BAD[@]}"; do
      if sink_alive "$STATE/$bad/sink.pid"; then echo "$bad sink: running"; else echo "$bad sink: stopped"; rc=3; fi
    done
    exit $rc
    ;;
  *) usage ;;
esac
