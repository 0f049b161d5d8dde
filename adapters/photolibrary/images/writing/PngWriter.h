#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tlx/platform/coregraphics/CGImage.h"

#include "adapters/photolibrary/images/writing/ByteSink.h"

namespace tlx::photolibrary {

/// A PNG's texts by keyword, in their order.
class PngTexts {
 public:
  void add(std::string key, std::string text) { all_.emplace_back(std::move(key), std::move(text)); }
  /// The first text of that keyword; nothing when there is none.
  std::optional<std::string_view> find(std::string_view key) const;
  auto begin() const { return all_.begin(); }
  auto end() const { return all_.end(); }

 private:
  std::vector<std::pair<std::string, std::string>> all_;
};

/// What a PNG is to be good at.
enum class PngEffort {
  Quick,  ///< to write and to read, as a thumbnail
  Small,
};

/// Whether nothing shines through the picture anywhere.
bool isOpaque(const CGImage& image);

/// Writes the picture as a PNG, without alpha where it is opaque. `exif` is a block without a mark in front; none when
/// empty. Answers 0, the sink's error number, or ENOMEM. Any thread.
int writePng(const CGImage& image, PngEffort effort, const PngTexts& texts, std::span<const std::uint8_t> exif,
             const ByteSink& sink);

}  // namespace tlx::photolibrary
