#include "adapters/memory/MemoryPlatform.h"
#include "adapters/memory/MemoryResources.h"
#include "tests/contracts/SceneContract.h"
#include "tests/contracts/ScreenContract.h"

namespace tlx::contracts {
namespace {

class MemorySceneWorld final : public SceneWorld {
 public:
  MemorySceneWorld() { platform_.library.setStatus(PHAuthorizationStatusDenied); }

  MainQueuePort& mainQueue() override { return platform_.loop; }
  bool runUntil(const std::function<bool()>& done) override { return platform_.loop.runUntil(done); }
  void settle() override { platform_.runUntilIdle(); }

  ResourcePort& resources() override { return platform_.resources; }

 private:
  memory::MemoryPlatform platform_;
};

std::unique_ptr<SceneWorld> makeMemoryWorld() {
  return std::make_unique<MemorySceneWorld>();
}

INSTANTIATE_TEST_SUITE_P(Memory, SceneContract, testing::Values(&makeMemoryWorld));

class MemoryScreenWorld final : public ScreenWorld {
 public:
  TextMeasurementPort& text() override { return platform_.textMeasurement; }
  ApplicationPort& application() override { return platform_.application; }
  std::size_t settingsOpened() override { return platform_.application.openedURLs().size(); }

 private:
  memory::MemoryPlatform platform_;
};

std::unique_ptr<ScreenWorld> makeScreenWorld() {
  return std::make_unique<MemoryScreenWorld>();
}

INSTANTIATE_TEST_SUITE_P(Memory, ScreenContract, testing::Values(&makeScreenWorld));

}  // namespace
}  // namespace tlx::contracts
