#include "adapters/photolibrary/images/cache/PngThumbnail.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <memory>

#include <png.h>
#include <zlib.h>

namespace tlx::photolibrary {
namespace {

constexpr png_uint_32 maxTexts = 64;
constexpr png_alloc_size_t maxTextBytes = 64 * 1024;

/// The library leaves its functions by a jump: between a call to it and the `setjmp` that catches, nothing may stand
/// that has to be destroyed. Everything with a destructor therefore lives in the object.
class Reader {
 public:
  explicit Reader(Bytes bytes) : left_(bytes) {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, &Reader::fail, [](png_structp, png_const_charp) {});
    if (png_) info_ = png_create_info_struct(png_);
    if (png_) trailer_ = png_create_info_struct(png_);
  }
  ~Reader() { png_destroy_read_struct(&png_, &info_, &trailer_); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool readHeader(int maxSide) {
    if (!info_ || !trailer_ || setjmp(png_jmpbuf(png_))) return false;
    const auto side = static_cast<png_uint_32>(maxSide);
    png_set_user_limits(png_, side, side);
    png_set_chunk_cache_max(png_, maxTexts);
    png_set_chunk_malloc_max(png_, maxTextBytes);
    png_set_read_fn(png_, this, &Reader::give);
    png_read_info(png_, info_);
    takeTexts(info_);
    return true;
  }

  bool readPixels() {
    if (setjmp(png_jmpbuf(png_))) return false;
    const int kind = png_get_color_type(png_, info_);
    picture_.opaque = (kind & PNG_COLOR_MASK_ALPHA) == 0 && png_get_valid(png_, info_, PNG_INFO_tRNS) == 0;
    png_set_expand(png_);
    png_set_scale_16(png_);
    if ((kind & PNG_COLOR_MASK_COLOR) == 0) png_set_gray_to_rgb(png_);
    if (picture_.opaque) png_set_add_alpha(png_, 0xff, PNG_FILLER_AFTER);
    png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    const std::size_t stride = png_get_rowbytes(png_, info_), height = png_get_image_height(png_, info_);
    picture_.size = {static_cast<std::int32_t>(png_get_image_width(png_, info_)), static_cast<std::int32_t>(height)};
    if (stride != static_cast<std::size_t>(picture_.size.width) * 4) return false;
    picture_.rgba.resize(stride * height);
    rows_.resize(height);
    for (std::size_t y = 0; y < height; ++y) rows_[y] = picture_.rgba.data() + y * stride;
    png_read_image(png_, rows_.data());
    png_read_end(png_, trailer_);
    takeTexts(trailer_);
    return true;
  }

  PngThumbnail& picture() { return picture_; }

 private:
  static void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }
  static void give(png_structp png, png_bytep into, size_t count) {
    auto* reader = static_cast<Reader*>(png_get_io_ptr(png));
    if (count > reader->left_.size()) png_error(png, "truncated");
    std::memcpy(into, reader->left_.data(), count);
    reader->left_ = reader->left_.subspan(count);
  }
  void takeTexts(png_infop info) {
    png_textp texts = nullptr;
    const int count = png_get_text(png_, info, &texts, nullptr);
    for (int i = 0; i < count; ++i) picture_.texts.add(texts[i].key, texts[i].text ? texts[i].text : "");
  }

  Bytes left_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr, trailer_ = nullptr;
  std::vector<png_bytep> rows_;
  PngThumbnail picture_;
};

class Writer {
 public:
  Writer() {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, &Writer::fail, [](png_structp, png_const_charp) {});
    if (png_) info_ = png_create_info_struct(png_);
  }
  ~Writer() { png_destroy_write_struct(&png_, &info_); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  bool write(const CGImage& image, const PngTexts& texts) {
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
    if (!info_ || setjmp(png_jmpbuf(png_))) return false;
    png_set_write_fn(png_, this, &Writer::take, [](png_structp) {});
    png_set_IHDR(png_, info_, static_cast<png_uint_32>(image.width()), static_cast<png_uint_32>(image.height()), 8,
                 opaque_ ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    // Of photos, the quickest level and one filter make files hardly larger than the best do, in a tenth of the time.
    png_set_compression_level(png_, Z_BEST_SPEED);
    png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
    png_set_text(png_, info_, texts_.data(), static_cast<int>(texts_.size()));
    png_write_info(png_, info_);
    for (std::size_t y = 0; y < image.height(); ++y) {
      take(image, y);
      png_write_row(png_, row_.data());
    }
    png_write_end(png_, info_);
    return true;
  }

  std::vector<std::uint8_t>& bytes() { return bytes_; }

 private:
  static bool isOpaque(const CGImage& image) {
    for (std::size_t y = 0; y < image.height(); ++y) {
      const std::uint8_t* row = image.row(y);
      for (std::size_t x = 0; x < image.width(); ++x) {
        if (row[x * 4 + 3] != 255) return false;
      }
    }
    return true;
  }
  static void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }
  static void take(png_structp png, png_bytep bytes, size_t count) {
    auto& all = static_cast<Writer*>(png_get_io_ptr(png))->bytes_;
    all.insert(all.end(), bytes, bytes + count);
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

  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  bool opaque_ = true;
  std::vector<png_text> texts_;
  std::vector<std::uint8_t> row_, bytes_;
};

}  // namespace

std::optional<std::string_view> PngTexts::find(std::string_view key) const {
  const auto found = std::find_if(all_.begin(), all_.end(), [&](const auto& each) { return each.first == key; });
  if (found == all_.end()) return std::nullopt;
  return found->second;
}

std::optional<PngThumbnail> PngThumbnail::read(Bytes png, int maxSide,
                                               const std::function<bool(const PngTexts&)>& accept) {
  Reader reader(png);
  if (!reader.readHeader(maxSide)) return std::nullopt;
  const bool textsFirst = reader.picture().texts.begin() != reader.picture().texts.end();
  if (textsFirst && !accept(reader.picture().texts)) return std::nullopt;
  if (!reader.readPixels() || (!textsFirst && !accept(reader.picture().texts))) return std::nullopt;
  return std::move(reader.picture());
}

std::vector<std::uint8_t> writePng(const CGImage& image, const PngTexts& texts) {
  Writer writer;
  if (!writer.write(image, texts)) return {};
  return std::move(writer.bytes());
}

}  // namespace tlx::photolibrary
