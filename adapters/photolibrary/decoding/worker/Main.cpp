#include "adapters/photolibrary/decoding/worker/Main.h"

#include <cstdlib>
#include <cstring>

#include <malloc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

#include "adapters/photolibrary/decoding/worker/Confinement.h"

namespace tlx::photolibrary {
namespace {

/// A heap that is given back after each picture is faulted in again for the next.
constexpr int keptHeap = 64 << 20;
constexpr int largestInHeap = 4 << 20;

}  // namespace

int serveAsWorker(int argc, char** argv, Service::Handler& handler) {
  if (argc < 2) return 2;
  confinement::dieWithParent(std::atoi(argv[1]));
  confinement::limitResources(wire::sharedDescriptor);
  const bool strict = argc > 2 && std::strcmp(argv[2], "--strict") == 0;
  void* memory = mmap(nullptr, wire::sharedBytes, PROT_READ | PROT_WRITE, MAP_SHARED, wire::sharedDescriptor, 0);
  if (memory == MAP_FAILED) return 1;
  mallopt(M_TRIM_THRESHOLD, keptHeap);
  mallopt(M_MMAP_THRESHOLD, largestInHeap);
  tzset();

  Service service(wire::socketDescriptor, memory, handler);
  wire::Hello hello;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  // A sanitizer maps terabytes and reports by calls that are shut out: it looks at the code without its walls.
  hello.filtered = strict ? 0 : 1;
#else
  hello.addressSpace = confinement::limitMemory(wire::usualMemory);
  hello.filtered = confinement::shutIn(strict ? confinement::Unknown::Fatal : confinement::Unknown::Refused) ? 1 : 0;
#endif
  const int status = service.run(hello);
  // Its thread sleeps in the kernel; nothing here is worth waking it for.
  _exit(status);
}

}  // namespace tlx::photolibrary
