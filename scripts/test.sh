#!/usr/bin/env bash
# Sets everything up and runs the tests: format, the page's scripts, and both builds with all of
# their tests, one of them under AddressSanitizer and UndefinedBehaviorSanitizer. Other platforms
# and the static checks are commands of their own: test-windows.sh, test-linux32.sh, tidy.sh.
#
#   test.sh [--quick]
#
# With --quick, for between two edits: the optimised build and all of its tests, nothing else.
set -euo pipefail
cd "$(dirname "$0")/.."

build_and_test() {
  local preset=$1
  echo "== $preset build and tests"
  cmake --preset "$preset" -DORVIDX_TOOLS=ON -DORVIDX_TESTS=ON -DORVIDX_BENCH=OFF >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset" | tee "build/$preset/tests.log"
}

scripts/packages.sh --checks

case ${1:-} in
--quick)
  build_and_test release
  exit
  ;;
'') ;;
*)
  echo "usage: test.sh [--quick]" >&2
  exit 2
  ;;
esac

echo "== format"
git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format --dry-run --Werror

echo "== the page's scripts"
tsc -p tools/report/page/jsconfig.json

build_and_test debug
build_and_test release

# The outcome of each test run once more.
echo "== all checks done"
for preset in debug release; do
  echo "$preset: $(grep -E 'tests passed' build/$preset/tests.log)"
done
