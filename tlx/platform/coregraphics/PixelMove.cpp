#include "tlx/platform/coregraphics/PixelMove.h"

#include <algorithm>
#include <cstring>

namespace tlx {
namespace {

constexpr std::int64_t bytesPerPixel = 4;

/// The half-open range of source indexes that a step along one axis takes into 0 … length − 1.
struct Range {
  std::int64_t begin, end;
};

Range rangeInside(std::int64_t start, int step, std::int64_t count, std::int64_t length) {
  const std::int64_t first = step > 0 ? -start : start - length + 1;
  const std::int64_t last = step > 0 ? length - start : start + 1;
  return {std::max<std::int64_t>(first, 0), std::min(last, count)};
}

struct Overwrite {
  static void put(std::uint8_t* to, const std::uint8_t* from) { std::memcpy(to, from, bytesPerPixel); }
};

struct Over {
  static void put(std::uint8_t* to, const std::uint8_t* from) {
    const unsigned rest = 255u - from[3];
    for (int channel = 0; channel < bytesPerPixel; ++channel) {
      to[channel] = static_cast<std::uint8_t>(from[channel] + (to[channel] * rest + 127u) / 255u);
    }
  }
};

/// Two walks over the same rectangle: `from` steps by its strides, `to` by its own, one pair for each axis.
struct Walk {
  const std::uint8_t* from;
  std::uint8_t* to;
  std::ptrdiff_t fromColumn, fromRow;  // bytes from one pixel to the next in the target's row, and in its column
  std::ptrdiff_t toColumn, toRow;
  std::int64_t columns, rows;
};

template <class Put>
void walkRows(const Walk& walk) {
  for (std::int64_t row = 0; row < walk.rows; ++row) {
    const std::uint8_t* from = walk.from + row * walk.fromRow;
    std::uint8_t* to = walk.to + row * walk.toRow;
    for (std::int64_t column = 0; column < walk.columns; ++column) {
      Put::put(to, from);
      from += walk.fromColumn;
      to += walk.toColumn;
    }
  }
}

// A quarter turn reads down the columns of what it writes along rows. In blocks of a few cache lines each way, every
// line is fetched once and used whole.
template <class Put>
void walkBlocks(const Walk& walk) {
  constexpr std::int64_t block = 32;
  for (std::int64_t row = 0; row < walk.rows; row += block) {
    for (std::int64_t column = 0; column < walk.columns; column += block) {
      Walk part = walk;
      part.from += row * walk.fromRow + column * walk.fromColumn;
      part.to += row * walk.toRow + column * walk.toColumn;
      part.rows = std::min(block, walk.rows - row);
      part.columns = std::min(block, walk.columns - column);
      walkRows<Put>(part);
    }
  }
}

}  // namespace

void movePixels(const PixelSource& source, const PixelMove& move, const PixelTarget& target, bool overwrite) {
  // In the source's terms: how far one column and one row go in the target.
  const Range columns = move.transposed ? rangeInside(move.y, move.yStep, source.width, target.height)
                                        : rangeInside(move.x, move.xStep, source.width, target.width);
  const Range rows = move.transposed ? rangeInside(move.x, move.xStep, source.height, target.width)
                                     : rangeInside(move.y, move.yStep, source.height, target.height);
  if (columns.begin >= columns.end || rows.begin >= rows.end) return;

  const auto sourceRow = static_cast<std::ptrdiff_t>(source.bytesPerRow);
  const auto targetRow = static_cast<std::ptrdiff_t>(target.bytesPerRow);
  const std::int64_t alongX = move.transposed ? rows.begin : columns.begin;
  const std::int64_t alongY = move.transposed ? columns.begin : rows.begin;

  Walk walk{};
  walk.from = source.pixels + rows.begin * sourceRow + columns.begin * bytesPerPixel;
  walk.to = target.pixels + (move.y + move.yStep * alongY) * targetRow + (move.x + move.xStep * alongX) * bytesPerPixel;
  walk.toColumn = move.xStep * bytesPerPixel;
  walk.toRow = move.yStep * targetRow;
  walk.fromColumn = move.transposed ? sourceRow : bytesPerPixel;
  walk.fromRow = move.transposed ? bytesPerPixel : sourceRow;
  walk.columns = move.transposed ? rows.end - rows.begin : columns.end - columns.begin;
  walk.rows = move.transposed ? columns.end - columns.begin : rows.end - rows.begin;

  if (!overwrite) {
    move.transposed ? walkBlocks<Over>(walk) : walkRows<Over>(walk);
  } else if (move.transposed) {
    walkBlocks<Overwrite>(walk);
  } else if (move.xStep == 1) {
    for (std::int64_t row = 0; row < walk.rows; ++row) {
      std::memcpy(walk.to + row * walk.toRow, walk.from + row * walk.fromRow,
                  static_cast<std::size_t>(walk.columns * bytesPerPixel));
    }
  } else {
    walkRows<Overwrite>(walk);
  }
}

}  // namespace tlx
