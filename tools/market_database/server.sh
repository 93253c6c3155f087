#!/usr/bin/env bash
# A private MariaDB server for tests and trials: 127.0.0.1 only, its files in a temporary folder, with the database
# "market" and its tables. Needs the packages mariadb-server and mariadb-client; works as any user.
#
#   server.sh start [MARKET_FILE...]   start afresh and load the files
#   server.sh stop                     stop and delete everything
#
# Settings, by environment: XIM_MARKET_DATABASE_PORT (3307), XIM_MARKET_DATABASE_USER ("market"),
# XIM_MARKET_DATABASE_PASSWORD ("market-password"), XIM_MARKET_DATABASE_FOLDER.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
port=${XIM_MARKET_DATABASE_PORT:-3307}
user=${XIM_MARKET_DATABASE_USER:-market}
password=${XIM_MARKET_DATABASE_PASSWORD:-market-password}
folder=${XIM_MARKET_DATABASE_FOLDER:-${TMPDIR:-/tmp}/xim-market-database-$(id -u)-$port}
PATH=$PATH:/usr/sbin:/usr/local/sbin

fail() {
    echo "market database: $*" >&2
    exit 1
}

need() {
    local program
    for program in mariadbd mariadb-install-db mariadb python3; do
        command -v "$program" >/dev/null || fail "$program is not installed (packages mariadb-server, mariadb-client)"
    done
}

client() { mariadb --no-defaults --socket="$folder/socket" --user="$(id -un)" "$@"; }

process() {
    local id
    id=$(cat "$folder/pid" 2>/dev/null) || return 1
    [[ $(cat "/proc/$id/comm" 2>/dev/null) == mariadbd ]] && echo "$id"
}

stop() {
    local id
    if id=$(process); then
        kill "$id"
        for _ in $(seq 300); do
            process >/dev/null || break
            sleep 0.1
        done
        process >/dev/null && fail "the server does not stop"
    fi
    [[ -f $folder/is-market-database ]] && rm -rf "$folder"
    return 0
}

start() {
    need
    stop
    [[ -e $folder ]] && fail "$folder is in the way"
    (: >"/dev/tcp/127.0.0.1/$port") 2>/dev/null && fail "port $port is taken"
    mkdir -m 700 "$folder"
    mkdir "$folder/data"
    touch "$folder/is-market-database"
    mariadb-install-db --no-defaults --datadir="$folder/data" --user="$(id -un)" --skip-test-db \
        --auth-root-authentication-method=socket --auth-root-socket-user="$(id -un)" \
        >"$folder/install.log" 2>&1 || fail "cannot install: $(tail -5 "$folder/install.log")"
    setsid nohup mariadbd --no-defaults --datadir="$folder/data" --user="$(id -un)" \
        --bind-address=127.0.0.1 --port="$port" --socket="$folder/socket" --pid-file="$folder/pid" \
        --log-error="$folder/server.log" --skip-name-resolve --skip-log-bin \
        --innodb-buffer-pool-size=32M --innodb-flush-log-at-trx-commit=0 \
        </dev/null >/dev/null 2>&1 &
    for _ in $(seq 600); do
        client -e "SELECT 1" >/dev/null 2>&1 && break
        sleep 0.1
    done
    client -e "SELECT 1" >/dev/null || fail "the server does not start: $(tail -20 "$folder/server.log")"
    fill "$@" || { stop; fail "cannot fill the database"; }
    echo "market database: 127.0.0.1:$port, user $user"
}

# The user may do all with the databases whose names begin with "market".
fill() {
    client <<SQL || return 1
CREATE DATABASE market CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;
CREATE USER '$user'@'127.0.0.1' IDENTIFIED BY '$password';
GRANT ALL PRIVILEGES ON \`market%\`.* TO '$user'@'127.0.0.1';
SQL
    client market <"$here/schema.sql" || return 1
    if [[ $# -gt 0 ]]; then python3 "$here/load.py" "$@" | client market || return 1; fi
}

case ${1:-} in
    start) start "${@:2}" ;;
    stop) stop ;;
    *) fail "usage: $0 start [MARKET_FILE...] | stop" ;;
esac
