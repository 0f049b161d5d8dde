#pragma once

#include <string>

namespace tlx::photolibrary {

/// Where the workers' programs are: beside the running program, as in a build, or where they are installed with it.
/// Asks the disk; where they are nowhere, the folder that an installation would have.
std::string decoderFolder();

}  // namespace tlx::photolibrary
