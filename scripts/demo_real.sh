# Sourced by demo.sh: the same questions, asked of real servers by way of the device libraries for printers on a
# network. No packets leave this machine.
scripts/setup.sh native peers
build native
cmake --build --preset native --target network_host >>build/native.log

servers=$(mktemp -d /tmp/local-servers-XXXXXX)
declare -A server_ids=()

# end_server NAME
end_server() {
  kill "${server_ids[$1]}" 2>/dev/null || true
  wait "${server_ids[$1]}" 2>/dev/null || true
  unset "server_ids[$1]"
}

end_servers() {
  local name
  for name in "${!server_ids[@]}"; do
    end_server "$name"
  done
  rm -rf "$servers"
}
trap end_servers EXIT

# start_server NAME [WORD...]: see local_servers.sh; on the same port when it was there before.
start_server() {
  local name=$1
  shift
  mkdir -p "$servers/$name"
  rm -f "$servers/$name/ready"
  scripts/local_servers.sh "$name" "$servers/$name" "$@" &
  server_ids[$name]=$!
  until [ -e "$servers/$name/ready" ]; do
    kill -0 "${server_ids[$name]}" || exit 1
    sleep 0.05
  done
}

# start_printer KEYS: with this certificate.
start_printer() {
  start_server printer "$printer_keys/$1" tests/peers/good.attributes tests/peers/good.strings
}

# set_printer_state OBJECT TYPE VALUE...
set_printer_state() {
  SNMPCONFPATH=$servers MIBS='' snmpset -v2c -c public -t 1 -r 0 "127.0.0.1:$snmp_port" "$@" >/dev/null
}

printer_keys=$servers/keys
bash tests/peers/make_printer_keys.sh "$printer_keys" >/dev/null 2>&1
mkdir "$servers/agent"
cat >"$servers/agent/lines" <<'CONF'
rwcommunity public 127.0.0.1
override -rw 1.3.6.1.2.1.25.3.2.1.5.1 integer 2
override -rw 1.3.6.1.2.1.25.3.5.1.1.1 integer 3
override -rw 1.3.6.1.2.1.25.3.5.1.2.1 octet_str 0x00
CONF
start_server agent
snmp_port=$(cat "$servers/agent/port")
start_printer good
printer_port=$(cat "$servers/printer/port")
start_server spooler
export CUPS_SERVER=$servers/spooler/socket
export CUSTOMBIDI_HOME=$servers/home
cp -r build/native/hosts/network "$servers/host"
cat >"$servers/host/network.json" <<JSON
{"snmp": {"port": $snmp_port}, "tls": {"trust_anchors": ["$printer_keys/ca.crt"]}}
JSON
# What is found in the user's own session is none of the demo's business.
unset DBUS_SESSION_BUS_ADDRESS XDG_RUNTIME_DIR

# in_host COMMAND...: shows a command of the host's folder.
in_host() { (cd "$servers/host" && show_code "$@"); }

echo
echo "An IPP Everywhere printer listens on port $printer_port, an SNMP agent on port $snmp_port; a CUPS queue leads there:"
show lpadmin -p Office -E -v "ipp://localhost:$printer_port/ipp/print"
in_host ./bidictl queue list
in_host ./bidictl port Office
in_host ./bidictl items Office
in_host ./bidictl items Office --pretty
in_host ./bidictl status 127.0.0.1 --pretty
echo
echo "The printer runs out of paper and stops:"
set_printer_state 1.3.6.1.2.1.25.3.5.1.1.1 i 1 1.3.6.1.2.1.25.3.2.1.5.1 i 5 1.3.6.1.2.1.25.3.5.1.2.1 x 40
in_host ./bidictl status 127.0.0.1 --pretty
in_host ./bidictl certificate show Office --user jdoe
in_host ./bidictl certificate verify Office --user jdoe
in_host ./bidictl certificate trust Office --user jdoe --yes
in_host ./bidictl certificate verify Office --user jdoe
echo
echo "The printer's certificate is replaced by one that has expired:"
end_server printer
start_printer expired
in_host ./bidictl certificate verify Office --user jdoe
echo
echo "The printer is switched off:"
end_server printer
in_host ./bidictl port Office
