#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "adapters/photolibrary/catalogue/Index.h"
#include "adapters/photolibrary/catalogue/KnownFiles.h"
#include "adapters/photolibrary/catalogue/Snapshot.h"
#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// Turns what one walk finds into the library's next states. Items that are new for sure can be taken over while the
/// walk goes on; what may be a move, a second name of a known file, or a removal is settled when all has been seen, so
/// that nothing ever vanishes for a moment on its way from one folder to another.
class ScanPass final : public WalkListener {
 public:
  /// `rejected` is what was known. It and `scope`, which the walk keeps to, must stay as they are until the pass is
  /// over.
  ScanPass(std::shared_ptr<const Snapshot> base, const RejectedFiles& rejected, const WalkScope& scope);

  void found(FolderFindings&& findings) override;
  /// No more is found. Any thread.
  void walkEnded();
  /// Waits until so many finds wait to be taken over, or some do and it is that time, if there is one. False when the
  /// walk has ended.
  bool waitForFinds(std::size_t enough, std::optional<std::chrono::steady_clock::time_point> due);

  /// A state of the library and how the index gets there.
  struct State {
    Assets live, trashed;
    Folders folders;
    IndexChanges changes;
    bool differs = false;  ///< from the state before, as far as anyone but the index is concerned
    /// What the walk could not settle and must be walked next: places outside of its scope that are known to hold one
    /// of the files met, and files that were written while they were looked at.
    WalkScope lookAgain = {};
  };
  /// The base with everything that is new for sure. One thread at a time, like `conclude`.
  State takeOver();
  /// The whole truth, after a walk that finished. `rootReadable` tells which roots' items may be shown; the others'
  /// stay in the index, unseen. Holds no items when nothing differs.
  State conclude(const WalkOutcome& outcome, const std::function<bool(std::size_t)>& rootReadable);

  /// After `conclude`: by which other paths items were met than the one that they are known by.
  struct OtherName {
    Identifier identifier;
    std::string path;
  };
  const std::vector<OtherName>& otherNames() const { return otherNames_; }

 private:
  enum Sight : std::uint8_t { Missed, Met, MetByLink, NotLookedFor };
  struct Fresh {
    std::uint32_t folder;
    FoundItem item;
  };
  struct Accepted {
    std::shared_ptr<const PHAsset> asset;
    bool linked;
  };

  State absorb();
  void forgetWhatTheScopeHolds();
  void settleUndecided(State& state);
  void takeLeave(const std::function<bool(std::size_t)>& rootReadable, State& state);
  std::uint32_t folderPosition(Folder&& folder);
  void accept(const Fresh& fresh, ItemBlocks& blocks, State& state);
  void keepUnreachable(const std::vector<std::string>& unreachable);
  void compareRejected(const std::vector<std::string>& unreachable, State& state);
  void merge(State& state);

  const std::shared_ptr<const Snapshot> base_;
  const RejectedFiles& knownRejected_;
  const WalkScope& scope_;

  mutable std::mutex mutex_;  ///< guards what follows, up to the empty line
  std::condition_variable changed_;
  bool walked_ = false;
  std::vector<std::uint8_t> seen_;  ///< by position in the base: a `Sight`
  std::vector<Fresh> fresh_;
  RejectedFiles rejected_;
  Folders folders_;
  std::vector<std::uint32_t> changedFolders_;
  std::unordered_map<std::string, std::uint32_t> folderAt_;

  std::vector<Fresh> undecided_;
  std::unordered_map<Identifier, Accepted> accepted_;
  std::vector<std::uint8_t> gone_;  ///< by position in the base
  Assets added_;                    ///< in the library's order
  std::vector<OtherName> otherNames_;
  WalkScope lookAgain_;
};

}  // namespace tlx::photolibrary
