#!/usr/bin/env bash
# Runs every fuzz target in turn with clang's libFuzzer, under the address and undefined-behaviour sanitizers:
#   scripts/fuzz.sh [--merge] [SECONDS] [TARGET...]
# SECONDS is for each target (10 when left out), TARGET the name of a file fuzz/fuzz_TARGET.cpp. Prints what each executed, how
# much of the code it reached, and its findings, which lie in build/fuzz/fuzz; ends with 1 when there are any. What reached
# something new is kept in build/fuzz/fuzz/found for the next run. With --merge, the least of it that reaches as much is
# added to fuzz/corpus.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2

case "${1:-}" in -h | --help) sed -n '2,7s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
merge=''
[ "${1:-}" != --merge ] || { merge=yes; shift; }
seconds=${1:-10}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "fuzz.sh: '$seconds' is no number of seconds (see --help)" >&2; exit 2; }
shift $(($# > 0))
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for file in fuzz/fuzz_*.cpp; do
    file=${file#fuzz/fuzz_}
    targets+=("${file%.cpp}")
  done
fi

scripts/setup.sh native test peers || exit 1
mkdir -p build
if ! { cmake --preset fuzz "-DCUSTOMBIDI_FUZZ_SECONDS=$seconds" && cmake --build --preset fuzz; } >build/fuzz.log 2>&1; then
  tail -n 40 build/fuzz.log
  exit 1
fi

room=build/fuzz/fuzz
# The last number behind a word of the log.
last() { grep -oE "$1[ :]+[0-9]+" "$log" | tail -n 1 | grep -oE '[0-9]+$' || echo -; }

total=0
printf '%-20s %12s %10s %10s %8s %9s\n' target executions edges features corpus findings
for target in "${targets[@]}"; do
  log=$room/$target.log
  rm -f "$room/$target"-{crash,leak,timeout,oom}-*
  ctest --test-dir build/fuzz -V --no-tests=error -R "^fuzz_$target\$" >"$log" 2>&1
  ended=$?
  findings=$(find "$room" -maxdepth 1 -name "$target-crash-*" -o -maxdepth 1 -name "$target-leak-*" \
    -o -maxdepth 1 -name "$target-timeout-*" -o -maxdepth 1 -name "$target-oom-*" | wc -l)
  [ $ended -eq 0 ] || [ "$findings" -gt 0 ] || findings=1
  total=$((total + findings))
  printf '%-20s %12s %10s %10s %8s %9s\n' "$target" "$(last stat::number_of_executed_units)" "$(last cov)" \
    "$(last ft)" "$(last corp)" "$findings"
  [ "$findings" -eq 0 ] || grep -E -A12 'Violated|ERROR: |runtime error' "$log" | head -n 30
  if [ -n "$merge" ] && [ "$findings" -eq 0 ]; then
    program=$(find "$room" -name "fuzz_$target" -type f)
    CUSTOMBIDI_HOME=$PWD/$room/home-$target ASAN_OPTIONS=intercept_tls_get_addr=0 \
      "$program" -set_cover_merge=1 -use_counters=0 -max_len=1024 "fuzz/corpus/$target" "$room/found/$target" >>"$log" 2>&1
  fi
done
echo "$total findings"
[ $total -eq 0 ]
