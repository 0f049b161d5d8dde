#pragma once

#include <string>
#include <variant>

#include "tlx/platform/uikit/UIImage.h"

namespace tlx::program {

/// The folder into which delivered items are written. Every file appears whole under its final name or not at all, and
/// nothing that is there already is touched: a taken name gets a number, as in "beach (2).jpg".
class OutputFolder {
 public:
  /// Made when it is not there.
  explicit OutputFolder(std::string path);

  /// Why the folder cannot be used; empty when it can.
  const std::string& error() const { return error_; }

  struct Written {
    std::string path;
  };
  /// What was written, or in one line what could not be.
  using Outcome = std::variant<Written, std::string>;

  /// The image, upright, under the name of the original with the ending of its new format: JPEG, or PNG where it has
  /// transparent parts. `created`, in seconds since 1970 UTC, becomes the file's time, and stands in its metadata as
  /// the date of capture if it is one.
  Outcome writeImage(const UIImage& image, const std::string& name, double created, bool isCaptureDate = true) const;
  /// A copy of the file as it is. It is open to whom a file made here is, but to nobody who may not read the original.
  Outcome copyFile(const std::string& original, const std::string& name, double created) const;

 private:
  std::string path_, error_;
};

}  // namespace tlx::program
