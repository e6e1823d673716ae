#!/usr/bin/env bash
# Sets everything up and runs every check: format, both builds with their tests
# (the second under AddressSanitizer and UndefinedBehaviorSanitizer), the 32-bit
# Windows build of the library, and clang-tidy.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/packages.sh

echo "== format"
git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format --dry-run --Werror

echo "== windows build of the library"
cmake --preset windows >/dev/null
cmake --build --preset windows

for preset in debug release; do
  echo "== $preset build and tests"
  cmake --preset "$preset" -DORVIDX_TOOLS=ON -DORVIDX_TESTS=ON >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done

echo "== clang-tidy"
scripts/tidy.sh build/release

# The last line tells the outcome of the tests once more.
count=$(ctest --preset release -N | sed -n 's/^Total Tests: //p')
echo "all checks done: $count tests, each in two builds"
