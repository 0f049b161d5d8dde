#include "adapters/photolibrary/images/pixels/UprightWriter.h"

#include <algorithm>
#include <cstring>

namespace tlx::photolibrary {

UprightWriter::UprightWriter(PixelSize stored, std::int32_t turn, std::uint8_t* pixels)
    : stored_(stored), turn_(turn), pixels_(pixels) {
  if (turn_ >= 5) block_.resize(static_cast<std::size_t>(stored_.width) * gathered);
}

void UprightWriter::add(const std::uint8_t* rgba) {
  if (complete()) return;
  const std::size_t width = static_cast<std::size_t>(stored_.width);
  const std::int32_t y = row_++;
  if (turn_ < 5) {
    const bool upsideDown = turn_ == 3 || turn_ == 4;
    const std::size_t line = static_cast<std::size_t>(upsideDown ? stored_.height - 1 - y : y);
    std::uint8_t* to = pixels_ + line * width * 4;
    if (turn_ == 2 || turn_ == 3) {
      for (std::size_t x = 0; x < width; ++x) std::memcpy(to + (width - 1 - x) * 4, rgba + x * 4, 4);
    } else {
      std::memcpy(to, rgba, width * 4);
    }
    return;
  }
  std::memcpy(block_.data() + static_cast<std::size_t>(pending_) * width, rgba, width * 4);
  ++pending_;
  if (pending_ == gathered || complete()) flush();
}

void UprightWriter::flush() {
  if (pending_ == 0) return;
  const bool rowsFromRight = turn_ == 6 || turn_ == 7;
  const bool columnsFromBottom = turn_ == 7 || turn_ == 8;
  const std::size_t width = static_cast<std::size_t>(stored_.width);
  const std::size_t uprightWidth = static_cast<std::size_t>(stored_.height);
  const std::size_t count = static_cast<std::size_t>(pending_);
  const std::size_t first = static_cast<std::size_t>(row_ - pending_);
  const std::size_t left = rowsFromRight ? uprightWidth - first - count : first;
  std::uint32_t line[gathered];
  for (std::size_t x = 0; x < width; ++x) {
    for (std::size_t i = 0; i < count; ++i) {
      line[rowsFromRight ? count - 1 - i : i] = block_[i * width + x];
    }
    const std::size_t y = columnsFromBottom ? width - 1 - x : x;
    std::memcpy(pixels_ + (y * uprightWidth + left) * 4, line, count * 4);
  }
  pending_ = 0;
}

}  // namespace tlx::photolibrary
