// A path finder as the module holds it.
#pragma once

#include <pybind11/pybind11.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "python/src/arrays.hpp"
#include "python/src/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {

// A finder, the map that it plans on, and the size of its arrays.
class Finder {
 public:
  Finder(std::shared_ptr<Brin::OccupancyMap> map, float value) : map_(std::move(map)) {
    unlockedAlone([&] { finder_ = std::make_unique<Brin::OccMapPathFinder>(map_.get(), value); });
  }

  // A finder made of its pickle. Unlike a new one it leaves the weight of all finders alone.
  static std::unique_ptr<Finder> remade(std::shared_ptr<Brin::OccupancyMap> map, float value,
                                        const std::function<void(Brin::OccMapPathFinder&)>& set) {
    std::unique_ptr<Finder> made(new Finder(std::move(map)));
    unlockedAlone([&] {
      const float weight = Brin::OccMapPathFinder::Node::hWeight;
      made->finder_ = std::make_unique<Brin::OccMapPathFinder>(made->map_.get(), value);
      Brin::OccMapPathFinder::setHWeight(weight);
      set(*made->finder_);
    });
    return made;
  }

  std::shared_ptr<Brin::OccupancyMap> map() const { return map_; }

  void setMap(std::shared_ptr<Brin::OccupancyMap> map) {
    // Swapped while no request runs; the old map goes when the lock is left.
    unlockedAlone([&] {
      map_.swap(map);
      finder_->setOccMap(map_.get());
    });
  }

  // Reads or sets a field while no request runs.
  template <typename Value>
  Value get(Value Brin::OccMapPathFinder::*field) const {
    Value value{};
    unlockedAlone([&] { value = finder_.get()->*field; });
    return value;
  }
  template <typename Value>
  void set(Value Brin::OccMapPathFinder::*field, const Value& value) {
    unlockedAlone([&] { finder_.get()->*field = value; });
  }

  // Does `work` with the finder while no other request runs.
  template <typename Work>
  void with(const Work& work) {
    unlockedAlone([&] { work(*finder_); });
  }

  // The same for work that may search, and so replace the arrays. They are put away meanwhile: if
  // there are others afterwards, a request was accepted and they are of the coarse map's size.
  template <typename Work>
  void search(const Work& work) {
    unlockedAlone([&] {
      auto states = std::move(finder_->cellStates);
      auto restore = [&] {
        if (!finder_->cellStates) finder_->cellStates = std::move(states);
      };
      try {
        work(*finder_);
      } catch (...) {
        columns_ = rows_ = 0;
        restore();
        throw;
      }
      if (finder_->cellStates) {
        columns_ = finder_->coarseMap.image->width;
        rows_ = finder_->coarseMap.image->height;
      }
      restore();
    });
  }

  // A copy of one of the arrays, rows x columns; None before the first accepted request.
  py::object array(Brin::OccMapPathFinder::CellArray Brin::OccMapPathFinder::*field) {
    std::vector<std::int32_t> cells;
    py::ssize_t columns = 0;
    py::ssize_t rows = 0;
    with([&](Brin::OccMapPathFinder& finder) {
      const std::int32_t* first = (finder.*field).get();
      columns = columns_;
      rows = rows_;
      if (first != nullptr) cells.assign(first, first + columns * rows);
    });
    if (cells.empty()) return py::none();
    return takeOver(std::move(cells)).reshape({rows, columns});
  }

  // One entry of an array; IndexError off the map of the last accepted request.
  std::int32_t entry(const Brin::Pose2Di& cell,
                     Brin::OccMapPathFinder::CellArray Brin::OccMapPathFinder::*field) {
    std::int32_t value = 0;
    with([&](Brin::OccMapPathFinder& finder) {
      if (cell.x < 0 || cell.y < 0 || cell.x >= columns_ || cell.y >= rows_) {
        throw py::index_error("the cell is off the map of the last accepted request");
      }
      value =
          (finder.*field)[static_cast<std::size_t>(cell.y) * static_cast<std::size_t>(columns_) +
                          static_cast<std::size_t>(cell.x)];
    });
    return value;
  }

 private:
  explicit Finder(std::shared_ptr<Brin::OccupancyMap> map) : map_(std::move(map)) {}

  std::shared_ptr<Brin::OccupancyMap> map_;
  std::unique_ptr<Brin::OccMapPathFinder> finder_;
  std::int32_t columns_ = 0;
  std::int32_t rows_ = 0;
};

using FinderClass = py::class_<Finder>;

// The steps of a search, one by one, and the tables of neighbours.
void bindFinderSteps(FinderClass& type);
void bindNeighborTables(py::module_& module);

}  // namespace korrin_python
