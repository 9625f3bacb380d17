# What the program needs to find the server: driver, data source, settings, display. Sourced by demo/server.
# shellcheck shell=bash disable=SC2154 # here, home, socket, port, old_port, password, is_new: theirs

driver="MySQL ODBC 3.51 Driver"

# A private registration beside copies of the system's own, so that the user's servers can be reached as well.
register_driver() {
    export ODBCSYSINI=$home/odbc MYSQL_UNIX_PORT=$socket
    mkdir -p "$ODBCSYSINI"
    cat /etc/odbcinst.ini >"$ODBCSYSINI/odbcinst.ini" 2>/dev/null || true
    cat /etc/odbc.ini >"$ODBCSYSINI/odbc.ini" 2>/dev/null || true
    grep -qF "[$driver]" "$ODBCSYSINI/odbcinst.ini" ||
        printf '\n[%s]\nDriver=libmaodbc.so\n' "$driver" >>"$ODBCSYSINI/odbcinst.ini"
    printf '\n[tarnwell-demo]\nDriver=%s\nSERVER=localhost\nPORT=%s\nUID=demo\nPWD=%s\n' \
        "$driver" "$port" "$password" >>"$ODBCSYSINI/odbc.ini"
}

# The program keeps a password with each character's code one lower; those of the demo's are all ASCII.
shifted() {
    LC_ALL=C tr 'b-zB-Z2-9' 'a-yA-Y1-8' <<<"$1"
}

# names_demo SETTINGS PORT: whether they are those of the demo server at that port (a pattern).
names_demo() {
    [ "$(tr -d '\r' <"$1" | LC_ALL=C grep -cixE "server=(localhost|127\.0\.0\.1)|user=demo|port=$2")" = 3 ]
}

# replace_value SETTINGS KEY VALUE
replace_value() {
    LC_ALL=C sed -i "s/^\($2=\)[^\r]*/\1$3/I" "$1"
}

# Settings of the user's own stay as they are; only those of the demo server follow its port, and the password
# of one that was made anew.
offer_settings() {
    local settings=$1/Tarnwell.ini
    if [ ! -e "$settings" ]; then
        printf '%s\r\n' '[DataBase]' "driver=$driver" server=localhost user=demo \
            "pass=$(shifted "$password")" "port=$port" >"$settings"
    elif names_demo "$settings" "${old_port:-[0-9]*}"; then
        replace_value "$settings" port "$port"
        [ -z "${is_new:-}" ] || replace_value "$settings" pass "$(shifted "$password")"
    fi
}

# offer_server PROGRAM: settings only beside Tarnwell itself.
offer_server() {
    local program
    register_driver
    program=$(readlink -f "$(command -v "$1" || true)")
    [ "$(basename "$program")" != Tarnwell ] || offer_settings "$(dirname "$program")"
    echo "Demo server: localhost (127.0.0.1), port $port, user demo, password $password"
}

# Without a display the window is drawn for a VNC viewer. Qt's server listens on every address and asks for no
# password, so its bind() is narrowed to this machine.
choose_display() {
    beside=()
    [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}${QT_QPA_PLATFORM:-}" ] || return 0
    local view=5900
    while is_taken "$view"; do
        view=$((view + 1))
    done
    [ "$home/loopback.so" -nt "$here/lib/loopback.cpp" ] ||
        c++ -std=c++20 -O2 -shared -fPIC "$here/lib/loopback.cpp" -o "$home/loopback.so"
    # Where a preload is ignored (a folder mounted noexec, say), the window had better not come than be open to all.
    [ -z "$(env LD_PRELOAD="$home/loopback.so" env 2>&1 >/dev/null)" ] ||
        { echo "There is no display, and $home/loopback.so cannot be loaded." >&2 && return 1; }
    # shellcheck disable=SC2034 # read in demo/server
    beside=(env LD_PRELOAD="$home/loopback.so" QT_QPA_PLATFORM="vnc:size=1440x900:port=$view"
        QT_STYLE_OVERRIDE=Fusion QT_FONT_DPI=96)
    echo "No display: look with a VNC viewer at 127.0.0.1:$view"
    echo "From another machine: ssh -L $view:127.0.0.1:$view to this one first, then 127.0.0.1:$view there."
}
