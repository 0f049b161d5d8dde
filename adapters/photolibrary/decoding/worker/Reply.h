#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/decoding/Wire.h"
#include "adapters/photolibrary/decoding/WorkerKind.h"
#include "adapters/photolibrary/images/pixels/RowSink.h"
#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// A worker's answers on their way: gathered into messages, rows laid into the ring. Waits where the ring is full. One
/// thread.
class Reply final : public RowSink {
 public:
  /// The memory begins with a `wire::Shared`; both outlive the object.
  Reply(int socket, void* memory);

  /// The job that is answered from now on.
  void setJob(std::uint64_t id) { job_ = id; }

  void hello(const wire::Hello& hello);
  void failed(const NSError& error);
  void info(const MediaInfo& info);
  void date(std::optional<double> date);
  void tracks(const VideoInfo& info);
  void needsMemory(std::int64_t bytes);
  void otherKind(WorkerKind kind);
  /// The picture whose rows came is whole.
  void end();

  // RowSink
  std::optional<NSError> begin(PixelSize stored, std::int32_t turn) override;
  void add(const std::uint8_t* rgba) override;

  /// Sends what is gathered; by itself where there is much of it, or it has waited for long.
  void flush();
  /// Whether the picker has gone.
  bool isBroken() const { return broken_; }

 private:
  using Clock = std::chrono::steady_clock;

  void answer(wire::AnswerKind kind, std::span<const std::byte> fixed, std::string_view tail = {});
  void sendRows();
  void waitForRoom(std::uint64_t bytes);

  int socket_;
  wire::Shared& shared_;
  std::uint8_t* ring_;
  std::uint64_t job_ = 0;
  wire::AnswerMessage message_;
  Clock::time_point first_;
  PixelSize stored_;
  std::uint64_t begun_ = 0, written_ = 0;  ///< positions: where rows that were not told of begin, and where they end
  bool broken_ = false;
};

}  // namespace tlx::photolibrary
