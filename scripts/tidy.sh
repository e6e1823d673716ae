#!/usr/bin/env bash
# Runs clang-tidy over the sources of a build folder: tidy.sh BUILD-FOLDER [FILE...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
shift
if [ $# -gt 0 ]; then
  files=("$@")
else
  mapfile -t files < <(git ls-files '*.cpp' | grep -v -e _windows -e ^tests/windows/)
fi
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet
