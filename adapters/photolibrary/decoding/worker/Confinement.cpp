#include "adapters/photolibrary/decoding/worker/Confinement.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <vector>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tlx::photolibrary::confinement {
namespace {

#if defined(__x86_64__)
constexpr std::uint32_t architecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t architecture = AUDIT_ARCH_AARCH64;
#else
constexpr std::uint32_t architecture = 0;  // no filter is known for this machine
#endif

constexpr rlim_t mostDescriptors = 128;  // a request brings up to 48

/// What pthread_create asks of clone(), and nothing else.
constexpr std::uint32_t threadFlags = CLONE_VM | CLONE_FS | CLONE_FILES | CLONE_SIGHAND | CLONE_THREAD | CLONE_SYSVSEM |
                                      CLONE_SETTLS | CLONE_PARENT_SETTID | CLONE_CHILD_CLEARTID;

/// A program for the kernel's filter, built from above: each rule either decides or falls through to the next.
class Filter {
 public:
  Filter() {
    load(offsetof(seccomp_data, arch));
    decideUnless(architecture, SECCOMP_RET_KILL_PROCESS);
    loadNumber();
#if defined(__x86_64__)
    // Numbers of the other interface to the same kernel.
    program_.push_back(BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, 0x40000000, 0, 1));
    decide(SECCOMP_RET_KILL_PROCESS);
#endif
  }

  void always(std::initializer_list<long> calls, std::uint32_t decision) {
    for (const long call : calls) {
      program_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1));
      decide(decision);
    }
  }

  /// Allows the call when `mask` of an argument has one of these values, else `otherwise`.
  void whenArgument(long call, int argument, std::uint32_t mask, std::initializer_list<std::uint32_t> values,
                    std::uint32_t otherwise) {
    const auto skipped = static_cast<std::uint8_t>(3 + values.size() * 2);
    program_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, skipped));
    load(offsetof(seccomp_data, args) + static_cast<std::size_t>(argument) * sizeof(std::uint64_t));
    program_.push_back(BPF_STMT(BPF_ALU | BPF_AND | BPF_K, mask));
    for (const std::uint32_t value : values) {
      program_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, 1));
      decide(SECCOMP_RET_ALLOW);
    }
    decide(otherwise);
  }

  bool install(std::uint32_t unknown) {
    decide(unknown);
    const sock_fprog program{static_cast<unsigned short>(program_.size()), program_.data()};
    // The flag makes threads that a library has started already obey as well.
    return syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program) == 0;
  }

 private:
  void load(std::size_t offset) {
    program_.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
  }
  void loadNumber() {
    load(offsetof(seccomp_data, nr));
  }
  void decide(std::uint32_t decision) {
    program_.push_back(BPF_STMT(BPF_RET | BPF_K, decision));
  }
  void decideUnless(std::uint32_t value, std::uint32_t decision) {
    program_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 1, 0));
    decide(decision);
  }

  std::vector<sock_filter> program_;
};

constexpr std::uint32_t refusal(int error) {
  return SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error);
}

bool filterCalls(Unknown unknown) {
  if (architecture == 0) return false;
  constexpr std::uint32_t fatal = SECCOMP_RET_KILL_PROCESS;
  Filter filter;
  // What decoders do on the way; the most frequent first, since rules are tried in their order.
  filter.always({SYS_futex, SYS_pread64, SYS_sendmsg, SYS_recvmsg, SYS_munmap, SYS_madvise, SYS_brk, SYS_close},
                SECCOMP_RET_ALLOW);
  filter.whenArgument(SYS_mmap, 2, PROT_EXEC, {0}, fatal);
  filter.whenArgument(SYS_mprotect, 2, PROT_EXEC, {0}, fatal);
  filter.always({SYS_read,          SYS_write,
                 SYS_lseek,         SYS_mremap,
                 SYS_rt_sigreturn,  SYS_rt_sigprocmask,
                 SYS_exit,          SYS_exit_group,
                 SYS_clock_gettime, SYS_clock_nanosleep,
                 SYS_nanosleep,     SYS_gettimeofday,
                 SYS_gettid,        SYS_getpid,
                 SYS_sched_yield,   SYS_sched_getaffinity,
                 SYS_getrandom,     SYS_restart_syscall,
                 SYS_getrusage,     SYS_set_robust_list,
                 SYS_rseq,          SYS_sigaltstack,
                 SYS_ppoll,         SYS_getcpu,
                 SYS_membarrier,    SYS_fstat},
                SECCOMP_RET_ALLOW);
#if defined(__x86_64__)
  filter.always({SYS_time, SYS_poll}, SECCOMP_RET_ALLOW);
#endif
  // Decoders make threads. The library's first choice hides its flags behind a pointer, so it is told to take the
  // other.
  filter.whenArgument(SYS_clone, 0, ~0u, {threadFlags}, fatal);
  filter.always({SYS_clone3}, refusal(ENOSYS));
  filter.whenArgument(SYS_prctl, 0, ~0u, {PR_SET_NAME}, refusal(EACCES));
  filter.whenArgument(SYS_fcntl, 1, ~0u, {F_GETFL, F_GETFD}, refusal(EACCES));
  // A program that gives up restores the signal and sends it to itself.
  filter.whenArgument(SYS_rt_sigaction, 0, ~0u, {SIGABRT}, refusal(EACCES));
  filter.whenArgument(SYS_tgkill, 0, ~0u, {static_cast<std::uint32_t>(getpid())}, fatal);
  // Asked for by libraries that can do without the answer.
  filter.always({SYS_openat, SYS_openat2, SYS_newfstatat, SYS_statx, SYS_readlinkat, SYS_faccessat, SYS_faccessat2,
                 SYS_ioctl, SYS_uname, SYS_sysinfo, SYS_getuid, SYS_geteuid, SYS_getgid, SYS_getegid, SYS_prlimit64,
                 SYS_getppid, SYS_sched_setaffinity, SYS_sched_getparam, SYS_sched_getscheduler},
                refusal(EACCES));
#if defined(__x86_64__)
  filter.always({SYS_open, SYS_stat, SYS_lstat, SYS_access, SYS_readlink}, refusal(EACCES));
#endif
  // Nothing that decodes a picture asks for these; who does has been taken over.
  filter.always({SYS_execve, SYS_execveat, SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_socket,
                 SYS_connect, SYS_bind, SYS_kill, SYS_ftruncate, SYS_io_uring_setup, SYS_bpf, SYS_userfaultfd,
                 SYS_perf_event_open, SYS_keyctl, SYS_add_key, SYS_unshare, SYS_setns, SYS_mount},
                fatal);
#if defined(__x86_64__)
  filter.always({SYS_fork, SYS_vfork}, fatal);
#endif
  return filter.install(unknown == Unknown::Fatal ? fatal : refusal(ENOSYS));
}

/// Takes away what the kernel lets Landlock take: everything in the file system, and TCP where it knows of it. A kernel
/// without it changes nothing; the filter of system calls stands by itself.
void leaveFileSystem() {
  const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return;
  // Rights that the kernel does not know yet make it refuse them all: the first version had thirteen, two came later.
  std::uint64_t rights = (std::uint64_t{1} << 13) - 1;
  if (version >= 2) rights |= std::uint64_t{1} << 13;
  if (version >= 3) rights |= std::uint64_t{1} << 14;
  struct {
    std::uint64_t files, network;
  } const handled{rights, 3};
  const std::size_t size = version >= 4 ? sizeof(handled) : sizeof(handled.files);
  const int rules = static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, size, 0));
  if (rules < 0) return;
  syscall(SYS_landlock_restrict_self, rules, 0);
  close(rules);
}

void limit(__rlimit_resource resource, rlim_t value) {
  rlimit bounds{};
  getrlimit(resource, &bounds);
  bounds.rlim_max = std::min(bounds.rlim_max, value);
  bounds.rlim_cur = bounds.rlim_max;
  setrlimit(resource, &bounds);
}

}  // namespace

void dieWithParent(std::int32_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(0);
}

void limitResources(int last) {
  syscall(SYS_close_range, static_cast<unsigned>(last) + 1, ~0u, 0);
  // A library's message to a full log file would otherwise end the process.
  std::signal(SIGXFSZ, SIG_IGN);
  limit(RLIMIT_FSIZE, 0);
  limit(RLIMIT_CORE, 0);
  limit(RLIMIT_MEMLOCK, 0);
  limit(RLIMIT_NOFILE, mostDescriptors);
  // Where memory runs out, a decoder goes before anything of the person's.
  const int score = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
  if (score >= 0) {
    [[maybe_unused]] const ssize_t written = write(score, "1000", 4);
    close(score);
  }
}

std::int64_t limitMemory(std::int64_t more) {
  long long pages = 0;
  if (std::FILE* file = std::fopen("/proc/self/statm", "re")) {
    if (std::fscanf(file, "%lld", &pages) != 1) pages = 0;
    std::fclose(file);
  }
  const std::int64_t mapped = pages * sysconf(_SC_PAGESIZE);
  if (mapped == 0) return 0;
  // The hard limit stays as it is: the picker raises the soft one for the one picture that needs more.
  rlimit bounds{};
  getrlimit(RLIMIT_AS, &bounds);
  bounds.rlim_cur = std::min(bounds.rlim_max, static_cast<rlim_t>(mapped + more));
  setrlimit(RLIMIT_AS, &bounds);
  return mapped;
}

bool shutIn(Unknown unknown) {
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
  leaveFileSystem();
  return filterCalls(unknown);
}

}  // namespace tlx::photolibrary::confinement
