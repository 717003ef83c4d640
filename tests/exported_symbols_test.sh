#!/bin/bash
# The names that a library lets its callers link to are exactly those of exported_symbols.txt, for
# libkorrin_io.so exported_symbols_io.txt, for libkorrin_mapping.so exported_symbols_mapping.txt, so that a change of the binary interface is a visible
# decision. `scripts/update-symbols` rewrites them.
#
#   tests/exported_symbols_test.sh LIBRARY LIST       compares
#   tests/exported_symbols_test.sh LIBRARY --print    lists what the library exports
set -euo pipefail
export LC_ALL=C

library=$1
expected=$2

# Demangled, one a line; the variants of a constructor have one name.
exported() { nm -D --defined-only -C "$library" | sed 's/^[0-9a-f]* [A-Za-z] //' | sort -u; }

if [ "$expected" = --print ]; then
  exported
  exit 0
fi

failures=0
if exported | grep -vE '^([a-z ]+ )?Brin::'; then
  echo "the library exports these names, which are not Brin's"
  failures=1
fi

# What each family offers. Plain records live in the headers alone.
case "$expected" in
  *_mapping.txt) offered="gridAround buildGrid croppedToFree judgeGrid PoseGraph::solve
    PoseGraph::squaredResidual composed seenFrom toG2o parseG2o readG2o writeG2o alignLog
    graphOf writeTrack ScanAligner::ScanAligner ScanAligner::add ScanAligner::poses
    ScanAligner::keyScans ScanAligner::links ScanAligner::graph ScanAligner::summary" ;;
  *_io.txt) offered="FileError::FileError readMapFile writeMapFile readLaserLog parseLaserLog
    writeLaserLog readPathFile writePathFile" ;;
  *) offered="
  OccMapPathFinder::computePath initNeighborDeltas kSimpleNeighborDeltas kDoubleNeighborDeltas
  kTripleNeighborDeltas computeCoarserMap pathUpSample
  OccupancyMapper::updateMap ScanModel occMapGetRange occMapSimulateScan fillOccMapFromScan
  ObstacleDilater::dilate imgMultiplyProb8 imgMultiplyProb32F occMapMultiplyProb
  scrollIplImage scrollOccMap scrollOccMapInPlace mergeImages2 rotateIplImage90 rotateIplImage90_2
  SafePathSimplifier::sample describe findClosestInVect mergePathCostStats computePathCostStat
  findFirstFreeCell findFirstGrayCell findFirstFreeCellInLine findFirstCellWithCond
  findObstaclesMainDirection
  findScanHoles findScanHoles_old headingAmpCompare
  ScanDistMap::build ScanDistMap::score scanScore buildLaserDistance completeLog" ;;
esac
for name in $offered; do
  if ! grep -qE "^([a-z]+ )?Brin::((io|mapping)::)?$name(\[[a-z0-9:]+\])?(\(|<|::|$)" "$expected"; then
    echo "$name is missing from the list"
    failures=1
  fi
done

if ! exported | diff -u --label "${expected##*/}" --label "$library" "$expected" -; then
  echo "If this change of the binary interface is intended, run scripts/update-symbols."
  failures=1
fi
exit "$failures"
