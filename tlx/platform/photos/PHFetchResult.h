#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace tlx {

/// An immutable ordered list of what a fetch found. Shared, never copied: two fetches that find the same may return
/// the same object. May be read on any thread.
template <class Object>
class PHFetchResult {
 public:
  using Element = std::shared_ptr<const Object>;

  PHFetchResult() = default;
  explicit PHFetchResult(std::vector<Element> objects) : objects_(std::move(objects)) {}

  std::size_t count() const { return objects_.size(); }
  /// Nothing at or past the count.
  Element objectAtIndex(std::size_t index) const { return index < objects_.size() ? objects_[index] : nullptr; }
  Element firstObject() const { return objectAtIndex(0); }
  auto begin() const { return objects_.begin(); }
  auto end() const { return objects_.end(); }

 private:
  std::vector<Element> objects_;
};

}  // namespace tlx
