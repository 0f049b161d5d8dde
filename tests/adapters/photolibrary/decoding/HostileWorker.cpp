// A worker that does what the file says that it is given: the deeds of a decoder that a picture has taken over, or that
// simply fails. It is shut in as the real ones are.

#include <cstdlib>
#include <cstring>
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

/// Tries what a worker may not do, and tells whether it could.
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

void send(int socket, const wire::Job& job, wire::AnswerKind kind, std::span<const std::byte> body) {
  wire::AnswerMessage message;
  message.add(kind, job.id, body);
  wire::send(socket, message.bytes());
}

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
    } else if (deed == "needs-memory") {
      if (job.memory == 0) {
        reply.needsMemory(std::int64_t{1200} << 20);
        return;
      }
      void* much = mmap(nullptr, std::size_t{1500} << 20, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      answer(much == MAP_FAILED);
      if (much != MAP_FAILED) munmap(much, std::size_t{1500} << 20);
    } else if (deed == "null") {
      *static_cast<volatile int*>(nullptr) = 1;
    } else if (deed == "abort") {
      std::abort();
    } else if (deed == "recurse") {
      recurse(0);
    } else if (deed == "exit") {
      _exit(0);
    } else if (deed == "spin") {
      for (volatile bool forever = true; forever;) {
      }
    } else if (deed == "sleep") {
      for (;;) pause();
    } else if (deed == "until-cancelled") {
      while (!cancelled.stop_requested()) std::this_thread::yield();
      reply.failed(libraryError(PhotoLibraryErrorCancelled, "cancelled"));
    } else if (deed == "eat") {
      std::vector<std::vector<char>> eaten;
      for (;;) eaten.emplace_back(std::size_t{64} << 20, 'x');
    } else if (const auto escape = escapes.find(deed); escape != escapes.end()) {
      answer(escape->second(file));
    } else {
      lie(deed, job, reply);
    }
  }

 private:
  static void lie(const std::string& deed, const wire::Job& job, Reply& reply) {
    reply.flush();
    const int socket = wire::socketDescriptor;
    const auto begin = [&](wire::Begin said) { send(socket, job, wire::AnswerKind::Begin, wire::bytesOf(said)); };
    const auto rows = [&](wire::Rows said) {
      begin({4, 4, 1, 0});
      send(socket, job, wire::AnswerKind::Rows, wire::bytesOf(said));
    };
    if (deed == "lie-size") {
      begin({1 << 17, 1 << 17, 1, 0});
    } else if (deed == "lie-turn") {
      begin({4, 4, 9, 0});
    } else if (deed == "lie-id") {
      wire::Job other = job;
      ++other.id;
      send(socket, other, wire::AnswerKind::End, {});
    } else if (deed == "lie-end") {
      begin({4, 4, 1, 0});
      send(socket, job, wire::AnswerKind::End, {});
    } else if (deed == "lie-rows") {
      rows({wire::ringBytes - 8, 2});
    } else if (deed == "lie-many-rows") {
      rows({0, ~std::uint64_t{0} / 16 + 2});
    } else if (deed == "lie-info") {
      send(socket, job, wire::AnswerKind::Info, wire::bytesOf(wire::Info{}));
    } else if (deed == "lie-short") {
      send(socket, job, wire::AnswerKind::Failed, {});
    } else {
      reply.failed(libraryError(PhotoLibraryErrorUnsupported, "no such deed"));
    }
  }
};

}  // namespace
}  // namespace tlx::photolibrary

int main(int argc, char** argv) {
  tlx::photolibrary::Deeds deeds;
  return tlx::photolibrary::serveAsWorker(argc, argv, deeds);
}
