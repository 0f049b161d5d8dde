#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <stdlib.h>

namespace tlx::support {

/// A new empty folder, gone with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tlx-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::system_error(errno, std::generic_category(), name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string file(const std::string& name) const { return (path_ / name).string(); }
  std::string operator/(const std::string& name) const { return file(name); }

 private:
  std::filesystem::path path_;
};

}  // namespace tlx::support
