#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <libheif/heif.h>

#include "adapters/photolibrary/base/FileBytes.h"

namespace tlx::photolibrary {

struct HeifRelease {
  void operator()(heif_context* context) const { heif_context_free(context); }
  void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
  void operator()(heif_image* image) const { heif_image_release(image); }
  void operator()(heif_decoding_options* options) const { heif_decoding_options_free(options); }
};
using HeifContext = std::unique_ptr<heif_context, HeifRelease>;
using HeifHandle = std::unique_ptr<heif_image_handle, HeifRelease>;
using HeifImage = std::unique_ptr<heif_image, HeifRelease>;

/// A HEIF or AVIF file read piece by piece, so that its header costs no more than its boxes.
class HeifFile {
 public:
  /// `file` outlives the object.
  explicit HeifFile(FileBytes& file);

  /// The chief picture; nothing when the file is unreadable, and then `error` says why. Sizes of handles are upright.
  heif_image_handle* primary() const { return primary_.get(); }
  const std::string& error() const { return error_; }
  /// The metadata block of that type ("Exif", or "mime" with the content type); empty when there is none.
  std::vector<std::uint8_t> metadata(const char* type, const char* contentType = nullptr) const;
  /// The largest picture embedded as a thumbnail; nothing when there is none.
  HeifHandle thumbnail() const;

 private:
  static std::int64_t position(void* self);
  static int read(void* into, std::size_t count, void* self);
  static int seek(std::int64_t position, void* self);
  static heif_reader_grow_status waitForSize(std::int64_t size, void* self);

  FileBytes& file_;
  std::int64_t position_ = 0;
  std::string error_;
  heif_reader reader_{};
  HeifContext context_;
  HeifHandle primary_;
};

}  // namespace tlx::photolibrary
