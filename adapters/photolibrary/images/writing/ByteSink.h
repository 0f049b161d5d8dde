#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace tlx::photolibrary {

/// Takes the next bytes of a file that is being written. Answers 0, or the error number for which no more are wanted;
/// throws nothing, since image libraries that are written in C call it.
using ByteSink = std::function<int(std::span<const std::uint8_t>)>;

}  // namespace tlx::photolibrary
