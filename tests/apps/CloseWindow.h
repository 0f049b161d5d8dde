#pragma once

#include <string>

namespace tlx::program::test {

/// Asks the one window on that display to close, as the button on its frame would.
void closeWindow(const std::string& display);

}  // namespace tlx::program::test
