#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "adapters/photolibrary/decoding/Conversation.h"
#include "adapters/photolibrary/decoding/WorkerKind.h"
#include "adapters/photolibrary/decoding/WorkerPool.h"
#include "adapters/photolibrary/source/DecodersPort.h"

namespace tlx::photolibrary {

/// Decoders in processes of their own, shut in before they see the first foreign byte: what a picture does to its
/// decoder ends there. A worker that dies takes nothing along but the picture that it served, which is tried once more
/// by itself and then fails by name.
class ConfinedDecoders final : public DecodersPort {
 public:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  static constexpr int slowness = 20;  ///< of code that a sanitizer watches
#else
  static constexpr int slowness = 1;
#endif

  struct Settings {
    std::string folder;                                     ///< where the workers' programs are
    unsigned photoWorkers = 0;                              ///< 0 for one per processor
    std::int64_t processorSeconds = 10 * slowness;          ///< of one picture
    std::chrono::milliseconds patience{60'000 * slowness};  ///< for one picture
    std::vector<std::string> arguments = {};                ///< for every worker
    WorkerPool::Log log = {};                               ///< called on any thread
  };

  /// A picture that needs a great deal of memory needs so many times the processor time as well.
  static constexpr std::int64_t largeFactor = 6;

  /// Starts the first photo worker at once. `pixels` outlives the object.
  ConfinedDecoders(PixelStore& pixels, Settings settings);
  ~ConfinedDecoders() override;

  Picture decode(const Wanted& wanted) override;
  std::vector<Picture> decodeEmbedded(std::span<const Wanted> wanted) override;
  std::vector<std::variant<MediaInfo, NSError>> probe(std::span<const int> files) override;
  std::vector<std::optional<double>> probeSidecars(std::span<const int> files) override;
  std::variant<VideoInfo, NSError> tracks(int file) override;

 private:
  struct Attempt;

  std::vector<Task> lookAt(WorkerKind kind, wire::JobKind job, std::span<const int> files);
  void run(WorkerKind kind, std::span<Task> tasks);
  void runOn(WorkerPool& pool, const std::vector<Attempt*>& undone);
  static void blame(Attempt& attempt, Conversation::Outcome outcome, WorkerProcess::End end, bool fromOutside);
  void decodeLarge(WorkerKind kind, Task& task, std::int64_t bytes);

  PixelStore& pixels_;  // unretained: outlives the object by contract
  const Settings settings_;
  std::array<std::unique_ptr<WorkerPool>, workerKinds> pools_;
  std::mutex large_;  ///< pictures that need gigabytes are decoded one at a time
};

}  // namespace tlx::photolibrary
