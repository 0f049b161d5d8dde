#include "adapters/photolibrary/decoding/worker/Service.h"

#include <cstring>
#include <new>
#include <vector>

#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {

Service::Service(int socket, void* memory, Handler& handler)
    : socket_(socket), shared_(*static_cast<wire::Shared*>(memory)), handler_(handler), reply_(socket, memory) {}

Service::~Service() {
  watcher_.request_stop();
  wire::countUp(shared_.cancellations);
}

int Service::run(const wire::Hello& hello) {
  watcher_ = std::jthread([this](const std::stop_token& stop) { watch(stop); });
  reply_.hello(hello);
  std::vector<std::byte> buffer(sizeof(wire::Job) * wire::mostJobs);
  while (!reply_.isBroken()) {
    std::vector<FileDescriptor> files;
    const std::int64_t count = wire::receive(socket_, buffer, &files);
    if (count <= 0) return count == 0 ? 0 : 1;
    const std::size_t jobs = static_cast<std::size_t>(count) / sizeof(wire::Job);
    if (jobs != files.size()) return 1;
    for (std::size_t i = 0; i < jobs; ++i) {
      wire::Job job;
      std::memcpy(&job, buffer.data() + i * sizeof(job), sizeof(job));
      serve(job, files[i].get());
      files[i] = FileDescriptor();
    }
    reply_.flush();
  }
  return 0;
}

void Service::serve(const wire::Job& job, int file) {
  std::stop_token cancelled;
  {
    const std::lock_guard lock(mutex_);
    slot_ = job.slot % wire::mostJobs;
    current_ = std::stop_source();
    cancelled = current_.get_token();
    if (shared_.cancelled[slot_]) current_.request_stop();
  }
  shared_.serving = job.id;
  reply_.setJob(job.id);
  try {
    handler_.handle(job, file, cancelled, reply_);
  } catch (const std::bad_alloc&) {
    // The bound is this process's own, so that the picture will not fit the next time either.
    reply_.failed(libraryError(PhotoLibraryErrorTooLarge, "it needs more memory than a picture may take"));
  } catch (const std::exception& error) {
    // Damaged files reach deep into other people's code; what that throws is an answer like any other.
    reply_.failed(libraryError(PhotoLibraryErrorDamaged, error.what()));
  }
}

void Service::watch(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    const std::uint32_t seen = shared_.cancellations;
    {
      const std::lock_guard lock(mutex_);
      if (shared_.cancelled[slot_]) current_.request_stop();
    }
    wire::waitWhile(shared_.cancellations, seen);
  }
}

}  // namespace tlx::photolibrary
