#pragma once

#include <cstddef>
#include <cstdint>

namespace tlx::photolibrary {

/// From some RGB colour space to sRGB, 8 bits a channel. Immutable; any thread.
class ColorTransform {
 public:
  virtual ~ColorTransform() = default;
  /// In place; colour not premultiplied, alpha untouched.
  virtual void apply(std::uint8_t* rgba, std::size_t pixels) const = 0;
};

}  // namespace tlx::photolibrary
