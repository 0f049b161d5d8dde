#include "tests/adapters/memory/OnMemory.h"
#include "tests/contracts/CameraContract.h"

namespace tlx::contracts {
namespace {

class MemoryCameraWorld final : public OnMemory<CameraWorld> {
 public:
  /// Each turn the camera shows another picture.
  bool runUntil(const std::function<bool()>& done) override {
    for (int turn = 0; turn < 1000; ++turn) {
      platform_.runUntilIdle();
      if (done()) return true;
      auto* const session = platform_.camera.bench.session;
      if (!session) continue;
      session->record(0.1);
      if (goes_ && session->recordedSeconds().value_or(0) > 1) {
        const auto device = platform_.camera.bench.devices.front();
        platform_.camera.unplug(device.identifier);
        platform_.camera.plugIn(device);
      }
    }
    return false;
  }
  CameraPort* camera(Cameras cameras) override {
    goes_ = cameras == Cameras::GoWhileRecording;
    if (cameras == Cameras::None) platform_.camera.bench.devices.clear();
    return &platform_.camera;
  }

 private:
  bool goes_ = false;
};

INSTANTIATE_TEST_SUITE_P(Memory, CameraContract, testing::Values(&makeWorld<CameraWorld, MemoryCameraWorld>));

}  // namespace
}  // namespace tlx::contracts
