#include "adapters/photolibrary/images/headers/JpegSegments.h"

namespace tlx::photolibrary {
namespace {

constexpr int maxSegments = 4096;          // far above what any camera writes, and an end for files made to have none
constexpr std::uint64_t maxGap = 1 << 20;  // bytes between two segments
constexpr std::size_t bytesAtOnce = 512;

}  // namespace

std::optional<std::uint8_t> JpegSegments::nextMarker() {
  bool marked = false;
  for (const std::uint64_t end = at_ + maxGap; at_ < end;) {
    const Bytes bytes = file_.at(at_, bytesAtOnce);
    if (bytes.empty()) return std::nullopt;
    for (const std::uint8_t byte : bytes) {
      ++at_;
      if (marked && byte != 0 && byte != 0xff) return byte;
      marked = byte == 0xff;
    }
  }
  return std::nullopt;
}

std::optional<JpegSegments::Segment> JpegSegments::next() {
  while (++count_ <= maxSegments) {
    const auto marker = nextMarker();
    if (!marker) return std::nullopt;
    const bool isBare = *marker == 0x01 || (*marker >= 0xd0 && *marker <= 0xd7);
    if (isBare) continue;
    const bool isEnd = *marker >= 0xd8 && *marker <= 0xda;  // another image, the end of this one, its first scan
    const Bytes length = isEnd ? Bytes{} : file_.exactly(at_, 2);
    if (length.empty() || be16(length.data()) < 2) return std::nullopt;
    const Segment segment{*marker, at_ + 2, be16(length.data()) - std::size_t{2}};
    at_ = segment.content + segment.size;
    return segment;
  }
  return std::nullopt;
}

}  // namespace tlx::photolibrary
