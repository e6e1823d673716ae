#!/usr/bin/env bash
# Builds everything for 32-bit Linux, each file by itself, and runs the tests there. Where the
# compiler cannot do that, one line says what was skipped and why.
set -euo pipefail
cd "$(dirname "$0")/.."

skip() {
  echo "32-bit Linux build and tests skipped: $1"
  exit 0
}

scripts/packages.sh --checks || skip "packages cannot be installed"
trial=$(mktemp)
trap 'rm -f "$trial"' EXIT
echo 'int main() {}' | g++ -m32 -x c++ - -o "$trial" 2>/dev/null ||
  skip "g++ -m32 builds no programs (package g++-multilib)"
"$trial" || skip "32-bit programs do not run"
[ -e /usr/src/googletest/googletest ] || skip "no sources of GoogleTest (package googletest)"

cmake --preset linux32 >/dev/null
cmake --build --preset linux32
ctest --preset linux32
