#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "adapters/photolibrary/base/FileStatus.h"

/// What the picker and a worker process say to each other: plain numbers over a SOCK_SEQPACKET socket, pixels through a
/// ring in shared memory. Both ends are built together; the version in the hello tells when they are not. The picker
/// believes nothing that it reads from a worker: every number is checked by the one who uses it.
namespace tlx::photolibrary::wire {

inline constexpr std::uint32_t version = 2;
/// Of one request; their descriptors travel with it, and the kernel takes no more than 253 in one message.
inline constexpr std::size_t mostJobs = 48;
/// No message is longer.
inline constexpr std::size_t mostBytes = std::size_t{64} << 10;
inline constexpr std::size_t mostTracks = 64;
inline constexpr std::size_t mostText = 512;

/// Bytes of address space that a worker may use beside what is mapped before its first job.
inline constexpr std::int64_t usualMemory = std::int64_t{1} << 30;

/// Where a worker finds its ends of the two.
inline constexpr int socketDescriptor = 3;
inline constexpr int sharedDescriptor = 4;

enum class JobKind : std::uint32_t { Decode = 1, Embedded = 2, Probe = 3, Tracks = 4, Sidecar = 5 };

/// One file to look at. Its descriptor is the one at the job's place among the message's.
struct Job {
  std::uint64_t id = 0;
  JobKind kind = JobKind::Probe;
  std::uint32_t slot = 0;  ///< of `Shared::cancelled`
  double targetWidth = 0, targetHeight = 0;
  std::int64_t mode = 0;    ///< a `PHImageContentMode`
  std::int64_t memory = 0;  ///< bytes that this picture may take where it needs a great deal; 0 for the usual
};

enum class AnswerKind : std::uint32_t {
  Hello = 1,        ///< `Hello`: the worker is confined and waits
  Failed = 2,       ///< `Failed` and its text: the job has ended
  Info = 3,         ///< `Info`: the job has ended
  Tracks = 4,       ///< `Tracks` and as many `Track`: the job has ended
  Begin = 5,        ///< `Begin`: a picture's rows follow
  Rows = 6,         ///< `Rows`: lie in the ring
  End = 7,          ///< the picture is whole: the job has ended
  NeedsMemory = 8,  ///< `NeedsMemory`: the job has ended, and may be asked again with as much
  OtherKind = 9,    ///< `OtherKind`: the job has ended, and is for a worker of that kind
  Date = 10,        ///< `Date`: the job has ended
};

/// Stands before each answer; several lie in one message, each at a multiple of eight bytes.
struct Header {
  AnswerKind kind = AnswerKind::Failed;
  std::uint32_t bytes = 0;  ///< that follow, before padding
  std::uint64_t job = 0;
};

struct Hello {
  std::uint32_t version = wire::version;
  std::uint32_t filtered = 0;     ///< 1 when the system calls are filtered
  std::int64_t addressSpace = 0;  ///< bytes that are mapped before the first job
};
struct Failed {
  std::int64_t code = 0;  ///< a `PhotoLibraryErrorCode`
};
struct Info {
  std::int32_t format = 0, mediaType = 0, width = 0, height = 0, orientation = 1;
  std::uint8_t favorite = 0, panorama = 0, screenshot = 0, dateOrigin = 0;
  double duration = 0, captureDate = 0;
  std::uint64_t hasCaptureDate = 0;
};
struct Date {
  double date = 0;
  std::uint64_t isThere = 0;
};
struct Track {
  char mediaType[8] = {}, codec[24] = {};  ///< padded with zeros
  std::int32_t width = 0, height = 0;
  double duration = 0;
};
struct Tracks {
  double duration = 0;
  std::uint64_t count = 0;
};
struct Begin {
  std::int32_t width = 0, height = 0;  ///< of the rows that follow, before the picture is turned
  std::int32_t turn = 1;               ///< EXIF numbering
  std::int32_t unused = 0;
};
struct Rows {
  std::uint64_t position = 0;  ///< in bytes since the worker began; the ring wraps, a row never does
  std::uint64_t count = 0;
};
struct NeedsMemory {
  std::int64_t bytes = 0;
};
struct OtherKind {
  std::uint64_t kind = 0;  ///< a `WorkerKind`
};

/// The head of the shared memory; the ring follows at `ringOffset`.
struct Shared {
  static constexpr std::uint64_t nothing = ~std::uint64_t{0};

  std::atomic<std::uint64_t> consumed{0};       ///< position up to which the picker has taken rows; the picker writes
  std::atomic<std::uint32_t> taken{0};          ///< futex: counts the picker's takings
  std::atomic<std::uint32_t> waits{0};          ///< 1 while the worker sleeps on `taken`
  std::atomic<std::uint64_t> serving{nothing};  ///< id of the job that was begun last; the worker writes
  std::atomic<std::uint32_t> cancellations{0};  ///< futex: counts the picker's cancellations
  std::atomic<std::uint8_t> cancelled[mostJobs]{};  ///< by slot; the picker writes
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

/// Sleeps on a counter in the shared memory until it is no longer `seen`, or wakes whoever sleeps on it.
void waitWhile(std::atomic<std::uint32_t>& counter, std::uint32_t seen);
void countUp(std::atomic<std::uint32_t>& counter);

inline constexpr std::size_t ringOffset = 4096;
/// Two of the longest rows: the part before the ring's end that a row did not fit into is never taken by itself.
inline constexpr std::size_t ringBytes = std::size_t{2} << 20;
inline constexpr std::size_t sharedBytes = ringOffset + ringBytes;
static_assert(sizeof(Shared) <= ringOffset);

/// One message of answers, filled until it is sent.
class AnswerMessage {
 public:
  /// False when there is no room for it: send, and add it to the next.
  bool add(AnswerKind kind, std::uint64_t job, std::span<const std::byte> fixed, std::string_view tail = {});
  bool empty() const { return bytes_.empty(); }
  std::span<const std::byte> bytes() const { return bytes_; }
  void clear() { bytes_.clear(); }

 private:
  std::vector<std::byte> bytes_;
};

/// One answer of a received message.
struct Answer {
  Header header;
  std::span<const std::byte> body;

  /// The fixed part; nothing when the answer is too short for it.
  template <class T>
  bool read(T& into, std::size_t at = 0) const {
    if (body.size() < at + sizeof(T)) return false;
    __builtin_memcpy(&into, body.data() + at, sizeof(T));
    return true;
  }
};
/// Takes the first answer off `message`. False when the message is none.
bool next(std::span<const std::byte>& message, Answer& answer);

template <class T>
std::span<const std::byte> bytesOf(const T& value) {
  return std::as_bytes(std::span(&value, 1));
}

/// Sends one message with as many descriptors. 0, or an errno value; EPIPE when the other end is gone.
int send(int socket, std::span<const std::byte> bytes, std::span<const int> descriptors = {});
/// Waits for a message. The bytes received; 0 when the other end is gone; negative errno values, among them EMSGSIZE
/// for a message that does not fit. Descriptors are closed on exec.
std::int64_t receive(int socket, std::span<std::byte> into, std::vector<FileDescriptor>* descriptors = nullptr);

}  // namespace tlx::photolibrary::wire
