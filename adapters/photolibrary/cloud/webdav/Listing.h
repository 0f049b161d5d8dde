#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tlx::photolibrary {

/// What a listing says of one member, or of the collection itself.
struct ListedMember {
  std::string href;
  bool collection = false;
  std::string etag;
  std::optional<std::int64_t> bytes;
  std::int64_t modified = 0;  ///< nanoseconds since 1970 UTC; 0 when it does not say
  std::string contentType;
  /// What the server knows the member by, whatever its name. Servers that keep such numbers also give a collection a
  /// new ETag whenever anything below it changes, at any depth.
  std::string fileId;
};

/// What a listing asks for.
extern const char kListingRequest[];

/// Reads the answer to a listing piece by piece, and so holds no more than one member of it. Entities of the answer's
/// own, deep nesting and endless texts are refused.
class ListingReader {
 public:
  using Found = std::function<void(ListedMember&&)>;
  explicit ListingReader(Found found);
  ~ListingReader();

  /// False once the answer is known to be no listing.
  bool feed(const char* bytes, std::size_t count);
  /// Whether the answer was a whole listing.
  bool finished() const;

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

/// "Sun, 06 Nov 1994 08:49:37 GMT" in nanoseconds since 1970 UTC; 0 for what is no such date.
std::int64_t parseHttpDate(const std::string& text);

/// An ETag without its quotes and marks, so that one that came in a listing compares with one from a header.
std::string plainTag(const std::string& etag);

}  // namespace tlx::photolibrary
