#include "adapters/photolibrary/decoding/ConfinedDecoders.h"

#include <algorithm>
#include <map>
#include <thread>
#include <utility>

#include <unistd.h>

#include "adapters/photolibrary/base/AvailableMemory.h"
#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {
namespace {

constexpr unsigned mostOutsideKills = 8;  // of one picture's worker, before it is no accident any more
constexpr std::size_t sniffedBytes = 4096;

/// What a window can stand still for without anybody seeing it.
constexpr std::chrono::milliseconds aMoment{30};

/// Few enough that a screen's pictures are shared among the workers.
constexpr std::size_t mostEmbeddedAtOnce = 8;

static_assert(DecodersPort::headersAtOnce <= wire::mostJobs);

MediaFormat formatOf(int file) {
  std::uint8_t bytes[sniffedBytes];
  const ssize_t count = pread(file, bytes, sizeof(bytes), 0);
  return sniffFormat(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
}

Task taskOf(wire::JobKind kind, const DecodersPort::Wanted& wanted) {
  Task task;
  task.job.kind = kind;
  task.job.targetWidth = wanted.request.target.width;
  task.job.targetHeight = wanted.request.target.height;
  task.job.mode = wanted.request.mode;
  task.file = wanted.file;
  task.stop = wanted.request.stop;
  task.atOnce = wanted.atOnce;
  return task;
}

Picture pictureOf(Task& task) {
  if (auto* picture = std::get_if<std::shared_ptr<const CGImage>>(&task.result)) return std::move(*picture);
  if (auto* error = std::get_if<NSError>(&task.result)) return std::move(*error);
  return libraryError(PhotoLibraryErrorDamaged, "its decoder gave no answer");
}

}  // namespace

/// A task, and what it has been through.
struct ConfinedDecoders::Attempt {
  Task* task;
  bool suspected = false;     ///< a worker ended while it served it: it goes by itself from now on
  unsigned outsideKills = 0;  ///< of workers that served it
};

ConfinedDecoders::ConfinedDecoders(PixelStore& pixels, Settings settings)
    : pixels_(pixels), settings_(std::move(settings)) {
  const unsigned processors = std::max(1u, std::thread::hardware_concurrency());
  const auto pool = [this](WorkerKind kind, unsigned most, std::chrono::seconds idle) {
    WorkerPool::Settings of;
    of.program = settings_.folder + "/" + programOf(kind);
    of.arguments = settings_.arguments;
    of.most = most;
    of.idle = idle;
    pools_[static_cast<std::size_t>(kind)] = std::make_unique<WorkerPool>(std::move(of), settings_.log);
  };
  pool(WorkerKind::Photo, settings_.photoWorkers ? settings_.photoWorkers : processors, std::chrono::seconds(0));
  pool(WorkerKind::Vips, processors, std::chrono::seconds(30));
  pool(WorkerKind::Video, 1, std::chrono::seconds(30));
  pools_[static_cast<std::size_t>(WorkerKind::Photo)]->warmUp();
}

ConfinedDecoders::~ConfinedDecoders() = default;

Picture ConfinedDecoders::decode(const Wanted& wanted) {
  Task task = taskOf(wire::JobKind::Decode, wanted);
  WorkerKind kind = workerFor(formatOf(wanted.file));
  run(kind, {&task, 1});
  if (const auto* other = std::get_if<Task::OtherKind>(&task.result)) {
    kind = other->kind;
    task.result = {};
    run(kind, {&task, 1});
  }
  if (const auto* needs = std::get_if<Task::NeedsMemory>(&task.result)) decodeLarge(kind, task, needs->bytes);
  return pictureOf(task);
}

void ConfinedDecoders::decodeLarge(WorkerKind kind, Task& task, std::int64_t bytes) {
  const std::lock_guard alone(large_);
  if (bytes > availableMemory() / 4 * 3) {
    task.result = libraryError(PhotoLibraryErrorNoSpace, "there is not enough memory for its pixels");
    return;
  }
  task.result = {};
  task.job.memory = bytes;
  run(kind, {&task, 1});
}

std::vector<Picture> ConfinedDecoders::decodeEmbedded(std::span<const Wanted> wanted) {
  std::vector<Task> tasks;
  for (const Wanted& each : wanted) tasks.push_back(taskOf(wire::JobKind::Embedded, each));
  // Those of other kinds have none inside that costs less than they do themselves.
  for (std::size_t at = 0; at < tasks.size(); at += mostEmbeddedAtOnce) {
    run(WorkerKind::Photo, std::span(tasks).subspan(at, std::min(mostEmbeddedAtOnce, tasks.size() - at)));
  }
  std::vector<Picture> pictures;
  pictures.reserve(tasks.size());
  for (Task& task : tasks) pictures.push_back(pictureOf(task));
  return pictures;
}

std::vector<std::variant<MediaInfo, NSError>> ConfinedDecoders::probe(std::span<const int> files) {
  std::map<WorkerKind, std::vector<std::size_t>> places;
  for (std::size_t i = 0; i < files.size(); ++i) places[headerWorkerFor(formatOf(files[i]))].push_back(i);
  std::vector<std::variant<MediaInfo, NSError>> infos(files.size());
  for (const auto& [kind, indices] : places) {
    std::vector<int> chosen;
    for (const std::size_t i : indices) chosen.push_back(files[i]);
    std::vector<Task> tasks = lookAt(kind, wire::JobKind::Probe, chosen);
    for (std::size_t i = 0; i < indices.size(); ++i) {
      if (auto* info = std::get_if<MediaInfo>(&tasks[i].result)) {
        infos[indices[i]] = *info;
      } else {
        infos[indices[i]] = std::get<NSError>(pictureOf(tasks[i]));
      }
    }
  }
  return infos;
}

std::vector<std::optional<double>> ConfinedDecoders::probeSidecars(std::span<const int> files) {
  std::vector<std::optional<double>> dates;
  for (const Task& task : lookAt(WorkerKind::Photo, wire::JobKind::Sidecar, files)) {
    const auto* date = std::get_if<Task::Date>(&task.result);
    dates.push_back(date ? *date : std::nullopt);
  }
  return dates;
}

std::vector<Task> ConfinedDecoders::lookAt(WorkerKind kind, wire::JobKind job, std::span<const int> files) {
  std::vector<Task> tasks(files.size());
  for (std::size_t i = 0; i < files.size(); ++i) {
    tasks[i].job.kind = job;
    tasks[i].file = files[i];
  }
  for (std::size_t at = 0; at < tasks.size(); at += headersAtOnce) {
    run(kind, std::span(tasks).subspan(at, std::min(headersAtOnce, tasks.size() - at)));
  }
  return tasks;
}

std::variant<VideoInfo, NSError> ConfinedDecoders::tracks(int file) {
  Task task;
  task.job.kind = wire::JobKind::Tracks;
  task.file = file;
  run(WorkerKind::Video, {&task, 1});
  if (auto* info = std::get_if<VideoInfo>(&task.result)) return std::move(*info);
  return std::get<NSError>(pictureOf(task));
}

void ConfinedDecoders::run(WorkerKind kind, std::span<Task> tasks) {
  std::vector<Attempt> attempts;
  std::vector<Attempt*> undone;
  attempts.reserve(tasks.size());
  undone.reserve(tasks.size());
  for (Task& task : tasks) attempts.push_back({&task});
  for (Attempt& attempt : attempts) undone.push_back(&attempt);
  WorkerPool& pool = *pools_[static_cast<std::size_t>(kind)];
  while (!undone.empty()) {
    runOn(pool, undone);
    std::erase_if(undone, [](const Attempt* each) { return each->task->isDone(); });
  }
}

void ConfinedDecoders::runOn(WorkerPool& pool, const std::vector<Attempt*>& undone) {
  // A suspect goes by itself, so that nobody else is lost with it.
  std::vector<Task*> together;
  Attempt* alone = undone.front()->suspected ? undone.front() : nullptr;
  for (Attempt* each : undone) {
    if (alone ? each == alone : !each->suspected) together.push_back(each->task);
  }

  const std::stop_token stop = together.size() == 1 ? together.front()->stop : std::stop_token();
  const bool atOnce = together.front()->atOnce;
  auto worker = pool.borrow(stop, !atOnce);
  if (!worker) {
    for (Task* task : together) {
      task->result = atOnce ? libraryError(PhotoLibraryErrorCancelled, "it takes longer than a moment")
                     : stop.stop_requested()
                         ? libraryError(PhotoLibraryErrorCancelled, "cancelled")
                         : libraryError(PhotoLibraryErrorUnreadable, "the decoders' program is not to be had");
    }
    return;
  }
  WorkerProcess& process = *worker->process;
  const std::int64_t memory = together.front()->job.memory;
  if (memory > 0) process.boundAddressSpace(worker->mapped + wire::usualMemory + memory);
  process.grantProcessorSeconds(settings_.processorSeconds * (memory > 0 ? largeFactor : 1));

  Conversation conversation(process, pixels_, atOnce ? aMoment : settings_.patience);
  const auto outcome = conversation.exchange(together);
  if (outcome == Conversation::Outcome::Fine) {
    if (memory > 0) process.boundAddressSpace(worker->mapped + wire::usualMemory);
    pool.giveBack(std::move(worker), static_cast<unsigned>(together.size()));
    return;
  }
  const auto end = process.end(outcome == Conversation::Outcome::Gone);
  if (settings_.log && !atOnce) {
    static constexpr const char* causes[] = {"is fine", "went", "answered what cannot be", "took too long",
                                             "could not be asked"};
    settings_.log(std::string("A decoder ") + causes[static_cast<int>(outcome)] + ": " + process.epitaph() + ".");
  }
  const bool fromOutside = outcome == Conversation::Outcome::Failed ||
                           (end == WorkerProcess::End::Killed && outcome == Conversation::Outcome::Gone);
  pool.lose(std::move(worker), !fromOutside && !atOnce);
  if (atOnce) {
    // Whoever has the time will see what this file does to its decoder.
    for (Task* task : together) {
      if (!task->isDone()) task->result = libraryError(PhotoLibraryErrorCancelled, "it takes longer than a moment");
    }
  }
  for (Attempt* each : undone) {
    if (each->task == conversation.suspect() && !each->task->isDone()) blame(*each, outcome, end, fromOutside);
  }
  // One that it had not begun is simply asked for again; but a worker that ends before it begins anything must not be
  // asked for ever.
  if (!conversation.suspect()) {
    for (Attempt* each : undone) {
      if (each->task == together.front() && !each->task->isDone()) blame(*each, outcome, end, fromOutside);
    }
  }
}

void ConfinedDecoders::blame(Attempt& attempt, Conversation::Outcome outcome, WorkerProcess::End end,
                             bool fromOutside) {
  Task& task = *attempt.task;
  if (end == WorkerProcess::End::OutOfTime) {
    task.result = libraryError(PhotoLibraryErrorTooLarge, "it takes too long to decode");
  } else if (outcome == Conversation::Outcome::TooLong) {
    // Without much of the processor's time: the file's disk may be what is slow, and better the next time.
    task.result = libraryError(PhotoLibraryErrorUnreadable, "it takes too long to read");
  } else if (fromOutside) {
    if (++attempt.outsideKills >= mostOutsideKills) {
      task.result = libraryError(PhotoLibraryErrorUnreadable, "its decoder was killed again and again");
    }
  } else if (attempt.suspected) {
    task.result = libraryError(PhotoLibraryErrorDamaged, "its decoder crashed");
  } else {
    attempt.suspected = true;
  }
}

}  // namespace tlx::photolibrary
