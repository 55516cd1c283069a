#!/usr/bin/env bash
# Builds what is shipped a second time, from a copy of the sources in another folder, and compares it byte for byte with
# what the lane has built:
#   scripts/reproducible.sh [--libraries] [native|windows]...     (both without a lane; --libraries: without bidictl)
# Ends with 1 when a file differs, or is there once only.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2

case "${1:-}" in -h | --help) sed -n '2,5s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
libraries=''
[ "${1:-}" != --libraries ] || { libraries=yes; shift; }
lanes=("$@")
[ ${#lanes[@]} -gt 0 ] || lanes=(native windows)

second=$(mktemp -d) && trap 'rm -rf "$second"' EXIT || exit 2
sources=$second/the-sources-in-another-place
mkdir "$sources" && git ls-files -zco --exclude-standard | xargs -0 cp --parents -t "$sources" || exit 2

# What somebody else would have compiled is no second build.
export CCACHE_DISABLE=1

# build SOURCES FOLDER LANE [OPTION...]: the shipped targets alone.
build() {
  local from=$1 folder=$2 lane=$3 families=simulated targets=(custom_bidi)
  shift 3
  [ "$lane" = windows ] || families+=' network'
  for family in $families; do
    targets+=("${family}"_{io,data_map,certificate}_library)
  done
  [ -n "$libraries" ] || targets+=(bidictl)
  (cd "$from" && { [ -e "$folder/CMakeCache.txt" ] || cmake --preset "$lane" -B "$folder" "$@"; } &&
    cmake --build "$folder" --target "${targets[@]}") >"$second/log" 2>&1 || { tail -n 40 "$second/log"; exit 1; }
}

# What is shipped, as paths in a folder that was built in.
shipped() {
  local names='/(Vexmo[^/]*|vexmo[^/]*\.dll|[^/]*\.dll\.a)$'
  [ -n "$libraries" ] || names+='|/bidictl(\.exe)?$'
  (cd "$1" && find hosts/simulated ixo/simulated ixo/network src -maxdepth 1 -type f 2>/dev/null) |
    grep -E "$names" | grep -v '^hosts/simulated/vexmo'
}

# cached FOLDER NAME: what a folder that is configured was told.
cached() { sed -n "s/^$2:[^=]*=//p" "$1/CMakeCache.txt" 2>/dev/null; }

status=0
for lane in "${lanes[@]}"; do
  first=$PWD/build/$lane again=$second/$lane-built-elsewhere
  type=$(cached "$first" CMAKE_BUILD_TYPE)
  options=(-DCUSTOMBIDI_TESTS=OFF "-DCMAKE_BUILD_TYPE=${type:-RelWithDebInfo}"
    -DCMAKE_C_COMPILER_LAUNCHER= -DCMAKE_CXX_COMPILER_LAUNCHER=)
  # Nor is it a first one: a compiler cache may write paths as it likes.
  [ -n "$type" ] && [ -z "$(cached "$first" CMAKE_CXX_COMPILER_LAUNCHER)" ] || first=$second/$lane
  build . "$first" "$lane" "${options[@]}"
  build "$sources" "$again" "$lane" "${options[@]}"
  files=$( (shipped "$first"; shipped "$again") | sort -u)
  [ -n "$files" ] || { echo "reproducible: $lane has built nothing"; status=1; }
  for file in $files; do
    if cmp "$first/$file" "$again/$file"; then
      echo "reproducible: $lane: the same bytes: $file"
    else
      status=1
    fi
  done
done
exit $status
