#!/usr/bin/env bash
# Builds everything and asks the simulated printer what a printer driver's extension would ask it.
#   scripts/demo.sh             on Linux, then the same answers from the Windows DLL under Wine
#   scripts/demo.sh --linux     on Linux alone: fewer packages, less time
#   scripts/demo.sh --real      asks real servers on this machine instead: CUPS's printer and spooler, an SNMP agent
set -euo pipefail
cd "$(dirname "$0")/.."

lanes=(native windows)
real=
case "${1:-}" in
  "") ;;
  --linux) lanes=(native) ;;
  --real) real=yes ;;
  -h | --help) sed -n '2,5s/^# \{0,1\}//p' "$0"; exit 0 ;;
  *) echo "demo.sh: unknown option '$1' (see --help)" >&2; exit 2 ;;
esac

# build LANE: the library, the simulated device family and bidictl, without the tests.
build() {
  mkdir -p build
  echo "Building for $1 (log: build/$1.log)"
  if ! { cmake --preset "$1" -DCUSTOMBIDI_TESTS=OFF && cmake --build --preset "$1"; } >"build/$1.log" 2>&1; then
    tail -n 40 "build/$1.log" >&2
    exit 1
  fi
}

# show COMMAND...: the command line, then what it prints.
show() {
  printf '\n$ %s\n' "$*"
  "$@"
}

# show_code COMMAND...: the same for a command whose exit code tells something.
show_code() {
  local code=0
  printf '\n$ %s\n' "$*"
  "$@" || code=$?
  echo "(exit code $code)"
}

# print_with NAME: from now on the printer shows this certificate.
print_with() {
  cp "$certificates/$1.der" certificate.der
  cat >printer.json <<JSON
{
  "addresses": {"ports": {"*": {"text": "192.0.2.10", "active": true}}},
  "certificate": {"file": "certificate.der", "uuid": "6f0d6a52-7c1e-4b1a-9a64-02005e10000a"}
}
JSON
}

if [ "$real" ]; then
  # shellcheck source=scripts/demo_real.sh
  . scripts/demo_real.sh
  exit
fi

scripts/setup.sh native
build native

# A home of the demo's own: the queue and the trace below touch nothing else.
export CUSTOMBIDI_HOME="$PWD/build/demo-home"
rm -rf "$CUSTOMBIDI_HOME"
host=$PWD/build/native/hosts/simulated
cd "$host"
rm -f printer.json

show ./bidictl queue add Office --port 192.0.2.10
show ./bidictl trace on Office
show ./bidictl items Office
show ./bidictl items Office --pretty
show ./bidictl status 192.0.2.10
show ./bidictl status 192.0.2.10 --pretty
show ./bidictl port Office
printf '\n$ %s\n' "./bidictl trace show Office   (without the lines of the XML wrapper)"
./bidictl trace show Office | grep -v CCIXML

# A password goes in through standard input, never on the command line.
printf '\n$ %s\n' "printf 'correct horse' | ./bidictl password save Office --user jdoe --target OfficeSE"
printf 'correct horse' | ./bidictl password save Office --user jdoe --target OfficeSE
show ./bidictl password test Office --user jdoe --target OfficeSE
show ./bidictl password delete Office --user jdoe --target OfficeSE
show_code ./bidictl password test Office --user jdoe --target OfficeSE

show ./bidictl certificate show Office --user jdoe
show_code ./bidictl certificate verify Office --user jdoe
show ./bidictl certificate trust Office --user jdoe
show_code ./bidictl certificate verify Office --user jdoe

certificates=$CUSTOMBIDI_HOME/certificates
trap 'rm -f "$host"/printer.json "$host"/certificate.der' EXIT
../../../../tests/certificates/make_certificates.sh openssl "$certificates"
echo
echo "The printer's certificate is replaced:"
print_with renewed
show_code ./bidictl certificate verify Office --user jdoe
echo
echo "It is replaced by one that has expired, and that one is trusted:"
print_with expired
show ./bidictl certificate trust Office --user jdoe --yes
show_code ./bidictl certificate verify Office --user jdoe
rm -f printer.json certificate.der

if [ ${#lanes[@]} -gt 1 ]; then
  answer=$(./bidictl items Office)
  cd ../../../..
  echo
  scripts/setup.sh windows
  build windows
  # shellcheck source=scripts/wine_prefix.sh
  . scripts/wine_prefix.sh
  cd build/windows/hosts/simulated
  echo
  echo "The same questions, asked of Vexmo.Quellix.CustomBidi.dll under Wine:"
  wine bidictl.exe queue remove Office >/dev/null 2>&1 || true
  show wine bidictl.exe queue add Office --port 192.0.2.10
  show wine bidictl.exe status 192.0.2.10
  show wine bidictl.exe port Office
  printf '\n$ %s\n' "printf 'correct horse' | wine bidictl.exe password save Office --user jdoe --target OfficeSE"
  printf 'correct horse' | wine bidictl.exe password save Office --user jdoe --target OfficeSE
  show wine bidictl.exe password test Office --user jdoe --target OfficeSE
  show wine bidictl.exe password delete Office --user jdoe --target OfficeSE
  printf '\n$ %s\n' "wine bidictl.exe items Office"
  if [ "$(wine bidictl.exe items Office | tr -d '\r')" = "$answer" ]; then
    echo "(the same answer as on Linux, byte for byte)"
  else
    echo "demo.sh: the answer of the DLL differs from the one on Linux" >&2
    exit 1
  fi
  wine bidictl.exe queue remove Office
fi
