#pragma once

#include <optional>
#include <string>

#include "adapters/photolibrary/cloud/CloudAddress.h"

namespace tlx::program {

/// What the desktop's secret service keeps for a cloud; nothing where there is no such service. It may ask the person
/// to unlock it. Any thread; waits.
std::optional<photolibrary::Credentials> keyringCredentials(const std::string& address);
/// Has it kept there. False when there is nobody to keep it.
bool keepInKeyring(const std::string& address, const photolibrary::Credentials& credentials);

}  // namespace tlx::program
