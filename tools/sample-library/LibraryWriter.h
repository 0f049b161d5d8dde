#pragma once

#include <filesystem>
#include <string>

namespace tlx::samples {

struct Outcome {
  bool made = false;  ///< false with no error: a complete library of the same kind was there already
  int files = 0;
  std::string error{};
};

/// Makes the library in a sibling of `folder` and renames it into place once it is whole, so that a broken-off run
/// leaves nothing that looks like a library. A library of another kind or version is replaced; a folder that holds
/// anything else is refused. What single files could not be written on this machine is told on standard error and left
/// out.
Outcome writeSampleLibrary(const std::filesystem::path& folder, bool small);

/// `count` JPEGs of 640 x 480 with dates and embedded thumbnails in folders of a few hundred; the pixels repeat.
Outcome writeManyPhotos(const std::filesystem::path& folder, int count);

/// One JPEG of 4000 x 3000 and about 3.8 MB with an EXIF thumbnail.
Outcome writeTwelveMegapixels(const std::filesystem::path& file);

}  // namespace tlx::samples
