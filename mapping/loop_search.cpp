#include "mapping/loop_search.hpp"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>

#include "mapping/local_search.hpp"
#include "mapping/overlay.hpp"
#include "mapping/pair_fit.hpp"
#include "mapping/roundness.hpp"

namespace Brin::mapping {
namespace {

constexpr std::size_t kQueryKeys = 8;  // at most, up to the last key

constexpr double kPause = 0.5;       // metres of way after a search in vain
constexpr double kView = 4.0;        // metres between scans of one place
constexpr double kDeviations = 3.0;  // of the uncertainty, that are searched
constexpr double kMostShift = 5.0;   // metres of deviation that count towards an old key's reach
constexpr std::size_t kMostPlaces = 6;
constexpr double kPlacesApart = 3.0;  // metres of way
constexpr double kMetresPerRadian = 0.5;

constexpr double kLeastReach = 0.5, kMostReach = 8.0;  // metres of a window
constexpr double kLeastTurn = 0.1, kMostTurn = 1.0;    // radians of a window
constexpr double kResolution = 0.1;                    // metres
constexpr double kTurnStep = 0.035;                    // radians
constexpr double kPointReach = 12.0;                   // metres
constexpr double kReferenceReach = 18.0;               // metres
constexpr double kPointSpacing = 0.15;                 // metres
constexpr std::size_t kLeastPoints = 40;

constexpr double kLeastScore = 0.4;
constexpr double kRivalApart = 1.0;  // metres from which on another pose is a rival,
constexpr double kRivalShare = 0.9;  // when it scores so much of the best,
constexpr double kRivalPlace = 0.8;  // or another place has so much of its points matched
constexpr double kLeastRatio = 0.8;  // of points that the other side agrees with
constexpr double kLeastShare = 0.5;  // of points that are matched

// In a bare corridor it is below 0.02, and in most other places above 0.1.
constexpr double kLeastRoundness = 0.05;

// What suggestions may differ by, and more for each metre of the way between them.
constexpr double kShiftApart = 0.15, kShiftPerMetre = 0.02;
constexpr double kTurnApart = 0.04, kTurnPerMetre = 0.004;
constexpr double kMostWay = 20.0;   // metres that count, between the old keys
constexpr double kGroupWay = 15.0;  // metres of way within which suggestions wait for each other
constexpr double kGroupSpan = 2.5;  // metres of way that they must span
constexpr std::size_t kGroupSize = 3;

double wayBetween(const KeyGraph& graph, std::size_t one, std::size_t other) {
  return std::fabs(graph.keys[one].path - graph.keys[other].path);
}

// Old keys that may be near, the likeliest first, none of them close to another on the way.
std::vector<std::size_t> placesFor(const KeyGraph& graph, std::size_t key,
                                   const std::vector<SeenKey>& seen) {
  std::vector<std::pair<double, std::size_t>> byDistance;
  for (std::size_t i = 0; i < key; ++i) {
    if (!seen[i].reached || isSure(seen[i])) continue;
    if (wayBetween(graph, key, i) <= 2.0 * kRecentWay) continue;
    const double distance = std::hypot(seen[i].pose.x, seen[i].pose.y);
    if (distance >= kView + kDeviations * std::min(seen[i].shift(), kMostShift)) continue;
    byDistance.emplace_back(distance + kMetresPerRadian * std::fabs(seen[i].pose.theta), i);
  }
  std::sort(byDistance.begin(), byDistance.end());
  std::vector<std::size_t> places;
  for (const auto& [distance, index] : byDistance) {
    const bool isApart = std::all_of(places.begin(), places.end(), [&, i = index](std::size_t p) {
      return wayBetween(graph, p, i) >= kPlacesApart;
    });
    if (isApart) places.push_back(index);
    if (places.size() == kMostPlaces) break;
  }
  return places;
}

// The hits of a stretch as seen from `key`, one in each square of a grid.
std::vector<Point2D> pointsOf(const KeyGraph& graph, const std::vector<std::size_t>& stretch,
                              std::size_t key) {
  std::vector<Point2D> points;
  std::set<std::pair<int, int>> squares;
  for (const std::size_t index : stretch) {
    const Frame frame(seenFrom(graph.keys[key].pose, graph.keys[index].pose));
    for (const SurfacePoint& hit : graph.keys[index].surface.points()) {
      if (hit.range >= kPointReach) continue;
      const double x = frame.outX(hit.x, hit.y);
      const double y = frame.outY(hit.x, hit.y);
      const int column = static_cast<int>(std::floor(x / kPointSpacing));
      const int row = static_cast<int>(std::floor(y / kPointSpacing));
      if (!squares.insert({column, row}).second) continue;
      points.emplace_back(static_cast<float>(x), static_cast<float>(y));
    }
  }
  return points;
}

SearchWindow windowFor(const SeenKey& seen) {
  const GraphPose centre = seenFrom(seen.pose, {});  // the key's, seen from the place
  return {centre, std::min(kMostReach, kLeastReach + kDeviations * seen.shift()),
          std::min(kMostTurn, kLeastTurn + kDeviations * seen.turn())};
}

// The window that is searched is a square; its corners are farther away than the uncertainty.
bool isWithin(const SearchWindow& window, const GraphPose& pose) {
  return std::hypot(pose.x - window.centre.x, pose.y - window.centre.y) <= window.reach;
}

}  // namespace

bool LoopSearch::agree(const KeyGraph& graph, const KeyLink& one, const KeyLink& other) {
  const auto seen = [&graph](std::size_t from, std::size_t to) {
    return seenFrom(graph.keys[from].pose, graph.keys[to].pose);
  };
  const GraphPose around =
      composed(seen(other.from, one.from), composed(one.motion, seen(one.to, other.to)));
  const GraphPose off = seenFrom(other.motion, around);
  const double way = wayBetween(graph, one.to, other.to) +
                     std::min(kMostWay, wayBetween(graph, one.from, other.from));
  return std::hypot(off.x, off.y) < kShiftApart + kShiftPerMetre * way &&
         std::fabs(off.theta) < kTurnApart + kTurnPerMetre * way;
}

bool LoopSearch::hasRival(const KeyGraph& graph, const Suggestion& one,
                          const std::vector<Suggestion>& all) {
  return std::any_of(all.begin(), all.end(), [&](const Suggestion& other) {
    return &other != &one && other.share > kRivalPlace * one.share &&
           !agree(graph, one.link, other.link);
  });
}

std::optional<LoopSearch::Suggestion> LoopSearch::suggestionAt(const KeyGraph& graph,
                                                               const Overlay& overlay,
                                                               const SeenKey& seen,
                                                               const std::vector<Point2D>& points) {
  const std::size_t place = overlay.place();
  const LocalSearch search(graph, overlay.reference(), graph.keys[place].pose, kReferenceReach,
                           kResolution);
  const SearchWindow window = windowFor(seen);
  const std::vector<FoundPose> first = search.best(points, window, kTurnStep);
  if (first.empty() || first[0].score < kLeastScore) return std::nullopt;
  PoseEquation equation;
  const GraphPose pose = overlay.fitted(first[0].pose, equation);
  if (!isWithin(window, pose)) return std::nullopt;
  if (roundness(equation.information) < kLeastRoundness) return std::nullopt;
  const auto [here, there] = overlay.agreements(pose);
  if (std::min(here.ratio(), there.ratio()) < kLeastRatio) return std::nullopt;
  if (here.share() < kLeastShare) return std::nullopt;
  const std::vector<FoundPose> both = search.best(points, window, kTurnStep, 2, kRivalApart);
  if (both.size() > 1 && both[1].score > kRivalShare * both[0].score) return std::nullopt;
  const double weight = kInformationOfPoints / static_cast<double>(overlay.reference().size());
  const KeyLink link{place,          overlay.key(), pose, weight * equation.information,
                     LinkKind::Loop, false};
  return Suggestion{link, here.share(), false};
}

std::vector<LoopSearch::Suggestion> LoopSearch::suggestionsFor(const KeyGraph& graph,
                                                               std::size_t key,
                                                               const std::vector<SeenKey>& seen) {
  std::vector<Suggestion> found;
  const std::vector<std::size_t> query = graph.stretch(key, kStretch, kQueryKeys, false);
  const std::vector<Point2D> points = pointsOf(graph, query, key);
  if (points.size() < kLeastPoints) return found;
  for (const std::size_t place : placesFor(graph, key, seen)) {
    const auto one = suggestionAt(graph, Overlay(graph, place, key, query), seen[place], points);
    if (one) found.push_back(*one);
  }
  return found;
}

std::vector<KeyLink> LoopSearch::agreedWith(const KeyGraph& graph, std::size_t index) {
  std::vector<std::size_t> group = {index};
  const KeyLink& last = suggestions_[index].link;
  double span = 0.0;
  for (std::size_t i = suggestions_.size(); i > 0; --i) {
    const KeyLink& link = suggestions_[i - 1].link;
    if (link.to == last.to) continue;
    if (wayBetween(graph, link.to, last.to) >= kGroupWay) break;
    const bool fits = std::all_of(group.begin(), group.end(), [&](std::size_t member) {
      return agree(graph, suggestions_[member].link, link);
    });
    if (!fits) continue;
    group.push_back(i - 1);
    span = std::max(span, wayBetween(graph, link.to, last.to));
  }
  std::vector<KeyLink> agreed;
  if (group.size() < kGroupSize || span < kGroupSpan) return agreed;
  for (const std::size_t member : group) {
    if (suggestions_[member].isTaken) continue;
    suggestions_[member].isTaken = true;
    agreed.push_back(suggestions_[member].link);
  }
  return agreed;
}

std::size_t LoopSearch::waiting() const {
  return static_cast<std::size_t>(
      std::count_if(suggestions_.begin(), suggestions_.end(),
                    [](const Suggestion& suggestion) { return !suggestion.isTaken; }));
}

LoopSearch::Snapshot LoopSearch::snapshot() const {
  std::vector<bool> isTaken;
  for (const Suggestion& suggestion : suggestions_) isTaken.push_back(suggestion.isTaken);
  return {std::move(isTaken), failedAt_};
}

void LoopSearch::restore(const Snapshot& before) noexcept {
  const std::size_t count = before.isTaken.size();
  suggestions_.erase(suggestions_.begin() + static_cast<std::ptrdiff_t>(count), suggestions_.end());
  for (std::size_t i = 0; i < count; ++i) suggestions_[i].isTaken = before.isTaken[i];
  failedAt_ = before.failedAt;
}

std::vector<KeyLink> LoopSearch::find(const KeyGraph& graph, std::size_t key,
                                      const std::vector<SeenKey>& seen) {
  const double way = graph.keys[key].path;
  if (way - failedAt_ < kPause) return {};
  const std::vector<Suggestion> found = suggestionsFor(graph, key, seen);
  const std::size_t before = suggestions_.size();
  for (const Suggestion& suggestion : found) {
    if (!hasRival(graph, suggestion, found)) suggestions_.push_back(suggestion);
  }
  if (suggestions_.size() == before) failedAt_ = way;
  std::vector<KeyLink> loops;
  for (std::size_t i = suggestions_.size(); i > before; --i) {
    const std::vector<KeyLink> agreed = agreedWith(graph, i - 1);
    loops.insert(loops.end(), agreed.begin(), agreed.end());
  }
  return loops;
}

}  // namespace Brin::mapping
