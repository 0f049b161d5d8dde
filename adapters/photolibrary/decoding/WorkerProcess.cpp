#include "adapters/photolibrary/decoding/WorkerProcess.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>

namespace tlx::photolibrary {
namespace {

constexpr int patienceMilliseconds = 10'000;  // for one that may as well hang on its way out

/// A copy above the numbers that the worker finds its descriptors at: duplicating onto a number that is still a source
/// would lose it.
FileDescriptor raised(int descriptor) {
  return FileDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, wire::sharedDescriptor + 1));
}

/// Nothing of the person's environment reaches a decoder but where its clock stands: capture dates without an offset
/// mean local time. With the variable unset the C library looks at the zone's file at each conversion, which the worker
/// may not.
std::string timeZone() {
  const char* zone = std::getenv("TZ");
  return std::string("TZ=") + (zone && *zone ? zone : ":/etc/localtime");
}

struct SpawnSettings {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;

  SpawnSettings() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
};

FileDescriptor sharedMemory() {
  FileDescriptor memory(memfd_create("tlx-decoder", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  // Sealed, so that a worker cannot shrink it under the picker's reads.
  if (!memory || ftruncate(memory.get(), wire::sharedBytes) != 0 ||
      fcntl(memory.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
    memory = FileDescriptor();
  }
  return memory;
}

}  // namespace

std::variant<std::unique_ptr<WorkerProcess>, int> WorkerProcess::start(int program, const std::string& name,
                                                                       const std::vector<std::string>& arguments) {
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0) return errno;
  FileDescriptor ours(pair[0]), theirs(pair[1]);
  const FileDescriptor memory = sharedMemory();
  if (!memory) return errno;
  void* mapped = mmap(nullptr, wire::sharedBytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
  if (mapped == MAP_FAILED) return errno;
  new (mapped) wire::Shared;
  const auto give = [mapped](int error) {
    munmap(mapped, wire::sharedBytes);
    return error;
  };

  const FileDescriptor theirSocket = raised(theirs.get()), theirMemory = raised(memory.get()),
                       theirProgram = raised(program);
  if (!theirSocket || !theirMemory || !theirProgram) return give(errno);
  SpawnSettings settings;
  posix_spawn_file_actions_addopen(&settings.actions, 0, "/dev/null", O_RDWR, 0);
  posix_spawn_file_actions_adddup2(&settings.actions, 0, 1);
  posix_spawn_file_actions_adddup2(&settings.actions, theirSocket.get(), wire::socketDescriptor);
  posix_spawn_file_actions_adddup2(&settings.actions, theirMemory.get(), wire::sharedDescriptor);

  std::vector<std::string> words{name, std::to_string(getpid())};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  std::string zone = timeZone();
  char* environment[] = {zone.data(), nullptr};

  pid_t pid = -1;
  // By descriptor, so that a program that was replaced since is not mixed with the one that this picker was built with.
  const std::string opened = "/proc/self/fd/" + std::to_string(theirProgram.get());
  int error = posix_spawn(&pid, opened.c_str(), &settings.actions, &settings.attributes, argv.data(), environment);
  if (error == ENOENT) {
    error = posix_spawn(&pid, name.c_str(), &settings.actions, &settings.attributes, argv.data(), environment);
  }
  if (error != 0) return give(error);
  FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  return std::unique_ptr<WorkerProcess>(new WorkerProcess(pid, std::move(process), std::move(ours), mapped));
}

WorkerProcess::WorkerProcess(pid_t pid, FileDescriptor process, FileDescriptor socket, void* memory)
    : pid_(pid),
      process_(std::move(process)),
      socket_(std::move(socket)),
      memory_(memory),
      shared_(static_cast<wire::Shared*>(memory)),
      ring_(static_cast<const std::uint8_t*>(memory) + wire::ringOffset) {}

WorkerProcess::~WorkerProcess() {
  end();
  munmap(memory_, wire::sharedBytes);
}

void WorkerProcess::grantProcessorSeconds(std::int64_t seconds) {
  clockid_t clock{};
  timespec used{};
  if (clock_getcpuclockid(pid_, &clock) != 0 || clock_gettime(clock, &used) != 0) return;
  rlimit bounds{};
  if (prlimit(pid_, RLIMIT_CPU, nullptr, &bounds) != 0) return;
  bounds.rlim_cur = std::min<rlim_t>(bounds.rlim_max, static_cast<rlim_t>(used.tv_sec + 1 + seconds));
  prlimit(pid_, RLIMIT_CPU, &bounds, nullptr);
}

void WorkerProcess::boundAddressSpace(std::int64_t bytes) {
  rlimit bounds{};
  if (prlimit(pid_, RLIMIT_AS, nullptr, &bounds) != 0) return;
  bounds.rlim_cur = std::min<rlim_t>(bounds.rlim_max, static_cast<rlim_t>(bytes));
  prlimit(pid_, RLIMIT_AS, &bounds, nullptr);
}

WorkerProcess::End WorkerProcess::end(bool closed) {
  if (ended_) return how_;
  ended_ = true;
  if (closed && process_) {
    // A process closes its descriptors shortly before it has a status.
    pollfd gone{process_.get(), POLLIN, 0};
    while (poll(&gone, 1, patienceMilliseconds) < 0 && errno == EINTR) {
    }
  }
  // What it had done to itself stands in its status already, where that can be had; ours would overwrite nothing.
  siginfo_t status{};
  const bool wasGone = waitid(P_PID, static_cast<id_t>(pid_), &status, WEXITED | WNOHANG) == 0 && status.si_pid == pid_;
  if (!wasGone) {
    if (process_) {
      syscall(SYS_pidfd_send_signal, process_.get(), SIGKILL, nullptr, 0);
    } else {
      ::kill(pid_, SIGKILL);
    }
    int result = 0;
    do {
      result = waitid(P_PID, static_cast<id_t>(pid_), &status, WEXITED);
    } while (result != 0 && errno == EINTR);
  }
  if (wasGone) {
    code_ = status.si_code;
    status_ = status.si_status;
    if (status.si_code == CLD_EXITED) {
      how_ = End::Crashed;
    } else if (status.si_status == SIGXCPU) {
      how_ = End::OutOfTime;
    } else {
      const int signal = status.si_status;
      const bool isSent = signal == SIGKILL || signal == SIGTERM || signal == SIGINT || signal == SIGHUP;
      how_ = isSent ? End::Killed : End::Crashed;
    }
  }
  return how_;
}

std::string WorkerProcess::epitaph() const {
  if (code_ == 0) return "it was ended";
  return (code_ == CLD_EXITED ? "it left with status " : "it was killed by signal ") + std::to_string(status_);
}

}  // namespace tlx::photolibrary
