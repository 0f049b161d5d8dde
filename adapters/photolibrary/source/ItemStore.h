#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <variant>

#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// Where an item's bytes lie.
struct ItemLocation {
  std::string path;  ///< of the original on this machine; empty when it has not been fetched from its server
  std::string uri;   ///< the item's own address, the key of shared thumbnail caches
  MediaFormat format = MediaFormat::Unknown;
  std::int64_t bytes = 0;              ///< of the original
  std::int64_t modified = 0;           ///< nanoseconds since 1970 UTC
  std::int32_t width = 0, height = 0;  ///< upright, as the header says; 0 when unknown
  std::int32_t orientation = 1;        ///< EXIF numbering
};

/// An original on this machine. `owner` keeps a cached file from being evicted while it is in use; nothing for a file
/// of the person's own.
struct Original {
  std::string path;
  std::shared_ptr<const void> owner;
};

/// A file that stands for an original that is elsewhere.
struct Preview {
  Original file;
  bool head = false;  ///< the original's first bytes, with the picture embedded in them, and not a picture of its own
};

/// What the image requests ask of the library: where items are, and to bring their originals here. Every method may be
/// called on any thread and holds no lock while it calls out.
class ItemStore {
 public:
  virtual ~ItemStore() = default;

  /// Answers from memory or the index, without touching the item. An error when the library does not know it.
  virtual std::variant<ItemLocation, NSError> locate(const Identifier& identifier) const = 0;

  struct FetchOptions {
    bool networkAccessAllowed = false;
    /// Told while bytes come from a network; answering false ends the transfer.
    std::function<bool(double progress)> progress;
    /// Once stopped, the wait ends soon, with an error.
    std::stop_token stop;
  };
  /// Waits until the original is on this machine. A local file is answered at once, whether or not it still exists:
  /// opening it tells.
  virtual std::variant<Original, NSError> fetchOriginal(const Identifier& identifier, const FetchOptions& options) = 0;

  /// Waits for something to show of an item whose original is elsewhere, at a small part of the original's cost and so
  /// without asking whether the network may be used. `pixels` is the longer side that is wanted. An error when
  /// there is nothing, when the original is here and can be looked at itself, and soon after `stop` is stopped.
  virtual std::variant<Preview, NSError> fetchPreview(const Identifier& identifier, int pixels,
                                                      const std::stop_token& stop) {
    (void)identifier, (void)pixels, (void)stop;
    return noPreview();
  }

  /// Told, on any thread, that somebody asks for the item's picture. What is answered is let go once the request has
  /// had its last answer or was cancelled; it may outlive the store.
  virtual std::shared_ptr<const void> beginRequest(const Identifier& identifier) {
    (void)identifier;
    return nullptr;
  }

 protected:
  static NSError noPreview() {
    return {kPhotoLibraryErrorDomain, PhotoLibraryErrorNotFound, "There is no preview of this item."};
  }
};

}  // namespace tlx::photolibrary
