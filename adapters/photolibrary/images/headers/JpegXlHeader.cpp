#include <algorithm>
#include <cstring>
#include <memory>

#include <jxl/decode.h>

#include "adapters/photolibrary/images/headers/PhotoHeader.h"

namespace tlx::photolibrary {
namespace {

struct DecoderRelease {
  void operator()(JxlDecoder* decoder) const { JxlDecoderDestroy(decoder); }
};

/// The boxes of a container, of which the one with the EXIF block is read. A bare codestream has none.
void readBoxes(FileBytes& file, PhotoFacts& facts) {
  std::uint64_t at = 0;
  for (int box = 0; box < 64; ++box) {
    const Bytes head = file.at(at, 16);
    if (head.size() < 8) return;
    std::uint64_t size = be32(head.data());
    std::uint64_t start = 8;
    if (size == 1 && head.size() == 16) {
      size = std::uint64_t{be32(head.data() + 8)} << 32 | be32(head.data() + 12);
      start = 16;
    }
    const std::string type(reinterpret_cast<const char*>(head.data()) + 4, 4);
    const std::uint64_t end = size == 0 ? static_cast<std::uint64_t>(file.size()) : at + size;
    if (end < at + start || end > static_cast<std::uint64_t>(file.size())) return;
    if (type == "Exif" && end - at - start > 4) {
      const Bytes block = file.at(at + start, end - at - start);
      if (block.size() < 4) return;
      const std::uint64_t offset = std::uint64_t{4} + be32(block.data());
      if (offset < block.size()) readExif(block.subspan(offset), facts);
    } else if (type == "xml ") {
      const Bytes block = file.at(at + start, end - at - start);
      readXmp({reinterpret_cast<const char*>(block.data()), block.size()}, facts);
    }
    at = end;
    if (size == 0) return;
  }
}

}  // namespace

void readJpegXlHeader(FileBytes& file, PhotoHeader& header) {
  const std::unique_ptr<JxlDecoder, DecoderRelease> decoder(JxlDecoderCreate(nullptr));
  if (!decoder || JxlDecoderSubscribeEvents(decoder.get(), JXL_DEC_BASIC_INFO) != JXL_DEC_SUCCESS) return;
  const Bytes first = file.window();
  JxlDecoderSetInput(decoder.get(), first.data(), first.size());
  if (JxlDecoderProcessInput(decoder.get()) != JXL_DEC_BASIC_INFO) return;
  JxlBasicInfo info;
  if (JxlDecoderGetBasicInfo(decoder.get(), &info) != JXL_DEC_SUCCESS) return;
  const bool swaps = info.orientation >= JXL_ORIENT_TRANSPOSE;
  header.width = static_cast<std::int32_t>(std::min<std::uint32_t>(swaps ? info.ysize : info.xsize, INT32_MAX));
  header.height = static_cast<std::int32_t>(std::min<std::uint32_t>(swaps ? info.xsize : info.ysize, INT32_MAX));
  if (first.size() > 12 && first[0] == 0) readBoxes(file, header.facts);
}

}  // namespace tlx::photolibrary
