// A worker that does what the file says that it is given: the deeds of a decoder that a picture has taken over, or that
// simply fails. It is shut in as the real ones are.

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/decoding/worker/Main.h"

namespace tlx::photolibrary {
namespace {

int recurse(int depth) {
  volatile char room[4096];
  room[0] = static_cast<char>(depth);
  return depth < 0 ? 0 : recurse(depth + 1) + room[0];
}

template <class Deed>
void again(Deed deed) {
  for (volatile bool forever = true; forever;) deed();
}

/// Each pixel tells where it stands, so that a picture which came in another's place or order is seen.
void paint(Reply& reply, PixelSize size, std::int32_t turn) {
  reply.begin(size, turn);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(size.width) * 4);
  for (std::int32_t y = 0; y < size.height; ++y) {
    for (std::int32_t x = 0; x < size.width; ++x) {
      std::uint8_t* pixel = &row[static_cast<std::size_t>(x) * 4];
      pixel[0] = static_cast<std::uint8_t>(x);
      pixel[1] = static_cast<std::uint8_t>(y);
      pixel[2] = static_cast<std::uint8_t>(size.width);
      pixel[3] = 255;
    }
    reply.add(row.data());
  }
  reply.end();
}

/// What a worker may not do: each tells whether it could.
const std::map<std::string, bool (*)(int file)> escapes{
    {"exec", [](int) { return execve("/bin/true", environ, environ), true; }},
    {"fork", [](int) { return fork() >= 0; }},
    {"socket", [](int) { return socket(AF_INET, SOCK_STREAM, 0) >= 0; }},
    {"kill", [](int) { return kill(getpid(), 0) == 0; }},
    {"code",
     [](int) { return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED; }},
    {"shrink", [](int) { return ftruncate(wire::sharedDescriptor, 0) == 0; }},
    {"open", [](int) { return open("/etc/passwd", O_RDONLY) >= 0; }},
    {"reopen", [](int file) { return open(("/proc/self/fd/" + std::to_string(file)).c_str(), O_RDWR) >= 0; }},
    {"environment", [](int) { return environ[0] && environ[1]; }},
};

/// Ways of coming to no end, or to an early one.
const std::map<std::string, void (*)()> failures{
    {"null", [] { *static_cast<volatile int*>(nullptr) = 1; }},
    {"abort", [] { std::abort(); }},
    {"recurse", [] { recurse(0); }},
    {"exit", [] { _exit(0); }},
    {"spin", [] { again([] {}); }},
    {"sleep", [] { again(pause); }},
    {"eat", [] { again([eaten = std::vector<std::vector<char>>()]() mutable { eaten.emplace_back(64 << 20, 'x'); }); }},
};

void send(const wire::Job& job, wire::AnswerKind kind, std::span<const std::byte> body) {
  wire::AnswerMessage message;
  message.add(kind, job.id, body);
  wire::send(wire::socketDescriptor, message.bytes());
}
void begin(const wire::Job& job, wire::Begin said) {
  send(job, wire::AnswerKind::Begin, wire::bytesOf(said));
}
void rows(const wire::Job& job, wire::Rows said) {
  begin(job, {4, 4, 1, 0});
  send(job, wire::AnswerKind::Rows, wire::bytesOf(said));
}

/// Answers that are not so.
const std::map<std::string, void (*)(wire::Job)> lies{
    {"lie-size",
     [](wire::Job job) {
       begin(job, {1 << 17, 1 << 17, 1, 0});
     }},
    {"lie-turn",
     [](wire::Job job) {
       begin(job, {4, 4, 9, 0});
     }},
    {"lie-id", [](wire::Job job) { send((++job.id, job), wire::AnswerKind::End, {}); }},
    {"lie-end",
     [](wire::Job job) {
       begin(job, {4, 4, 1, 0}), send(job, wire::AnswerKind::End, {});
     }},
    {"lie-rows",
     [](wire::Job job) {
       rows(job, {wire::ringBytes - 8, 2});
     }},
    {"lie-many-rows",
     [](wire::Job job) {
       rows(job, {0, ~std::uint64_t{0} / 16 + 2});
     }},
    {"lie-info", [](wire::Job job) { send(job, wire::AnswerKind::Info, wire::bytesOf(wire::Info{})); }},
    {"lie-short", [](wire::Job job) { send(job, wire::AnswerKind::Failed, {}); }},
};

class Deeds final : public Service::Handler {
 public:
  void handle(const wire::Job& job, int file, const std::stop_token& cancelled, Reply& reply) override {
    char text[256] = {};
    if (pread(file, text, sizeof(text) - 1, 0) < 0) text[0] = 0;
    std::istringstream words(text);
    std::string deed;
    words >> deed;
    const auto answer = [&](bool escaped) {
      reply.failed(libraryError(escaped ? PhotoLibraryErrorUnreadable : PhotoLibraryErrorUnsupported,
                                escaped ? "escaped" : "held"));
    };
    if (deed == "paint") {
      PixelSize size;
      std::int32_t turn = 1;
      words >> size.width >> size.height >> turn;
      paint(reply, size, turn);
    } else if (deed == "needs-memory" && job.memory == 0) {
      reply.needsMemory(std::int64_t{1200} << 20);
    } else if (deed == "needs-memory") {
      void* much = mmap(nullptr, std::size_t{1500} << 20, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      answer(much == MAP_FAILED);
      if (much != MAP_FAILED) munmap(much, std::size_t{1500} << 20);
    } else if (deed == "give-up") {
      const bool noRoom = reply.begin({60'000, 300}, 1).has_value();
      reply.add(std::vector<std::uint8_t>(240'000).data());  // too few to be told of yet
      answer(noRoom);
    } else if (deed == "until-cancelled") {
      while (!cancelled.stop_requested()) std::this_thread::yield();
      reply.failed(libraryError(PhotoLibraryErrorCancelled, "cancelled"));
    } else if (const auto escape = escapes.find(deed); escape != escapes.end()) {
      answer(escape->second(file));
    } else if (const auto failure = failures.find(deed); failure != failures.end()) {
      failure->second();
    } else {
      reply.flush();
      lies.at(deed)(job);
    }
  }
};

}  // namespace
}  // namespace tlx::photolibrary

int main(int argc, char** argv) {
  tlx::photolibrary::Deeds deeds;
  return tlx::photolibrary::serveAsWorker(argc, argv, deeds);
}
