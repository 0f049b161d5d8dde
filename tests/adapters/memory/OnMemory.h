#pragma once

#include "adapters/memory/MemoryPlatform.h"

namespace tlx::contracts {

/// A suite's world on the memory platform.
template <class World>
class OnMemory : public World {
 public:
  MainQueuePort& mainQueue() override { return platform_.loop; }
  bool runUntil(const std::function<bool()>& done) override { return platform_.loop.runUntil(done); }
  void settle() override { platform_.runUntilIdle(); }

 protected:
  memory::MemoryPlatform platform_;
};

}  // namespace tlx::contracts
