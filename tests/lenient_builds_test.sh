#!/bin/bash
# What users build stands any warning: neither CMake's defaults nor the presets that they and their
# scripts configure with turn warnings into errors, not even in a directory that was configured for
# the tests, whose presets do.
#
#   tests/lenient_builds_test.sh        the compiler is $CXX
set -euo pipefail

korrin=$(cd "$(dirname "$0")/.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The library alone has a compile command for each of its sources, as everything else has.
library_alone=(-DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DKORRIN_BUILD_TESTS=OFF -DKORRIN_BUILD_TOOLS=OFF
  -DKORRIN_BUILD_PYTHON=OFF -DKORRIN_BUILD_BENCHMARKS=OFF -DKORRIN_BUILD_EXAMPLES=OFF)

# has_errors ARGUMENT...: whether what cmake configures so, in the one directory, has warnings as errors
has_errors() {
  (cd "$korrin" && cmake -B "$scratch/build" "$@" "${library_alone[@]}") >"$scratch/log" 2>&1 ||
    { cat "$scratch/log"; exit 1; }
  grep -q -e '-Wconversion' "$scratch/build/compile_commands.json" ||
    { echo "no compile commands: cmake $*"; exit 1; }
  grep -q -e '-Werror' "$scratch/build/compile_commands.json"
}

failures=0
must_be_lenient() {
  if has_errors "$@"; then
    echo "warnings are errors: cmake $*"
    failures=$((failures + 1))
  fi
}

must_be_lenient -G Ninja
has_errors --preset dev || { echo "warnings are no errors in preset dev"; failures=$((failures + 1)); }
must_be_lenient --preset install

user_scripts="korrin install demo make-packages check-logs bench bench-peers check-abi"
presets=""
for script in $user_scripts; do
  own=$(grep -oE 'cmake --preset [^ ]+' "$korrin/scripts/$script" | sed 's/.* //') ||
    { echo "scripts/$script uses no preset"; exit 1; }
  presets="$presets $own"
  if grep -n KORRIN_WARNINGS_AS_ERRORS "$korrin/scripts/$script"; then failures=$((failures + 1)); fi
done
for preset in $(printf '%s\n' $presets | sort -u); do
  has_errors --preset dev || failures=$((failures + 1))
  must_be_lenient --preset "$preset"
done

[ "$failures" -eq 0 ] || exit 1
echo "What users build stands warnings."
