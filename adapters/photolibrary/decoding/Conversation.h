#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <variant>

#include "tlx/platform/coregraphics/CGImage.h"
#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/decoding/WorkerKind.h"
#include "adapters/photolibrary/decoding/WorkerProcess.h"
#include "adapters/photolibrary/images/pixels/PixelStore.h"
#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// One thing that a worker is to do, and what came of it.
struct Task {
  struct NeedsMemory {
    std::int64_t bytes;
  };
  struct OtherKind {
    WorkerKind kind;
  };
  using Date = std::optional<double>;
  using Result = std::variant<std::monostate, NSError, MediaInfo, VideoInfo, Date, std::shared_ptr<const CGImage>,
                              NeedsMemory, OtherKind>;

  wire::Job job;  ///< id and slot are the conversation's
  int file = -1;  ///< open for reading; the caller's
  std::stop_token stop;
  bool atOnce = false;  ///< as in `DecodersPort::Wanted`
  Result result;        ///< nothing until it is done

  bool isDone() const { return result.index() != 0; }
};

/// One exchange with a worker: tasks go out in one message, answers come back in order, a picture's rows are taken from
/// the ring, turned upright and kept. What the worker says is checked; the first number that cannot be ends the talk.
class Conversation {
 public:
  enum class Outcome {
    Fine,
    Gone,     ///< it has closed its end
    Lied,     ///< it answered what nobody asked, or what cannot be
    TooLong,  ///< one task took longer than `patience`
    Failed,   ///< this end could not send or wait
  };

  /// All outlive the object.
  Conversation(WorkerProcess& worker, PixelStore& pixels, std::chrono::milliseconds patience);

  /// At most `wire::mostJobs` tasks. After anything but Fine, those without a result are undone, and the worker is of
  /// no more use. `suspect` is the one that it had begun last, where that is undone.
  Outcome exchange(std::span<Task* const> tasks);
  Task* suspect() const { return suspect_; }

  /// Waits for the worker's first word.
  static bool greet(WorkerProcess& worker, std::chrono::milliseconds patience, wire::Hello& hello);

 private:
  using Clock = std::chrono::steady_clock;
  class Reception;

  Outcome receive(std::span<Task* const> tasks);
  Outcome await(std::span<std::byte> buffer, std::span<const std::byte>& message, Clock::time_point deadline);

  WorkerProcess& worker_;
  PixelStore& pixels_;
  std::chrono::milliseconds patience_;
  Task* suspect_ = nullptr;
};

}  // namespace tlx::photolibrary
