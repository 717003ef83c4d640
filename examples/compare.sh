#!/bin/sh
# Runs a program and compares what it prints, errors included, with a file.
#
#   examples/compare.sh PROGRAM EXPECTED [INTERPRETER]
set -eu
printed=$(mktemp)
trap 'rm -f "$printed"' EXIT
${3:+"$3"} "$1" >"$printed" 2>&1 || { cat "$printed"; echo "$1 failed"; exit 1; }
diff "$2" "$printed"
