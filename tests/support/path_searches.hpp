// Comparing what two searches for a path left behind, the library's and the model's.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "support/bits.hpp"

namespace korrin_test {

template <typename NodeA, typename NodeB>
bool sameNode(const NodeA& a, const NodeB& b) {
  return a.x == b.x && a.y == b.y && a.parent == b.parent && sameBits(a.theta, b.theta) &&
         sameBits(a.f, b.f) && sameBits(a.g, b.g) && sameBits(a.h, b.h);
}

template <typename NodeA, typename NodeB>
::testing::AssertionResult sameNodes(const std::vector<NodeA>& a, const std::vector<NodeB>& b) {
  if (a.size() != b.size()) {
    return ::testing::AssertionFailure() << a.size() << " nodes, not " << b.size();
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!sameNode(a[i], b[i])) return ::testing::AssertionFailure() << "node " << i << " differs";
  }
  return ::testing::AssertionSuccess();
}

template <typename Finder, typename Model>
::testing::AssertionResult sameSearch(const Finder& finder, const Model& model) {
  if (finder.numIterations != model.numIterations) {
    return ::testing::AssertionFailure()
           << finder.numIterations << " iterations, not " << model.numIterations;
  }
  if (auto same = sameNodes(finder.closedNodes, model.closedNodes); !same) {
    return same << " among the closed";
  }
  if (auto same = sameNodes(finder.nodes, model.nodes); !same) return same << " among all nodes";
  if (finder.openList != model.openList) {
    return ::testing::AssertionFailure() << "the open lists differ";
  }
  for (std::size_t i = 0; i < model.cellStates.size(); ++i) {
    if (finder.cellStates[i] != model.cellStates[i] || finder.cellNodes[i] != model.cellNodes[i]) {
      return ::testing::AssertionFailure() << "entry " << i << " of the arrays differs";
    }
  }
  return ::testing::AssertionSuccess();
}

}  // namespace korrin_test
