#pragma once

#include <functional>

namespace tlx {

/// Posts to the installed platform's main queue. Any thread.
void dispatch_async_main(std::function<void()> step);
/// Runs the step within the call on the main thread, and posts it from any other.
void runOnMainThread(std::function<void()> step);

}  // namespace tlx
