#!/usr/bin/env bash
# A private mDNS responder for discovery tests: a D-Bus system bus of its own
# and avahi-daemon in a network namespace with loopback alone, so the
# announcements never leave this machine and parallel runs do not meet.
#   mdns.sh start DIR [NAME=HOST=ADDRESS=PORT ...]
#                       announces a _postgresql._tcp service NAME on HOST
#                       (with an address record for it) at PORT for each
#                       argument; prints the bus address for
#                       DBUS_SYSTEM_BUS_ADDRESS
#   mdns.sh stop DIR    stops both
# Exit 77 (with the reason on stderr) when this machine cannot run it.
set -euo pipefail
cmd=${1:?start|stop}
dir=$(cd "${2:?folder}" && pwd)

cannot() { echo "$*" >&2; exit 77; }

start() {
  command -v avahi-daemon >/dev/null || cannot "avahi-daemon is not installed"
  command -v dbus-daemon >/dev/null || cannot "dbus-daemon is not installed"
  unshare --net --mount true 2>/dev/null || cannot "no private network namespace (unshare needs root)"
  mkdir -p "$dir/services"; : >"$dir/hosts"
  local n=0 name host address port
  for service in "$@"; do
    IFS== read -r name host address port <<<"$service"
    n=$((n + 1))
    echo "$address $host" >>"$dir/hosts"
    cat >"$dir/services/$n.service" <<XML
<?xml version="1.0" standalone='no'?>
<!DOCTYPE service-group SYSTEM "avahi-service.dtd">
<service-group>
  <name>$name</name>
  <service><type>_postgresql._tcp</type><host-name>$host</host-name><port>$port</port></service>
</service-group>
XML
  done
  cat >"$dir/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=$dir/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/> <allow own="*"/> <allow send_destination="*"/> <allow receive_sender="*"/>
  </policy>
</busconfig>
CONF
  cat >"$dir/avahi.conf" <<CONF
[server]
use-ipv4=yes
use-ipv6=no
allow-interfaces=lo
[publish]
publish-hinfo=no
publish-workstation=no
CONF
  dbus-daemon --config-file="$dir/bus.conf" --fork --print-pid >"$dir/bus.pid"
  export DBUS_SYSTEM_BUS_ADDRESS="unix:path=$dir/bus"
  # avahi-daemon reads its services and hosts from fixed places and keeps its
  # pid file in /run: all three are bound privately in its own namespace.
  nohup unshare --net --mount --propagation private sh -c "
      ip link set lo up &&
      mount -t tmpfs none /run &&
      mount --bind '$dir/services' /etc/avahi/services &&
      mount --bind '$dir/hosts' /etc/avahi/hosts &&
      exec avahi-daemon -f '$dir/avahi.conf' --no-chroot --no-drop-root --no-rlimits --no-proc-title" \
      >"$dir/avahi.log" 2>&1 &
  echo $! >"$dir/avahi.pid"
  local wanted=$((2 * n))  # every service and every host established
  for _ in $(seq 1 100); do
    if grep -q "Server startup complete" "$dir/avahi.log" &&
       [ "$(grep -c "successfully established" "$dir/avahi.log")" -ge "$wanted" ]; then
      echo "$DBUS_SYSTEM_BUS_ADDRESS"
      return 0
    fi
    kill -0 "$(cat "$dir/avahi.pid")" 2>/dev/null || break
    sleep 0.1
  done
  cat "$dir/avahi.log" >&2
  stop
  return 1
}

stop() {
  for f in avahi.pid bus.pid; do
    [ -f "$dir/$f" ] && kill -TERM "$(cat "$dir/$f")" 2>/dev/null || true
    rm -f "$dir/$f"
  done
}

case "$cmd" in
  start) shift 2; start "$@" ;;
  stop) stop ;;
  *) echo "usage: $0 start|stop DIR" >&2; exit 2 ;;
esac
