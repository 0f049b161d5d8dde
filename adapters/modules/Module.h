#pragma once

#include <string>

namespace tlx::modules {

/// The file of a module, as in "tlx-media-camera": beside the running program, as in a build, or where it is installed
/// with it. Modules hold what takes long to load and is seldom used. Asks the disk; where there is none, the file that
/// an installation would have. Any thread.
std::string moduleFile(const std::string& name);

/// That function of the module, which is loaded for good if it was not. Nothing, and in `error` one line that says why,
/// where there is no such module or it misses a library. Any thread.
void* openModule(const std::string& file, const char* function, std::string& error);

}  // namespace tlx::modules
