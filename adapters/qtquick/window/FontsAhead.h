#pragma once

#include <thread>

namespace tlx::qtquick {

/// Reads what fonts the machine has on a thread of its own, for which the first text that is laid out would wait. Made
/// first of all, before the application object; its destructor waits until they have been read. Any thread.
class FontsAhead {
 public:
  FontsAhead();
  ~FontsAhead();
  FontsAhead(const FontsAhead&) = delete;
  FontsAhead& operator=(const FontsAhead&) = delete;

 private:
  std::thread reading_;
};

}  // namespace tlx::qtquick
