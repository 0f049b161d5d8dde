#include "adapters/photolibrary/base/AvailableMemory.h"

#include <fstream>
#include <string>

namespace tlx::photolibrary {

std::int64_t availableMemory() {
  std::ifstream stream("/proc/meminfo");
  std::string word;
  std::int64_t kilobytes = 0;
  while (stream >> word) {
    if (word == "MemAvailable:" && stream >> kilobytes) return kilobytes * 1024;
  }
  return std::int64_t{1} << 40;
}

}  // namespace tlx::photolibrary
