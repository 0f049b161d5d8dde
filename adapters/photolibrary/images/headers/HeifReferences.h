#pragma once

#include <optional>
#include <string>

#include "adapters/photolibrary/base/FileBytes.h"

namespace tlx::photolibrary {

/// What is wrong with the way in which the pictures of a HEIF or AVIF file are made of one another; nothing when
/// all is well. A picture that is made of itself, at whatever distance, or of more pieces than any picture needs, takes
/// the decoding library to its end: it follows such references without looking for either.
std::optional<std::string> wrongReferences(FileBytes& file);

}  // namespace tlx::photolibrary
