#include "adapters/photolibrary/decoding/Conversation.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include <poll.h>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/pixels/FittedSize.h"
#include "adapters/photolibrary/images/pixels/UprightSink.h"

namespace tlx::photolibrary {
namespace {

/// Tells the worker that nobody wants the answer any more.
struct Cancellation {
  wire::Shared& shared;
  std::size_t slot;

  void operator()() const noexcept {
    shared.cancelled[slot] = 1;
    wire::countUp(shared.cancellations);
  }
};

constexpr std::int32_t longestSide = 1 << 18;
constexpr std::int64_t mostPixels = std::int64_t{1} << 30;
constexpr double latestDate = 253402300799.0;  // the end of the year 9999, in seconds since 1970

bool isPlausible(double value, double least, double most) {
  return std::isfinite(value) && value >= least && value <= most;
}

/// Whether a picture of that size can answer a job: none is made larger than it was asked for.
bool answers(const wire::Begin& begin, const wire::Job& job) {
  if (begin.width < 1 || begin.height < 1 || begin.width > longestSide || begin.height > longestSide) return false;
  if (PixelSize{begin.width, begin.height}.pixels() > mostPixels || begin.turn < 1 || begin.turn > 8) return false;
  if (!(job.targetWidth > 0) || !(job.targetHeight > 0) || job.mode != PHImageContentModeAspectFit) return true;
  const PixelSize upright =
      begin.turn >= 5 ? PixelSize{begin.height, begin.width} : PixelSize{begin.width, begin.height};
  return upright.width <= std::ceil(job.targetWidth) + 1 && upright.height <= std::ceil(job.targetHeight) + 1;
}

template <std::size_t size>
std::string textOf(const char (&field)[size]) {
  return {field, strnlen(field, size)};
}

std::optional<MediaInfo> infoOf(const wire::Info& said) {
  const auto format = static_cast<MediaFormat>(said.format);
  const auto type = static_cast<PHAssetMediaType>(said.mediaType);
  // A number that names no format has a row that names no type.
  if (format == MediaFormat::Unknown || type == PHAssetMediaTypeUnknown || traitsOf(format).mediaType != type) {
    return std::nullopt;
  }
  if (said.dateOrigin > static_cast<std::uint8_t>(DateOrigin::Sidecar)) return std::nullopt;
  if (said.width < 0 || said.height < 0 || said.orientation < 1 || said.orientation > 8) return std::nullopt;
  if (!isPlausible(said.duration, 0, latestDate) || !isPlausible(said.captureDate, -latestDate, latestDate)) {
    return std::nullopt;
  }
  MediaInfo info;
  info.format = format;
  info.mediaType = type;
  info.width = said.width;
  info.height = said.height;
  info.duration = said.duration;
  if (said.hasCaptureDate) info.captureDate = said.captureDate;
  info.orientation = said.orientation;
  info.favorite = said.favorite != 0;
  info.panorama = said.panorama != 0;
  info.screenshot = said.screenshot != 0;
  info.dateOrigin = static_cast<DateOrigin>(said.dateOrigin);
  return info;
}

}  // namespace

/// What comes back for one task.
class Conversation::Reception {
 public:
  enum class Step { More, Ended, Lie };

  Reception(WorkerProcess& worker, PixelStore& pixels, Task& task)
      : shared_(worker.shared()), ring_(worker.ring()), task_(task), picture_(pixels) {}

  Step take(const wire::Answer& answer) {
    if (answer.header.job != task_.job.id) return Step::Lie;
    switch (answer.header.kind) {
      case wire::AnswerKind::Failed:
        return failed(answer);
      case wire::AnswerKind::Info:
        return info(answer);
      case wire::AnswerKind::Date:
        return date(answer);
      case wire::AnswerKind::Tracks:
        return tracks(answer);
      case wire::AnswerKind::Begin:
        return begin(answer);
      case wire::AnswerKind::Rows:
        return rows(answer);
      case wire::AnswerKind::End:
        return end();
      case wire::AnswerKind::NeedsMemory:
        return needsMemory(answer);
      case wire::AnswerKind::OtherKind:
        return otherKind(answer);
      case wire::AnswerKind::Hello:
        return Step::Lie;
    }
    return Step::Lie;  // a number without a name
  }

 private:
  Step failed(const wire::Answer& answer) {
    wire::Failed said;
    if (!answer.read(said) || said.code < PhotoLibraryErrorNotFound || said.code > PhotoLibraryErrorNetworkNotAllowed) {
      return Step::Lie;
    }
    const auto text = answer.body.subspan(sizeof(said));
    if (text.size() > wire::mostText) return Step::Lie;
    if (noRoom_) return finish(std::move(*noRoom_));
    return finish(libraryError(static_cast<PhotoLibraryErrorCode>(said.code),
                               std::string(reinterpret_cast<const char*>(text.data()), text.size())));
  }

  Step info(const wire::Answer& answer) {
    wire::Info said;
    if (task_.job.kind != wire::JobKind::Probe || !answer.read(said)) return Step::Lie;
    auto info = infoOf(said);
    return info ? finish(*info) : Step::Lie;
  }

  Step date(const wire::Answer& answer) {
    wire::Date said;
    if (task_.job.kind != wire::JobKind::Sidecar || !answer.read(said)) return Step::Lie;
    if (!isPlausible(said.date, -latestDate, latestDate)) return Step::Lie;
    return finish(said.isThere ? Task::Date(said.date) : Task::Date());
  }

  Step tracks(const wire::Answer& answer) {
    wire::Tracks said;
    if (task_.job.kind != wire::JobKind::Tracks || !answer.read(said)) return Step::Lie;
    if (said.count > wire::mostTracks || !isPlausible(said.duration, 0, latestDate)) return Step::Lie;
    VideoInfo info;
    info.duration = said.duration;
    for (std::size_t i = 0; i < said.count; ++i) {
      wire::Track track;
      if (!answer.read(track, sizeof(said) + i * sizeof(track))) return Step::Lie;
      if (track.width < 0 || track.height < 0 || !isPlausible(track.duration, 0, latestDate)) return Step::Lie;
      info.tracks.push_back({textOf(track.mediaType), textOf(track.codec), track.width, track.height, track.duration});
    }
    return finish(std::move(info));
  }

  Step begin(const wire::Answer& answer) {
    wire::Begin said;
    if (!wantsPicture() || begun_ || !answer.read(said) || !answers(said, task_.job)) return Step::Lie;
    stored_ = {said.width, said.height};
    begun_ = true;
    noRoom_ = picture_.begin(stored_, said.turn);
    // The worker has done nothing wrong: its rows go nowhere, and it need not make more of them.
    if (noRoom_) Cancellation{shared_, task_.job.slot}();
    return Step::More;
  }

  Step rows(const wire::Answer& answer) {
    wire::Rows said;
    if (!begun_ || !answer.read(said)) return Step::Lie;
    const std::uint64_t rowBytes = static_cast<std::uint64_t>(stored_.width) * CGImage::bytesPerPixel;
    const std::uint64_t offset = said.position % wire::ringBytes;
    if (said.count < 1 || said.count > static_cast<std::uint64_t>(stored_.height - rows_)) return Step::Lie;
    if (said.count * rowBytes > wire::ringBytes - offset) return Step::Lie;
    for (std::uint64_t i = 0; !noRoom_ && i < said.count; ++i) picture_.add(ring_.data() + offset + i * rowBytes);
    rows_ += static_cast<std::int32_t>(said.count);
    shared_.consumed = said.position + said.count * rowBytes;
    if (shared_.waits) {
      wire::countUp(shared_.taken);
    } else {
      ++shared_.taken;
    }
    return Step::More;
  }

  Step end() {
    if (noRoom_) return finish(std::move(*noRoom_));
    if (!begun_ || rows_ != stored_.height) return Step::Lie;
    return finish(picture_.finish());
  }

  Step needsMemory(const wire::Answer& answer) {
    wire::NeedsMemory said;
    if (task_.job.kind != wire::JobKind::Decode || task_.job.memory != 0 || begun_) return Step::Lie;
    if (!answer.read(said) || said.bytes < 1) return Step::Lie;
    return finish(Task::NeedsMemory{said.bytes});
  }

  Step otherKind(const wire::Answer& answer) {
    wire::OtherKind said;
    // The kind that is asked for next is the one that knows the most, so that the way ends there.
    if (task_.job.kind != wire::JobKind::Decode || begun_ || !answer.read(said)) return Step::Lie;
    if (said.kind != static_cast<std::uint64_t>(WorkerKind::Vips)) return Step::Lie;
    return finish(Task::OtherKind{WorkerKind::Vips});
  }

  bool wantsPicture() const {
    return task_.job.kind == wire::JobKind::Decode || task_.job.kind == wire::JobKind::Embedded;
  }
  Step finish(Task::Result result) {
    task_.result = std::move(result);
    return Step::Ended;
  }

  wire::Shared& shared_;
  std::span<const std::uint8_t> ring_;
  Task& task_;
  UprightSink picture_;
  bool begun_ = false;
  Failure noRoom_;
  PixelSize stored_;
  std::int32_t rows_ = 0;
};

Conversation::Conversation(WorkerProcess& worker, PixelStore& pixels, std::chrono::milliseconds patience)
    : worker_(worker), pixels_(pixels), patience_(patience) {}

bool Conversation::greet(WorkerProcess& worker, std::chrono::milliseconds patience, wire::Hello& hello) {
  pollfd ready{worker.socket(), POLLIN, 0};
  int polled = 0;
  do {
    polled = poll(&ready, 1, static_cast<int>(patience.count()));
  } while (polled < 0 && errno == EINTR);
  if (polled != 1) return false;
  std::byte bytes[256];
  const std::int64_t count = wire::receive(worker.socket(), bytes);
  if (count <= 0) return false;
  std::span<const std::byte> message(bytes, static_cast<std::size_t>(count));
  wire::Answer answer;
  return wire::next(message, answer) && answer.header.kind == wire::AnswerKind::Hello && answer.read(hello) &&
         hello.version == wire::version;
}

Conversation::Outcome Conversation::exchange(std::span<Task* const> tasks) {
  static std::atomic<std::uint64_t> lastId{0};
  std::vector<wire::Job> jobs;
  std::vector<int> files;
  std::deque<std::stop_callback<Cancellation>> cancellations;
  wire::Shared& shared = worker_.shared();
  suspect_ = nullptr;
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    Task& task = *tasks[i];
    task.job.id = ++lastId;
    task.job.slot = static_cast<std::uint32_t>(i);
    shared.cancelled[i] = 0;
    cancellations.emplace_back(task.stop, Cancellation{shared, i});
    jobs.push_back(task.job);
    files.push_back(task.file);
  }
  if (const int error = wire::send(worker_.socket(), std::as_bytes(std::span(jobs)), files)) {
    return error == EPIPE || error == ECONNRESET ? Outcome::Gone : Outcome::Failed;
  }
  const Outcome outcome = receive(tasks);
  if (outcome != Outcome::Fine) {
    const std::uint64_t begun = shared.serving;
    for (Task* task : tasks) {
      if (!task->isDone() && task->job.id == begun) suspect_ = task;
    }
  }
  return outcome;
}

Conversation::Outcome Conversation::receive(std::span<Task* const> tasks) {
  std::vector<std::byte> buffer(wire::mostBytes);
  std::span<const std::byte> message;
  for (Task* task : tasks) {
    Reception reception(worker_, pixels_, *task);
    const auto deadline = Clock::now() + patience_;
    while (!task->isDone()) {
      if (message.empty()) {
        const Outcome outcome = await(buffer, message, deadline);
        if (outcome != Outcome::Fine) return outcome;
      }
      wire::Answer answer;
      if (!wire::next(message, answer) || reception.take(answer) == Reception::Step::Lie) return Outcome::Lied;
    }
  }
  return message.empty() ? Outcome::Fine : Outcome::Lied;
}

Conversation::Outcome Conversation::await(std::span<std::byte> buffer, std::span<const std::byte>& message,
                                          Clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd ready{worker_.socket(), POLLIN, 0};
    const int polled = left > 0 ? poll(&ready, 1, static_cast<int>(left)) : 0;
    if (polled == 0) return Outcome::TooLong;
    if (polled < 0 && errno == EINTR) continue;
    if (polled < 0) return Outcome::Failed;
    const std::int64_t count = wire::receive(worker_.socket(), buffer);
    if (count == -EMSGSIZE) return Outcome::Lied;
    if (count <= 0) return Outcome::Gone;
    message = buffer.first(static_cast<std::size_t>(count));
    return Outcome::Fine;
  }
}

}  // namespace tlx::photolibrary
