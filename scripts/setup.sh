#!/usr/bin/env bash
# Installs the Debian 12 packages that the named groups need; quick when there is nothing to install.
#   scripts/setup.sh native [windows] [test] [peers]
# The servers of the group "peers" are for tests and the demo to start; none of them becomes a service of the machine.
set -euo pipefail

declare -A groups=(
  [native]="g++ cmake ninja-build pkgconf libxml2-dev libssl-dev openssl nlohmann-json3-dev libcli11-dev
            libsnmp-dev libcups2-dev libsecret-1-dev"
  [windows]="g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64"
  [test]="git googletest libbenchmark-dev clang lld llvm libclang-rt-14-dev clang-format clang-tidy"
  [peers]="snmpd snmp cups-ipp-utils cups-client cups-daemon dbus-daemon gnome-keyring libsecret-tools"
)
declare -A services=(
  [snmpd]="snmpd.service"
  [cups-daemon]="cups.service cups.socket cups.path"
)
policy=/usr/sbin/policy-rc.d

missing=()
for group in "$@"; do
  [ -n "${groups[$group]:-}" ] || { echo "setup.sh: no group of packages is named '$group' (native, windows, test, peers)" >&2; exit 2; }
  for package in ${groups[$group]}; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "setup.sh: these packages are missing and neither root nor sudo is at hand: ${missing[*]}" >&2
    exit 1
  fi
}

# Until this script ends, the named services do not start when their packages are installed. A policy that the machine
# has already is left to decide.
hold_services() {
  [ ! -e "$policy" ] || return 0
  trap 'as_root rm -f "$policy"' EXIT
  as_root install -m 755 /dev/stdin "$policy" <<'POLICY'
#!/bin/sh
case "$1" in
  snmpd*|snmptrapd*|cups*) exit 101 ;;
esac
exit 0
POLICY
}

# Nor do they with the machine's next start.
disable_services() {
  command -v systemctl >/dev/null || return 0
  # shellcheck disable=SC2086 # the list of a package's units
  as_root systemctl --quiet disable $1
}

echo "Installing: ${missing[*]}"
as_root apt-get update -qq
held=()
for package in "${missing[@]}"; do
  [ -z "${services[$package]:-}" ] || held+=("$package")
done
[ ${#held[@]} -eq 0 ] || hold_services
as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
for package in "${held[@]}"; do
  disable_services "${services[$package]}"
done
