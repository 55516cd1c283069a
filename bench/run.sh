#!/bin/sh
# Builds the benchmarks and prints the figures beside their aims; exits with 1 when one is missed.
#   bench/run.sh [--benchmark_filter=REGEX] [any other option of Google Benchmark]
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
cmake -S "$root" --preset native > /dev/null
cmake --build "$root/build/native" --target custom_bidi_bench network_bench > /dev/null
missed=0
"$root/build/native/bench/host/custom_bidi_bench" "$@" || missed=1
echo
"$root/build/native/bench/network_bench" "$root/build/native/hosts/network" || missed=1
exit $missed
