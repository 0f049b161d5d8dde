#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "adapters/camera/GlibLoop.h"
#include "adapters/camera/GstObjects.h"
#include "adapters/camera/MovieEncoding.h"
#include "adapters/camera/RecordingFile.h"

namespace tlx::camera {

/// Writes one movie from pictures and sounds that are fed to it, in a pipeline of its own, so that whatever befalls the
/// devices, the movie can be brought to its end. A file is written in pieces that can each be played, so that it is
/// worth having also when its end never comes.
class Recorder {
 public:
  /// Called once, on the loop's thread. With an error beside a recording, that is what cut it short; the recorder is
  /// done with by then and may be let go of.
  using Ended = std::function<void(std::optional<AVRecording> recording, std::optional<NSError> error)>;

  struct Plan {
    MovieEncoding encoding;
    std::shared_ptr<RecordingFile> file;
    std::uint64_t spareBytes = 0;  ///< what stays free on the disk: short of it the recording ends
  };

  /// On the loop's thread, like all that does not say otherwise. Letting go of it throws away what has no end yet.
  Recorder(GlibLoop& loop, Plan plan, Ended ended);
  ~Recorder();

  /// Any thread; `taken` as `takenAt` has it. The first picture begins the movie; sounds before it are left out.
  void addPicture(GstSample& sample, GstClockTime taken);
  void addSound(GstSample& sample, GstClockTime taken);
  /// No more sounds come.
  void endSound();
  /// No more pictures come: brings the movie to its end. With an error, that is told beside it.
  void finish(std::optional<NSError> cause);

  /// Any thread.
  double seconds() const { return static_cast<double>(length_.load()) / GST_SECOND; }

 private:
  bool build();
  void heard(GstMessage& message);
  void checkRoom();
  void giveUp(NSError why);
  void conclude(bool whole);
  void push(GstElement* source, GstSample& sample, GstClockTime at);

  GlibLoop& loop_;
  const Plan plan_;
  Ended ended_;
  Gst<GstElement> pipeline_, pictures_, sounds_;
  std::unique_ptr<GlibLoop::BusWatch> watch_;
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  std::optional<NSError> cause_;
  bool finishing_ = false;
  std::atomic<GstClockTime> start_ = GST_CLOCK_TIME_NONE;
  std::atomic<GstClockTime> length_ = 0;
};

}  // namespace tlx::camera
