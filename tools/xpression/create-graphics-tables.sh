#!/usr/bin/env bash
# Creates the graphics database of the Xpression target and its two tables,
# scoreboard and leaderboard, on a MariaDB or MySQL server. Kestra itself
# creates nothing: it writes rows into tables the graphics side keeps.
set -euo pipefail

usage() {
  cat <<'TEXT'
Usage: create-graphics-tables.sh [--database NAME] [--print] [CLIENT OPTIONS...]

Creates the database NAME (default: marlowen) and in it the tables
scoreboard and leaderboard that Kestra's Xpression target writes, through the
mariadb (or mysql) command-line client. Tables that exist already are kept as
they are, rows included.

  --database NAME   the database to create or use (Kestra's setting
                    "MySQL Database:")
  --print           print the SQL instead of running it, for another client
  CLIENT OPTIONS    passed to the client as they stand, for example
                    -h 10.0.0.20 -P 3306 -u root -p

Example: tools/xpression/create-graphics-tables.sh -h 127.0.0.1 -u root -p
TEXT
}

database=marlowen
print=false
client_args=()
while [ $# -gt 0 ]; do
  case "$1" in
    --database) database=${2:?--database needs a name}; shift 2 ;;
    --database=*) database=${1#--database=}; shift ;;
    --print) print=true; shift ;;
    --help) usage; exit 0 ;;
    *) client_args+=("$1"); shift ;;
  esac
done
if ! [[ $database =~ ^[A-Za-z0-9_$]{1,64}$ ]]; then
  echo "create-graphics-tables.sh: \"$database\" is not a database name (letters, digits, _ and \$, at most 64)" >&2
  exit 2
fi

# Text columns are NOT NULL DEFAULT '': a column Kestra leaves alone (artistry
# always, the bonus columns without the meet's bonus rules) reads as empty, not
# NULL, in the graphics. compNum alone may be NULL: a blank competitor number.
# InnoDB, since each update of the tables is one transaction.
sql=$(cat <<SQL
CREATE DATABASE IF NOT EXISTS \`$database\` CHARACTER SET utf8mb4;
USE \`$database\`;
CREATE TABLE IF NOT EXISTS scoreboard (
  \`position\`   INT NOT NULL COMMENT 'display slot 1 to 6',
  \`program\`    VARCHAR(1)  NOT NULL DEFAULT '',
  \`compNum\`    INT NULL DEFAULT NULL,
  \`name\`       VARCHAR(45) NOT NULL DEFAULT '',
  \`artistry\`   VARCHAR(6)  NOT NULL DEFAULT '',
  \`execution\`  VARCHAR(6)  NOT NULL DEFAULT '',
  \`difficulty\` VARCHAR(6)  NOT NULL DEFAULT '',
  \`deduction\`  VARCHAR(6)  NOT NULL DEFAULT '',
  \`total\`      VARCHAR(7)  NOT NULL DEFAULT '',
  \`event\`      VARCHAR(10) NOT NULL DEFAULT '',
  \`level\`      VARCHAR(10) NOT NULL DEFAULT '',
  \`dbonus\`     VARCHAR(6)  NOT NULL DEFAULT '',
  \`ebonus\`     VARCHAR(6)  NOT NULL DEFAULT '',
  PRIMARY KEY (\`position\`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4;
CREATE TABLE IF NOT EXISTS leaderboard (
  \`id\`       INT UNSIGNED NOT NULL AUTO_INCREMENT,
  \`position\` INT NOT NULL COMMENT 'leader page 1 to 3',
  \`program\`  VARCHAR(1)  NOT NULL,
  \`rank\`     INT NULL DEFAULT NULL COMMENT 'line 1 to 8',
  \`place\`    VARCHAR(3)  NOT NULL DEFAULT '',
  \`name\`     VARCHAR(45) NOT NULL DEFAULT '',
  \`score\`    VARCHAR(7)  NOT NULL DEFAULT '',
  \`title1\`   VARCHAR(20) NOT NULL DEFAULT '',
  \`title2\`   VARCHAR(10) NOT NULL DEFAULT '',
  PRIMARY KEY (\`id\`),
  KEY page (\`program\`, \`position\`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4;
SQL
)

if $print; then
  printf '%s\n' "$sql"
  exit 0
fi
client=$(command -v mariadb || command -v mysql || true)
if [ -z "$client" ]; then
  echo "create-graphics-tables.sh: neither the mariadb nor the mysql client is installed (Debian: apt-get install mariadb-client); --print gives the SQL for another client" >&2
  exit 1
fi
printf '%s\n' "$sql" | "$client" "${client_args[@]}"
echo "create-graphics-tables.sh: database \`$database\` has the tables scoreboard and leaderboard"
