#pragma once

#include <string>
#include <variant>

#include "tlx/platform/foundation/NSError.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx::photolibrary {

/// The folder "Camera" below a root, into which captures go. Each file is named by its date and appears whole or not at
/// all; nothing that is there is touched, a taken name gets a number, as in "2024-05-01 10.00.00 (2).jpg". Any thread.
class CaptureFolder {
 public:
  /// Made when something is saved.
  explicit CaptureFolder(const std::string& root);

  const std::string& path() const { return path_; }

  /// Answers the new file's path. `created`, in seconds since 1970 UTC, becomes the file's time.
  std::variant<std::string, NSError> savePhoto(const UIImage& image, double created) const;
  /// The saved file is a second name of `recording` where both lie on one file system, so that saving a long video
  /// takes no time; else a copy. Either has the mode of a file that was made here. A date inside the video stays as it
  /// is.
  std::variant<std::string, NSError> saveVideo(const std::string& recording, double created) const;

 private:
  std::string path_;
};

}  // namespace tlx::photolibrary
