#pragma once

#include <cstdint>

namespace tlx::photolibrary {

/// Bytes of memory that the machine has to give without making it swap; a great deal where it does not say.
std::int64_t availableMemory();

}  // namespace tlx::photolibrary
