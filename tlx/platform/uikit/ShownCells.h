#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace tlx {

/// Which cells of a long list are shown: a range of indices that moves as the list scrolls. Only what comes into the
/// range is asked for, only what leaves it is given back. Whoever is asked may demand everything anew meanwhile. Main
/// thread only.
template <class Cell>
class ShownCells {
 public:
  using Cells = std::map<std::int64_t, std::shared_ptr<Cell>>;

  const Cells& cells() const { return cells_; }
  std::shared_ptr<Cell> cellAt(std::int64_t index) const {
    auto found = cells_.find(index);
    return found == cells_.end() ? nullptr : found->second;
  }

  /// Everything is to be asked anew.
  void invalidate() {
    mustReload_ = true;
    stale_.clear();
  }
  /// One index is to be asked anew; answers false where it is not shown.
  bool invalidate(std::int64_t index) {
    if (mustReload_ || index < first_ || index >= last_) return false;
    if (std::find(stale_.begin(), stale_.end(), index) == stale_.end()) stale_.push_back(index);
    return true;
  }
  bool mustReload() const { return mustReload_; }
  /// Takes the demand to reload; answers whether there was one.
  bool beginReload() { return std::exchange(mustReload_, false); }

  /// Gives back all cells, the last first: queues that answer what came last then put each cell where it was.
  template <class Recycle>
  void clear(Recycle recycle) {
    for (auto cell = cells_.rbegin(); cell != cells_.rend(); ++cell) recycle(cell->second);
    cells_.clear();
    stale_.clear();
    first_ = last_ = 0;
  }

  /// Shows the indices from `first` to before `last`. `ask(index)` makes a cell stand there, or answers nothing for a
  /// place that stays empty. Stops where everything is demanded anew meanwhile. Answers whether any cell came or went.
  template <class Recycle, class Ask>
  bool show(std::int64_t first, std::int64_t last, Recycle recycle, Ask ask) {
    if (first == first_ && last == last_ && stale_.empty()) return false;
    for (auto cell = cells_.begin(); cell != cells_.end();) {
      if (cell->first >= first && cell->first < last) {
        cell = cells_.upper_bound(last - 1);
        if (cell == cells_.end()) break;
      }
      recycle(cell->second);
      cell = cells_.erase(cell);
    }
    const std::int64_t firstBefore = std::exchange(first_, first), lastBefore = std::exchange(last_, last);
    for (const std::int64_t index : std::exchange(stale_, {})) {
      if (index < first || index >= last) continue;
      if (auto old = cells_.find(index); old != cells_.end()) {
        recycle(old->second);
        cells_.erase(old);
      }
      if (!fill(index, recycle, ask)) return true;
    }
    for (std::int64_t index = first; index < last; ++index) {
      const bool asked = index >= firstBefore && index < lastBefore;
      if (!asked && !fill(index, recycle, ask)) return true;
    }
    return true;
  }

 private:
  template <class Recycle, class Ask>
  bool fill(std::int64_t index, Recycle& recycle, Ask& ask) {
    std::shared_ptr<Cell> cell = ask(index);
    if (mustReload_) {
      if (cell) recycle(cell);
      return false;
    }
    if (cell) cells_[index] = std::move(cell);
    return true;
  }

  Cells cells_;
  std::int64_t first_ = 0, last_ = 0;  // asked for, whether or not a cell was answered
  std::vector<std::int64_t> stale_;
  bool mustReload_ = true;
};

}  // namespace tlx
