#include "adapters/photolibrary/images/codecs/JpegReader.h"

#include <algorithm>
#include <utility>

#include <jerror.h>

namespace tlx::photolibrary {
namespace {

constexpr std::size_t bufferSize = 128 * 1024;
// Real files have about ten scans; each costs a pass over the whole picture, so that large ones get fewer.
constexpr int maxScans = 500, maxScansOfLarge = 64;
constexpr std::int64_t largePixels = 16'000'000;
constexpr JOCTET endOfImage[2] = {0xff, JPEG_EOI};

}  // namespace

JpegReader::JpegReader(FileBytes& file, bool strict, std::stop_token stop) : JpegReader(&file, file.window()) {
  strict_ = strict;
  stop_ = std::move(stop);
}

JpegReader::JpegReader(Bytes bytes) : JpegReader(nullptr, bytes) {}

JpegReader::JpegReader(FileBytes* file, Bytes first) : file_(file), offset_(first.size()) {
  jpeg_.err = jpeg_std_error(&errors_.base);
  errors_.reader = this;
  errors_.base.error_exit = &JpegReader::fail;
  errors_.base.emit_message = &JpegReader::notice;
  errors_.base.output_message = [](j_common_ptr) {};
  if (setjmp(errors_.jump)) return;
  jpeg_create_decompress(&jpeg_);
  source_.reader = this;
  source_.base.init_source = [](j_decompress_ptr) {};
  source_.base.fill_input_buffer = &JpegReader::fill;
  source_.base.skip_input_data = &JpegReader::skip;
  source_.base.resync_to_restart = jpeg_resync_to_restart;
  source_.base.term_source = [](j_decompress_ptr) {};
  source_.base.next_input_byte = first.data();
  source_.base.bytes_in_buffer = first.size();
  jpeg_.src = &source_.base;
  progress_.progress_monitor = &JpegReader::watch;
  jpeg_.progress = &progress_;
}

JpegReader::~JpegReader() {
  jpeg_destroy_decompress(&jpeg_);
}

void JpegReader::fail(j_common_ptr jpeg) {
  auto* errors = reinterpret_cast<Errors*>(jpeg->err);
  char text[JMSG_LENGTH_MAX];
  errors->base.format_message(jpeg, text);
  errors->reader->error_ = text;
  std::longjmp(errors->jump, 1);
}

void JpegReader::notice(j_common_ptr jpeg, int level) {
  if (level >= 0) return;
  auto* errors = reinterpret_cast<Errors*>(jpeg->err);
  switch (errors->base.msg_code) {
    case JWRN_ADOBE_XFORM:
    case JWRN_BOGUS_ICC:
    case JWRN_JFIF_MAJOR:
      break;
    case JWRN_EXTRANEOUS_DATA:
      // Padding between header segments is common and harmless; between scans it is lost data.
      if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > 0) errors->reader->damage(jpeg);
      break;
    default:
      errors->reader->damage(jpeg);
  }
}

void JpegReader::damage(j_common_ptr jpeg) {
  damaged_ = true;
  if (strict_) fail(jpeg);
}

void JpegReader::watch(j_common_ptr jpeg) {
  auto* errors = reinterpret_cast<Errors*>(jpeg->err);
  const JpegReader& reader = *errors->reader;
  const int most = reader.size().pixels() > largePixels ? maxScansOfLarge : maxScans;
  const bool cancelled = reader.stop_.stop_requested();
  if (!cancelled && reader.jpeg_.input_scan_number <= most) return;
  errors->reader->error_ = cancelled ? "cancelled" : "more scans than any picture needs";
  std::longjmp(errors->jump, 1);
}

bool JpegReader::refill() {
  if (!file_ || ended_) return false;
  buffer_.resize(bufferSize);
  const std::int64_t got = file_->copy(offset_, buffer_.data(), buffer_.size());
  if (got <= 0) {
    ended_ = true;
    return false;
  }
  offset_ += static_cast<std::uint64_t>(got);
  source_.base.next_input_byte = buffer_.data();
  source_.base.bytes_in_buffer = static_cast<std::size_t>(got);
  return true;
}

boolean JpegReader::fill(j_decompress_ptr jpeg) {
  auto* source = reinterpret_cast<Source*>(jpeg->src);
  if (source->reader->refill()) return TRUE;
  // The file has ended: the library gets an end-of-image marker, and warns if it still needed data.
  source->reader->ended_ = true;
  source->base.next_input_byte = endOfImage;
  source->base.bytes_in_buffer = sizeof(endOfImage);
  return TRUE;
}

void JpegReader::skip(j_decompress_ptr jpeg, long count) {
  auto* source = reinterpret_cast<Source*>(jpeg->src);
  std::size_t left = count > 0 ? static_cast<std::size_t>(count) : 0;
  if (left <= source->base.bytes_in_buffer) {
    source->base.next_input_byte += left;
    source->base.bytes_in_buffer -= left;
    return;
  }
  source->reader->offset_ += left - source->base.bytes_in_buffer;
  source->base.bytes_in_buffer = 0;
  fill(jpeg);
}

bool JpegReader::readHeader() {
  if (!error_.empty() || setjmp(errors_.jump)) return false;
  return jpeg_read_header(&jpeg_, TRUE) == JPEG_HEADER_OK;
}

PixelSize JpegReader::size() const {
  return {static_cast<std::int32_t>(jpeg_.image_width), static_cast<std::int32_t>(jpeg_.image_height)};
}

bool JpegReader::isRgbOrGrey() const {
  return jpeg_.jpeg_color_space == JCS_GRAYSCALE || jpeg_.jpeg_color_space == JCS_YCbCr ||
         jpeg_.jpeg_color_space == JCS_RGB;
}

bool JpegReader::canHoldItsSize(std::int64_t bytes) const {
  if (jpeg_.arith_code) return true;
  // A Huffman code has at least one bit, and the first scan has at least one code for each block of 64 pixels.
  return size().pixels() / 64 / 8 <= bytes;
}

bool JpegReader::start(PixelSize needed) {
  if (setjmp(errors_.jump)) return false;
  jpeg_.out_color_space = JCS_EXT_RGBA;
  jpeg_.scale_denom = 8;
  for (const unsigned scale : {1u, 2u, 4u, 8u}) {
    jpeg_.scale_num = scale;
    jpeg_calc_output_dimensions(&jpeg_);
    const PixelSize scaled = scaledSize();
    if (scaled.width >= needed.width && scaled.height >= needed.height) break;
  }
  return jpeg_start_decompress(&jpeg_) == TRUE;
}

PixelSize JpegReader::scaledSize() const {
  return {static_cast<std::int32_t>(jpeg_.output_width), static_cast<std::int32_t>(jpeg_.output_height)};
}

bool JpegReader::readRow(std::uint8_t* rgba) {
  if (setjmp(errors_.jump)) return false;
  JSAMPROW row = rgba;
  return jpeg_read_scanlines(&jpeg_, &row, 1) == 1;
}

bool JpegReader::isDamaged() {
  if (damaged_) return true;
  if (jpeg_.unread_marker != 0 || ended_) return false;
  // Bytes between the last block and the end-of-image marker are padding, or blocks that a decoder misled by damage did
  // not come to.
  std::uint8_t before = 0;
  for (int looked = 0; looked < 1 << 20; ++looked) {
    if (source_.base.bytes_in_buffer == 0 && !refill()) return false;
    const std::uint8_t byte = *source_.base.next_input_byte++;
    --source_.base.bytes_in_buffer;
    if (before == 0xff && byte != 0 && byte != 0xff) return false;
    if (byte != 0 && byte != 0xff && looked >= 8) return true;
    before = byte;
  }
  return false;
}

}  // namespace tlx::photolibrary
