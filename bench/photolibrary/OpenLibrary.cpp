// Opening a known library: from the index file to fetched albums, against a bare pass over the same rows; and what an
// item weighs in memory.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include "adapters/photolibrary/catalogue/Catalogue.h"
#include "adapters/photolibrary/catalogue/Database.h"
#include "adapters/photolibrary/catalogue/Index.h"
#include "bench/SideBySide.h"
#include "bench/photolibrary/ProcessorTime.h"

namespace {

using namespace tlx;
using namespace tlx::photolibrary;

/// A source that never comes to an end with looking: what is opened is not yet compared with anything.
class EndlessSource final : public Source {
 public:
  const std::vector<std::string>& roots() const override { return roots_; }
  bool rootReadable(std::size_t) const override { return true; }
  WalkOutcome walk(const KnownFiles&, WalkListener&, std::stop_token stop) override {
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any ended;
    ended.wait(lock, stop, [] { return false; });
    return {};
  }

 private:
  std::vector<std::string> roots_ = {"/nowhere/Pictures"};
};

class Silence final : public SystemLogPort {
 public:
  void log(const std::string& line) override { std::fprintf(stderr, "%s\n", line.c_str()); }
  void assertionFailed(const std::string&, const std::string&, int, const std::string&) override {}
};

/// Ten years of a library of `count` items in a folder for each month, written as a scan would write it.
std::string makeIndex(const std::string& cache, std::size_t count) {
  const auto log = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
  auto index = Index::open(cache, EndlessSource().roots(), log);
  Folders folders;
  for (std::uint64_t month = 0; month < 120; ++month) {
    char name[8];
    std::snprintf(name, sizeof name, "20%02u-%02u", static_cast<unsigned>(10 + month / 12),
                  static_cast<unsigned>(1 + month % 12));
    const FileKey key{1, 1000 + month, 1};
    folders.push_back(std::make_shared<Folder>(
        Folder{"/nowhere/Pictures/" + std::string(name), 0, name, false, key, deriveIdentifier(key)}));
  }
  std::mt19937_64 random(1);
  IndexChanges changes;
  ItemBlocks blocks(count);
  for (std::size_t i = 0; i < count; ++i) {
    const FileKey key{1, 10'000 + i,
                      static_cast<std::int64_t>(1'600'000'000'000'000'000 + random() % 1'000'000'000'000)};
    const std::size_t month = i * folders.size() / count;
    changes.put.push_back(
        blocks.add(deriveIdentifier(key), "IMG_" + std::to_string(1000 + i) + ".jpg", [&](Item& item) {
          item.folder = static_cast<std::uint32_t>(month);
          item.mediaType = i % 20 == 0 ? PHAssetMediaTypeVideo : PHAssetMediaTypeImage;
          item.creationDate = 1'262'304'000.0 + static_cast<double>(i) * 315'000'000.0 / static_cast<double>(count);
          item.duration = i % 20 == 0 ? 12.5 : 0;
          item.facts.key = key;
          item.facts.bytes = static_cast<std::int64_t>(3'000'000 + random() % 2'000'000);
          item.facts.modified = key.born;
          item.facts.width = 4000;
          item.facts.height = 3000;
          item.facts.format = MediaFormat::Jpeg;
        }));
  }
  for (std::uint32_t folder = 0; folder < folders.size(); ++folder) changes.folders.push_back(folder);
  changes.complete = true;
  index->write(changes, folders, [&](std::uint32_t) { return count / 120; });
  return index->path();
}

using Measure = double (*)(const std::function<void()>& work);

double processor(const std::function<void()>& work) {
  return bench::processorSecondsOf(work);
}

/// In wall time, since waiting for the disk takes no processor time.
double wall(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Takes the file out of memory.
void forget(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ::fdatasync(file);
  if (::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED) != 0) std::fprintf(stderr, "the index stays in memory\n");
  ::close(file);
}

double secondsToOpen(const std::string& cache, Measure secondsOf) {
  Silence log;
  const auto ledger = std::make_shared<FetchLedger>();
  double seconds = 0;
  {
    Catalogue catalogue(std::make_unique<EndlessSource>(), cache, log, ledger, [](const auto&) {});
    seconds = secondsOf([&] {
      catalogue.start();
      catalogue.waitUntilOpened();
      const auto snapshot = catalogue.snapshot();
      Question everything;
      everything.album = "smart:camera-roll";
      bench::keep(snapshot->answer(everything).get());
      bench::keep(snapshot->folderAlbums().get());
    });
  }
  return seconds;
}

/// The same rows, added up and thrown away.
double secondsToRead(const std::string& path, Measure secondsOf) {
  return secondsOf([&] {
    Database database(path);
    Statement rows = database.prepare("SELECT * FROM items");
    double sum = 0;
    while (rows.step()) {
      sum += rows.real(0) + static_cast<double>(rows.integer(3));
      for (const int column : {1, 2, 4}) sum += rows.bytes(column).front();
    }
    bench::keep(&sum);
  });
}

std::size_t heapBytes() {
  return mallinfo2().uordblks + mallinfo2().hblkhd;
}

void weigh(const std::string& cache, std::size_t count) {
  Silence log;
  const std::size_t before = heapBytes();
  Catalogue catalogue(std::make_unique<EndlessSource>(), cache, log, std::make_shared<FetchLedger>(),
                      [](const auto&) {});
  catalogue.start();
  catalogue.waitUntilOpened();
  const auto snapshot = catalogue.snapshot();
  snapshot->prepareLookup();
  std::printf("%-44s %zu bytes an item\n", "memory of an open library", (heapBytes() - before) / count);
}

}  // namespace

int main() {
  bool kept = true;
  for (const std::size_t count : {std::size_t{100'000}, std::size_t{1'000'000}}) {
    const auto cache = std::filesystem::temp_directory_path() / ("tlx-bench-open-" + std::to_string(::getpid()));
    const std::string path = makeIndex(cache.string(), count);
    const std::string name = "opening a known library of " + std::to_string(count);
    kept &= bench::sideBySide(
        name.c_str(), 2, count > 500'000 ? 5 : 11, [&] { return secondsToOpen(cache.string(), processor); },
        [&] { return secondsToRead(path, processor); });
    kept &= bench::sideBySide((name + ", cold").c_str(), 2, count > 500'000 ? 3 : 5,
                              [&] {
                                forget(path);
                                return secondsToOpen(cache.string(), wall);
                              },
                              [&] {
                                forget(path);
                                return secondsToRead(path, wall);
                              });
    weigh(cache.string(), count);
    std::filesystem::remove_all(cache);
  }
  return kept ? 0 : 1;
}
