#include "tlx/platform/foundation/NSNotificationCenter.h"

#include <algorithm>
#include <utility>

#include "tlx/platform/Platform.h"

namespace tlx {

std::shared_ptr<NSNotificationCenter> NSNotificationCenter::defaultCenter() {
  return Platform::current().once<NSNotificationCenter>([] { return std::make_shared<NSNotificationCenter>(); });
}

NSNotificationCenter::ObserverId NSNotificationCenter::addObserverForName(std::string name, Observer observer) {
  std::lock_guard lock(mutex_);
  entries_.push_back({++last_, std::move(name), std::make_shared<const Observer>(std::move(observer))});
  return last_;
}

void NSNotificationCenter::removeObserver(ObserverId observer) {
  std::lock_guard lock(mutex_);
  std::erase_if(entries_, [observer](const Entry& entry) { return entry.id == observer; });
}

void NSNotificationCenter::postNotificationName_object(const std::string& name, const void* object) {
  std::vector<std::shared_ptr<const Observer>> told;
  {
    std::lock_guard lock(mutex_);
    for (const Entry& entry : entries_) {
      if (entry.name == name) told.push_back(entry.observer);
    }
  }
  for (const auto& observer : told) (*observer)(name, object);
}

}  // namespace tlx
