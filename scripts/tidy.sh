#!/usr/bin/env bash
# Runs clang-tidy over the sources of the product and its tools, or over the files named:
# tidy.sh [FILE...]. The tests are left out, because GoogleTest's headers make each of them take
# minutes. Nothing has to be built for it.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/packages.sh --checks
single=build/tidy/single # files compiled one by one
joined=build/tidy/joined # those of a tool as one

# Makes a folder that could build the sources, joined or not.
configure() {
  cmake --preset release -B "$1" -DORVIDX_TESTS=OFF -DORVIDX_BENCH=OFF -DORVIDX_JOINED="$2" \
    >/dev/null
}

# The sources that a folder compiles, below this one; of what is generated the joined files alone.
sources() {
  sed -n "s|^ *\"file\": \"$PWD/\(.*\.c[px][px]\)\",\?\$|\1|p" "$1/compile_commands.json" |
    grep -v '^build/.*\.cpp$' | sort -u
}

# Lines of FOLDER CHECKS FILE, where a dot stands for all checks. Each is for a process of its own:
# the analyzer's view of one file can be wrong after another. In the tools half of the time would go
# into looking through the headers that they include, so these are looked through once for all files
# of a tool. The analyzer alone, which follows paths from function to function, is given each file by
# itself. What takes longest comes first: nothing is to wait for the last.
tasks() {
  local patterns='-bugprone-*,-cert-*,-misc-*,-modernize-*,-performance-*,-readability-*'
  configure $single OFF
  if [ $# -gt 0 ]; then
    printf "$single . %s\n" "$@"
    return
  fi
  configure $joined ON
  sources $joined | grep /Unity/ | sed "s|^|$joined -clang-analyzer-* |"
  comm -23 <(sources $single) <(sources $joined) | sort -r | sed "s|^|$single $patterns |"
  comm -12 <(sources $single) <(sources $joined) | sed "s|^|$single . |"
}

# The warnings that it counts are those of the system's headers, which it does not show.
check() {
  clang-tidy -p "$1" --quiet --checks="${2#.}" "$3" \
    2> >(grep -v '^[0-9]* warnings\? generated\.$' >&2)
}
export -f check

mkdir -p build/tidy
tasks "$@" >build/tidy/tasks
exec xargs -a build/tidy/tasks -P "$(nproc)" -L 1 bash -c 'check "$@"' check
