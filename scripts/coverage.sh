#!/usr/bin/env bash
# Builds everything with gcov's counters, runs the tests, and prints which share of the
# product's lines and branches they reach, folder by folder and in total. Branches that
# only an exception would take do not count. Which lines are never reached is in
# build/coverage/report/index.html.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/coverage
folders=(format platform file engine records survey cogo api)

scripts/packages.sh --checks gcovr
cmake -B $build -G Ninja -DCMAKE_BUILD_TYPE=Debug -DORVIDX_BENCH=OFF -DORVIDX_JOINED=OFF \
  -DCMAKE_C_FLAGS=--coverage -DCMAKE_CXX_FLAGS="--coverage -fprofile-update=atomic" >/dev/null
cmake --build $build
find $build -name '*.gcda' -delete
# The counters are writable objects everywhere.
ctest --test-dir $build -j 2 --timeout 120 --no-tests=error --output-on-failure -E '^Product\.KeepsWritable' \
  >$build/tests.log || {
  cat $build/tests.log
  exit 1
}
grep 'tests passed' $build/tests.log

mkdir -p $build/report
filters=()
for folder in "${folders[@]}"; do filters+=(--filter "$folder/"); done
gcovr --exclude-throw-branches "${filters[@]}" --json $build/counts.json \
  --html-details $build/report/index.html $build

# Prints the two shares of what the filters let through.
shares() {
  local name=$1
  shift
  gcovr --exclude-throw-branches -a $build/counts.json "$@" --print-summary -o $build/shares.txt |
    awk -v name="$name" '/^lines:/ { lines = $2 } /^branches:/ { branches = $2 }
      END { printf "%-10s lines %6s  branches %6s\n", name, lines, branches }'
}

for folder in "${folders[@]}"; do shares "$folder" --filter "$folder/"; done
shares total "${filters[@]}"
