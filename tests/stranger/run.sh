#!/bin/bash
# Builds a stranger's program against korrin in one of the ways users have, runs it and compares
# what it prints.
#
#   tests/stranger/run.sh install DIRECTORY           installs korrin there, for the next two
#   tests/stranger/run.sh find_package DIRECTORY
#   tests/stranger/run.sh pkg_config DIRECTORY
#   tests/stranger/run.sh add_subdirectory DIRECTORY
#   tests/stranger/run.sh fetch_content DIRECTORY
#
# DIRECTORY keeps the builds, so that a second run is quick. The compiler is $CXX.
set -euo pipefail

way=$1
mkdir -p "$2"
work=$(cd "$2" && pwd)
stranger=$(cd "$(dirname "$0")" && pwd)
korrin=$(cd "$stranger/../.." && pwd)
prefix="$work/moved"
version=$(sed -n 's/^project(korrin VERSION \([0-9.]*\).*/\1/p' "$korrin/CMakeLists.txt")
: "${CXX:=c++}"
export CXX
unset DESTDIR

fail() {
  echo "$way: $*"
  exit 1
}

# Installs to one place and moves it to another: nothing installed may know where it was built. A
# cache of compilations takes those with other prefix maps for the same.
install_korrin() {
  env -u CMAKE_CXX_COMPILER_LAUNCHER cmake -S "$korrin" --preset install -B "$work/library" -DCMAKE_INSTALL_PREFIX=/opt/korrin \
    -DCMAKE_INSTALL_LIBDIR=lib
  cmake --build "$work/library" -j "$(nproc)"
  rm -rf "$work/installed" "$prefix" "$work/staged"
  cmake --install "$work/library" --prefix "$work/installed"
  mv "$work/installed" "$prefix"
  if grep -rlF -e "$work" -e "$korrin" -e ../src/ "$prefix"; then fail "these files name build directories"; fi

  DESTDIR="$work/staged" cmake --install "$work/library"
  [ "$(ls "$work/staged")" = opt ] || fail "a staged install leaves its prefix"
  (cd "$work/staged/opt/korrin" && find . -type f -o -type l) | sort >"$work/staged.txt"
  (cd "$prefix" && find . -type f -o -type l) | sort >"$work/moved.txt"
  diff "$work/staged.txt" "$work/moved.txt" || fail "a staged install differs"
  diff -r "$korrin/include" "$prefix/include" || fail "the headers differ"
  for library in libkorrin libkorrin_io libkorrin_mapping; do
    [ "$(readlink "$prefix/lib/$library.so")" = "$library.so.${version%%.*}" ] || fail "no SONAME link"
  done
}

# A library directory of several parts, as on multiarch systems, or an absolute one.
check_pkg_config_directories() {
  local libdir found package
  for libdir in lib/some-machine "$work/elsewhere/lib"; do
    cmake -S "$korrin" -B "$work/library" "-DCMAKE_INSTALL_PREFIX=$work/arranged" \
      "-DCMAKE_INSTALL_LIBDIR=$libdir" >/dev/null
    rm -rf "$work/arranged" "$work/elsewhere"
    cmake --install "$work/library" >/dev/null
    case "$libdir" in /*) found="$libdir" ;; *) found="$work/arranged/$libdir" ;; esac
    export PKG_CONFIG_PATH="$found/pkgconfig"
    for package in korrin korrin-io korrin-mapping; do
      [ -e "$(pkg-config --variable=libdir $package)/lib${package/-/_}.so" ] ||
        fail "no library in $libdir"
      [ -e "$(pkg-config --variable=includedir $package)/korrin/korrin.hpp" ] || fail "no headers"
    done
  done
}

build_with_pkg_config() {
  mkdir -p "$work/pkg_config"
  export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
  [ "$(pkg-config --modversion korrin)" = "$version" ] || fail "another version"
  # shellcheck disable=SC2046  # a list of words
  "$CXX" -std=c++17 "$stranger/main.cpp" -o "$work/pkg_config/stranger" \
    $(pkg-config --cflags --libs korrin) -Wl,-rpath,"$(pkg-config --variable=libdir korrin)"
  # shellcheck disable=SC2046  # a list of words
  "$CXX" -std=c++17 "$stranger/files.cpp" -o "$work/pkg_config/stranger_files" \
    $(pkg-config --cflags --libs korrin-io) -Wl,-rpath,"$(pkg-config --variable=libdir korrin-io)"
  # shellcheck disable=SC2046  # a list of words
  "$CXX" -std=c++17 "$stranger/mapping.cpp" -o "$work/pkg_config/stranger_mapping" \
    $(pkg-config --cflags --libs korrin-mapping) -Wl,-rpath,"$(pkg-config --variable=libdir korrin-mapping)"
}

build_with_cmake() {
  cmake -S "$stranger/$way" -B "$work/$way" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
    "-DCMAKE_PREFIX_PATH=$prefix" "-DEXPECTED_VERSION=$version" "-DKORRIN_SOURCE_DIR=$korrin"
  cmake --build "$work/$way" -j "$(nproc)"
}

# What is korrin's own business stays there: no warning, optimisation or code generation flag
# reaches the stranger, and none of korrin's programs are built. No warning of korrin's stops the
# stranger's build.
check_that_nothing_is_forced() {
  local command
  command=$(grep -F '"command"' "$work/$way/compile_commands.json" | grep -F "$stranger/main.cpp")
  if grep -E ' -([WfmOg]|D)' <<<"$command"; then fail "flags are forced on the stranger"; fi
  if grep -F -e '-Werror' "$work/$way/compile_commands.json"; then fail "warnings are errors"; fi
  grep -E '^CMAKE_BUILD_TYPE:[A-Z]+=$' "$work/$way/CMakeCache.txt" >/dev/null || fail "a build type is set"
  if grep -E '^KORRIN_BUILD_[A-Z]+:BOOL=ON' "$work/$way/CMakeCache.txt"; then fail "more is built"; fi
  if find "$work/$way" -name '*_test' -o -name 'korrin_bench*' | grep .; then fail "tests are built"; fi
  if [ "$way" = add_subdirectory ] && find "$work/$way" -name 'libkorrin_*' | grep .; then
    fail "a further library is built"
  fi
}

case "$way" in
  install)
    install_korrin
    check_pkg_config_directories
    exit 0
    ;;
  pkg_config) build_with_pkg_config ;;
  find_package) build_with_cmake ;;
  add_subdirectory | fetch_content)
    build_with_cmake
    check_that_nothing_is_forced
    ;;
  *) fail "no such way" ;;
esac
"$work/$way/stranger" | diff "$stranger/expected.txt" - || fail "another plan"
if [ -x "$work/$way/stranger_files" ]; then
  real_maps=$(find "$korrin/../shared/data/maps" -name '*.yaml' 2>/dev/null || true)
  # shellcheck disable=SC2086  # a list of words
  (cd "$work/$way" && ./stranger_files $real_maps) | diff "$stranger/expected_files.txt" - ||
    fail "another plan on map files"
fi
if [ -x "$work/$way/stranger_mapping" ]; then
  "$work/$way/stranger_mapping" | diff "$stranger/expected_mapping.txt" - || fail "another graph"
fi
echo "$way: the stranger finds its way"
