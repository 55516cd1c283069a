# Sourced by demo.sh: the same questions, asked of real servers by way of the device libraries for printers on a
# network. No packets leave this machine.
scripts/setup.sh native peers
build native
cmake --build --preset native --target network_host >>build/native.log

# shellcheck source=scripts/local_printer.sh
. scripts/local_printer.sh
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
start_printer expired
in_host ./bidictl certificate verify Office --user jdoe
echo
echo "The printer is switched off:"
kill "$printer_id"
wait "$printer_id" 2>/dev/null || true
in_host ./bidictl port Office
