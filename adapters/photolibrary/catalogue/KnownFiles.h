#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "adapters/photolibrary/catalogue/Snapshot.h"
#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// Rejected files by the path of their folder.
using RejectedFiles = std::unordered_map<std::string, std::vector<RejectedFile>>;

/// What was known when a walk began, as the walk asks for it. Any thread.
class KnownFiles {
 public:
  /// `snapshot` and `rejected` must stay as they are while this lives.
  KnownFiles(std::shared_ptr<const Snapshot> snapshot, const RejectedFiles& rejected);

  struct File {
    std::string_view name;
    FileKey key;
    std::int64_t bytes;
    std::int64_t modified;
    std::int64_t sidecar;    ///< as in `ItemFacts`
    std::uint32_t position;  ///< in the snapshot; `Snapshot::kNowhere` for a rejected file
  };
  /// By name; of the names given only, when any are.
  std::vector<File> inFolder(const std::string& path, const WalkScope::Names* names = nullptr) const;

  const Snapshot& snapshot() const { return *snapshot_; }
  /// The item with this identifier, or nothing.
  const Item* item(const std::string& identifier) const;
  /// The item with this key of a file system without birth times, or nothing.
  const Item* itemWithoutBirth(const FileKey& key) const;
  /// The same for a folder.
  const Folder* folderWithoutBirth(const FileKey& key) const;
  /// A folder with this key that holds items, or nothing.
  const Folder* folderWith(const FileKey& key) const;

 private:
  std::shared_ptr<const Snapshot> snapshot_;
  const RejectedFiles& rejected_;
  std::unordered_map<std::string, std::uint32_t> folders_;
  using Birthless = std::pair<std::uint64_t, std::uint64_t>;
  mutable std::once_flag
      birthlessListed_;  ///< made when first asked for, which is rare: it takes a pass over all items
  mutable std::map<Birthless, const Item*> birthless_;
  std::map<Birthless, const Folder*> birthlessFolders_;
};

}  // namespace tlx::photolibrary
