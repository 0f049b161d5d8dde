#include "adapters/photolibrary/images/writing/PngWriter.h"

#include <algorithm>
#include <cerrno>
#include <csetjmp>

#include <png.h>
#include <zlib.h>

namespace tlx::photolibrary {
namespace {

/// The library leaves its functions by a jump: between a call to it and the `setjmp` that catches, nothing may stand
/// that has to be destroyed. Everything with a destructor therefore lives in the object.
class Writer {
 public:
  explicit Writer(const ByteSink& sink) : sink_(sink) {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, &Writer::fail, [](png_structp, png_const_charp) {});
    if (png_) info_ = png_create_info_struct(png_);
  }
  ~Writer() { png_destroy_write_struct(&png_, &info_); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  int write(const CGImage& image, PngEffort effort, const PngTexts& texts, std::span<const std::uint8_t> exif) {
    for (const auto& [key, text] : texts) {
      png_text entry{};
      entry.compression = PNG_TEXT_COMPRESSION_NONE;
      entry.key = const_cast<char*>(key.c_str());
      entry.text = const_cast<char*>(text.c_str());
      entry.text_length = text.size();
      texts_.push_back(entry);
    }
    opaque_ = isOpaque(image);
    row_.resize(image.width() * 4);
    if (!info_ || setjmp(png_jmpbuf(png_))) return error_ != 0 ? error_ : ENOMEM;
    png_set_write_fn(png_, this, &Writer::give, [](png_structp) {});
    // The library's own limit, a million pixels a side, is for files that somebody else made.
    png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(png_, info_, static_cast<png_uint_32>(image.width()), static_cast<png_uint_32>(image.height()), 8,
                 opaque_ ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (effort == PngEffort::Quick) {
      // Of photos, the quickest level and one filter make files hardly larger than the best do, in a tenth of the time.
      png_set_compression_level(png_, Z_BEST_SPEED);
      png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
    }
    png_set_text(png_, info_, texts_.data(), static_cast<int>(texts_.size()));
    if (!exif.empty()) {
      png_set_eXIf_1(png_, info_, static_cast<png_uint_32>(exif.size()), const_cast<png_bytep>(exif.data()));
    }
    png_write_info(png_, info_);
    for (std::size_t y = 0; y < image.height(); ++y) {
      take(image, y);
      png_write_row(png_, row_.data());
    }
    png_write_end(png_, info_);
    return 0;
  }

 private:
  [[noreturn]] static void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }
  static void give(png_structp png, png_bytep bytes, size_t count) {
    auto* writer = static_cast<Writer*>(png_get_io_ptr(png));
    writer->error_ = writer->sink_({bytes, count});
    if (writer->error_ != 0) png_error(png, "not wanted");
  }
  /// A row as the file wants it.
  void take(const CGImage& image, std::size_t y) {
    const std::uint8_t* from = image.row(y);
    std::uint8_t* to = row_.data();
    for (std::size_t x = 0; x < image.width(); ++x, from += 4) {
      const unsigned alpha = from[3];
      for (int c = 0; c < 3; ++c) {
        *to++ = alpha == 0 || alpha == 255
                    ? from[c]
                    : static_cast<std::uint8_t>(std::min(255u, (from[c] * 255u + alpha / 2) / alpha));
      }
      if (!opaque_) *to++ = from[3];
    }
  }

  const ByteSink& sink_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  int error_ = 0;  ///< the sink's
  bool opaque_ = true;
  std::vector<png_text> texts_;
  std::vector<std::uint8_t> row_;
};

}  // namespace

std::optional<std::string_view> PngTexts::find(std::string_view key) const {
  const auto found = std::find_if(all_.begin(), all_.end(), [&](const auto& each) { return each.first == key; });
  if (found == all_.end()) return std::nullopt;
  return found->second;
}

bool isOpaque(const CGImage& image) {
  for (std::size_t y = 0; y < image.height(); ++y) {
    const std::uint8_t* row = image.row(y);
    for (std::size_t x = 0; x < image.width(); ++x) {
      if (row[x * 4 + 3] != 255) return false;
    }
  }
  return true;
}

int writePng(const CGImage& image, PngEffort effort, const PngTexts& texts, std::span<const std::uint8_t> exif,
             const ByteSink& sink) {
  return Writer(sink).write(image, effort, texts, exif);
}

}  // namespace tlx::photolibrary
