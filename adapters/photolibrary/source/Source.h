#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/source/Item.h"
#include "adapters/photolibrary/source/ItemStore.h"
#include "adapters/photolibrary/source/WalkScope.h"

namespace tlx::photolibrary {

class KnownFiles;

/// A photo or video that a walk met and that is not known as it stands.
struct FoundItem {
  std::string identifier;
  std::string name;
  PHAssetMediaType mediaType = PHAssetMediaTypeUnknown;
  double created = 0;  ///< seconds since 1970 UTC
  double duration = 0;
  ItemFacts facts;
  bool linked = false;  ///< met through a symbolic link: the same file met plainly goes before

  /// Takes over what the file's header tells.
  void setHeader(const MediaInfo& info);
};

/// A file that is no photo or video; remembered so that it is not read again while it stays as it is.
struct RejectedFile {
  std::string name;
  FileKey key;
  std::int64_t bytes = 0;
  std::int64_t modified = 0;

  friend bool operator==(const RejectedFile&, const RejectedFile&) = default;
};

/// What a walk tells of a folder, in one or several parts.
struct FolderFindings {
  Folder folder;
  std::vector<std::uint32_t> unchanged;  ///< positions in the known snapshot, still there as they were
  std::vector<FoundItem> fresh;          ///< new, changed, renamed, or moved
  std::vector<RejectedFile> rejected;    ///< all of them, known or new
  bool linked = false;                   ///< the unchanged ones were met through symbolic links
};

class WalkListener {
 public:
  virtual ~WalkListener() = default;
  /// On any of the walk's threads, several at once. Returns soon.
  virtual void found(FolderFindings&& findings) = 0;
};

struct WalkOutcome {
  bool finished = false;  ///< false when it was stopped: what it has not met may still be there
  /// Folders (absolute paths) that could not be looked into for a reason that may pass, as a server that does not
  /// answer. What is known in them and below stays.
  std::vector<std::string> unreachable;
  /// What was passed over and would be missed, with the reason: a word for the log.
  std::vector<std::pair<std::string, std::string>> skipped = {};
  /// Whether a folder was met a second time, by a link for instance, and entered by its first way only.
  bool secondWays = false;
};

/// Where items come from: a folder tree, a server, or several of them as one. They differ in how they list, what they
/// know a file by, and how they bring an original here.
class Source {
 public:
  virtual ~Source() = default;

  /// Absolute paths of the roots, in the order given; of a root on a server its address, without a closing slash and
  /// without anything secret.
  virtual const std::vector<std::string>& roots() const = 0;
  /// Whether the root can be looked into now; asks the disk, but no server. Any thread.
  virtual bool rootReadable(std::size_t root) const = 0;

  /// Whether a new file in the root's folder becomes an item. Any thread.
  virtual bool takesFiles(std::size_t root) const {
    (void)root;
    return false;
  }

  /// Looks at everything and tells what it meets, reading only files that `known` does not hold as they stand. Returns
  /// when all is told. One walk at a time, on a thread that may wait. Stopping ends it within the time that one file
  /// takes.
  virtual WalkOutcome walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) = 0;

  /// The original's path on this machine; empty while it lies elsewhere only. Any thread; waits for nothing.
  virtual std::string originalPath(const Item& item, const Folder& folder) const { return itemPath(item, folder); }
  /// As `ItemStore::fetchOriginal`. Any thread, several at once. `folder` is the one that the item names.
  virtual std::variant<Original, NSError> fetchOriginal(const Item& item, const Folder& folder,
                                                        const ItemStore::FetchOptions&) {
    return Original{itemPath(item, folder), nullptr};
  }
  /// As `ItemStore::fetchPreview`, likewise; nothing where originals are always at hand.
  virtual std::optional<Preview> fetchPreview(const Item& item, const Folder& folder, int pixels,
                                              const std::stop_token& stop) {
    (void)item, (void)folder, (void)pixels, (void)stop;
    return std::nullopt;
  }

  /// Told what has been touched, on a thread of the source's own, a burst at a time. Returns soon.
  using Touched = std::function<void(const WalkScope&)>;
  /// From now on tells of what happens to the source, as far as it can, by itself. `nullptr` ends that: when it has
  /// returned nobody is told any more. Not while a walk runs. A source that hears of nothing does nothing.
  // NOLINTNEXTLINE(performance-unnecessary-value-param): overriders keep it
  virtual void follow(Touched touched) { (void)touched; }
  /// As `walk`, of what the scope holds only. The scope may name paths of other sources, which are not for this one.
  virtual WalkOutcome walkPart(const KnownFiles& known, WalkListener& listener, const WalkScope& scope,
                               std::stop_token stop) {  // NOLINT(performance-unnecessary-value-param): likewise
    (void)known, (void)listener, (void)scope, (void)stop;
    return {true, {}};
  }
};

}  // namespace tlx::photolibrary
