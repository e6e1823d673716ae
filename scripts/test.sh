#!/usr/bin/env bash
# Sets everything up and runs every check: format, both builds with their tests (one of
# them under AddressSanitizer and UndefinedBehaviorSanitizer), the 32-bit Windows build
# of the library and its tools, and clang-tidy. The tests of the 32-bit builds are
# commands of their own: test-linux32.sh and test-windows.sh.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/packages.sh

echo "== format"
git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format --dry-run --Werror

for preset in debug release; do
  echo "== $preset build and tests"
  cmake --preset "$preset" -DORVIDX_TOOLS=ON -DORVIDX_TESTS=ON -DORVIDX_BENCH=OFF >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done

echo "== Windows build"
if command -v i686-w64-mingw32-g++-posix >/dev/null; then
  cmake --preset windows -B build/windows-only-built -DORVIDX_TESTS=OFF >/dev/null
  cmake --build build/windows-only-built
else
  echo "skipped: no cross compiler"
fi

echo "== clang-tidy"
scripts/tidy.sh build/release

# The last line tells the outcome of the tests once more.
count=$(ctest --preset release -N | sed -n 's/^Total Tests: //p')
echo "all checks done: $count tests, each in two builds"
