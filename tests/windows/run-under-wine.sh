#!/usr/bin/env bash
# Builds the library, ststg and the tests as Windows programs (the windows preset: mingw-w64
# and the SDK's headers, static runtime) and runs them under Wine, whose ole32 is the real
# structured-storage service: the GoogleTest programs, the install consumer, and the corpus
# checks through ststg.exe, the host ones against ../shared/corpus/platform-oracle/.
#
# One fresh Wine prefix in a temporary folder serves the whole run and goes at its end. Its
# server stays up for the run, so that each of the many program starts costs a fraction of a
# second. Cases that Wine's known faults make fail are left out by name, each with its reason:
# tests/windows/wine-skips.txt.
set -euo pipefail
cd "$(dirname "$0")/../.."

for tool in cmake python3 wine wineboot wineserver x86_64-w64-mingw32-g++; do
  command -v "$tool" >/dev/null || { echo "run-under-wine: $tool is missing" >&2; exit 1; }
done
# Without its preloader Wine now and then fails to start a program ("failed to map the shared
# user data"), which the run would take for a failing test.
if [ ! -e /usr/lib/wine/wine64-preloader ]; then
  echo "run-under-wine: Wine's preloader (Debian: wine64-preloader) is missing; expect a rare failed start" >&2
fi

started=$SECONDS
lap=$SECONDS
timings=()
phase_done() {
  timings+=("$(printf '%-34s %4d s' "$1" $((SECONDS - lap)))")
  lap=$SECONDS
}

prefix=$(mktemp -d "${TMPDIR:-/tmp}/tovx-wine-XXXXXX")
export WINEPREFIX="$prefix"
export WINEDEBUG=-all
# No prompts for the .NET runtime or the browser engine: nothing here needs them.
export WINEDLLOVERRIDES="mscoree,mshtml="
cleanup() {
  wineserver -k >/dev/null 2>&1 || true
  rm -rf "$prefix"
}
trap cleanup EXIT

echo "== Windows build (mingw-w64)"
rm -rf build/windows
cmake --preset windows
cmake --build --preset windows
phase_done "build"

echo "== Wine prefix in $prefix"
# The server and the services that wineboot starts stay for the whole run; started here, none
# of them holds on to the output of a test.
wineserver -p </dev/null >/dev/null 2>&1
wineboot -i </dev/null >/dev/null 2>&1
phase_done "Wine prefix"

echo "== Left out under Wine (tests/windows/wine-skips.txt)"
grep -v -e '^#' -e '^[[:space:]]*$' tests/windows/wine-skips.txt | sed 's/^/  /'

echo "== Tests under Wine"
ctest --preset windows
phase_done "tests under Wine"

echo "== Time taken by the Windows step"
printf '  %s\n' "${timings[@]}"
printf '  %-34s %4d s\n' "total" $((SECONDS - started))
