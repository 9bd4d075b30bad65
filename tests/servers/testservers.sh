#!/usr/bin/env bash
# Throwaway PostgreSQL and MariaDB servers on loopback for one test run.
#   testservers.sh start DIR   starts both, writes DIR/pg.port, DIR/mysql.port, DIR/mysql.sock
#   testservers.sh stop DIR    stops both and removes DIR
#   start-pg, stop-pg, start-mysql, stop-mysql DIR: one server alone
set -euo pipefail
cmd=${1:?start|stop}
dir=${2:?folder}
PGBIN=${PGBIN:-/usr/lib/postgresql/15/bin}

as_pg() {  # initdb and postgres refuse to run as root
  if [ "$(id -u)" = 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi
}

free_port() {
  local port
  for port in $(shuf -i 20000-60000 -n 50); do
    if ! (exec 3<>/dev/tcp/127.0.0.1/$port) 2>/dev/null; then echo "$port"; return; fi
  done
  echo "no free port" >&2; return 1
}

wait_for() {  # wait_for SECONDS command...
  local limit=$1; shift
  for _ in $(seq 1 $((limit * 10))); do "$@" >/dev/null 2>&1 && return 0; sleep 0.1; done
  return 1
}

start_pg() {
  mkdir -p "$dir"
  local pgroot="$dir/pg" port
  mkdir -p "$pgroot"
  if [ "$(id -u)" = 0 ]; then chown postgres "$pgroot"; chmod 755 "$dir"; fi
  if [ ! -d "$pgroot/data" ]; then
    as_pg "$PGBIN/initdb" -D "$pgroot/data" -U postgres --auth-local=trust --auth-host=trust \
          -E UTF8 --locale=C.UTF-8 >"$dir/pg-initdb.log" 2>&1
  fi
  port=$(cat "$dir/pg.port" 2>/dev/null || free_port)  # a restart keeps its port
  as_pg "$PGBIN/pg_ctl" -D "$pgroot/data" -l "$pgroot/server.log" -w -t 60 \
        -o "-c listen_addresses=127.0.0.1 -p $port -k $pgroot -c fsync=off -c synchronous_commit=off -c full_page_writes=off -c max_connections=200" \
        start >"$dir/pg-start.log" 2>&1
  echo "$port" >"$dir/pg.port"
}

start_mysql() {
  mkdir -p "$dir"
  local myroot="$dir/mysql" port
  mkdir -p "$myroot"
  if [ ! -d "$myroot/data/mysql" ]; then
    mariadb-install-db --no-defaults --user="$(id -un)" --datadir="$myroot/data" --skip-test-db \
          --auth-root-authentication-method=normal >"$dir/mysql-install.log" 2>&1
  fi
  port=$(cat "$dir/mysql.port" 2>/dev/null || free_port)  # a restart keeps its port
  nohup mariadbd --no-defaults --user="$(id -un)" --datadir="$myroot/data" --socket="$myroot/sock" \
        --port="$port" --bind-address=127.0.0.1 --pid-file="$myroot/pid" \
        --log-error="$myroot/err.log" --innodb-flush-log-at-trx-commit=0 >/dev/null 2>&1 &
  echo "$port" >"$dir/mysql.port"
  echo "$myroot/sock" >"$dir/mysql.sock"
  if ! wait_for 60 mariadb-admin --no-defaults --socket="$myroot/sock" -uroot ping; then
    cat "$myroot/err.log" >&2; return 1
  fi
}

stop_pg() {
  if [ -f "$dir/pg/data/postmaster.pid" ]; then
    as_pg "$PGBIN/pg_ctl" -D "$dir/pg/data" -m immediate -w -t 30 stop >/dev/null 2>&1 || true
  fi
}

stop_mysql() {
  if [ -f "$dir/mysql/pid" ]; then
    local pid; pid=$(cat "$dir/mysql/pid")
    kill -TERM "$pid" 2>/dev/null || true
    for _ in $(seq 1 100); do
      kill -0 "$pid" 2>/dev/null || break
      grep -q zombie "/proc/$pid/status" 2>/dev/null && break  # defunct under a non-init PID 1
      sleep 0.1
    done
  fi
}

case "$cmd" in
  start)
    rm -rf "$dir"
    start_pg
    start_mysql
    echo "PostgreSQL on 127.0.0.1:$(cat "$dir/pg.port"), MariaDB on 127.0.0.1:$(cat "$dir/mysql.port")" ;;
  stop) if [ -d "$dir" ]; then stop_pg; stop_mysql; rm -rf "$dir"; fi ;;
  start-pg) start_pg ;;
  stop-pg) stop_pg ;;
  start-mysql) start_mysql ;;
  stop-mysql) stop_mysql ;;
  *) echo "usage: $0 start|stop|start-pg|stop-pg|start-mysql|stop-mysql DIR" >&2; exit 2 ;;
esac
