#include "adapters/memory/MemoryResources.h"
#include "tests/adapters/memory/OnMemory.h"
#include "tests/contracts/SceneContract.h"
#include "tests/contracts/ScreenContract.h"

namespace tlx::contracts {
namespace {

class MemorySceneWorld final : public OnMemory<SceneWorld> {
 public:
  MemorySceneWorld() { platform_.library.setStatus(PHAuthorizationStatusDenied); }
  ResourcePort& resources() override { return platform_.resources; }
};

INSTANTIATE_TEST_SUITE_P(Memory, SceneContract, testing::Values(&makeWorld<SceneWorld, MemorySceneWorld>));

class MemoryScreenWorld final : public ScreenWorld {
 public:
  TextMeasurementPort& text() override { return platform_.textMeasurement; }
  ApplicationPort& application() override { return platform_.application; }
  std::size_t settingsOpened() override { return platform_.application.openedURLs().size(); }

 private:
  memory::MemoryPlatform platform_;
};

INSTANTIATE_TEST_SUITE_P(Memory, ScreenContract, testing::Values(&makeWorld<ScreenWorld, MemoryScreenWorld>));

}  // namespace
}  // namespace tlx::contracts
