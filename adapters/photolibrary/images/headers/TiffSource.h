#pragma once

#include <tiffio.h>

#include "adapters/photolibrary/base/FileBytes.h"

namespace tlx::photolibrary {

/// A TIFF open for reading over a file's bytes. Quiet: what the library would print is dropped.
class TiffSource {
 public:
  /// `file` outlives the object.
  explicit TiffSource(FileBytes& file);
  ~TiffSource();
  TiffSource(const TiffSource&) = delete;
  TiffSource& operator=(const TiffSource&) = delete;

  /// Nothing when the file is no readable TIFF.
  TIFF* get() const { return tiff_; }

 private:
  static tmsize_t read(thandle_t self, void* into, tmsize_t count);
  static toff_t seek(thandle_t self, toff_t offset, int whence);
  static toff_t size(thandle_t self);

  FileBytes& file_;
  std::uint64_t position_ = 0;
  TIFF* tiff_ = nullptr;
};

}  // namespace tlx::photolibrary
