#!/usr/bin/env bash
# PNG screenshots of every window of the demo host into docs/ (main window, account dialog,
# transfer window after a send-receive, the compose and viewer windows). Runs its own loopback
# servers on free high ports and a scratch store, and renders under Xvfb when it is installed,
# else on Qt's offscreen platform. Chinese needs fonts-wqy-zenhei (scripts/deps.sh installs it).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR="${KV_BUILD_DIR:-build}"
OUT="${1:-docs}"
STATE="$BUILD_DIR/servers/screenshots"
SERVERS="scripts/servers/mailservers.sh"

bash scripts/deps.sh
if [ -f "$BUILD_DIR/build.ninja" ]; then
  cmake --build "$BUILD_DIR" --target kvhost_app kvhost_screenshots
else
  bash scripts/build.sh
fi

SCRATCH="$(mktemp -d)"
cleanup() {
  bash "$SERVERS" stop "$STATE" >/dev/null 2>&1 || true
  rm -rf "$SCRATCH"
}
trap cleanup EXIT

bash "$SERVERS" stop "$STATE" >/dev/null 2>&1 || true
rm -rf "$STATE"  # a fresh mailbox every time, so the pictures show the same mails
bash "$SERVERS" start "$STATE" --pop3-port 11210 --smtp-port 2525 --find-free
# shellcheck disable=SC1091
. "$STATE/env"
/usr/bin/python3 scripts/servers/seed.py "$KV_MAILDIR_ROOT/demo" 3 --size 6000 --gb2312
/usr/bin/python3 scripts/servers/seed.py "$KV_MAILDIR_ROOT/demo" 1 --size 40000
# The viewer's picture: a Chinese HTML mail with an inline picture and two attachments.
VIEWED="$KV_MAILDIR_ROOT/demo/new/$(date +%s).kvviewer.eml"
cp tests/data/viewer/gb2312_html.eml "$VIEWED"
chown --reference="$KV_MAILDIR_ROOT/demo/new" "$VIEWED"
chmod 644 "$VIEWED"

DB="$SCRATCH/kvhost.db"
export TMPDIR="$SCRATCH"
QT_QPA_PLATFORM=offscreen "$BUILD_DIR/host/demo/kvhost" --db "$DB" queue --smtp-port "$KV_SMTP_PORT" \
  --pop3-port "$KV_POP3_PORT"

mkdir -p "$OUT"
SHOTS="$BUILD_DIR/host/demo/kvhost_screenshots"
if command -v xvfb-run >/dev/null 2>&1; then
  env -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1280x1024x24" \
    "$SHOTS" "$DB" "$OUT"
else
  QT_QPA_PLATFORM=offscreen "$SHOTS" "$DB" "$OUT"
fi
ls -l "$OUT"/*.png
