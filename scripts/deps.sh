#!/usr/bin/env bash
# Installs the Debian packages kvMail needs to build, test and run its demo. Only what is missing.
set -euo pipefail

PACKAGES=(
  g++ cmake ninja-build pkg-config ccache
  qt6-base-dev libqt6sql6-sqlite libqt6sql6-psql libgl-dev libsqlite3-dev
  libgmime-3.0-dev libcurl4-openssl-dev
  libgtest-dev libbenchmark-dev
  dovecot-core dovecot-pop3d python3 python3-aiosmtpd openssl ca-certificates
  postgresql
  fonts-wqy-zenhei xvfb xauth
  clang libclang-rt-dev llvm
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "deps: all packages present"
  exit 0
fi

echo "deps: installing ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  SUDO=""
  command -v sudo >/dev/null 2>&1 && SUDO="sudo"
  if [ -z "$SUDO" ]; then
    echo "deps: not root and no sudo; run as root:" >&2
    echo "  apt-get update && apt-get install -y --no-install-recommends ${missing[*]}" >&2
    exit 1
  fi
else
  SUDO=""
fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
