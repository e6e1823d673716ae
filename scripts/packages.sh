#!/usr/bin/env bash
# Installs what is missing of the Debian packages that the build and the tests need.
set -euo pipefail

packages=(
  g++ cmake ninja-build
  libcli11-dev nlohmann-json3-dev libgtest-dev libbenchmark-dev
  binutils clang-format clang-tidy g++-mingw-w64-i686
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null || true)
  [[ $status == ii* ]] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
  "${missing[@]}" >/dev/null
