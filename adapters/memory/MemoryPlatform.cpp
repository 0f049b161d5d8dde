#include "adapters/memory/MemoryPlatform.h"

namespace tlx::memory {

MemoryPlatform::MemoryPlatform() {
  platform_.emplace(Platform::Ports{loop, loop, loop, runLoops, library, faults, reachability, resources,
                                    textMeasurement, presentation, application, systemLog, camera, camera});
  application.openWindow({375, 667});
  loop.setLayoutPass([this] {
    if (const auto window = application.window()) window->layoutIfNeeded();
  });
}

MemoryPlatform::~MemoryPlatform() {
  // The threads first; then everything that holds closures, while those that go can still reach the platform.
  background.end();
  loop.clear();
  faults.clear();
  images.clear();
  library.clear();
  camera.clear();
  application.closeWindow();
  loop.clear();
  platform_.reset();
}

}  // namespace tlx::memory
