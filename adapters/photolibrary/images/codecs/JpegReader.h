#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <stop_token>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/images/pixels/FittedSize.h"

namespace tlx::photolibrary {

/// One JPEG being decoded row by row to RGBA, at a half, a quarter or an eighth of its size where that is enough. Every
/// method answers false on failure, and the object is then of no more use. One thread.
class JpegReader {
 public:
  /// `strict` readers fail at the first sign of damage; others go on as far as they can.
  explicit JpegReader(FileBytes& file, bool strict = false, std::stop_token stop = {});
  /// `bytes` outlive the object.
  explicit JpegReader(Bytes bytes);
  ~JpegReader();
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;

  bool readHeader();
  PixelSize size() const;
  /// Grey, or colour that converts to RGB without a profile of its own.
  bool isRgbOrGrey() const;
  bool isGrey() const { return jpeg_.num_components == 1; }
  /// Whether so few bytes could hold a picture of this size at all.
  bool canHoldItsSize(std::int64_t bytes) const;

  /// Begins decoding at the smallest size that is at least `needed`.
  bool start(PixelSize needed);
  PixelSize scaledSize() const;
  bool readRow(std::uint8_t* rgba);

  /// To be asked after the last row: whether data was missing, made no sense, or was left over.
  bool isDamaged();
  const std::string& error() const { return error_; }

 private:
  struct Errors {
    jpeg_error_mgr base;
    std::jmp_buf jump;
    JpegReader* reader;
  };
  struct Source {
    jpeg_source_mgr base;
    JpegReader* reader;
  };

  JpegReader(FileBytes* file, Bytes first);
  static void fail(j_common_ptr jpeg);
  static void notice(j_common_ptr jpeg, int level);
  void damage(j_common_ptr jpeg);
  static void watch(j_common_ptr jpeg);
  static boolean fill(j_decompress_ptr jpeg);
  static void skip(j_decompress_ptr jpeg, long count);
  bool refill();

  jpeg_decompress_struct jpeg_{};
  Errors errors_{};
  Source source_{};
  jpeg_progress_mgr progress_{};
  FileBytes* file_;  // unretained: outlives the reader; nothing for bytes in memory
  std::uint64_t offset_;
  std::vector<std::uint8_t> buffer_;
  std::string error_;
  bool damaged_ = false, ended_ = false, strict_ = false;
  std::stop_token stop_;
};

}  // namespace tlx::photolibrary
