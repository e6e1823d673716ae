#!/usr/bin/env bash
# Sets everything up, builds, and prints what a sample job database holds.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/packages.sh
cmake --preset release -DORVIDX_TESTS=OFF -DORVIDX_BENCH=OFF >/dev/null
cmake --build --preset release

job=tests/data/golden/tiny/job.orv
orvidx=build/release/tools/orvidx
echo
echo "What $job holds:"
"$orvidx" info "$job"
echo
echo "Its chains:"
"$orvidx" list chain "$job"
echo
echo "Point 9:"
"$orvidx" show point 9 "$job"
