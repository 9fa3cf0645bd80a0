#!/usr/bin/env bash
# Loopback mail servers that insist on TLS, for the transport security tests: three pairs of
# Dovecot and the SMTP sink, each pair presenting one certificate of a private test CA.
#
#   tlsservers.sh start|stop|status <statedir> [--pop3-port N] [--smtp-port N] [--find-free]
#
#   <statedir>/certs      the certificates (testcerts.sh)
#   <statedir>/good       valid for 127.0.0.1
#   <statedir>/wrongname  valid, but for another host name
#   <statedir>/expired    for 127.0.0.1, expired in 2020
#
# Each pair has POP3 with STLS required, POP3 over TLS, SMTP with STARTTLS required and SMTP over
# TLS; its ports are in <statedir>/<pair>/env (mailservers.sh). <statedir>/env names the folders
# and certificate files: KV_TLS_CA, KV_TLS_OTHER_CA, KV_TLS_GOOD_CERT and KV_TLS_<PAIR>_DIR.
set -euo pipefail

HERE="$(cd "$(dirname "$0")" && pwd)"
PAIRS=(good wrongname expired)

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
FREE=()
while [ $# -gt 0 ]; do
  case "$1" in
    --pop3-port) POP3_PORT="$2"; shift 2 ;;
    --smtp-port) SMTP_PORT="$2"; shift 2 ;;
    --find-free) FREE=(--find-free); shift ;;
    *) usage ;;
  esac
done
mkdir -p "$STATE"
STATE="$(cd "$STATE" && pwd)"

do_stop() {
  for pair in "${PAIRS[@]}"; do
    [ -d "$STATE/$pair" ] && bash "$HERE/mailservers.sh" stop "$STATE/$pair" >/dev/null || true
  done
  rm -f "$STATE/env"
}

do_start() {
  do_stop
  bash "$HERE/testcerts.sh" "$STATE/certs" >/dev/null
  for pair in "${PAIRS[@]}"; do
    # Every pair starts looking at the same ports; those taken by the pairs before are skipped.
    bash "$HERE/mailservers.sh" start "$STATE/$pair" --pop3-port "$POP3_PORT" \
      --smtp-port "$SMTP_PORT" --pop3s-port $((POP3_PORT + 50)) --smtps-port $((SMTP_PORT + 50)) \
      --tls "$STATE/certs/$pair-chain.pem" "$STATE/certs/$pair.key" "${FREE[@]}" || {
      do_stop
      exit 1
    }
  done
  {
    echo "KV_TLS_CA=$STATE/certs/ca.pem"
    echo "KV_TLS_OTHER_CA=$STATE/certs/other-ca.pem"
    echo "KV_TLS_GOOD_CERT=$STATE/certs/good.pem"
    for pair in "${PAIRS[@]}"; do echo "KV_TLS_${pair^^}_DIR=$STATE/$pair"; done
  } >"$STATE/env.tmp"
  mv "$STATE/env.tmp" "$STATE/env"
}

case "$ACTION" in
  start) do_start ;;
  stop) do_stop; echo "tlsservers: stopped ($STATE)" ;;
  status)
    rc=0
    for pair in "${PAIRS[@]}"; do
      echo "[$pair]"
      bash "$HERE/mailservers.sh" status "$STATE/$pair" || rc=3
    done
    exit $rc
    ;;
  *) usage ;;
esac
