#include "adapters/photolibrary/catalogue/HeldNews.h"

#include <utility>

namespace tlx::photolibrary {

bool HeldNews::isHeld() const {
  std::lock_guard lock(mutex_);
  return saves_ > 0 || !expected_.empty();
}

void HeldNews::beginSave() {
  std::lock_guard lock(mutex_);
  ++saves_;
}

void HeldNews::endSave() {
  std::lock_guard lock(mutex_);
  --saves_;
  tellIfReleased();
}

void HeldNews::expectRequests(const std::vector<Identifier>& items) {
  std::lock_guard lock(mutex_);
  for (const Identifier& item : items) expected_.emplace(item, 0);
}

void HeldNews::stopExpecting(const std::vector<Identifier>& items) {
  std::lock_guard lock(mutex_);
  std::size_t ended = 0;
  for (const Identifier& item : items) {
    if (const auto found = expected_.find(item); found != expected_.end() && found->second == 0) {
      expected_.erase(found);
      ++ended;
    }
  }
  if (ended > 0) tellIfReleased();
}

std::shared_ptr<const void> HeldNews::beginRequest(const Identifier& item) {
  std::lock_guard lock(mutex_);
  const auto found = expected_.find(item);
  if (found == expected_.end()) return nullptr;
  ++found->second;
  // Whoever asked may let go after the library is gone.
  return {this, [self = shared_from_this(), item](const void*) { self->endRequest(item); }};
}

void HeldNews::endRequest(const Identifier& item) {
  std::lock_guard lock(mutex_);
  const auto found = expected_.find(item);
  if (--found->second > 0) return;
  expected_.erase(found);
  tellIfReleased();
}

void HeldNews::close() {
  std::lock_guard lock(mutex_);
  released_ = nullptr;
}

void HeldNews::tellIfReleased() {
  if (saves_ == 0 && expected_.empty() && released_) released_();
}

}  // namespace tlx::photolibrary
