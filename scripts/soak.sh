#!/usr/bin/env bash
# Makes many calls of each of the nine functions, plainly and from 16 threads, and prints what the process holds before
# and after: memory, heap, handles, threads and mappings. Fails when a call did, or when memory has grown by more than
# 256 KiB or anything else at all.
#   scripts/soak.sh [COUNT]           natively, with both device families (100000 calls when left out)
#   scripts/soak.sh --windows [COUNT] the same under Wine, with the simulated family (10000)
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2

case "${1:-}" in -h | --help) sed -n '2,6s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
lane=native count=100000 targets=(soak_simulated soak_network soak_printer)
[ "${1:-}" != --windows ] || { lane=windows count=10000 targets=(soak_simulated); shift; }
count=${1:-$count}
[[ $count =~ ^[1-9][0-9]*$ ]] || { echo "soak.sh: '$count' is no number of calls (see --help)" >&2; exit 2; }

scripts/setup.sh native windows test peers || exit 1
mkdir -p build
if ! { { [ -e "build/$lane/CMakeCache.txt" ] || cmake --preset "$lane"; } &&
  cmake --build "build/$lane" --target "${targets[@]}"; } >"build/soak-$lane.log" 2>&1; then
  tail -n 40 "build/soak-$lane.log"
  exit 1
fi
hosts=$PWD/build/$lane/bench/soak

if [ $lane = windows ]; then
  # shellcheck source=scripts/wine_prefix.sh
  . scripts/wine_prefix.sh
  wine "$hosts/simulated/soak.exe" "$count" 192.0.2.10
  exit
fi

# In memory where that can be had: what is stored for good is waited for.
room=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d)
servers=()
end() {
  [ ${#servers[@]} -eq 0 ] || kill "${servers[@]}" 2>/dev/null
  wait
  rm -rf "$room"
}
trap end EXIT
status=0
# Else what threads keep for themselves of what is free would count as in use.
export GLIBC_TUNABLES=glibc.malloc.arena_max=1:glibc.malloc.tcache_count=0
export CUSTOMBIDI_HOME=$room/home CUPS_SERVER=/nonexistent/cups.sock DBUS_SESSION_BUS_ADDRESS='' XDG_RUNTIME_DIR=''
mkdir "$CUSTOMBIDI_HOME"
"$hosts/simulated/soak.exe" "$count" 192.0.2.10 || status=1

mkdir "$room/agent"
cat >"$room/agent/lines" <<'LINES'
rocommunity public
override 1.3.6.1.2.1.25.3.2.1.5.1 integer 2
override 1.3.6.1.2.1.25.3.5.1.1.1 integer 3
override 1.3.6.1.2.1.25.3.5.1.2.1 octet_str 0x00
LINES
scripts/local_servers.sh agent "$room/agent" &
servers+=($!)
build/native/bench/soak_printer build/native/tests/peers/printer_keys/good >"$room/port" &
servers+=($!)
for ((i = 0; i < 200; ++i)); do
  [ -e "$room/agent/ready" ] && [ -s "$room/port" ] && break
  sleep 0.05
done
[ -e "$room/agent/ready" ] && [ -s "$room/port" ] || { echo 'soak.sh: the printer or its SNMP agent does not start' >&2; exit 1; }
echo "{\"snmp\": {\"port\": $(cat "$room/agent/port")}}" >"$hosts/network/network.json"
"$hosts/network/soak.exe" "$count" "ipp://127.0.0.1:$(cat "$room/port")/ipp/print" || status=1
exit $status
