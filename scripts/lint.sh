#!/usr/bin/env bash
# Checks the sources: clang-format, platform switches only where they belong, clang as a second reader of what Windows
# builds from src/ and include/, and (with --tidy) clang-tidy.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2
scripts/setup.sh native windows test || exit 1

status=0
mapfile -t sources < <(git ls-files '*.h' '*.cpp' '*.c')
[ ${#sources[@]} -gt 0 ] || { echo 'lint: git names no sources here' >&2; exit 1; }

if ! clang-format --dry-run -Werror "${sources[@]}"; then
  echo "lint: some files are not formatted; mend them with: clang-format -i <file>" >&2
  status=1
fi

if git grep -nE '_WIN32|__MINGW32__|__linux__' -- src ':!src/platform.h'; then
  echo "lint: src/ knows its platform only in src/platform.h" >&2
  status=1
fi

# What g++ lets pass and others do not: people who build on Windows have another compiler. The headers of the standard
# library are mingw's, those of the processor clang's own.
mapfile -t headers < <(x86_64-w64-mingw32-g++-posix -E -x c++ -v /dev/null 2>&1 | sed -n 's|^ \(/.*/include/c++.*\)|\1|p')
if ! git ls-files 'src/*.cpp' | xargs -P "$(nproc)" -n 4 clang++ --target=x86_64-w64-mingw32 -std=c++20 -fsyntax-only \
    -Wall -Wextra -Wconversion -pedantic -Werror -DUNICODE -D_UNICODE -D_WIN32_WINNT=0x0601 -I. "${headers[@]/#/-isystem}"; then
  echo "lint: clang does not take these sources for Windows" >&2
  status=1
fi

# Tests are a quarter to a third of the code. Who adds some says more in fewer, or drops what another one shows.
lines() { printf '%s\n' "${sources[@]}" | grep -E "$1" | tr '\n' '\0' | xargs -0 cat | grep -c '[^[:space:]]'; }
all=$(lines .) tests=$(lines '^(tests|fuzz)/')
printf 'lint: %d lines of C and C++, of which %d.%d %% are tests and fuzz targets\n' \
  "$all" $((1000 * tests / all / 10)) $((1000 * tests / all % 10))
if [ $((3 * tests)) -gt "$all" ]; then
  echo "lint: that is more than a third" >&2
  status=1
fi

if [ "${1:-}" = --tidy ]; then
  # A tree of its own: clang-tidy does not know all that g++ is told.
  cmake --preset native -B build/lint -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null || exit 1
  mapfile -t ours < <(git ls-files 'src/*.cpp' 'pal/*.cpp' 'base/*.cpp' 'ixo/*.cpp' 'tools/*.cpp' | grep -vE '(_win|mingw_frame)\.cpp$')
  printf '%s\n' "${ours[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p build/lint --quiet || status=1
fi

[ $status -eq 0 ] && echo "lint: clean"
exit $status
