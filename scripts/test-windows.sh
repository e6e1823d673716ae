#!/usr/bin/env bash
# Builds the 32-bit Windows DLL, its tools and its tests, checks what they export and
# import, and runs them under Wine: the golden jobs against the Linux build, both systems
# on one job at the same time, and the whole test suite.
#
#   test-windows.sh [BUILD-FOLDER]   folder of the Linux build; build/release if left out
#
# Where there is no cross compiler or no Wine, one line says what was skipped and why; a
# failed check alone gives an exit status other than 0.
set -euo pipefail
cd "$(dirname "$0")/.."

native=${1:-build/release}
windows=build/windows
wine=$PWD/scripts/run-wine.sh
dll=$windows/bin/orvIdx.2.0.dll
objdump=i686-w64-mingw32-objdump

skip() {
  echo "$1 skipped: $2"
  exit 0
}

fail() {
  echo "test-windows: $*" >&2
  exit 1
}

# -- What the built files show ------------------------------------------------

# The names in the export table of a DLL.
exports() {
  "$objdump" -p "$1" | sed -n '/Ordinal\/Name Pointer/,/^$/s/^\t\[ *[0-9]*\] //p' | sort
}

# The DLLs that a file imports from, in one line.
imports() {
  "$objdump" -p "$1" | sed -n 's/^\tDLL Name: //p' | sort | xargs
}

check_files() {
  local declared
  declared=$(sed -n '/^EXPORTS/,$s/^ \+//p' api/orvIdx.def | sort)
  [ "$(wc -l <<<"$declared")" -eq 11 ] || fail "api/orvIdx.def does not name eleven exports"
  [ "$(exports "$dll")" = "$declared" ] || fail "the DLL exports: $(exports "$dll" | xargs)"
  [ "$(imports "$dll")" = "KERNEL32.dll msvcrt.dll" ] || fail "the DLL imports: $(imports "$dll")"
  [ "$(imports $windows/bin/orvidx.exe)" = "KERNEL32.dll msvcrt.dll orvIdx.2.0.dll" ] ||
    fail "orvidx.exe imports: $(imports $windows/bin/orvidx.exe)"
  local headers version
  headers=$("$objdump" -p "$dll")
  [[ $headers == *"file format pei-i386"* ]] || fail "the DLL is not for 32 bits"
  # With thread-local storage in it, Windows goes on telling it of threads.
  [[ $headers == *"Entry 9 00000000 00000000 Thread Storage Directory"* ]] ||
    fail "the DLL has thread-local storage"
  # Addresses chosen anew, no code in data; bits 0x40 and 0x100 of the DLL's characteristics.
  local bits
  bits=$(sed -n 's/^DllCharacteristics[[:space:]]*\([0-9a-f]*\)$/\1/p' <<<"$headers")
  [ $((0x${bits:-0} & 0x140)) -eq $((0x140)) ] || fail "the DLL has neither ASLR nor DEP: $bits"
  [ -z "$("$objdump" -t "$dll" | grep -m1 '(sec')" ] || fail "the DLL is not stripped"
  [ -n "$("$objdump" -t "$dll.debug" | grep -m1 '(sec')" ] || fail "the DLL has no symbols beside it"
  version=$(i686-w64-mingw32-windres -J coff -O rc "$dll")
  [[ $version == *'"OriginalFilename", "orvIdx.2.0.dll"'* ]] ||
    fail "the DLL has no version information"
}

# -- Jobs ---------------------------------------------------------------------

work=$(mktemp -d)
wine_setup=
clean_up() {
  [ -z "$wine_setup" ] || kill "$wine_setup" 2>/dev/null || true
  chmod -R u+w "$work"
  rm -rf "$work"
}
trap clean_up EXIT

# orvidx of each build. Not with root's right to write read-only files, which the
# programs under Wine do not have either.
as_user=()
if [ "$EUID" -eq 0 ] && setpriv --bounding-set=-dac_override true 2>/dev/null; then
  as_user=(setpriv --bounding-set=-dac_override)
fi
orvidx_linux() { "${as_user[@]}" "$native/tools/orvidx" "$@"; }
orvidx_wine() { "$wine" $windows/bin/orvidx.exe "$@"; }

# The two builds give the same output, the same refusal lines on standard error, and
# leave the same bytes in the file.
compare_job() {
  local name=$1 job=$2 mode=$3 system
  for system in linux wine; do
    mkdir "$work/$name-$system"
    cp "$job" "$work/$name-$system/job.orv"
    chmod "$mode" "$work/$name-$system/job.orv"
    "orvidx_$system" export --live "$work/$name-$system/job.orv" \
      >"$work/$name-$system/output" 2>"$work/$name-$system/errors" ||
      [ $? -eq 3 ] || fail "$name: orvidx failed on $system: $(cat "$work/$name-$system/errors")"
    sed -i "s/$name-$system/$name/" "$work/$name-$system/errors"
  done
  diff -rq "$work/$name-linux" "$work/$name-wine" || fail "$name: the builds differ"
  check_job "$work/$name-wine/job.orv"
}

# Both builds of orvjob find the file clean, and say the same about it.
check_job() {
  local here there
  here=$("$native/tools/orvjob" check "$1") || fail "$1: $here"
  there=$("$wine" $windows/bin/orvjob.exe check "$1") || fail "$1: $there"
  [ "$here" = "$there" ] || fail "$1: '$here' on Linux, '$there' on Windows"
}

# The number of records of a clean job.
records() { "$native/tools/orvjob" check "$1" | sed -n 's/^clean:.* \([0-9]*\) records.*/\1/p'; }

# One process reads all of a job and adds the records that its lines lack; meanwhile
# others read the lines from the last on, which adds them too. The first one sees
# everything, and the file holds each record once, as after a single reader.
share_job() {
  local first=$1 others=$2 dir=$work/$1-$2 pid name read_by_others=0
  mkdir "$dir"
  cp "$work/lines.orv" "$dir/job.orv"
  "orvidx_$first" export --live "$dir/job.orv" >"$dir/output" &
  pid=$!
  until ! cmp -s "$work/lines.orv" "$dir/job.orv"; do
    kill -0 "$pid" 2>/dev/null || fail "the reader on $first wrote nothing"
  done
  while read -r name && kill -0 "$pid" 2>/dev/null; do
    "orvidx_$others" show --live line "$name" "$dir/job.orv" >"$dir/line" </dev/null ||
      fail "line $name cannot be read on $others"
    read_by_others=$((read_by_others + 1))
  done <"$work/last_names_first"
  wait "$pid" || fail "the reader on $first failed beside others on $others"

  cmp "$dir/output" "$work/lines.json" ||
    fail "the reader on $first saw something else"
  orvidx_linux export "$dir/job.orv" | cmp - "$work/lines.json" || fail "elements were lost"
  [ "$(records "$dir/job.orv")" = "$(records "$work/complete.orv")" ] ||
    fail "$first beside $others: $(records "$dir/job.orv") records"
  check_job "$dir/job.orv"
  [ "$read_by_others" -gt 0 ] || fail "no other reader came in time"
  echo "windows: nothing lost by one process on $first beside $read_by_others on $others"
}

# -- All of it ----------------------------------------------------------------

scripts/packages.sh --checks || skip "Windows build and tests" "packages cannot be installed"
command -v i686-w64-mingw32-g++-posix >/dev/null ||
  skip "Windows build and tests" "there is no cross compiler (package g++-mingw-w64-i686)"

# Wine is mostly download: meanwhile the processors have what is built in any case.
scripts/wine-setup.sh >/dev/null 2>"$work/wine" &
wine_setup=$!
cmake --preset windows >/dev/null
cmake --build --preset windows --target orvIdx orvidx orvjob
check_files
echo "windows: the DLL exports the eleven names and imports $(imports "$dll")"

[ -e /usr/src/googletest/googletest ] ||
  skip "Windows tests" "no sources of GoogleTest (package googletest)"
# However it fails, that is no fault of what is tested here.
wait "$wine_setup" || {
  # That it compiles is all that can be seen of what the tests have for Windows alone.
  cmake --build --preset windows --target lock_refusal_test
  reason=$(tail -n 1 "$work/wine")
  reason=${reason#wine-setup: }
  skip "Windows tests" "${reason:-Wine could not be set up}"
}
wine_setup=
cmake --build --preset windows

# The Linux build gives what the golden jobs expect, and the Windows build the same.
if [ ! -e "$native/CMakeCache.txt" ]; then cmake --preset release >/dev/null; fi
cmake -B "$native" -DORVIDX_TOOLS=ON -DORVIDX_TESTS=ON >/dev/null
cmake --build "$native" --target orvidx orvjob golden_test >/dev/null
ctest --test-dir "$native" -R '^Golden\.' --no-tests=error --output-on-failure >"$work/golden" ||
  fail "the Linux build fails: $(cat "$work/golden")"
for golden in tests/data/golden/*/; do
  compare_job "$(basename "$golden")" "$golden/job.orv" 644
done
compare_job read-only tests/data/golden/mixed/job.orv 444
"${as_user[@]}" test -w "$work/read-only-wine/job.orv" ||
  grep -q 'Read Only Access' "$work/read-only-wine/errors" || fail "no refusal on a read-only job"
echo "windows: same output and same files as on Linux"

"$native/tools/orvjob" create-sample "$work/lines.orv" --points 5000 >/dev/null
cp "$work/lines.orv" "$work/complete.orv"
orvidx_linux export --live "$work/complete.orv" >"$work/lines.json"
orvidx_linux list line "$work/lines.orv" | tac >"$work/last_names_first"
share_job wine linux
share_job wine wine

ctest --preset windows
