#!/usr/bin/env bash
# Installs what is missing of the Debian packages that the library and its tools are built
# with, and of the packages named.
#
#   packages.sh [--checks] [PACKAGE...]
#
# With --checks also those that the tests, the benchmarks and the other checks need; of these,
# clang and the packages for other platforms only where they can be had. Without clang, gcc
# makes the build with the sanitizers, and there is no fuzz test; without the others the tests
# there are skipped.
set -euo pipefail

packages=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libsqlite3-dev)
optional=()
if [ "${1:-}" = --checks ]; then
  shift
  packages+=(libgtest-dev libbenchmark-dev binutils clang-format clang-tidy
    chromium chromium-driver python3-selenium python3-pytest node-typescript)
  optional=(clang libclang-rt-dev g++-mingw-w64-i686 g++-multilib googletest)
fi
packages+=("$@")

# Those of the packages named that are not installed.
missing() {
  local package status
  for package in "$@"; do
    status=$(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null || true)
    [[ $status == ii* ]] || echo "$package"
  done
}

mapfile -t needed < <(missing "${packages[@]}")
mapfile -t wanted < <(missing "${optional[@]}")
[ $((${#needed[@]} + ${#wanted[@]})) -gt 0 ] || exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
install() {
  echo "installing: $*"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "$@" >/dev/null
}

updated=true
"${as_root[@]}" apt-get update -qq || updated=false
if [ ${#needed[@]} -gt 0 ]; then
  $updated || exit 1
  install "${needed[@]}"
fi
for package in "${wanted[@]}"; do
  install "$package" || echo "not installed, goes without: $package"
done
