// A cloud beside curl: an original of 200 MB, the memory that it takes, and a listing of 10,000 files.

#include <QCoreApplication>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/cloud/webdav/WebDavSource.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "bench/SideBySide.h"
#include "tests/support/WebServers.h"

namespace {

using namespace tlx;
using namespace tlx::photolibrary;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kLarge = 200'000'000;
constexpr int kFiles = 10'000;
constexpr int kRounds = 5;

class Silence final : public SystemLogPort {
 public:
  void log(const std::string& line) override { std::fprintf(stderr, "%s\n", line.c_str()); }
  void assertionFailed(const std::string&, const std::string&, int, const std::string&) override { std::abort(); }
};

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The most that the process has had in memory since `forgetPeak`, in megabytes.
double peakMegabytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::strtod(line.c_str() + 6, nullptr) / 1024;
  }
  return 0;
}
void forgetPeak() {
  std::ofstream("/proc/self/clear_refs") << 5;
}

/// A JPEG's beginning, so that it is taken for a photo, with a size in it.
std::string photoHead() {
  return std::string("\xff\xd8\xff\xc0\x00\x11\x08\x00\x10\x00\x10\x03\x01\x22\x00\x02\x11\x01\x03\x11\x01", 21);
}

double curl(const std::string& words) {
  const auto start = Clock::now();
  if (std::system(("curl -sf " + words).c_str()) != 0) std::fprintf(stderr, "curl failed\n");
  return secondsSince(start);
}

}  // namespace

int main(int count, char** words) {
  const QCoreApplication application(count, words);
  if (!tlx::test::Nginx::installed()) {
    std::printf("nginx with its WebDAV module is not installed\n");
    return 0;
  }
  const auto top = std::filesystem::temp_directory_path() / ("tlx-bench-cloud-" + std::to_string(::getpid()));
  std::filesystem::create_directories(top / "large");
  std::filesystem::create_directories(top / "many");
  {
    std::ofstream large(top / "large/a.jpg", std::ios::binary);
    large << photoHead();
    const std::string part(1 << 20, 'x');
    for (std::int64_t left = kLarge; left > 0; left -= static_cast<std::int64_t>(part.size())) large << part;
  }
  for (int i = 0; i < kFiles; ++i) {
    std::ofstream(top / "many" / ("IMG_" + std::to_string(100'000 + i) + ".jpg"), std::ios::binary) << photoHead() << i;
  }
  {
    const tlx::test::Nginx nginx(top, top / "server");
    Silence log;
    PixelStore pixels(PixelStore::defaultFolder());
    DirectDecoders decoders(pixels);
    const auto open = [&](const std::string& folder, bool knownBefore) {
      const auto cache = top / "cache";
      if (!knownBefore) std::filesystem::remove_all(cache);
      WebDavSource::Settings settings;
      settings.cacheFolder = cache;
      PhotoLibrary::Options options;
      options.preauthorised = true;
      options.cacheFolder = cache;
      options.configFolder = top / "config";
      const auto address = std::get<CloudAddress>(parseCloudAddress(nginx.url() + "/" + folder));
      auto library = std::make_unique<PhotoLibrary>(
          options, std::make_unique<WebDavSource>(address, decoders, settings, log), log);
      library->waitUntilScanned();
      return library;
    };

    {
      const auto library = open("large", false);
      const auto all = library->fetchAssets({PHAssetCollectionTypeSmartAlbum, "smart:camera-roll", ""}, {});
      const Identifier identifier = all->firstObject()->localIdentifier;
      double growth = 0;
      const auto fetch = [&] {
        std::filesystem::remove_all(top / "cache/originals");
        forgetPeak();
        const double before = peakMegabytes();
        const auto start = Clock::now();
        const auto original = library->fetchOriginal(identifier, {true, [](double) { return true; }, {}});
        const double seconds = secondsSince(start);
        if (!std::holds_alternative<Original>(original)) std::fprintf(stderr, "not fetched\n");
        growth = std::max(growth, peakMegabytes() - before);
        return seconds;
      };
      const auto peer = [&] { return curl("-o " + (top / "copy").string() + " " + nginx.url() + "/large/a.jpg"); };
      bench::sideBySide("an original of 200 MB | curl to a file", 0, kRounds, fetch, peer);
      std::printf("%-44s ours %9.1f MB  budget 10.0  %s\n", "  memory that it took at most", growth,
                  growth <= 10 ? "kept" : "MISSED");
    }
    const auto listing = [&] { return curl("-o /dev/null -X PROPFIND -H 'Depth: 1' " + nginx.url() + "/many/"); };
    bench::sideBySide(
        "10,000 files known before | curl's PROPFIND", 0, kRounds,
        [&] {
          const auto start = Clock::now();
          open("many", true);
          return secondsSince(start);
        },
        listing);
    bench::sideBySide(
        "10,000 files never seen, heads read | PROPFIND", 0, 2,
        [&] {
          const auto start = Clock::now();
          open("many", false);
          return secondsSince(start);
        },
        listing);
  }
  std::filesystem::remove_all(top);
  return 0;
}
