#!/bin/sh
# Starts or stops a chronyd that serves NTP on 127.0.0.1 from its own folder, without touching
# the system clock:
#   ntp-server.sh start <folder> <port>    ntp-server.sh stop <folder>
# When chronyd is missing or does not start, <folder>/unavailable says why and start still
# succeeds, so that the client test can report the skip itself.
set -u
action=$1
dir=$2

case "$action" in
start)
    port=$3
    rm -rf "$dir" && mkdir -p "$dir"
    chronyd=$(command -v chronyd || true)
    [ -n "$chronyd" ] || { [ -x /usr/sbin/chronyd ] && chronyd=/usr/sbin/chronyd; }
    if [ -z "$chronyd" ]; then
        echo "chronyd is not installed (Debian package chrony)" >"$dir/unavailable"
        exit 0
    fi
    cat >"$dir/chrony.conf" <<EOF
port $port
bindaddress 127.0.0.1
allow 127.0.0.1
local stratum 8
cmdport 0
bindcmdaddress /
pidfile $dir/chronyd.pid
driftfile $dir/drift
EOF
    # As root chronyd would switch to its own user, which cannot write here; as anyone else it
    # has to be told that it runs without root.
    if [ "$(id -u)" -eq 0 ]; then
        user="-u root"
    else
        user="-U"
    fi
    # -x: never adjust the system clock; -d: stay in the foreground, logging to stderr.
    # shellcheck disable=SC2086
    "$chronyd" -x -d $user -f "$dir/chrony.conf" >"$dir/chronyd.log" 2>&1 &
    echo $! >"$dir/shell.pid"
    for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
        [ -s "$dir/chronyd.pid" ] && exit 0
        kill -0 "$(cat "$dir/shell.pid")" 2>/dev/null || break
        sleep 0.25
    done
    {
        echo "chronyd did not start:"
        cat "$dir/chronyd.log"
    } >"$dir/unavailable"
    exit 0
    ;;
stop)
    if [ -f "$dir/shell.pid" ]; then
        kill "$(cat "$dir/shell.pid")" 2>/dev/null || true
    fi
    exit 0
    ;;
*)
    echo "usage: $0 start <folder> <port> | stop <folder>" >&2
    exit 2
    ;;
esac
