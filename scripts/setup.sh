#!/usr/bin/env bash
# Installs the Debian 12 packages that the named groups need; quick when there is nothing to install.
#   scripts/setup.sh native [windows] [test]
set -euo pipefail

declare -A groups=(
  [native]="g++ cmake ninja-build libxml2-dev libssl-dev openssl nlohmann-json3-dev libcli11-dev"
  [windows]="g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64"
  [test]="git googletest libbenchmark-dev clang libclang-rt-14-dev clang-format clang-tidy"
)

missing=()
for group in "$@"; do
  [ -n "${groups[$group]:-}" ] || { echo "setup.sh: no group of packages is named '$group' (native, windows, test)" >&2; exit 2; }
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

echo "Installing: ${missing[*]}"
as_root apt-get update -qq
as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
