#!/usr/bin/env bash
# Stops every loopback server started under a build folder, each by its own pid file.
set -u
BUILD_DIR="${1:-build}"
HERE="$(cd "$(dirname "$0")" && pwd)"
for conf in "$BUILD_DIR"/servers/*/dovecot.conf; do
  [ -f "$conf" ] || continue
  bash "$HERE/mailservers.sh" stop "$(dirname "$conf")" >/dev/null 2>&1 || true
done
# Whatever else left a pid file behind.
for pidfile in "$BUILD_DIR"/servers/*/*.pid; do
  [ -f "$pidfile" ] || continue
  pid=$(cat "$pidfile" 2>/dev/null || true)
  [ -n "$pid" ] && kill "$pid" 2>/dev/null || true
  rm -f "$pidfile"
done
