# The server itself: made and filled once, started and stopped with each use. Sourced by demo/server.
# shellcheck shell=bash disable=SC2154 # here, home: demo/server's

data=$home/data
log=$home/server.log
server=

# In memory where that is to be had: the server syncs its log of table changes to the disk twice for each table
# made, half a minute for the 1,000. The path of a socket is limited to 107 bytes, that of a checkout is not.
make_scratch() {
    rm -rf "$(cat "$home/scratch" 2>/dev/null || true)"
    scratch=$(mktemp -d -p /dev/shm tarnwell.XXXXXX 2>/dev/null || mktemp -d -t tarnwell.XXXXXX)
    socket=$scratch/socket
    echo "$scratch" >"$home/scratch"
}

# As the one who made the data folder, known over the socket without a password.
administer() {
    mariadb --no-defaults --socket="$socket" --user="$(id -un)" "$@"
}

as_demo() {
    MYSQL_PWD=$password mariadb --no-defaults --socket="$socket" --user=demo --comments --default-character-set=utf8mb4
}

is_taken() {
    (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

# Keeps the port of the last start as long as nobody else has taken it.
choose_port() {
    old_port=$(cat "$home/port" 2>/dev/null || true)
    port=${old_port:-13306}
    while is_taken "$port"; do
        port=$((port + 1))
    done
    echo "$port" >"$home/port"
}

# A start that was killed may have left its server behind.
stop_leftover() {
    local pid
    pid=$(cat "$home/pid" 2>/dev/null) || return 0
    if { tr '\0' '\n' <"/proc/$pid/cmdline" | grep -qFx -- "--datadir=$data"; } 2>/dev/null; then
        kill "$pid" 2>/dev/null || true
        for _ in {1..300}; do
            kill -0 "$pid" 2>/dev/null || break
            sleep 0.1
        done
        kill -9 "$pid" 2>/dev/null || true
    fi
    rm -f "$home/pid"
}

# A session of its own keeps Ctrl+C and the terminal's end from the server, which is stopped after the program;
# its own tmpdir, since a server clears the temporary tables of all others that share the folder.
launch() {
    rm -rf "$home/tmp" && mkdir "$home/tmp"
    setsid setpriv --pdeathsig TERM mariadbd --no-defaults --user="$(id -un)" --datadir="$data" \
        --tmpdir="$home/tmp" --socket="$socket" --pid-file="$home/pid" --bind-address=127.0.0.1 --port="$port" \
        --character-set-server=utf8mb4 --skip-name-resolve --local-infile=1 --secure-file-priv= \
        --innodb-log-file-size=16M --innodb-flush-log-at-trx-commit=2 --sync-frm=0 \
        --loose-log-ddl-recovery="$scratch/ddl" >"$log" 2>&1 </dev/null 9>&- &
    server=$!
    for _ in {1..600}; do
        kill -0 "$server" 2>/dev/null || return 1
        administer -e 'select 1' >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    return 1
}

# The data counts only once all is in it: a first start that was broken off is done anew.
fill() {
    echo "Filling the demo databases ..."
    [ -s "$home/password" ] || LC_ALL=C tr -dc 'b-zB-Z2-9' </dev/urandom | head -c 16 >"$home/password" || true
    password=$(cat "$home/password")
    for host in localhost 127.0.0.1; do
        echo "create user demo@'$host' identified by '$password';"
        echo "grant all privileges on *.* to demo@'$host' with grant option;"
    done | administer
    local file
    for file in "$here"/sql/*.sql; do
        as_demo <"$file" >>"$home/fill.log" 2>&1 || { echo "$file: $(tail -n 3 "$home/fill.log")" >&2 && return 1; }
    done
    : >"$data/demo-is-complete"
    # shellcheck disable=SC2034 # read in client.sh
    is_new=yes
}

start_server() {
    stop_leftover
    make_scratch
    if [ ! -e "$data/demo-is-complete" ]; then
        rm -rf "$data" "$home/fill.log"
        mariadb-install-db --no-defaults --user="$(id -un)" --datadir="$data" --skip-test-db \
            --force --auth-root-authentication-method=socket >"$home/fill.log" 2>&1 ||
            { tail -n 20 "$home/fill.log" >&2 && return 1; }
    fi
    choose_port
    launch || { tail -n 20 "$log" >&2 && echo "The demo server did not start ($log)." >&2 && return 1; }
    [ -e "$data/demo-is-complete" ] || fill
    password=$(cat "$home/password")
}

stop_server() {
    if [ -n "$server" ] && kill "$server" 2>/dev/null; then
        wait "$server" 2>/dev/null || true
    fi
    rm -rf "${scratch:-}"
}
