#!/usr/bin/env bash
# Runs a 32-bit Windows console program under the Wine that wine-setup.sh made, in the
# current directory, with its standard streams and the low 8 bits of its exit status.
#
#   run-wine.sh PROGRAM.exe [ARGUMENT...]
#   run-wine.sh --stop               ends Wine's background processes now
#
# Those end by themselves some seconds after the last program. Exit status 77: there is
# no Wine, and one line on standard error says so.
set -u

tree=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd -P)
dir=$tree/build/wine
bin=$dir/root/usr/lib/wine

if [ ! -x "$bin/wineserver" ]; then
  [ "${1:-}" != --stop ] || exit 0
  echo "run-wine: no Wine: run scripts/wine-setup.sh first" >&2
  exit 77
fi

# No messages, no windows, and none of what would ask for further downloads. Wine's
# processes meet in TMPDIR, so all of them are given the same.
export WINEPREFIX=$dir/prefix TMPDIR=$dir/tmp WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe,winedbg.exe="
# Arguments and file names are UTF-8 for Wine then, as they are on the machine.
export LC_ALL=C.UTF-8
unset DISPLAY WAYLAND_DISPLAY WINEARCH WINELOADER WINESERVER WINEDLLPATH

if [ "${1:-}" = --stop ]; then
  if "$bin/wineserver" -k 2>/dev/null; then "$bin/wineserver" -w; fi
  exit 0
fi
if [ $# -eq 0 ]; then
  echo "usage: run-wine.sh PROGRAM.exe [ARGUMENT...]" >&2
  exit 2
fi

# Root may write read-only files, which nobody may on Windows: without this capability
# root has the rights that the file modes tell.
as_user=()
if [ "$EUID" -eq 0 ] && setpriv --bounding-set=-dac_override true 2>/dev/null; then
  as_user=(setpriv --bounding-set=-dac_override)
fi

# Wine's background processes are started first, with streams of their own: started by
# the program they would hold its pipes open. A run within a second of another one
# finds them there.
(
  flock 9
  read -r last 2>/dev/null <"$dir/last-run" || last=0
  if [ $((EPOCHSECONDS - last)) -gt 1 ] || ! "$bin/wineserver" -k0 2>/dev/null; then
    mkdir -p "$WINEPREFIX" "$TMPDIR"
    "${as_user[@]}" "$bin/wineserver" -p10
    HOME=$dir/home timeout 100 "${as_user[@]}" "$bin/wine" wineboot.exe --init
  fi </dev/null >/dev/null 2>&1 9>&-
  echo "$EPOCHSECONDS" >"$dir/last-run"
) 9>"$dir/run.lock"

# On a terminal Wine draws with escape sequences, so it never gets one.
[ ! -t 0 ] || exec </dev/null
run=("${as_user[@]}" "$bin/wine" "$@")
[ -t 1 ] || [ -t 2 ] || exec "${run[@]}"
{ "${run[@]}" 2>&1 >&3 3>&- | cat >&2 3>&-; exit "${PIPESTATUS[0]}"; } 3>&1 | cat
exit "${PIPESTATUS[0]}"
