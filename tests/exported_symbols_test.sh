#!/bin/bash
# The names that libkorrin.so lets its callers link to are exactly those of exported_symbols.txt, so
# that a change of the binary interface is a visible decision. `scripts/update-symbols` rewrites it.
#
#   tests/exported_symbols_test.sh LIBRARY            compares
#   tests/exported_symbols_test.sh LIBRARY --print    lists what the library exports
set -euo pipefail
export LC_ALL=C

library=$1
expected=$(dirname "$0")/exported_symbols.txt

# Demangled, one a line; the variants of a constructor have one name.
exported() { nm -D --defined-only -C "$library" | sed 's/^[0-9a-f]* [A-Za-z] //' | sort -u; }

if [ "${2:-}" = --print ]; then
  exported
  exit 0
fi

failures=0
if exported | grep -vE '^([a-z ]+ )?Brin::'; then
  echo "the library exports these names, which are not Brin's"
  failures=1
fi

# What each family offers. Plain records live in the headers alone.
for name in \
  OccMapPathFinder::computePath initNeighborDeltas kSimpleNeighborDeltas kDoubleNeighborDeltas \
  kTripleNeighborDeltas computeCoarserMap pathUpSample \
  OccupancyMapper::updateMap ScanModel occMapGetRange occMapSimulateScan fillOccMapFromScan \
  ObstacleDilater::dilate imgMultiplyProb8 imgMultiplyProb32F occMapMultiplyProb \
  scrollIplImage scrollOccMap scrollOccMapInPlace mergeImages2 rotateIplImage90 rotateIplImage90_2 \
  SafePathSimplifier::sample findClosestInVect mergePathCostStats computePathCostStat \
  findFirstFreeCell findFirstGrayCell findFirstFreeCellInLine findFirstCellWithCond \
  findObstaclesMainDirection \
  findScanHoles findScanHoles_old headingAmpCompare \
  ScanDistMap::build ScanDistMap::score scanScore buildLaserDistance completeLog; do
  if ! grep -qE "^([a-z]+ )?Brin::$name(\(|<|::|$)" "$expected"; then
    echo "$name is missing from the list"
    failures=1
  fi
done

if ! exported | diff -u --label exported_symbols.txt --label "$library" "$expected" -; then
  echo "If this change of the binary interface is intended, run scripts/update-symbols."
  failures=1
fi
exit "$failures"
