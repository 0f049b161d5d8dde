// What a followed library of 100,000 photos does about 1, 100 and 10,000 files that were written: from the last event
// to the delivered change, against asking for the status of every file of the tree, on one thread, as a library would
// that is told of nothing. The quiet that ends a burst is waited for on purpose and so not counted as work; the whole
// time is printed beside it, with what the change costs the main thread in fetches.

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/files/FolderSource.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "bench/SideBySide.h"

namespace {

using namespace tlx;
using namespace tlx::photolibrary;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kFiles = 100'000;
constexpr int kFolders = 100;

class Console final : public SystemLogPort {
 public:
  void log(const std::string& line) override { std::fprintf(stderr, "%s\n", line.c_str()); }
  void assertionFailed(const std::string&, const std::string&, int, const std::string&) override {}
};

/// One grey pixel, as the smallest file that is a photo.
const std::vector<unsigned char>& pixel() {
  static const std::vector<unsigned char> bytes = {0x47, 0x49, 0x46, 0x38, 0x39, 0x61, 1, 0,    1, 0, 0x80, 0,
                                                   0,    0x80, 0x80, 0x80, 0,    0,    0, 0x2c, 0, 0, 0,    0,
                                                   1,    0,    1,    0,    0,    2,    2, 0x44, 1, 0, 0x3b};
  return bytes;
}

std::string pathOf(const fs::path& top, int file) {
  return top / std::to_string(file % kFolders) / (std::to_string(file) + ".gif");
}

void write(const std::string& path) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file < 0 || ::write(file, pixel().data(), pixel().size()) < 0) std::perror(path.c_str());
  ::close(file);
}

std::size_t statusOfAll(const std::string& folder) {
  std::size_t files = 0;
  DIR* const stream = ::opendir(folder.c_str());
  while (const dirent* const entry = ::readdir(stream)) {
    if (entry->d_name[0] == '.') continue;
    struct stat status;
    if (::fstatat(::dirfd(stream), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    files += S_ISDIR(status.st_mode) ? statusOfAll(folder + "/" + entry->d_name) : 1;
  }
  ::closedir(stream);
  return files;
}

class Follower {
 public:
  Follower(const fs::path& top, const fs::path& cache, const FolderWatch::Timing& timing)
      : library_(options(top, cache),
                 std::make_unique<FolderSource>(std::vector{top.string()}, decoders_, log_,
                                                FolderSource::Links::WithinRoots, timing),
                 log_) {
    library_.waitUntilScanned();
    library_.setChangeHandler([this](const auto&) {
      {
        std::lock_guard lock(mutex_);
        ++changes_;
      }
      told_.notify_all();
    });
  }
  ~Follower() { library_.setChangeHandler(nullptr); }

  /// Seconds until a change was delivered after which the newest item is as young as the last one written.
  double secondsUntilItKnows(double written) {
    const auto start = Clock::now();
    std::unique_lock lock(mutex_);
    const bool known = told_.wait_for(lock, std::chrono::minutes(1), [&] { return newest() >= written; });
    if (!known) std::fprintf(stderr, "the library did not hear of it\n");
    return std::chrono::duration<double>(Clock::now() - start).count();
  }
  /// What the main thread does to have all albums anew.
  double secondsToFetch() {
    return bench::secondsOf([&] {
      for (const auto type : {PHAssetCollectionTypeSmartAlbum, PHAssetCollectionTypeAlbum}) {
        const auto albums = library_.fetchAssetCollections(type, PHAssetCollectionSubtypeAny);
        for (const auto& album : *albums) bench::keep(library_.fetchAssets(*album, {}).get());
      }
    });
  }
  std::size_t count() { return roll()->count(); }

 private:
  static PhotoLibrary::Options options(const fs::path& top, const fs::path& cache) {
    PhotoLibrary::Options options;
    options.roots = {top.string()};
    options.preauthorised = true;
    options.cacheFolder = cache.string();
    return options;
  }
  std::shared_ptr<const PHFetchResult<PHAsset>> roll() {
    const auto albums = library_.fetchAssetCollections(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAny);
    return library_.fetchAssets(**albums->begin(), {});
  }
  double newest() {
    const auto items = roll();
    return items->count() == 0 ? 0 : items->objectAtIndex(0)->creationDate;
  }

  Console log_;
  PixelStore pixels_{PixelStore::defaultFolder()};
  DirectDecoders decoders_{pixels_};
  PhotoLibrary library_;
  std::mutex mutex_;
  std::condition_variable told_;
  int changes_ = 0;
};

double modified(const std::string& path) {
  struct stat status {};
  ::stat(path.c_str(), &status);
  return static_cast<double>(status.st_mtim.tv_sec) + static_cast<double>(status.st_mtim.tv_nsec) * 1e-9 - 1e-6;
}

}  // namespace

int main() {
  const fs::path own = fs::temp_directory_path() / ("tlx-bench-change-" + std::to_string(::getpid()));
  const fs::path top = own / "photos";
  for (int folder = 0; folder < kFolders; ++folder) fs::create_directories(top / std::to_string(folder));
  for (int file = 0; file < kFiles; ++file) write(pathOf(top, file));
  bool kept = true;
  {
    const FolderWatch::Timing timing;
    Follower follower(top, own / "cache", timing);
    std::printf("%zu items\n", follower.count());
    const double quiet = std::chrono::duration<double>(timing.quiet).count();
    int next = 0;
    for (const int files : {1, 100, 10'000}) {
      std::vector<double> whole, work, main, peer;
      for (int round = 0; round < 7; ++round) {
        std::string last;
        for (int i = 0; i < files; ++i) write(last = pathOf(top, next++ % kFiles));
        whole.push_back(follower.secondsUntilItKnows(modified(last)));
        work.push_back(std::max(whole.back() - quiet, 1e-6));
        main.push_back(follower.secondsToFetch());
        const auto start = Clock::now();
        if (statusOfAll(top) != kFiles) std::fprintf(stderr, "files are missing\n");
        peer.push_back(std::chrono::duration<double>(Clock::now() - start).count());
      }
      const std::string name = std::to_string(files) + " of 100,000 files written: work";
      kept &= bench::report(name.c_str(), work, peer, files <= 100 ? 0.5 : 2);
      std::printf("  the whole wait %.0f ms, the main thread's fetches %.2f ms\n", bench::median(whole) * 1e3,
                  bench::median(main) * 1e3);
    }
  }
  fs::remove_all(own);
  return kept ? 0 : 1;
}
