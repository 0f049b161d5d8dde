#pragma once

#include <memory>
#include <string>

namespace tlx::camera {

/// A file of the camera's own, removed with the object, whoever still knows its path. What a program that was killed
/// left behind is removed by the next one.
class RecordingFile {
 public:
  /// A new, empty file in the folder, which is made when it is not there. Nothing when there can be none, with the
  /// reason in `errno`. `ending` with its dot.
  static std::shared_ptr<RecordingFile> make(const std::string& folder, const std::string& ending);
  /// Removes the files in the folder that belong to nobody any more.
  static void sweep(const std::string& folder);
  ~RecordingFile();
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  RecordingFile(std::string path, int file) : path_(std::move(path)), file_(file) {}

  std::string path_;
  int file_;  ///< locked: the sign that it belongs to a living program
};

}  // namespace tlx::camera
