#include "adapters/photolibrary/decoding/worker/Reply.h"

#include <algorithm>
#include <cstring>

namespace tlx::photolibrary {
namespace {

constexpr std::uint64_t rowsAtOnce = 256 << 10;  // bytes, so that the picker copies while the next are made
/// Answers that lie about are lost when a later job ends the process.
constexpr std::chrono::microseconds longestGathering{400};

template <std::size_t size>
void put(char (&field)[size], const std::string& text) {
  std::memcpy(field, text.data(), std::min(text.size(), size));
}

}  // namespace

Reply::Reply(int socket, void* memory)
    : socket_(socket),
      shared_(*static_cast<wire::Shared*>(memory)),
      ring_(static_cast<std::uint8_t*>(memory) + wire::ringOffset) {}

void Reply::answer(wire::AnswerKind kind, std::span<const std::byte> fixed, std::string_view tail) {
  if (message_.empty()) first_ = Clock::now();
  if (!message_.add(kind, job_, fixed, tail)) {
    flush();
    message_.add(kind, job_, fixed, tail);
  }
  if (Clock::now() - first_ > longestGathering) flush();
}

void Reply::flush() {
  if (message_.empty()) return;
  if (wire::send(socket_, message_.bytes()) != 0) broken_ = true;
  message_.clear();
}

void Reply::hello(const wire::Hello& hello) {
  answer(wire::AnswerKind::Hello, wire::bytesOf(hello));
  flush();
}

void Reply::failed(const NSError& error) {
  const wire::Failed failed{error.code};
  answer(wire::AnswerKind::Failed, wire::bytesOf(failed),
         std::string_view(error.localizedDescription).substr(0, wire::mostText));
}

void Reply::info(const MediaInfo& info) {
  wire::Info said;
  said.format = static_cast<std::int32_t>(info.format);
  said.mediaType = static_cast<std::int32_t>(info.mediaType);
  said.width = info.width;
  said.height = info.height;
  said.orientation = info.orientation;
  said.favorite = info.favorite;
  said.panorama = info.panorama;
  said.screenshot = info.screenshot;
  said.dateOrigin = static_cast<std::uint8_t>(info.dateOrigin);
  said.duration = info.duration;
  said.hasCaptureDate = info.captureDate.has_value();
  said.captureDate = info.captureDate.value_or(0);
  answer(wire::AnswerKind::Info, wire::bytesOf(said));
}

void Reply::date(std::optional<double> date) {
  const wire::Date said{date.value_or(0), date.has_value()};
  answer(wire::AnswerKind::Date, wire::bytesOf(said));
}

void Reply::tracks(const VideoInfo& info) {
  struct {
    wire::Tracks head;
    wire::Track tracks[wire::mostTracks];
  } said{};
  said.head.duration = info.duration;
  said.head.count = std::min(info.tracks.size(), wire::mostTracks);
  for (std::size_t i = 0; i < said.head.count; ++i) {
    const AVAssetTrack& track = info.tracks[i];
    put(said.tracks[i].mediaType, track.mediaType);
    put(said.tracks[i].codec, track.codec);
    said.tracks[i].width = track.width;
    said.tracks[i].height = track.height;
    said.tracks[i].duration = track.duration;
  }
  answer(wire::AnswerKind::Tracks,
         wire::bytesOf(said).first(sizeof(wire::Tracks) + said.head.count * sizeof(wire::Track)));
}

void Reply::needsMemory(std::int64_t bytes) {
  const wire::NeedsMemory needs{bytes};
  answer(wire::AnswerKind::NeedsMemory, wire::bytesOf(needs));
}

void Reply::otherKind(WorkerKind kind) {
  const wire::OtherKind other{static_cast<std::uint64_t>(kind)};
  answer(wire::AnswerKind::OtherKind, wire::bytesOf(other));
}

std::optional<NSError> Reply::begin(PixelSize stored, std::int32_t turn) {
  stored_ = stored;
  // Rows of a picture that came to nothing were never told of: the picker would count them as unread for ever.
  written_ = begun_;
  const wire::Begin begin{stored.width, stored.height, turn, 0};
  answer(wire::AnswerKind::Begin, wire::bytesOf(begin));
  return std::nullopt;
}

void Reply::add(const std::uint8_t* rgba) {
  const std::uint64_t bytes = static_cast<std::uint64_t>(stored_.width) * CGImage::bytesPerPixel;
  const std::uint64_t left = wire::ringBytes - written_ % wire::ringBytes;
  if (bytes > left) {
    // A row lies in one piece: this one begins at the ring's beginning.
    sendRows();
    written_ += left;
    begun_ = written_;
  }
  waitForRoom(bytes);
  if (broken_) return;
  std::memcpy(ring_ + written_ % wire::ringBytes, rgba, bytes);
  written_ += bytes;
  if (written_ - begun_ >= rowsAtOnce) {
    sendRows();
    flush();
  }
}

void Reply::sendRows() {
  const std::uint64_t row = static_cast<std::uint64_t>(stored_.width) * CGImage::bytesPerPixel;
  if (written_ == begun_) return;
  const wire::Rows rows{begun_, (written_ - begun_) / row};
  answer(wire::AnswerKind::Rows, wire::bytesOf(rows));
  begun_ = written_;
}

void Reply::end() {
  sendRows();
  answer(wire::AnswerKind::End, {});
}

void Reply::waitForRoom(std::uint64_t bytes) {
  const auto isFull = [&] { return written_ + bytes - shared_.consumed > wire::ringBytes; };
  if (!isFull()) return;
  sendRows();
  flush();
  shared_.waits = 1;
  while (!broken_) {
    const std::uint32_t seen = shared_.taken;
    if (!isFull()) break;
    wire::waitWhile(shared_.taken, seen);
  }
  shared_.waits = 0;
}

}  // namespace tlx::photolibrary
