#!/usr/bin/env bash
# Makes a private Wine in build/wine that runs 32-bit Windows console programs.
#
#   wine-setup.sh
#
# For Debian on amd64. Three i386 packages of the release are unpacked, not installed;
# apt finds them through package lists of its own below build/wine, so the machine's
# package state stays as it is. From the machine itself come the 32-bit C library and
# compiler library (libc6-i386 and lib32gcc-s1, which g++-multilib brings along).
#
# About 100 MB of download and 1.2 GB of disk. Run again, it does nothing when Wine is
# there, else it starts afresh. Exit status: 0 Wine is ready; 77 it cannot be had on
# this machine, and one line on standard error says why.
set -euo pipefail
shopt -s nullglob
cd "$(dirname "$0")/.."

NOT_HERE=77
PACKAGES=(wine32 libwine libz-mingw-w64)

not_here() {
  printf 'wine-setup: no Wine: %s\n' "$*" >&2
  exit $NOT_HERE
}

dir=$PWD/build/wine
case $dir in *[[:space:]\"\;]*) not_here "apt cannot work in a folder of such a name: $dir" ;; esac
mkdir -p "$dir"

# One set-up at a time. What is started below does not inherit the lock: Wine's
# processes outlive this script.
exec 9>"$dir/setup.lock"
flock 9
[ ! -e "$dir/complete" ] || exit 0

scripts/run-wine.sh --stop 9>&- || true
rm -rf "$dir/root" "$dir/prefix" "$dir/home" "$dir/tmp" "$dir/apt"
mkdir -p "$dir/root" "$dir/home" "$dir/tmp"

# -- The machine --------------------------------------------------------------

release=
[ ! -r /etc/os-release ] || release=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
for tool in apt-get dpkg-deb ldconfig; do
  PATH=$PATH:/sbin command -v "$tool" >/dev/null || not_here "this machine has no $tool"
done
[ "$(dpkg --print-architecture)" = amd64 ] || not_here "the recipe is for amd64"
[[ $(PATH=$PATH:/sbin ldconfig -p) == *'libgcc_s.so.1 (libc6)'* ]] ||
  not_here "the 32-bit compiler library is missing (package lib32gcc-s1)"
/lib/ld-linux.so.2 --version >/dev/null 2>&1 ||
  not_here "32-bit programs do not run (package libc6-i386, or the kernel)"

# -- The packages -------------------------------------------------------------

# The main archive of the release, where the machine's own apt finds it.
mirror=$(apt-get update --print-uris 2>/dev/null |
  sed -n "s|^'\\(.*/\\)dists/$release/main/binary-.*|\\1|p" | sed -n 1p) || mirror=
[ -n "$mirror" ] || not_here "apt has no main archive of the release '$release'"

apt=$dir/apt
mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial"
: >"$apt/status"
options=arch=i386
keyring=/usr/share/keyrings/debian-archive-keyring.gpg
[ ! -e "$keyring" ] || options+=" signed-by=$keyring"
echo "deb [$options] $mirror $release main" >"$apt/sources.list"

# apt with i386 as its only architecture and all of its state in build/wine. A mirror that
# does not answer, or too slowly, costs three minutes at most.
give_up=$((SECONDS + 180))
private_apt() {
  local left=$((give_up - SECONDS))
  [ "$left" -gt 0 ] || return 1
  timeout "$left" apt-get -q -o Acquire::Retries=2 -o Acquire::http::Timeout=15 -o APT::Sandbox::User= \
    -o APT::Architecture=i386 -o APT::Architectures=i386 \
    -o Dir::State="$apt" -o Dir::State::status="$apt/status" -o Dir::Cache="$apt/cache" \
    -o Dir::Etc::sourcelist="$apt/sources.list" -o Dir::Etc::sourceparts=/dev/null \
    -o Dir::Etc::preferences=/dev/null -o Dir::Etc::preferencesparts=/dev/null "$@"
}

private_apt --error-on=any update >"$apt/log" 2>&1 9>&- ||
  not_here "the i386 package list cannot be read (see build/wine/apt/log)"
for package in "${PACKAGES[@]}"; do
  (cd "$apt" && private_apt download "$package") >"$apt/log" 2>&1 9>&- || true
  files=("$apt/${package}"_*.deb)
  [ ${#files[@]} -eq 1 ] || not_here "no i386 package $package (see build/wine/apt/log)"
  dpkg-deb -x "${files[0]}" "$dir/root" || not_here "the package $package cannot be unpacked"
done
rm -rf "$apt"

# -- What installing them would do --------------------------------------------

# The plain server takes the place of a script that looks for it in /usr/lib, and
# zlib is marked as a part of Wine.
bin=$dir/root/usr/lib/wine
mv -f "$bin/wineserver32" "$bin/wineserver"
zlib=$dir/root/usr/i686-w64-mingw32/lib/zlib1.dll
{
  head -c 64 "$zlib"
  printf 'Wine builtin DLL'
  head -c 16 /dev/zero
  tail -c +97 "$zlib"
} >"$dir/root/usr/lib/i386-linux-gnu/wine/i386-windows/zlib1.dll"

# The first program makes the Windows folder; stopping Wine writes its registry.
status=0
timeout 180 scripts/run-wine.sh cmd.exe /c exit 42 </dev/null >/dev/null 2>&1 9>&- || status=$?
scripts/run-wine.sh --stop 9>&- || true
[ "$status" -eq 42 ] || not_here "a first program that exits with 42 gave $status"
touch "$dir/complete"
