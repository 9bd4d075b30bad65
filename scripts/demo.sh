#!/usr/bin/env bash
# The main job on a fresh machine: installs what is needed, builds the
# programs (Release, no sanitizers, into build-demo), makes and seeds an
# embedded meet database, and runs the generator against it:
#
#   kestra-devstore feed   publishes one score every few seconds, as the
#                          scoring product does while judges post them
#   kestra-headless        polls the queue and sends Daktronics (or White Way,
#                          or Barco) frames by UDP to 127.0.0.1, with three
#                          leader pages (all-around, vault, teams) rotating
#                          beside the live scores
#   kestra-board           a virtual board on that port, printing what a real
#                          board would show
#
# Usage: scripts/demo.sh [STORE_FOLDER]   (default ~/.local/share/kestra-demo)
# Ctrl-C ends everything cleanly. Environment knobs:
#   KESTRA_DEMO_PORT      UDP port of the board (40001)
#   KESTRA_DEMO_EVERY     seconds between two fed scores (3)
#   KESTRA_DEMO_INTERVAL  minimum seconds a score stays up (5)
#   KESTRA_DEMO_SECONDS   stop by itself after this many seconds (run until Ctrl-C)
#   KESTRA_DEMO_TARGET    daktronics, whiteway or barco (daktronics)
#   KESTRA_DEMO_PAGE_SECONDS  seconds a leader screen shows, 5 to 99 (8)
set -euo pipefail
cd "$(dirname "$0")/.."
top=$PWD

store=${1:-${KESTRA_DEMO_STORE:-$HOME/.local/share/kestra-demo}}
port=${KESTRA_DEMO_PORT:-40001}
every=${KESTRA_DEMO_EVERY:-3}
interval=${KESTRA_DEMO_INTERVAL:-5}
seconds=${KESTRA_DEMO_SECONDS:-}
build=${KESTRA_DEMO_BUILD:-build-demo}
target=${KESTRA_DEMO_TARGET:-daktronics}
page_seconds=${KESTRA_DEMO_PAGE_SECONDS:-8}
case "$target" in
  daktronics|whiteway|barco) ;;
  *) echo "demo: KESTRA_DEMO_TARGET is daktronics, whiteway or barco, not \"$target\"" >&2; exit 2 ;;
esac

say() { printf '\033[1m== %s\033[0m\n' "$*"; }

say "Installing what is missing (scripts/setup.sh)"
scripts/setup.sh

say "Building into $build (Release; a few minutes the first time, log in $build/build.log)"
mkdir -p "$build"
if ! { cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKESTRA_SANITIZE=OFF \
         -DKESTRA_WARNINGS_FATAL=OFF -DKESTRA_BUILD_BENCH=OFF -DBUILD_TESTING=OFF &&
       # A file added since the last build is not always seen by the moc step
       # of an existing build folder; forgetting its stamps makes every target
       # rescan.
       { find "$build" -path '*_autogen/timestamp' -delete 2>/dev/null || true; } &&
       cmake --build "$build" --target kestra-headless kestra-devstore kestra-board; } >"$build/build.log" 2>&1; then
  tail -n 40 "$build/build.log" >&2
  echo "demo: the build failed; the whole log is $build/build.log" >&2
  exit 1
fi

devstore=$top/$build/tools/kestra-devstore
board=$top/$build/tools/kestra-board
headless=$top/$build/src/app/kestra-headless

# The demo keeps settings of its own beside its store, so the operator's
# settings are neither read nor changed.
mkdir -p "$store/config" "$store/state"
export XDG_CONFIG_HOME="$store/config" XDG_STATE_HOME="$store/state"

say "Meet database: $store/Marlowen.sqlite (schema and sample meet, made afresh)"
"$devstore" seed "$store" --force

# The leader pages of the meet being fed, composed as the results window
# would: its standings grow as the scores come.
pages=()
for pick in event=AA event=1 event=Team; do
  pages+=(--page "$("$headless" --store "$store" --compose-page "$pick")")
done

pids=()
stopping=0
stop_all() {
  [ "$stopping" = 1 ] && return
  stopping=1
  trap - INT TERM HUP PIPE
  # The terminal may be gone (a closed window, a broken pipe): the children
  # are stopped whether or not this can still be said.
  { echo; say "Stopping"; } 2>/dev/null || true
  local pid
  for pid in "${pids[@]}"; do
    kill -TERM "$pid" 2>/dev/null || true
  done
  # Each child stops in order on TERM; none is left behind.
  for pid in "${pids[@]}"; do
    for _ in $(seq 50); do
      kill -0 "$pid" 2>/dev/null || break
      sleep 0.1
    done
    kill -KILL "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
}
trap 'stop_all; exit 0' INT TERM HUP PIPE
trap stop_all EXIT

say "Virtual board listening on UDP 127.0.0.1:$port"
"$board" --udp "$port" --bind 127.0.0.1 &
pids+=($!)

say "Scoring feed: one score every $every s"
"$devstore" feed "$store" --every "$every" > >(sed -u 's/^/[feed] /') &
pids+=($!)

say "Generator: $target frames by UDP to 127.0.0.1:$port, leader pages every $page_seconds s (Ctrl-C to end)"
"$headless" --store "$store" --target "$target" \
  --set Options/COMPort=UDP --set "Options/UDPPort=$port" --set Options/IPAddr=127.0.0.1 \
  --set "Options/Interval=$interval" --set "Options/IntervalMax=$((interval * 6))" \
  "${pages[@]}" --page-seconds "$page_seconds" &
generator=$!
pids+=($generator)

if [ -n "$seconds" ]; then
  ( sleep "$seconds"; kill -TERM $$ 2>/dev/null ) &
  timer=$!
fi

status=0
wait "$generator" || status=$?
[ -n "${timer:-}" ] && kill "$timer" 2>/dev/null
if [ "$stopping" = 0 ]; then
  [ "$status" = 0 ] || echo "kestra-headless ended with status $status" >&2
  stop_all
  exit "$status"
fi
