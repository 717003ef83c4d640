// Places found again, where the graph is not sure how far they are.
#pragma once

#include <optional>
#include <vector>

#include "mapping/key_graph.hpp"
#include "mapping/overlay.hpp"

namespace Brin::mapping {

// Looks for places again, and waits with each until others say the same.
class LoopSearch {
 public:
  // Loops that can be told now that `key`, the last one, has come: to it, and to earlier ones that
  // had waited. `seen` is what the graph knows of all keys from there.
  std::vector<KeyLink> find(const KeyGraph& graph, std::size_t key,
                            const std::vector<SeenKey>& seen);

  // How many suggestions others have not agreed with so far.
  std::size_t waiting() const;

  // What find() changes, to be undone.
  struct Snapshot {
    std::vector<bool> isTaken;  // of each suggestion
    double failedAt;
  };
  Snapshot snapshot() const;
  void restore(const Snapshot& before) noexcept;

 private:
  // A loop that may be one.
  struct Suggestion {
    KeyLink link;
    double share = 0.0;  // of points matched
    bool isTaken = false;
  };

  static std::vector<Suggestion> suggestionsFor(const KeyGraph& graph, std::size_t key,
                                                const std::vector<SeenKey>& seen);
  // Of one place, `seen` as told, where `points` of the way so far are searched.
  static std::optional<Suggestion> suggestionAt(const KeyGraph& graph, const Overlay& overlay,
                                                const SeenKey& seen,
                                                const std::vector<Point2D>& points);
  std::vector<KeyLink> agreedWith(const KeyGraph& graph, std::size_t index);
  static bool agree(const KeyGraph& graph, const KeyLink& one, const KeyLink& other);
  static bool hasRival(const KeyGraph& graph, const Suggestion& one,
                       const std::vector<Suggestion>& all);

  std::vector<Suggestion> suggestions_;
  double failedAt_ = -1e9;  // the way at the last search that found nothing
};

}  // namespace Brin::mapping
