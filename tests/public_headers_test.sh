#!/bin/bash
# Every public header compiles on its own, without a warning, as C++17 and C++20, with g++ and (when
# installed) clang++, and includes nothing but the standard library, OpenCV's types_c.h and korrin.
#
#   tests/public_headers_test.sh OPENCV_INCLUDE_DIR
set -euo pipefail

opencv=$1
include=$(cd "$(dirname "$0")/../include" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

compilers="g++"
if command -v clang++ >/dev/null; then compilers="g++ clang++"; fi

# compiles_alone COMPILER STANDARD DIRECTORY HEADER: twice, since including again must do no harm
compiles_alone() {
  printf '#include "%s"\n#include "%s"\n' "$4" "$4" |
    "$1" -x c++ -std="$2" -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
      -I"$3" -isystem "$opencv" - || { echo "$4 does not compile alone: $1 -std=$2"; return 1; }
}
export -f compiles_alone
export opencv

# includes_only_what_it_may FILE
includes_only_what_it_may() {
  local strange
  strange=$(grep -E '^[[:space:]]*#[[:space:]]*(include|import)' "$1" |
    grep -vE '^#include (<[a-z_]+>|<opencv2/core/types_c\.h>|"korrin/[a-z_/]+\.hpp")$') || return 0
  echo "$1 includes what a public header may not:"
  echo "$strange"
  return 1
}

# The checks see what they are there for.
must_fail() {
  if "$@" >/dev/null 2>&1; then echo "unseen fault: $*"; exit 1; fi
}
echo 'inline std::vector<int> numbers() { return {}; }' >"$scratch/incomplete.hpp"
echo 'inline int cut(double number) { return number; }' >"$scratch/narrowing.hpp"
echo 'inline int number() { return 1; }' >"$scratch/unguarded.hpp"
for compiler in $compilers; do
  for header in incomplete narrowing unguarded; do
    must_fail compiles_alone "$compiler" c++17 "$scratch" "$header.hpp"
  done
done
for line in '#include <opencv2/core.hpp>' '#include <boost/any.hpp>' '#include "src/cell_line.hpp"' \
  '  #  include <unistd.h>'; do
  echo "$line" >"$scratch/strange.hpp"
  must_fail includes_only_what_it_may "$scratch/strange.hpp"
done

headers=$(cd "$include" && find korrin -name '*.hpp' | sort)
[ "$(echo "$headers" | wc -l)" -ge 8 ] || { echo "too few headers in $include"; exit 1; }
failures=0
for header in $headers; do
  includes_only_what_it_may "$include/$header" || failures=$((failures + 1))
  # Each further library has a header of all its headers, as korrin.hpp is for the first.
  case "$header" in
    korrin/io/*) all=korrin/io/io.hpp ;;
    korrin/mapping/*) all=korrin/mapping/mapping.hpp ;;
    *) all=korrin/korrin.hpp ;;
  esac
  [ "$header" != "$all" ] && [ "${header##*/}" != export.hpp ] || continue
  grep -qF "#include \"$header\"" "$include/$all" ||
    { echo "$all does not include $header"; failures=$((failures + 1)); }
done

for compiler in $compilers; do
  for standard in c++17 c++20; do
    for header in $headers; do echo "$compiler $standard $include $header"; done
  done
done | xargs -P "$(nproc)" -L 1 bash -c 'compiles_alone "$@"' compile || failures=$((failures + 1))

[ "$failures" -eq 0 ] || exit 1
echo "$(echo "$headers" | wc -l) headers compile alone with: $compilers"
