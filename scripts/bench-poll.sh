#!/usr/bin/env bash
# The score poll against a million-row queue: builds the data on SQLite and on
# a private PostgreSQL server, times the poll through the store (Google
# Benchmark, median of repetitions) and the same statement run raw through
# sqlite3 (.timer, user+sys per run) and psql (\timing), and prints a table.
#
#   scripts/bench-poll.sh            both layouts
#   LAYOUTS=busy RUNS=51 scripts/bench-poll.sh
#
# Layouts: busy, 500 meets of 2,000 scores, the polled meet the newest with 40
# scores waiting; huge, the same million scores in one meet (the worst case).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${KESTRA_BENCH_BUILD:-build-bench}
layouts=${LAYOUTS:-busy huge}
runs=${RUNS:-101}
repetitions=${REPETITIONS:-10}

# Release, no sanitizers. Warnings are not fatal here: a Release build meets
# optimiser warnings that the Debug CI build does not.
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKESTRA_SANITIZE=OFF \
      -DKESTRA_WARNINGS_FATAL=OFF -DKESTRA_BUILD_BENCH=ON >/dev/null
cmake --build "$build" --target bench_PollBench bench_PollBenchData -j2 >/dev/null

work=$(mktemp -d /tmp/kestra-bench-XXXXXX)
chmod 755 "$work"
cleanup() {
  tests/servers/testservers.sh stop-pg "$work/servers" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT
tests/servers/testservers.sh start-pg "$work/servers"
port=$(cat "$work/servers/pg.port")
pg="127.0.0.1:$port"

median() { sort -g | awk '{v[NR] = $1} END { if (NR) printf "%.3f", v[int((NR + 1) / 2)] }'; }

# Median of Google Benchmark's repetitions of one benchmark, in ms.
store_ms() {  # store_ms OUTPUT NAME
  awk -v name="$2_median" '$1 == name { t = $2; u = $3;
      if (u == "us") t /= 1000; else if (u == "ns") t /= 1000000; else if (u == "s") t *= 1000;
      printf "%.3f", t }' "$1"
}

# The statement exactly as the store sends it, run raw `runs` times.
raw_sqlite_ms() {  # raw_sqlite_ms FOLDER LAYOUT
  local sql
  sql=$("$build/tests/bench_PollBench" --print-sql sqlite --layout "$2")
  { echo ".timer on"; for _ in $(seq "$runs"); do echo "$sql"; done; } \
    | sqlite3 "$1/Marlowen.sqlite" \
    | awk '/^Run Time:/ { printf "%.6f\n", ($6 + $8) * 1000 }' | median
}
raw_psql_ms() {  # raw_psql_ms DATABASE LAYOUT
  local sql
  sql=$("$build/tests/bench_PollBench" --print-sql postgres --layout "$2")
  { echo '\o /dev/null'; echo '\timing on'; for _ in $(seq "$runs"); do echo "$sql"; done; } \
    | psql -X -q -h 127.0.0.1 -p "$port" -U postgres -d "$1" \
    | awk '/^Time:/ { print $2 }' | median
}

rows=()
for layout in $layouts; do
  echo "== building layout $layout"
  "$build/tests/bench_PollBenchData" "$work/$layout" --layout "$layout"
  "$build/tests/bench_PollBenchData" "$pg" --alias "bench_$layout" --layout "$layout"
  filter='^Poll/'
  [ "$layout" = busy ] && filter='^Poll'
  out="$work/bench-$layout.txt"
  "$build/tests/bench_PollBench" --layout "$layout" --sqlite "$work/$layout" --postgres "$pg" \
      --alias "bench_$layout" --benchmark_filter="$filter" --benchmark_repetitions="$repetitions" \
      --benchmark_report_aggregates_only=true 2>/dev/null | tee "$out"
  rows+=("$layout SQLite $(store_ms "$out" Poll/SQLite) $(raw_sqlite_ms "$work/$layout" "$layout") 5")
  rows+=("$layout PostgreSQL $(store_ms "$out" Poll/PostgreSQL) $(raw_psql_ms "bench_$layout" "$layout") 10")
  if [ "$layout" = busy ]; then
    notin_lite=$(awk '$1 ~ /^PollNotIn\/SQLite/ && $1 ~ /median/ { print $2 " " $3 }' "$out")
    notin_pg=$(awk '$1 ~ /^PollNotIn\/PostgreSQL/ && $1 ~ /median/ { print $2 " " $3 }' "$out")
  fi
done

echo
echo "Poll of one event: 1,000,000 ScoreQueue rows, 1,000,000 QueueDone rows; median per poll"
printf '%-7s %-11s %12s %12s %7s %8s  %s\n' layout engine "store ms" "raw ms" ratio "target" verdict
for r in "${rows[@]}"; do
  read -r layout engine store raw target <<<"$r"
  ratio=$(awk -v s="$store" -v r="$raw" 'BEGIN { printf "%.2f", s / r }')
  verdict=$(awk -v s="$store" -v r="$raw" -v t="$target" \
      'BEGIN { print (s < t && s <= 1.5 * r) ? "meets target" : "misses target" }')
  printf '%-7s %-11s %12s %12s %7s %6s ms  %s\n' "$layout" "$engine" "$store" "$raw" "$ratio" "$target" "$verdict"
done
if [ -n "${notin_lite:-}" ]; then
  echo "busy, the statement kept with 'not in' (no rewrite): SQLite $notin_lite, PostgreSQL $notin_pg"
fi
echo "machine: $(nproc) cores, $(lscpu 2>/dev/null | awk -F: '/Model name/ { gsub(/^ +/, "", $2); print $2; exit }'), $(sqlite3 --version | cut -d' ' -f1) / PostgreSQL $(psql --version | awk '{print $3}')"
