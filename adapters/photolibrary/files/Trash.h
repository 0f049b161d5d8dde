#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tlx::photolibrary {

/// Something in a trash that lay under a root of the library before it was thrown away.
struct TrashedFile {
  std::string folder;    ///< absolute: the `files` folder of the trash
  std::string name;      ///< in that folder: a file or a whole folder
  std::size_t root = 0;  ///< which root it came from
};

struct TrashFolder {
  std::string path;  ///< absolute; holds `files` and `info`, and need not exist
  std::string top;   ///< what relative original paths start from
};

/// The person's own trash and those at the top of the roots' file systems.
std::vector<TrashFolder> trashFolders(const std::vector<std::string>& roots);

/// Reads the person's own trash and those at the top of the roots' file systems, as the desktop's trash standard lays
/// them out. What has no readable record of where it came from is left out, and so is what came from a hidden folder.
std::vector<TrashedFile> listTrash(const std::vector<std::string>& roots);

}  // namespace tlx::photolibrary
