#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tlx {

/// Tells whoever listens for a name. Any thread.
class NSNotificationCenter {
 public:
  using ObserverId = std::uint64_t;
  /// `object` is the poster, valid for the call.
  using Observer = std::function<void(const std::string& name, const void* object)>;

  /// The one centre of the installed platform.
  static std::shared_ptr<NSNotificationCenter> defaultCenter();

  /// The observer is called on whichever thread posts, until it is removed; a post that is under way on another thread
  /// may still reach it then. Holds no lock while it calls.
  ObserverId addObserverForName(std::string name, Observer observer);
  void removeObserver(ObserverId observer);
  /// Calls the observers of the name in the order they were added, on the calling thread, before it returns.
  void postNotificationName_object(const std::string& name, const void* object);

 private:
  struct Entry {
    ObserverId id;
    std::string name;
    std::shared_ptr<const Observer> observer;
  };

  std::mutex mutex_;
  ObserverId last_ = 0;
  std::vector<Entry> entries_;
};

}  // namespace tlx
