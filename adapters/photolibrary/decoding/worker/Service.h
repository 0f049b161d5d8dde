#pragma once

#include <atomic>
#include <mutex>
#include <stop_token>
#include <thread>

#include "adapters/photolibrary/decoding/Wire.h"
#include "adapters/photolibrary/decoding/worker/Reply.h"

namespace tlx::photolibrary {

/// A worker's life: takes jobs from the socket, has them done one after the other, and ends when the picker is gone.
class Service {
 public:
  /// What a kind of worker can do.
  class Handler {
   public:
    virtual ~Handler() = default;
    /// Does the job on the open file and answers it exactly once.
    virtual void handle(const wire::Job& job, int file, const std::stop_token& cancelled, Reply& reply) = 0;
  };

  /// All outlive the object.
  Service(int socket, void* memory, Handler& handler);
  ~Service();

  /// Says hello, starts the thread that waits for cancellations, and serves. The process's exit status: 0 when the
  /// picker closed its end.
  int run(const wire::Hello& hello);

 private:
  void watch(const std::stop_token& stop);
  void serve(const wire::Job& job, int file);

  int socket_;
  wire::Shared& shared_;
  Handler& handler_;
  Reply reply_;
  std::mutex mutex_;
  std::uint32_t slot_ = 0;    ///< of the job that is being done
  std::stop_source current_;  ///< of the same
  std::jthread watcher_;
};

}  // namespace tlx::photolibrary
