#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "tlx/platform/foundation/SystemLogPort.h"

#include "adapters/photolibrary/catalogue/Index.h"
#include "adapters/photolibrary/catalogue/ScanPass.h"
#include "adapters/photolibrary/catalogue/Snapshot.h"
#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// Keeps a snapshot of what a source holds: opened from the index at once where there is one, then checked against the
/// source behind it and kept up with what the source tells of, on a thread of its own. A library that was never seen
/// grows while it is scanned; a known one makes one step to the truth, and one for each burst of what happens later.
/// When the index fails, everything goes on in memory, and the log is told once.
class Catalogue {
 public:
  /// Told of each new state on the catalogue's thread, after `snapshot` gives it; never once the destructor has
  /// returned.
  using Published = std::function<void(const std::shared_ptr<const Snapshot>&)>;

  Catalogue(std::unique_ptr<Source> source, std::string cacheFolder, SystemLogPort& log,
            std::shared_ptr<FetchLedger> ledger, Published published);
  /// Ends a running scan, within the time that one file takes.
  ~Catalogue();

  /// Begins to open and scan; once.
  void start();
  /// Looks at the whole source again. Any thread; returns at once.
  void rescan() { look(WalkScope::everything()); }
  /// Looks at a part of it again, likewise.
  void look(const WalkScope& scope);
  /// Waits until the index has been read. Returns at once when `start` was not called.
  void waitUntilOpened() const;
  /// Waits until every scan asked for so far is done. Returns at once when `start` was not called.
  void waitUntilScanned() const;
  /// The same, until the waiter is to stop.
  void waitUntilScanned(const std::stop_token& stop) const;

  /// Waits for a newer state than this one, until the time or until the waiter is to stop; false when none came.
  bool waitForNewer(const std::shared_ptr<const Snapshot>& known, const std::stop_token& stop,
                    std::chrono::steady_clock::time_point until) const;

  /// The newest state. Any thread; waits for nothing but another reader.
  std::shared_ptr<const Snapshot> snapshot() const;
  Source& source() const { return *source_; }
  /// Whether any root could be looked into when it was last tried. Any thread; asks no disk.
  bool anyRootReadable() const { return anyRootReadable_; }

 private:
  void work(const std::stop_token& stop);
  void openIndex();
  std::optional<Index::Content> load();
  void bringBackRoots();
  /// Answers what is to be looked at next, since this look cannot tell.
  WalkScope scan(const WalkScope& asked, const std::stop_token& stop);
  WalkScope withKnownNames(const WalkScope& asked, const Snapshot& base) const;
  void rememberRejected(const IndexChanges& changes);
  void rememberOtherNames(const ScanPass& pass, bool afresh);
  WalkScope leftOpen(const ScanPass::State& state) const;
  void tellOfSkipped(const WalkOutcome& outcome);
  void take(ScanPass::State&& state);
  void publish(const std::shared_ptr<const Snapshot>& next);
  void checkRoots();

  std::unique_ptr<Source> source_;
  const std::string cacheFolder_;
  SystemLogPort& log_;
  std::shared_ptr<FetchLedger> ledger_;
  Published published_;

  std::unique_ptr<Index> index_;  ///< the thread's, like what follows
  RejectedFiles rejected_;
  bool complete_ = false;
  bool swept_ = false;          ///< the cache folder, of other libraries' indexes that nobody needs any more
  std::vector<bool> readable_;  ///< by root, when it was last tried
  std::unordered_map<std::string, Identifier> otherNames_;  ///< paths that lead to a known item too
  bool secondWays_ = false;
  std::set<std::string> told_;  ///< what the log knows of

  mutable std::mutex mutex_;  ///< guards what follows
  mutable std::condition_variable_any changed_;
  std::shared_ptr<const Snapshot> snapshot_;
  bool started_ = false;
  bool opened_ = false;
  WalkScope wanted_ = WalkScope::everything();
  std::uint64_t scansWanted_ = 1;
  std::uint64_t scansDone_ = 0;

  std::atomic<bool> anyRootReadable_ = false;
  std::jthread thread_;
};

}  // namespace tlx::photolibrary
