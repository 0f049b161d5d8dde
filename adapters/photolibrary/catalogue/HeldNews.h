#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "tlx/platform/foundation/Identifier.h"

namespace tlx::photolibrary {

/// Keeps word of changes back while somebody saves something and has not yet in hand what they saved: whoever marks
/// their own items when the library changes must hold the item, and its picture, by then. Any thread.
class HeldNews : public std::enable_shared_from_this<HeldNews> {
 public:
  /// `released` is called whenever nothing is held any more, on the thread that ended the last hold, within a lock of
  /// this object: it may only post.
  explicit HeldNews(std::function<void()> released) : released_(std::move(released)) {}

  bool isHeld() const;

  /// Everything is held between the two calls.
  void beginSave();
  void endSave();
  /// These items' pictures will be asked for: everything is held until, for each, a request has begun and none runs.
  void expectRequests(const std::vector<Identifier>& items);
  /// Waits no longer for requests for these items that have not begun.
  void stopExpecting(const std::vector<Identifier>& items);
  /// A request for an item's picture begins, and ends when the answer is let go. Nothing for an item that is not
  /// expected.
  std::shared_ptr<const void> beginRequest(const Identifier& item);
  /// Nobody is told any more once it has returned.
  void close();

 private:
  void endRequest(const Identifier& item);
  void tellIfReleased();

  mutable std::mutex mutex_;
  std::function<void()> released_;
  std::size_t saves_ = 0;
  std::map<Identifier, std::size_t> expected_;  ///< with how many requests run
};

}  // namespace tlx::photolibrary
