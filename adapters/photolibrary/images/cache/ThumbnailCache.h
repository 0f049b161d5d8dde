#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/photos/PHImageRequest.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx::photolibrary {

/// What a finished picture was made of, and for what.
struct ThumbnailKey {
  Identifier identifier;
  CGSize target;
  PHImageContentMode mode = PHImageContentModeAspectFit;

  friend bool operator==(const ThumbnailKey&, const ThumbnailKey&) = default;
};

struct ThumbnailKeyHash {
  std::size_t operator()(const ThumbnailKey& key) const noexcept;
};

/// The state of the file that a picture was made of.
struct FileVersion {
  std::int64_t modified = 0, bytes = 0;
  friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

/// Finished small pictures in memory, the longest unused of which go when all together pass a limit. Any thread.
class ThumbnailCache {
 public:
  /// `largest` is the size in bytes from which a picture is not kept.
  ThumbnailCache(std::size_t limit, std::size_t largest) : limit_(limit), largest_(largest) {}

  /// Nothing when there is none, or the file has changed since.
  std::shared_ptr<const UIImage> find(const ThumbnailKey& key, FileVersion version);
  void insert(const ThumbnailKey& key, FileVersion version, std::shared_ptr<const UIImage> image);
  /// Nobody expects to need it soon: the first to go.
  void age(const ThumbnailKey& key);
  std::size_t bytes() const;

 private:
  struct Entry {
    ThumbnailKey key;
    FileVersion version;
    std::shared_ptr<const UIImage> image;
  };
  using Entries = std::list<Entry>;
  void erase(Entries::iterator entry);

  const std::size_t limit_, largest_;
  mutable std::mutex mutex_;
  Entries entries_;  // latest used first
  std::unordered_map<ThumbnailKey, Entries::iterator, ThumbnailKeyHash> byKey_;
  std::size_t bytes_ = 0;
};

}  // namespace tlx::photolibrary
