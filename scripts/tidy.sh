#!/usr/bin/env bash
# Runs clang-tidy over the sources of the product and its tools that a build folder builds,
# or over the files named: tidy.sh BUILD-FOLDER [FILE...]. The tests are left out, because
# GoogleTest's headers make each of them take minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
shift
files=("$@")
if [ ${#files[@]} -eq 0 ]; then
  # One that is not built would be read with guessed options. The tools come first: some of
  # them take as long as a whole folder of the product, and nothing is to wait for the last.
  mapfile -t files < <(git ls-files '*.cpp' ':!tests' | sort -r | while read -r file; do
    if grep -qF "\"file\": \"$PWD/$file\"" "$build/compile_commands.json"; then echo "$file"; fi
  done)
fi
# One file per process: the analyzer's view of one file can be wrong after another. The
# warnings that it counts are those of the system's headers, which it does not show.
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 1 clang-tidy -p "$build" --quiet \
  2> >(grep -v '^[0-9]* warnings\? generated\.$' >&2)
