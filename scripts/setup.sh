#!/usr/bin/env bash
# Installs what Kestra needs to build, test and run on Debian 12. Idempotent.
set -euo pipefail
packages=(
  cmake ninja-build g++ pkg-config
  qt6-base-dev qt6-serialport-dev libqt6sql6-sqlite libqt6sql6-psql libqt6sql6-mysql
  libsqlite3-dev sqlite3 libpq-dev postgresql mariadb-server libmariadb-dev
  libgtest-dev googletest libbenchmark-dev
  libavahi-client-dev
  socat xvfb xauth locales
  avahi-daemon dbus-daemon iproute2  # a private mDNS responder for the discovery tests
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""; [ "$(id -u)" = 0 ] || sudo=sudo
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}" </dev/null
fi
