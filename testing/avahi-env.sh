#!/bin/bash
# A system bus and an Avahi daemon for tests, as a child of a process with a network and a /run of its own.
#
#     avahi-env.sh        says "ready", or why not, and ends with its input
#
# The network gets its loopback and a pair of Ethernet interfaces, loam0 and loam1, with IPv4. A line "stop" ends the
# daemon, which is answered by "stopped", and "start" starts another one ("ready").
set -u
PATH=$PATH:/usr/sbin:/sbin

fail() {
    echo "$*"
    exit 1
}

for program in avahi-daemon dbus-daemon ip; do
    command -v "$program" >/dev/null || fail "there is no $program"
done

ip link set lo up && ip link set lo multicast on &&
    ip link add loam0 type veth peer name loam1 && ip link set loam0 up && ip link set loam1 up &&
    ip addr add 10.99.0.1/24 dev loam0 || fail "a network can't be set up"

mkdir -p /run/dbus /run/avahi-daemon
cat >/run/bus.conf <<X
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_type="method_call"/>
    <allow send_type="signal"/>
    <allow receive_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
  </policy>
</busconfig>
X
cat >/run/avahi.conf <<X
[server]
host-name=loamhost
domain-name=local
use-ipv4=yes
use-ipv6=yes
ratelimit-interval-usec=1000000
ratelimit-burst=1000
enable-dbus=yes
[wide-area]
enable-wide-area=no
[publish]
publish-addresses=yes
publish-hinfo=no
publish-workstation=no
X

# Waits for the daemon's own word for it, and leaves the rest of its log to a reader.
start_daemon() {
    local line log
    exec {log}< <(exec avahi-daemon --no-drop-root --no-chroot --no-proc-title --no-rlimits -f /run/avahi.conf 2>&1)
    daemon=$!
    while read -r -u "$log" line; do
        [[ $line != *"Server startup complete"* ]] || { cat <&"$log" >/run/avahi.log & exec {log}<&-; echo ready; return; }
    done
    fail "avahi-daemon doesn't start: $line"
}

exec {address}< <(exec dbus-daemon --config-file=/run/bus.conf --nofork --nopidfile --print-address=1 2>&1)
bus=$!
read -r -u "$address" line
[[ $line == unix:* ]] || fail "dbus-daemon doesn't start: $line"
start_daemon
while read -r order; do
    case $order in
        stop)
            kill "$daemon"
            wait "$daemon"
            echo stopped
            ;;
        start) start_daemon ;;
    esac
done
kill "$daemon" "$bus" 2>/dev/null
wait
