#!/usr/bin/env bash
# Builds and runs all tests of both lanes: Linux plain, with ASan and UBSan, and with TSan; Windows under Wine.
#   scripts/test.sh [native|asan|tsan|windows]...     (all without arguments)
#   scripts/test.sh --sweep     natively, all that a call asks for fails once, of which the lanes try a sample: takes an
#                               hour, or with SWEEP_STEP=20 in front, which tries every 20th position, some minutes; ends
#                               with how many positions were tried of what, and what came of them
# Beside the tests of what is shipped, natively and for Windows, its libraries are built again elsewhere and compared.
# Ends with one line "N passed, N failed", over the single tests of every lane.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2

case "${1:-}" in -h | --help) sed -n '2,8s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
sweep() {
  scripts/setup.sh native test peers || exit 1
  mkdir -p build
  if ! { cmake --preset native && cmake --build --preset native --target simulated_sweep network_sweep; } >build/native.log 2>&1
  then
    tail -n 60 build/native.log
    exit 1
  fi
  local status=0 family folder
  for family in simulated network; do
    folder=$PWD/build/native/tests/sweep/${family}_sweep
    CUSTOMBIDI_HOME=$folder/home CUPS_SERVER=/nonexistent/cups.sock LC_ALL=C.UTF-8 SWEEP_STEP=${SWEEP_STEP:-1} \
      "$folder/${family}_sweep.exe" | tee "build/sweep-$family.log" || status=1
  done
  awk '/ positions /{ kind = $1 " " $2; tried[kind] += $4; crashes[kind] += $6; hangs[kind] += $8; wrong[kind] += $10
      loader[kind] += $12 }
    END { for (kind in tried) printf "%-30s %6d positions %3d crashes %3d hangs %3d wrong %3d of others\n", kind,
      tried[kind], crashes[kind], hangs[kind], wrong[kind], loader[kind] | "sort" }' build/sweep-*.log
  exit $status
}
[ "${1:-}" != --sweep ] || sweep

lanes=("$@")
[ ${#lanes[@]} -gt 0 ] || lanes=(native asan tsan windows)

scripts/setup.sh native windows test peers || exit 1

passed=0 failed=0
declare -A summary

# Adds up a lane: the single tests that GoogleTest wrote down, and each other ctest as one.
count_lane() {
  local lane=$1 ctest_status=$2 tests=0 bad=0 suites=0 file
  while IFS= read -r file; do
    local line
    line=$(grep -m1 '<testsuites ' "$file")
    tests=$((tests + $(sed -E 's/.* tests="([0-9]+)".*/\1/' <<<"$line")))
    bad=$((bad + $(sed -E 's/.* failures="([0-9]+)".*/\1/' <<<"$line")))
    bad=$((bad + $(sed -E 's/.* errors="([0-9]+)".*/\1/' <<<"$line")))
    suites=$((suites + 1))
  done < <(find "build/$lane" -path '*/gtest-results/*.xml')
  local runs ctest_failed
  runs=$(grep -o '<testcase ' "build/$lane/ctest.xml" 2>/dev/null | wc -l)
  ctest_failed=$(grep -o 'status="fail"' "build/$lane/ctest.xml" 2>/dev/null | wc -l)
  # A suite that died wrote no result, or one without the test that it died in.
  [ "$bad" -ge "$ctest_failed" ] || bad=$ctest_failed
  [ "$ctest_status" -eq 0 ] || [ "$bad" -gt 0 ] || bad=1
  [ "$ctest_status" -ne 0 ] || [ "$runs" -gt 0 ] || bad=1
  tests=$((tests + runs - suites))
  [ "$tests" -ge "$bad" ] || tests=$bad
  summary[$lane]="$((tests - bad)) passed, $bad failed"
  passed=$((passed + tests - bad))
  failed=$((failed + bad))
}

# The second build counts as one test.
count_second() {
  if wait "$2"; then
    passed=$((passed + 1))
    summary[$1]+=", reproducible"
  else
    tail -n 40 "build/$1-again.log"
    failed=$((failed + 1))
    summary[$1]+=", NOT reproducible"
  fi
}

run_lane() {
  local lane=$1
  echo "== $lane: build"
  mkdir -p build
  if ! { cmake --preset "$lane" >"build/$lane.log" 2>&1 && cmake --build --preset "$lane" >>"build/$lane.log" 2>&1; }; then
    tail -n 60 "build/$lane.log"
    summary[$lane]="did not build"
    failed=$((failed + 1))
    return
  fi
  echo "== $lane: test"
  find "build/$lane" -path '*/gtest-results/*.xml' -delete
  rm -f "build/$lane/ctest.xml"
  local second=''
  case $lane in native | windows)
    nice -n 19 scripts/reproducible.sh --libraries "$lane" >"build/$lane-again.log" 2>&1 &
    second=$! ;;
  esac
  GTEST_OUTPUT=xml:gtest-results/ ctest --preset "$lane" --output-junit ctest.xml
  count_lane "$lane" $?
  [ -z "$second" ] || count_second "$lane" "$second"
}

for lane in "${lanes[@]}"; do
  # shellcheck source=scripts/wine_prefix.sh
  [ "$lane" != windows ] || . scripts/wine_prefix.sh
  run_lane "$lane"
done

echo
for lane in "${lanes[@]}"; do
  printf '%-8s %s\n' "$lane" "${summary[$lane]}"
done
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
