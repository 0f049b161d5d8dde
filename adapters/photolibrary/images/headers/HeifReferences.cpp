#include "adapters/photolibrary/images/headers/HeifReferences.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

namespace tlx::photolibrary {
namespace {

constexpr int maxBoxes = 4096;          // side by side
constexpr int maxReferences = 1 << 20;  // a picture of a gigapixel in tiles of 512 has 4,096
constexpr std::int64_t maxPieces = 1 << 17;
constexpr int maxDepth = 8;  // a copy of an overlay of a grid of tiles has 4

struct Box {
  std::uint64_t content = 0, end = 0;
  std::uint32_t type = 0;
};

constexpr std::uint32_t typeOf(const char (&text)[5]) {
  return std::uint32_t{static_cast<std::uint8_t>(text[0])} << 24 |
         std::uint32_t{static_cast<std::uint8_t>(text[1])} << 16 |
         std::uint32_t{static_cast<std::uint8_t>(text[2])} << 8 | static_cast<std::uint8_t>(text[3]);
}

/// Calls `use` with each box between the two offsets. False when the boxes make no sense or `use` says so.
bool eachBox(FileBytes& file, std::uint64_t from, std::uint64_t to, const std::function<bool(const Box&)>& use) {
  for (int count = 0; from + 8 <= to; ++count) {
    const Bytes head = file.at(from, 16);
    if (count >= maxBoxes || head.size() < 8) return false;
    std::uint64_t size = be32(head.data()), header = 8;
    Box box;
    box.type = be32(head.data() + 4);
    if (size == 1) {
      if (head.size() < 16) return false;
      size = std::uint64_t{be32(head.data() + 8)} << 32 | be32(head.data() + 12);
      header = 16;
    }
    if (size == 0) size = to - from;
    if (size < header) return false;
    // Pixels that reach past the end of the file mean that it is truncated, which the decoding library reports itself.
    if (size > to - from) return box.type == typeOf("mdat");
    box.content = from + header;
    box.end = from + size;
    if (!use(box)) return false;
    from = box.end;
  }
  return true;
}

class References {
 public:
  /// One reference box: what `from` is made of, or for auxiliary pictures, what is made with it.
  bool read(FileBytes& file, const Box& box, bool wide) {
    if (box.type != typeOf("dimg") && box.type != typeOf("auxl")) return true;
    const std::uint64_t idSize = wide ? 4 : 2;
    Bytes bytes = file.exactly(box.content, idSize + 2);
    if (bytes.empty()) return false;
    const auto id = [&](const std::uint8_t* at) { return wide ? be32(at) : be16(at); };
    const std::uint32_t from = id(bytes.data());
    const std::uint64_t count = be16(bytes.data() + idSize);
    if (box.content + idSize + 2 + count * idSize > box.end) return false;
    if ((total_ += static_cast<int>(count)) > maxReferences) return false;
    bytes = file.exactly(box.content + idSize + 2, count * idSize);
    if (bytes.size() != count * idSize) return false;
    for (std::uint64_t i = 0; i < count; ++i) {
      const std::uint32_t to = id(bytes.data() + i * idSize);
      const bool auxiliary = box.type == typeOf("auxl");
      partsOf_[auxiliary ? to : from].push_back(auxiliary ? from : to);
    }
    return true;
  }

  bool areSane() {
    for (const auto& [id, parts] : partsOf_) {
      if (piecesOf(id, 0) > maxPieces) return false;
    }
    return true;
  }

 private:
  /// How many pictures have to be decoded for this one.
  std::int64_t piecesOf(std::uint32_t id, int depth) {
    static constexpr std::int64_t tooMany = maxPieces + 1;
    if (depth > maxDepth) return tooMany;
    const auto parts = partsOf_.find(id);
    if (parts == partsOf_.end()) return 1;
    if (const auto known = pieces_.find(id); known != pieces_.end()) return known->second;
    std::int64_t sum = 1;
    for (const std::uint32_t part : parts->second) {
      sum += piecesOf(part, depth + 1);
      if (sum > maxPieces) return tooMany;
    }
    return pieces_[id] = sum;
  }

  std::map<std::uint32_t, std::vector<std::uint32_t>> partsOf_;
  std::map<std::uint32_t, std::int64_t> pieces_;
  int total_ = 0;
};

}  // namespace

std::optional<std::string> wrongReferences(FileBytes& file) {
  References references;
  const auto size = static_cast<std::uint64_t>(file.size());
  const bool readable = eachBox(file, 0, size, [&](const Box& top) {
    if (top.type != typeOf("meta")) return true;
    return eachBox(file, top.content + 4, top.end, [&](const Box& box) {
      if (box.type != typeOf("iref")) return true;
      const Bytes version = file.exactly(box.content, 4);
      if (version.empty()) return false;
      const bool wide = version[0] != 0;
      return eachBox(file, box.content + 4, box.end,
                     [&](const Box& reference) { return references.read(file, reference, wide); });
    });
  });
  if (!readable) return "its references cannot be read";
  if (!references.areSane()) return "its pictures are made of themselves, or of too many";
  return std::nullopt;
}

}  // namespace tlx::photolibrary
