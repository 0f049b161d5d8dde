#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tlx/platform/photos/PHAsset.h"

#include "adapters/photolibrary/base/FileKey.h"
#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// Bits of `ItemFacts::marks`, which put an item into smart albums.
enum ItemMark : std::uint8_t {
  ItemMarkFavorite = 1,
  ItemMarkPanorama = 2,
  ItemMarkScreenshot = 4,       ///< its metadata say so
  ItemMarkScreenshotPlace = 8,  ///< its name or its folder's says so
};

/// What the library knows of an item besides what an asset shows.
struct ItemFacts {
  FileKey key;
  std::int64_t bytes = 0;
  std::int64_t modified = 0;  ///< nanoseconds since 1970 UTC
  std::int32_t width = 0, height = 0;
  MediaFormat format = MediaFormat::Unknown;
  std::uint8_t orientation = 1;
  std::uint8_t marks = 0;
  DateOrigin dateOrigin = DateOrigin::FileTime;
  std::int64_t sidecar = 0;  ///< when an XMP file beside it was last written, in nanoseconds; 0 where there is none
};

/// An asset with its facts. Every asset that the library hands out is one, so a pointer to it may be cast back.
/// Immutable once published; what changes on disk becomes a new item with the same identifier.
struct Item : PHAsset {
  ItemFacts facts;
  const char* name = "";     ///< of the file in its folder: bytes, not necessarily UTF-8; lives in the item's block
  std::uint32_t folder = 0;  ///< position in the snapshot's folders; stable for the life of the process
};

inline const Item& itemOf(const PHAsset& asset) {
  return static_cast<const Item&>(asset);
}

/// The library's order: newest first, ties by name, then by identifier, so that it never depends on chance.
bool comesBefore(const Item& a, const Item& b);

/// Whether nobody could tell them apart by looking: the same item with the same content, wherever it lies.
bool looksTheSame(const PHAsset& a, const PHAsset& b);

/// Many items in one piece of memory: one allocation for the items, one for their identifiers' texts and a few for
/// their names. Items are handed out as pointers that share the ownership of the block. The texts have an owner of
/// their own, since an identifier inside the block that kept the block alive would keep it for ever. Filled on one
/// thread, read on any.
class ItemBlock {
 public:
  static std::shared_ptr<ItemBlock> withCapacity(std::size_t capacity);

  bool full() const { return items_.size() == items_.capacity(); }
  /// The new item has its identifier and name; the rest is the caller's to fill before it publishes the item. The block
  /// must not be full.
  Item& append(std::string_view identifier, std::string_view name);

 private:
  const char* keepName(std::string_view name);

  std::vector<Item> items_;
  std::shared_ptr<std::vector<std::string>> texts_;
  std::vector<std::unique_ptr<char[]>> names_;
  std::size_t nameRoom_ = 0;
  char* nameEnd_ = nullptr;
};

/// Fills blocks one after another.
class ItemBlocks {
 public:
  /// `expected` items are to come; more are possible.
  explicit ItemBlocks(std::size_t expected);
  /// `fill` completes the item before it is shared.
  template <class Fill>
  std::shared_ptr<const PHAsset> add(std::string_view identifier, std::string_view name, Fill fill) {
    if (block_->full()) block_ = ItemBlock::withCapacity(kNextBlock);
    Item& item = block_->append(identifier, name);
    fill(item);
    return {block_, &item};
  }

 private:
  static constexpr std::size_t kNextBlock = 1024;
  std::shared_ptr<ItemBlock> block_;
};

/// A folder that holds items, or did.
struct Folder {
  /// Absolute, without a closing slash unless it is "/". Of a folder on a server: its address, unescaped.
  std::string path;
  std::size_t root = 0;  ///< which of the library's roots it lies under
  std::string relative;  ///< its path below that root; empty for the root itself
  bool trashed = false;  ///< its items lie in a trash
  FileKey key;
  std::string identifier;  ///< in the form of an item's

  bool onServer() const { return !path.starts_with('/'); }
};

/// The item's path, or its address on its server, unescaped.
std::string itemPath(const Item& item, const Folder& folder);

using Assets = std::vector<std::shared_ptr<const PHAsset>>;
using Folders = std::vector<std::shared_ptr<const Folder>>;

}  // namespace tlx::photolibrary
