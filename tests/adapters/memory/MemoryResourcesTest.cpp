#include "adapters/memory/MemoryPlatform.h"
#include "adapters/memory/MemoryResources.h"
#include "tests/contracts/SceneContract.h"

namespace tlx::contracts {
namespace {

class MemorySceneWorld final : public SceneWorld {
 public:
  MemorySceneWorld() { platform_.library.setStatus(PHAuthorizationStatusDenied); }

  MainQueuePort& mainQueue() override { return platform_.loop; }
  bool runUntil(const std::function<bool()>& done) override { return platform_.loop.runUntil(done); }
  void settle() override { platform_.runUntilIdle(); }

  ResourcePort& resources() override { return platform_.resources; }
  std::vector<std::string> openedURLs() override { return platform_.application.openedURLs(); }
  bool disconnect(const std::string& className, const std::string& outlet) override {
    platform_.resources.disconnect(className, outlet);
    return true;
  }
  bool replace(const std::string& className, const std::string& outlet, const std::string& byClass) override {
    platform_.resources.replace(className, outlet, byClass);
    return true;
  }

 private:
  memory::MemoryPlatform platform_;
};

std::unique_ptr<SceneWorld> makeMemoryWorld() {
  return std::make_unique<MemorySceneWorld>();
}

INSTANTIATE_TEST_SUITE_P(Memory, SceneContract, testing::Values(&makeMemoryWorld));

}  // namespace
}  // namespace tlx::contracts
