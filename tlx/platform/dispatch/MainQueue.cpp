#include "tlx/platform/dispatch/MainQueue.h"

#include <utility>

#include "tlx/platform/Platform.h"
#include "tlx/platform/dispatch/MainQueuePort.h"

namespace tlx {

void dispatch_async_main(std::function<void()> step) {
  Platform::current().ports().mainQueue.post(std::move(step));
}

void runOnMainThread(std::function<void()> step) {
  if (Platform::current().ports().mainQueue.isMainThread()) {
    step();
  } else {
    dispatch_async_main(std::move(step));
  }
}

}  // namespace tlx
