# To be sourced by bash in the repository's root: starts a printer, an SNMP agent and a spooler of other makers' on the
# loopback interface, for this script alone, and ends them with it. Sets
#   printer_port, snmp_port    where they listen
#   printer_keys               folder with a folder of each certificate that the printer can show
#   CUPS_SERVER                the spooler's socket
# and the functions start_printer KEYS (again, with another certificate) and set_printer_state TYPE VALUE...
servers=$(mktemp -d /tmp/local-printer-XXXXXX)
server_ids=()

end_servers() {
  [ ${#server_ids[@]} -eq 0 ] || kill "${server_ids[@]}" 2>/dev/null || true
  rm -rf "$servers"
}
trap end_servers EXIT

# wait_for COMMAND...: until it succeeds, for ten seconds at most.
wait_for() {
  local i
  for i in $(seq 200); do
    "$@" >/dev/null 2>&1 && return
    sleep 0.05
  done
  echo "local_printer.sh: nothing answers to: $*" >&2
  tail -n 5 "$servers"/*.log >&2
  exit 1
}

# A port that nobody listens on.
free_port() {
  local port
  while :; do
    port=$((20000 + RANDOM % 30000))
    (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || break
  done
  echo "$port"
}

start_agent() {
  snmp_port=$(free_port)
  mkdir -p "$servers/snmp"
  cat >"$servers/snmpd.conf" <<CONF
agentAddress udp:127.0.0.1:$snmp_port
rwcommunity public 127.0.0.1
override -rw 1.3.6.1.2.1.25.3.2.1.5.1 integer 2
override -rw 1.3.6.1.2.1.25.3.5.1.1.1 integer 3
override -rw 1.3.6.1.2.1.25.3.5.1.2.1 octet_str 0x00
CONF
  SNMP_PERSISTENT_DIR=$servers/snmp SNMPCONFPATH=$servers/snmp MIBS='' \
    /usr/sbin/snmpd -f -Ln -C -c "$servers/snmpd.conf" -I override,vacm_conf,usmConf >"$servers/snmpd.log" 2>&1 &
  server_ids+=($!)
  wait_for set_printer_state 1.3.6.1.2.1.25.3.5.1.1.1 i 3
}

set_printer_state() {
  SNMPCONFPATH=$servers/snmp MIBS='' snmpset -v2c -c public -t 1 -r 0 "127.0.0.1:$snmp_port" "$@" >/dev/null
}

# The printer looks for a message bus even when it has nothing to announce.
start_bus() {
  sed "s|@ADDRESS@|unix:path=$servers/bus|" tests/peers/bus.conf.in >"$servers/bus.conf"
  dbus-daemon --config-file="$servers/bus.conf" --nofork --nopidfile >"$servers/bus.log" 2>&1 &
  server_ids+=($!)
  wait_for test -S "$servers/bus"
}

start_printer() {
  if [ -n "${printer_id:-}" ]; then
    kill "$printer_id"
    wait "$printer_id" 2>/dev/null || true
  fi
  mkdir -p "$servers/spool"
  DBUS_SYSTEM_BUS_ADDRESS=unix:path=$servers/bus ippeveprinter -r off -n localhost -p "$printer_port" \
    -d "$servers/spool" -K "$printer_keys/$1" -a tests/peers/good.attributes -S tests/peers/good.strings VX400 \
    >"$servers/printer.log" 2>&1 &
  printer_id=$!
  server_ids+=("$printer_id")
  wait_for ipptool "ipp://localhost:$printer_port/ipp/print" "$servers/ask.test"
}

start_spooler() {
  mkdir -p "$servers"/cups/{root/ssl,cache,state/certs,spool/temp,log,data,home,bin/backend,bin/filter}
  ln -s /usr/lib/cups/{daemon,notifier} "$servers/cups/bin/"
  ln -s /usr/lib/cups/backend/{ipp,ipps} "$servers/cups/bin/backend/"
  {
    echo "SystemGroup $(id -gn)"
    [ "$(id -u)" -eq 0 ] || printf 'User %s\nGroup %s\n' "$(id -un)" "$(id -gn)"
    echo 'Printcap'
    echo 'DataDir /usr/share/cups'
    local row
    for row in ServerRoot:root ServerKeychain:root/ssl CacheDir:cache StateDir:state RequestRoot:spool \
      TempDir:spool/temp ServerBin:bin DocumentRoot:data AccessLog:log/access ErrorLog:log/error PageLog:log/page; do
      echo "${row%%:*} $servers/cups/${row#*:}"
    done
  } >"$servers/cups/files.conf"
  export CUPS_SERVER=$servers/cups/socket
  cat >"$servers/cups/cupsd.conf" <<CONF
Listen $CUPS_SERVER
ServerName localhost
Browsing No
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
  /usr/sbin/cupsd -f -c "$servers/cups/cupsd.conf" -s "$servers/cups/files.conf" >"$servers/cupsd.log" 2>&1 &
  server_ids+=($!)
  wait_for lpstat -r
}

cat >"$servers/ask.test" <<'TEST'
{
  OPERATION Get-Printer-Attributes
  GROUP operation-attributes-tag
  ATTR charset attributes-charset utf-8
  ATTR naturalLanguage attributes-natural-language en
  ATTR uri printer-uri $uri
  STATUS successful-ok
}
TEST
printer_keys=$servers/keys
bash tests/peers/make_printer_keys.sh "$printer_keys" >/dev/null 2>&1
printer_port=$(free_port)
start_agent
start_bus
start_printer good
start_spooler
