#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include <sys/types.h>

#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/decoding/Wire.h"

namespace tlx::photolibrary {

/// A decoder's process as the picker holds it: its socket, the memory that both map, its end. Used by one thread at a
/// time. Its destructor kills it and waits until it is gone.
class WorkerProcess {
 public:
  enum class End {
    Crashed,    ///< by a signal of its own making, or an exit
    Killed,     ///< by a signal from outside that nobody here sent
    OutOfTime,  ///< by the kernel, for the processor time of one picture
    Unknown,    ///< somebody else took its status
  };

  /// Starts `program` (open for reading; `name` is its path, for when descriptors cannot be started) with these
  /// arguments. The calling thread must outlive the process, which is killed when that thread ends. An errno value
  /// where it cannot be started.
  static std::variant<std::unique_ptr<WorkerProcess>, int> start(int program, const std::string& name,
                                                                 const std::vector<std::string>& arguments);
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  int socket() const { return socket_.get(); }
  wire::Shared& shared() const { return *shared_; }
  std::span<const std::uint8_t> ring() const { return {ring_, wire::ringBytes}; }
  pid_t pid() const { return pid_; }

  /// Lets it use so much more processor time from now on before the kernel ends it.
  void grantProcessorSeconds(std::int64_t seconds);
  /// Bounds its address space.
  void boundAddressSpace(std::int64_t bytes);

  /// Kills it where it lives, waits until it is gone, and tells how it had ended before that. `closed` says that its
  /// end of the socket is closed, so that it is on its way out by itself and may finish that.
  End end(bool closed = false);
  /// How it ended, in words for a log; once `end` was called.
  std::string epitaph() const;

 private:
  WorkerProcess(pid_t pid, FileDescriptor process, FileDescriptor socket, void* memory);

  pid_t pid_;
  FileDescriptor process_;
  FileDescriptor socket_;
  void* memory_;
  wire::Shared* shared_;
  const std::uint8_t* ring_;
  bool ended_ = false;
  End how_ = End::Unknown;
  int code_ = 0, status_ = 0;  ///< of its end, as the kernel tells them
};

}  // namespace tlx::photolibrary
