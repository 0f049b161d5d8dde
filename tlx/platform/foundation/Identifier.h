#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tlx {

/// The local identifier of an asset or an album: an immutable string, shared by everything that names the same thing.
/// Copying costs one reference count. Two identifiers are equal when their bytes are; the hash, kept beside the
/// reference, settles nearly every unequal pair without touching the text, which is what lets a pass over a million
/// records run at the speed of memory. The bytes need not be UTF-8. Safe to copy and compare on any thread.
class Identifier {
 public:
  /// The absent identifier: empty text, equal to an identifier made of "".
  Identifier() noexcept = default;
  Identifier(std::string text);                                         // NOLINT(google-explicit-constructor)
  Identifier(const char* text) : Identifier(std::string(text)) {}       // NOLINT(google-explicit-constructor)
  Identifier(std::string_view text) : Identifier(std::string(text)) {}  // NOLINT(google-explicit-constructor)
  /// Shares `text`, which may alias a block that holds many texts.
  explicit Identifier(std::shared_ptr<const std::string> text);

  const std::string& string() const noexcept;
  bool empty() const noexcept { return !text_ || text_->empty(); }
  std::size_t hash() const noexcept { return hash_; }

  friend bool operator==(const Identifier& a, const Identifier& b) noexcept {
    return a.hash_ == b.hash_ && (a.text_ == b.text_ || a.string() == b.string());
  }
  friend bool operator<(const Identifier& a, const Identifier& b) noexcept { return a.string() < b.string(); }

 private:
  std::shared_ptr<const std::string> text_;
  std::size_t hash_ = 0;
};

}  // namespace tlx

template <>
struct std::hash<tlx::Identifier> {
  std::size_t operator()(const tlx::Identifier& identifier) const noexcept { return identifier.hash(); }
};
