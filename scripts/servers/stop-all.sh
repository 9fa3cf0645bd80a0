#!/usr/bin/env bash
# Stops every loopback server started under a build folder, each by its own pid file.
set -u
BUILD_DIR="${1:-build}"
for pidfile in "$BUILD_DIR"/servers/*/*.pid; do
  [ -f "$pidfile" ] || continue
  pid=$(cat "$pidfile" 2>/dev/null || true)
  [ -n "$pid" ] && kill "$pid" 2>/dev/null || true
  rm -f "$pidfile"
done
