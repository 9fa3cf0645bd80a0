#!/usr/bin/env bash
# Loopback mail servers for tests, benchmarks and the demo: a private Dovecot serving POP3 and an
# SMTP sink that delivers every accepted message into Dovecot's Maildirs.
#
#   mailservers.sh start|stop|status <statedir> [--pop3-port N] [--smtp-port N] [--find-free]
#                  [--tls CERT KEY [--pop3s-port N] [--smtps-port N]]
#
# start writes <statedir>/env (KV_POP3_PORT, KV_SMTP_PORT, KV_MAILDIR_ROOT, KV_MAIL_USERS,
# KV_MAIL_PASSWORD); a user's Maildir is $KV_MAILDIR_ROOT/<user>. --find-free moves on to the next
# free port when the asked one is taken (several build folders may run their fixtures at once).
#
# --tls makes both servers refuse to work in clear: Dovecot gets "ssl = required" (STLS on the POP3
# port) and the sink requires STARTTLS before mail or AUTH, both presenting CERT (the server's
# certificate followed by its chain) with KEY. --pop3s-port and --smtps-port add listeners that
# speak TLS from the first byte; env then also holds KV_POP3S_PORT and KV_SMTPS_PORT.
set -euo pipefail

HERE="$(cd "$(dirname "$0")" && pwd)"
PY=/usr/bin/python3  # Debian's interpreter: the one that sees python3-aiosmtpd
PASSWORD="kvpass"
USERS=()
for i in $(seq -w 1 40); do USERS+=("t$i"); done
USERS+=(demo catchall)

usage() {
  echo "usage: $0 start|stop|status <statedir> [--pop3-port N] [--smtp-port N] [--find-free]" >&2
  exit 2
}

[ $# -ge 2 ] || usage
ACTION="$1"
STATE="$2"
shift 2
POP3_PORT=11110
SMTP_PORT=12525
FIND_FREE=0
TLS_CERT=""
TLS_KEY=""
POP3S_PORT=""
SMTPS_PORT=""
while [ $# -gt 0 ]; do
  case "$1" in
    --pop3-port) POP3_PORT="$2"; shift 2 ;;
    --smtp-port) SMTP_PORT="$2"; shift 2 ;;
    --find-free) FIND_FREE=1; shift ;;
    --tls) TLS_CERT="$(realpath "$2")"; TLS_KEY="$(realpath "$3")"; shift 3 ;;
    --pop3s-port) POP3S_PORT="$2"; shift 2 ;;
    --smtps-port) SMTPS_PORT="$2"; shift 2 ;;
    *) usage ;;
  esac
done
if [ -z "$TLS_CERT" ] && [ -n "$POP3S_PORT$SMTPS_PORT" ]; then
  echo "mailservers: --pop3s-port and --smtps-port need --tls" >&2
  exit 2
fi

mkdir -p "$STATE"
STATE="$(cd "$STATE" && pwd)"
MAILDIRS="$STATE/maildirs"
DOVECOT_PID="$STATE/dovecot.pid"
SINK_PID="$STATE/smtp-sink.pid"

# Unix socket paths are limited to 108 bytes: a deep state folder keeps its sockets under /tmp.
BASE_DIR="$STATE/run"
if [ ${#BASE_DIR} -gt 60 ]; then
  BASE_DIR="/tmp/kvmail-dovecot-$(printf '%s' "$STATE" | md5sum | cut -c1-12)"
fi

PORT_OWNER=mailservers
. "$HERE/ports.sh"

# A pid file counts only while its process is alive and is still the program we started.
alive() {
  local pidfile="$1" expect="$2" pid
  [ -f "$pidfile" ] || return 1
  pid="$(cat "$pidfile" 2>/dev/null || true)"
  [ -n "$pid" ] && [ -r "/proc/$pid/cmdline" ] || return 1
  tr '\0' ' ' <"/proc/$pid/cmdline" | grep -qF -- "$expect"
}

stop_one() {
  local pidfile="$1" expect="$2" pid
  if alive "$pidfile" "$expect"; then
    pid="$(cat "$pidfile")"
    kill -TERM "$pid" 2>/dev/null || true
    for _ in $(seq 1 100); do
      [ -d "/proc/$pid" ] || break
      sleep 0.1
    done
    if [ -d "/proc/$pid" ]; then
      kill -KILL "$pid" 2>/dev/null || true
      sleep 0.2
    fi
  fi
  rm -f "$pidfile"
}

do_stop() {
  stop_one "$SINK_PID" "$SINK_PID"
  stop_one "$DOVECOT_PID" "$STATE/dovecot.conf"
}

do_status() {
  local rc=0
  if alive "$DOVECOT_PID" "$STATE/dovecot.conf"; then echo "dovecot: running (pid $(cat "$DOVECOT_PID"))"
  else echo "dovecot: stopped"; rc=3; fi
  if alive "$SINK_PID" "$SINK_PID"; then echo "smtp sink: running (pid $(cat "$SINK_PID"))"
  else echo "smtp sink: stopped"; rc=3; fi
  [ -f "$STATE/env" ] && cat "$STATE/env"
  return $rc
}

write_config() {
  local uid gid
  if [ "$(id -u)" -eq 0 ]; then
    # Dovecot will not read mail as root.
    MAIL_UID=nobody
    MAIL_GID="$(id -gn nobody)"
  else
    MAIL_UID="$(id -un)"
    MAIL_GID="$(id -gn)"
  fi
  uid="$(id -u "$MAIL_UID")"
  gid="$(getent group "$MAIL_GID" | cut -d: -f3)"

  : >"$STATE/users.tmp"
  for u in "${USERS[@]}"; do echo "$u:{PLAIN}$PASSWORD::::::" >>"$STATE/users.tmp"; done
  mv "$STATE/users.tmp" "$STATE/users"
  chmod 644 "$STATE/users"

  chmod 755 "$STATE"
  mkdir -p "$MAILDIRS" "$STATE/lib"
  chmod 755 "$MAILDIRS"
  for u in "${USERS[@]}"; do
    mkdir -p "$MAILDIRS/$u/new" "$MAILDIRS/$u/cur" "$MAILDIRS/$u/tmp"
    chown -R "$uid:$gid" "$MAILDIRS/$u" 2>/dev/null || true
  done
  chown "$uid:$gid" "$MAILDIRS/catchall" 2>/dev/null || true

  {
    echo "# Private loopback POP3 server; written by mailservers.sh, rewritten on every start."
    echo "instance_name = kvmail-$POP3_PORT"
    echo "base_dir = $BASE_DIR"
    echo "state_dir = $STATE/lib"
    echo "log_path = $STATE/dovecot.log"
    echo "listen = 127.0.0.1"
    echo "protocols = pop3"
    if [ -n "$TLS_CERT" ]; then
      # Nothing but STLS before the connection is encrypted, and no login in clear.
      echo "ssl = required"
      echo "ssl_cert = <$TLS_CERT"
      echo "ssl_key = <$TLS_KEY"
      echo "ssl_dh = </usr/share/dovecot/dh.pem"
      echo "ssl_min_protocol = TLSv1.2"
    else
      echo "ssl = no"
      echo "disable_plaintext_auth = no"
    fi
    echo "auth_mechanisms = plain login"
    echo "first_valid_uid = 1"
    echo "mail_max_userip_connections = 100"
    echo "mail_location = maildir:$MAILDIRS/%u"
    echo "pop3_uidl_format = %08Xu%08Xv"
    echo "passdb {"
    echo "  driver = passwd-file"
    echo "  args = scheme=PLAIN username_format=%u $STATE/users"
    echo "}"
    echo "userdb {"
    echo "  driver = static"
    echo "  args = uid=$uid gid=$gid home=$MAILDIRS/%u"
    echo "}"
    if [ "$(id -u)" -ne 0 ]; then
      # Without root the login and internal processes run as the caller, without chroot.
      echo "default_login_user = $(id -un)"
      echo "default_internal_user = $(id -un)"
      echo "default_internal_group = $(id -gn)"
      echo "service pop3-login {"
      echo "  chroot ="
      echo "}"
      echo "service anvil {"
      echo "  chroot ="
      echo "}"
    fi
    echo "service pop3-login {"
    echo "  inet_listener pop3 {"
    echo "    address = 127.0.0.1"
    echo "    port = $POP3_PORT"
    echo "  }"
    if [ -n "$POP3S_PORT" ]; then
      echo "  inet_listener pop3s {"
      echo "    address = 127.0.0.1"
      echo "    port = $POP3S_PORT"
      echo "    ssl = yes"
      echo "  }"
    fi
    echo "}"
  } >"$STATE/dovecot.conf"
  MAIL_OWNER="$uid:$gid"
}

wait_for() {
  local port="$1" pidfile="$2" expect="$3"
  for _ in $(seq 1 150); do
    if alive "$pidfile" "$expect" && port_open "$port"; then return 0; fi
    sleep 0.1
  done
  return 1
}

do_start() {
  do_stop
  rm -f "$STATE/env"
  pick_port "$POP3_PORT"
  POP3_PORT=$PORT
  pick_port "$SMTP_PORT"
  SMTP_PORT=$PORT
  [ "$POP3_PORT" != "$SMTP_PORT" ] || { echo "mailservers: POP3 and SMTP ports are equal" >&2; exit 1; }
  local sink_tls=()
  if [ -n "$POP3S_PORT" ]; then pick_port "$POP3S_PORT"; POP3S_PORT=$PORT; fi
  if [ -n "$SMTPS_PORT" ]; then pick_port "$SMTPS_PORT"; SMTPS_PORT=$PORT; fi
  if [ -n "$TLS_CERT" ]; then
    sink_tls=(--tls-cert "$TLS_CERT" --tls-key "$TLS_KEY")
    [ -z "$SMTPS_PORT" ] || sink_tls+=(--smtps-port "$SMTPS_PORT")
  fi
  write_config

  # Dovecot keeps the caller's stdio open after it detaches: hand it files, never our pipes.
  rm -f "$BASE_DIR/master.pid"
  /usr/sbin/dovecot -c "$STATE/dovecot.conf" </dev/null >"$STATE/dovecot.out" 2>&1 || {
    echo "mailservers: dovecot did not start:" >&2
    cat "$STATE/dovecot.out" >&2
    exit 1
  }
  for _ in $(seq 1 50); do
    [ -s "$BASE_DIR/master.pid" ] && break
    sleep 0.1
  done
  cp "$BASE_DIR/master.pid" "$DOVECOT_PID" 2>/dev/null || true

  setsid "$PY" "$HERE/smtp_sink.py" --port "$SMTP_PORT" --users "$STATE/users" \
    --maildir-root "$MAILDIRS" --owner "$MAIL_OWNER" --pid-file "$SINK_PID" "${sink_tls[@]}" \
    </dev/null >"$STATE/smtp-sink.log" 2>&1 &

  if ! wait_for "$POP3_PORT" "$DOVECOT_PID" "$STATE/dovecot.conf" ||
    ! wait_for "$SMTP_PORT" "$SINK_PID" "$SINK_PID" ||
    { [ -n "$POP3S_PORT" ] && ! wait_for "$POP3S_PORT" "$DOVECOT_PID" "$STATE/dovecot.conf"; } ||
    { [ -n "$SMTPS_PORT" ] && ! wait_for "$SMTPS_PORT" "$SINK_PID" "$SINK_PID"; }; then
    echo "mailservers: servers did not come up" >&2
    tail -n 20 "$STATE/dovecot.log" "$STATE/dovecot.out" "$STATE/smtp-sink.log" >&2 2>/dev/null || true
    do_stop
    exit 1
  fi

  {
    echo "KV_POP3_PORT=$POP3_PORT"
    echo "KV_SMTP_PORT=$SMTP_PORT"
    echo "KV_MAILDIR_ROOT=$MAILDIRS"
    echo "KV_MAIL_USERS=$(IFS=,; echo "${USERS[*]}")"
    echo "KV_MAIL_PASSWORD=$PASSWORD"
    [ -z "$POP3S_PORT" ] || echo "KV_POP3S_PORT=$POP3S_PORT"
    [ -z "$SMTPS_PORT" ] || echo "KV_SMTPS_PORT=$SMTPS_PORT"
  } >"$STATE/env.tmp"
  mv "$STATE/env.tmp" "$STATE/env"
  echo "mailservers: POP3 on 127.0.0.1:$POP3_PORT, SMTP on 127.0.0.1:$SMTP_PORT${TLS_CERT:+ (TLS required)}${POP3S_PORT:+, POP3S on $POP3S_PORT}${SMTPS_PORT:+, SMTPS on $SMTPS_PORT}, state in $STATE"
}

case "$ACTION" in
  start) do_start ;;
  stop) do_stop; rm -f "$STATE/env"; echo "mailservers: stopped ($STATE)" ;;
  status) do_status ;;
  *) usage ;;
esac
