#include "tlx/platform/foundation/Identifier.h"

#include <utility>

namespace tlx {
namespace {

// The empty text hashes to 0 so that an absent identifier, which has no text to hash, equals an empty one.
std::size_t hashOf(const std::string& text) {
  return text.empty() ? 0 : std::hash<std::string>{}(text);
}

}  // namespace

Identifier::Identifier(std::string text)
    : text_(std::make_shared<const std::string>(std::move(text))), hash_(hashOf(*text_)) {}

Identifier::Identifier(std::shared_ptr<const std::string> text)
    : text_(std::move(text)), hash_(text_ ? hashOf(*text_) : 0) {}

const std::string& Identifier::string() const noexcept {
  static const std::string empty;
  return text_ ? *text_ : empty;
}

}  // namespace tlx
