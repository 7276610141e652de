#!/bin/bash
# Runs a command in a network of its own, where nothing of the machine's is in the way.
#
#     own-network.sh COMMAND...           with the loopback, and a pair of Ethernet interfaces with IPv4 and IPv6
#     own-network.sh --lone COMMAND...    with the loopback alone, as in a container that was given nothing else
#
# Exit code 77 where that isn't allowed.
set -u
PATH=$PATH:/usr/sbin:/sbin

skip() {
    echo "own-network: $*"
    exit 77
}

command -v ip >/dev/null || skip "there is no ip"
command -v unshare >/dev/null || skip "there is no unshare"
own=(unshare --net)
[ "$(id -u)" = 0 ] || own=(unshare --user --map-root-user --net)
"${own[@]}" ip link set lo up 2>/dev/null || skip "a network of one's own isn't allowed here"

lone=no
if [ "${1-}" = --lone ]; then
    lone=yes
    shift
fi
exec "${own[@]}" bash -c '
    ip link set lo up || exit 77
    if [ "$0" = no ]; then
        ip link add loam0 type veth peer name loam1 && ip link set loam0 up && ip link set loam1 up &&
            ip addr add 10.99.0.1/24 dev loam0 || exit 77
        # Without IPv6 in the kernel the tests say so themselves.
        ip -6 addr add fd00:99::1/64 dev loam0 nodad 2>/dev/null
    fi
    exec "$@"' "$lone" "$@"
