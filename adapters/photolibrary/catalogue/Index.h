#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "adapters/photolibrary/catalogue/Database.h"
#include "adapters/photolibrary/catalogue/KnownFiles.h"
#include "adapters/photolibrary/source/Item.h"

namespace tlx::photolibrary {

/// What is written in one transaction.
struct IndexChanges {
  std::vector<std::string> removed;         ///< identifiers
  Assets put;                               ///< new, or in place of the item with the same identifier
  std::vector<std::uint32_t> folders;       ///< to store, though no item of `put` lies there
  std::vector<std::string> removedFolders;  ///< paths
  std::vector<std::pair<std::string, std::string>> unrejected;  ///< folder and name
  std::vector<std::pair<std::string, RejectedFile>> rejected;   ///< folder and file
  bool complete = false;                                        ///< with this, the index holds the whole library

  bool empty() const {
    return removed.empty() && put.empty() && folders.empty() && removedFolders.empty() && unrejected.empty() &&
           rejected.empty();
  }
};

/// The library's memory on disk: an SQLite file in the cache folder, one for each set of roots. One per set, because
/// then the newest-first order of the whole library is one b-tree read from end to end: the table of items is itself
/// kept in that order, so that the table is its own covering index. Identifiers come from the files, so a folder that
/// lies in two sets has the same ones in both. The number of each album's items is stored; its cover is its first item,
/// which is in memory as soon as the items are, so storing it would buy nothing.
///
/// Several processes may use one file, and any may be killed at any moment: transactions keep it whole, and what is
/// stale is put right by each process's next look at the files. Used by one thread. A method that fails leaves the
/// index unusable and says why through `problem`; the library then goes on in memory.
class Index {
 public:
  /// In the head of every index's file.
  static constexpr std::int64_t kApplication = 0x544c5850;

  using Log = std::function<void(const std::string&)>;

  /// Makes folder and file where there are none; both are their owner's alone (0700, 0600) from then on. A file that is
  /// damaged or of another make is set aside (".broken"), with a word in the log, and a new one begun. Nothing when
  /// there can be none; the log says why.
  static std::unique_ptr<Index> open(const std::string& cacheFolder, const std::vector<std::string>& roots,
                                     const Log& log);

  struct Content {
    Assets live, trashed;  ///< in the library's order
    Folders folders;
    bool complete =
        false;  ///< false for one that never held the whole library: it was new, or its making was cut short
  };
  /// Leaves out what lies under roots that `readable` refuses, and every row that no item or folder can be: such a file
  /// is read again by the next look. Nothing when it cannot be read.
  std::optional<Content> load(const std::function<bool(std::size_t root)>& readable);
  /// The files that are no photos or videos: wanted for the scan only, so that opening need not wait for them.
  std::optional<RejectedFiles> loadRejected();

  /// `folders` is what the items' positions point into; `counts` tells how many items each holds now.
  bool write(const IndexChanges& changes, const Folders& folders,
             const std::function<std::size_t(std::uint32_t)>& counts);

  /// Sets a file aside that turned out damaged, and begins a new one. False when there can be none.
  bool startOver(const Log& log);
  /// What went wrong last, to follow the index's name in a log.
  const std::string& problem() const { return problem_; }
  const std::string& path() const { return path_; }

 private:
  enum class Beginning { Good, NotOurs, Unusable };

  Index(std::string path, std::vector<std::string> roots) : path_(std::move(path)), roots_(std::move(roots)) {}
  Beginning begin();
  Beginning failure();
  std::nullopt_t unreadable();
  void setAside();
  bool writeItems(const IndexChanges& changes, const Folders& folders,
                  const std::function<std::size_t(std::uint32_t)>& counts);
  bool writeRejected(const IndexChanges& changes);

  std::string path_;
  std::vector<std::string> roots_;
  std::unique_ptr<Database> database_;
  std::string problem_;
};

}  // namespace tlx::photolibrary
