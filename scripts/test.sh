#!/usr/bin/env bash
# Sets everything up and runs every check: format, both builds with their tests (one of
# them under AddressSanitizer and UndefinedBehaviorSanitizer), the 32-bit Windows build
# with its tests as far as the machine lets them run, and clang-tidy. The tests of the
# 32-bit Linux build are a command of their own: test-linux32.sh.
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

# Wine's tests keep one processor busy, and wait for its server.
echo "== Windows build and tests; clang-tidy beside them"
nice -n 10 scripts/tidy.sh >build/tidy.log 2>&1 &
tidy=$!
trap 'kill $tidy 2>/dev/null || true' EXIT
scripts/test-windows.sh build/release | tee build/windows-tests.log
wait $tidy || {
  cat build/tidy.log
  exit 1
}

# The outcome of each test run once more.
echo "== all checks done"
for log in build/debug/tests.log build/windows-tests.log build/release/tests.log; do
  echo "$log:"
  grep -E 'tests passed|skipped:' "$log"
done
