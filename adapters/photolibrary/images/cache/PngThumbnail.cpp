#include "adapters/photolibrary/images/cache/PngThumbnail.h"

#include <csetjmp>
#include <cstring>
#include <memory>

#include <png.h>

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

}  // namespace

std::optional<PngThumbnail> PngThumbnail::read(Bytes png, int maxSide,
                                               const std::function<bool(const PngTexts&)>& accept) {
  Reader reader(png);
  if (!reader.readHeader(maxSide)) return std::nullopt;
  const bool textsFirst = reader.picture().texts.begin() != reader.picture().texts.end();
  if (textsFirst && !accept(reader.picture().texts)) return std::nullopt;
  if (!reader.readPixels() || (!textsFirst && !accept(reader.picture().texts))) return std::nullopt;
  return std::move(reader.picture());
}

}  // namespace tlx::photolibrary
