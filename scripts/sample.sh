#!/usr/bin/env bash
# Sets everything up, builds, writes a sample job database, prints what it holds and makes a page
# that shows it.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/packages.sh
cmake --preset release -DORVIDX_TESTS=OFF -DORVIDX_BENCH=OFF >/dev/null
cmake --build --preset release

tools=build/release/tools
job=build/sample.orv
page=build/sample.html
rm -f "$job"
echo
"$tools/orvjob" create-sample "$job"
echo
echo "What it holds:"
"$tools/orvidx" info "$job"
echo
echo "Its chains:"
"$tools/orvidx" list chain "$job"
echo
echo "Its first curve:"
"$tools/orvidx" show curve C1 "$job"
echo
"$tools/orvjob" check "$job"
echo
"$tools/orvidx" report "$job" -o "$page"
echo "To look at it: open $page in a browser"
echo "Everything as JSON: $tools/orvidx export $job"
