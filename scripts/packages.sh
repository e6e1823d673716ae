#!/usr/bin/env bash
# Installs what is missing of the Debian packages that the build and the tests need, and,
# where they can be had, of those for the builds for other platforms: without these the
# tests there are skipped. Packages named as arguments are installed as well.
set -euo pipefail

packages=(
  g++ cmake ninja-build
  libcli11-dev nlohmann-json3-dev libgtest-dev libbenchmark-dev
  binutils clang-format clang-tidy
  "$@"
)
for_other_platforms=(g++-mingw-w64-i686 g++-multilib googletest)

# Those of the packages named that are not installed.
missing() {
  local package status
  for package in "$@"; do
    status=$(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null || true)
    [[ $status == ii* ]] || echo "$package"
  done
}

mapfile -t needed < <(missing "${packages[@]}")
mapfile -t wanted < <(missing "${for_other_platforms[@]}")
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
if [ ${#wanted[@]} -gt 0 ]; then
  install "${wanted[@]}" || echo "not installed, goes without: ${wanted[*]}"
fi
