#!/usr/bin/env bash
# Checks the sources: clang-format, platform switches only where they belong, and (with --tidy) clang-tidy.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2
scripts/setup.sh native test || exit 1

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

if [ "${1:-}" = --tidy ]; then
  # A tree of its own: clang-tidy does not know all that g++ is told.
  cmake --preset native -B build/lint -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null || exit 1
  mapfile -t ours < <(git ls-files 'src/*.cpp' 'pal/*.cpp' 'ixo/*.cpp' 'tools/*.cpp' | grep -v '_win\.cpp$')
  printf '%s\n' "${ours[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p build/lint --quiet || status=1
fi

[ $status -eq 0 ] && echo "lint: clean"
exit $status
