#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>

#include "adapters/photolibrary/cloud/CloudError.h"
#include "adapters/photolibrary/source/ItemStore.h"

namespace tlx::photolibrary {

/// Copies of what lies on servers, as files in a folder of bounded size: those used longest ago go first. A copy has
/// its name only once it is whole, so a process that is killed leaves nothing that counts; what it had got of a copy
/// stays beside it and is gone on with. Several processes may use one folder. Any thread.
///
/// A copy in use is held by a shared lock on its file and is not removed; the folder may be larger than its bound for
/// as long as that takes. A copy that is being made is held by an exclusive one.
class OriginalCache {
 public:
  OriginalCache(std::string folder, std::int64_t bound);

  static constexpr std::int64_t kAnySize = -1;
  /// The path of a whole copy of that many bytes; empty when there is none.
  std::string find(const std::string& name, std::int64_t bytes) const;
  /// The same, held until its owner is let go, and used now.
  std::optional<Original> take(const std::string& name, std::int64_t bytes) const;

  /// A copy in the making. Let go of, what was written stays for the next attempt.
  class Draft {
   public:
    ~Draft();
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    /// How many bytes an earlier attempt, or this one, has written.
    std::int64_t written() const { return written_; }
    /// The tag under which the server sent them; empty when it gave none to go by.
    const std::string& tag() const { return tag_; }
    /// Forgets what was written; what follows comes under this tag. False when it cannot be noted.
    std::optional<NSError> startOver(const std::string& tag);
    std::optional<NSError> append(const char* bytes, std::size_t count);
    /// Makes the copy whole.
    std::variant<Original, NSError> finish();
    /// Takes away all that was written.
    void discard();

   private:
    friend class OriginalCache;
    Draft(const OriginalCache& cache, std::string name, int fd);
    NSError failure(int error) const;

    const OriginalCache& cache_;
    const std::string name_;
    const int fd_;
    std::int64_t written_ = 0;
    std::string tag_;
  };
  /// Somebody else is making it; how many drafts had ended by then.
  struct Busy {
    std::uint64_t ended = 0;
  };
  /// Makes room for `bytes` first. More than the whole disk could hold is refused, and takes nothing away.
  std::variant<std::unique_ptr<Draft>, Busy, NSError> begin(const std::string& name, std::int64_t bytes) const;
  /// Waits until it may be worth while to begin again, or to stop.
  void waitForOthers(const Busy& busy, const std::stop_token& stop) const;

 private:
  std::string pathOf(const std::string& name) const { return folder_ + "/" + name; }
  /// Removes what was used longest ago until the rest and `bytes` keep within `bound`. False, with nothing removed,
  /// when all of it would not be room enough.
  bool makeRoom(std::int64_t bytes, std::int64_t bound) const;
  void draftEnded() const;

  const std::string folder_;
  const std::int64_t bound_;
  mutable std::mutex sweeping_;
  mutable std::mutex mutex_;  ///< guards what follows
  mutable std::condition_variable_any changed_;
  mutable std::uint64_t ended_ = 0;  ///< drafts of this object's
};

}  // namespace tlx::photolibrary
