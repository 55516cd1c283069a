#!/usr/bin/env bash
# Runs a server of another maker's on the loopback interface, for the tests and the demo:
#   scripts/local_servers.sh agent FOLDER                              net-snmp's daemon, configured by FOLDER/lines
#   scripts/local_servers.sh printer FOLDER KEYS ATTRIBUTES [STRINGS]  CUPS's printer, with localhost.crt of KEYS
#   scripts/local_servers.sh spooler FOLDER                            CUPS's spooler, on FOLDER/socket
#   scripts/local_servers.sh bus FOLDER                                a message bus with nobody on it, on FOLDER/bus
#   scripts/local_servers.sh keyring FOLDER                            the same with GNOME's keyring, empty and unlocked
# FOLDER is there and takes all that the server writes: what it says is FOLDER/log, its port FOLDER/port (one that is
# named there before is taken again). FOLDER/ready is there once it answers. The server ends when this script is told to
# (TERM), or with its parent.
set -u

# Children die with their parent by the kernel's hand, however it ends.
[ -n "${LOCAL_SERVERS_BOUND:-}" ] || LOCAL_SERVERS_BOUND=1 exec setpriv --pdeathsig TERM "$BASH" "$0" "$@"

kind=${1:?"what kind of server? See the head of $0"}
folder=${2:?"in what folder?"}
shift 2
PATH=$PATH:/usr/sbin:/sbin
unset LOCAL_SERVERS_BOUND
ids=()

end_all() {
  {
    [ ${#ids[@]} -eq 0 ] || kill -KILL "${ids[@]}"
    wait
  } 2>/dev/null
  ids=()
}
trap 'exec 2>/dev/null; end_all' EXIT  # the shell would tell of each that it was killed
trap 'exit 0' TERM INT

# run COMMAND...: in the background, reading $input; what it says goes to the log.
run() {
  setpriv --pdeathsig KILL "$@" <"${input:-/dev/null}" >>"$folder/log" 2>&1 &
  ids+=($!)
}

# wait_for COMMAND...: until it succeeds, for ten seconds at most, and while everybody who was started lives.
wait_for() {
  local i
  for ((i = 0; i < 500; ++i)); do
    kill -0 "${ids[@]}" 2>/dev/null || return 1
    "$@" >/dev/null 2>&1 && return
    sleep 0.02
  done
  return 1
}

# A port that nobody has. It is not one of those that clients get, so nobody else takes it by chance.
free_port() {
  local port
  while :; do
    port=$((20000 + RANDOM % 12000))
    grep -qi ":$(printf %04X "$port") " /proc/net/{tcp,tcp6,udp,udp6} 2>/dev/null || break
  done
  echo "$port"
}

# Whatever it allows otherwise, an agent tells an unknown user of SNMPv3 that it does not know him.
agent_answers() {
  grep -q 'NET-SNMP version' "$folder/log" &&
    snmpget -v3 -l noAuthNoPriv -u probe -t 0.2 -r 0 "127.0.0.1:$port" 1.3.6.1.2.1.1.1.0 2>&1 | grep -q 'nknown user name'
}

start_agent() {
  mkdir -p "$folder/state"
  export SNMP_PERSISTENT_DIR=$folder/state SNMPCONFPATH=$folder/none MIBS=''
  local address=udp:127.0.0.1:$port
  ! grep -q . /proc/net/if_inet6 2>/dev/null || address+=",udp6:[::1]:$port"
  { echo "agentAddress $address"; cat "$folder/lines"; } >"$folder/snmpd.conf"
  # Without the list of modules it would also listen on a TCP port of all interfaces.
  run snmpd -f -Le -C -c "$folder/snmpd.conf" -I override,vacm_conf,usmConf
  wait_for agent_answers
}

# It starts nobody, either.
start_bus() {
  cat >"$folder/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path=$folder/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
CONF
  rm -f "$folder/bus"
  run dbus-daemon --config-file="$folder/bus.conf" --nofork --nopidfile
  wait_for test -S "$folder/bus"
}

# By a request that nobody counts.
printer_answers() {
  (
    exec 3<>"/dev/tcp/127.0.0.1/$port"
    printf 'OPTIONS * HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n' >&3
    read -r -t 2 line <&3
    [[ $line == HTTP/1.1* ]]
  )
}

# The host name is what keeps it to the loopback interface. It looks for a service of its network announcements even
# when it is told to announce nothing: a bus without one is enough.
start_printer() {
  local keys=$1 attributes=$2 strings=${3:-}
  start_bus || return 1
  mkdir -p "$folder/spool"
  DBUS_SYSTEM_BUS_ADDRESS=unix:path=$folder/bus run ippeveprinter -v -v -r off -n localhost -p "$port" \
    -d "$folder/spool" -K "$keys" -a "$attributes" ${strings:+-S "$strings"} VX400
  wait_for printer_answers
}

# lpstat succeeds with a scheduler that does not run, too.
spooler_answers() { CUPS_SERVER=$folder/socket LC_ALL=C lpstat -r | grep -qx 'scheduler is running'; }

# Whoever reaches the socket may do everything. The spooler refuses the address of a queue when it has no program for its
# scheme, so every scheme that it does not bring along has one that does nothing.
start_spooler() {
  mkdir -p "$folder"/{root/ssl,cache,state/certs,spool/temp,logs,data,home,bin/backend,bin/filter}
  ln -sf /usr/lib/cups/{daemon,notifier} "$folder/bin/"
  ln -sf /usr/lib/cups/backend/{ipp,ipps,http,https} "$folder/bin/backend/"
  local scheme row
  for scheme in usb socket; do
    printf '#!/bin/sh\nexit 0\n' >"$folder/bin/backend/$scheme"
    chmod 755 "$folder/bin/backend/$scheme"
  done
  {
    echo "SystemGroup $(id -gn)"
    [ "$(id -u)" -eq 0 ] || printf 'User %s\nGroup %s\n' "$(id -un)" "$(id -gn)"
    printf 'Printcap\nDataDir /usr/share/cups\n'
    for row in ServerRoot:root ServerKeychain:root/ssl CacheDir:cache StateDir:state RequestRoot:spool \
      TempDir:spool/temp ServerBin:bin DocumentRoot:data AccessLog:logs/access ErrorLog:log PageLog:logs/page; do
      echo "${row%%:*} $folder/${row#*:}"
    done
  } >"$folder/files.conf"
  cat >"$folder/cupsd.conf" <<CONF
Listen $folder/socket
ServerName localhost
LogLevel warn
Browsing No
BrowseLocalProtocols none
DefaultShared No
DefaultAuthType None
WebInterface No
<Location />
  Order allow,deny
  Allow from localhost
</Location>
<Policy default>
  <Limit All>
    Order allow,deny
    Allow from localhost
  </Limit>
</Policy>
CONF
  run cupsd -f -c "$folder/cupsd.conf" -s "$folder/files.conf"
  wait_for spooler_answers
}

keyring_answers() {
  dbus-send --bus="unix:path=$folder/bus" --print-reply --reply-timeout=5000 --dest=org.freedesktop.secrets \
    /org/freedesktop/secrets org.freedesktop.Secret.Service.ReadAlias string:default | grep -q collection/login
}

# The line on its input is the password that the new collection is made with, and unlocked by: an empty one.
start_keyring() {
  start_bus || return 1
  mkdir -p -m 700 "$folder"/{run,data,config,cache}
  echo >"$folder/password"
  input=$folder/password run env -u DISPLAY -u WAYLAND_DISPLAY -u GNOME_KEYRING_CONTROL "DBUS_SESSION_BUS_ADDRESS=unix:path=$folder/bus" \
    "HOME=$folder" "XDG_RUNTIME_DIR=$folder/run" "XDG_DATA_HOME=$folder/data" "XDG_CONFIG_HOME=$folder/config" \
    "XDG_CACHE_HOME=$folder/cache" gnome-keyring-daemon --foreground --unlock --components=secrets
  wait_for keyring_answers
}

rm -f "$folder/ready"
for attempt in 1 2 3 4 5; do
  [ -e "$folder/port" ] && port=$(cat "$folder/port") || port=$(free_port)
  if "start_$kind" "$@"; then
    echo "$port" >"$folder/port"
    touch "$folder/ready"
    wait -n
    echo "local_servers.sh: the $kind has ended" >&2
    exit 1
  fi
  # Somebody else may have been quicker to take the port.
  end_all
done
echo "local_servers.sh: the $kind does not answer:" >&2
tail -n 20 "$folder/log" >&2
exit 1
