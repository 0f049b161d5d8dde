#pragma once

#include <functional>

namespace tlx {

/// Posts to the installed platform's main queue.
void dispatch_async_main(std::function<void()> step);
bool isMainThread();
/// For effects that a handler has at once when it happens to run on the main thread, and that are posted otherwise.
void runOnMainThread(std::function<void()> step);

}  // namespace tlx
