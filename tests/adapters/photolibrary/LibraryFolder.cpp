#include "tests/adapters/photolibrary/LibraryFolder.h"

#include <fstream>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tlx::photolibrary::test {
namespace {

/// The smart albums, then the person's own. A copy, since a library that goes on may drop its result meanwhile.
std::vector<std::shared_ptr<const PHAssetCollection>> albumsIn(PhotoLibrary& library) {
  std::vector<std::shared_ptr<const PHAssetCollection>> all;
  for (const auto type : {PHAssetCollectionTypeSmartAlbum, PHAssetCollectionTypeAlbum}) {
    const auto albums = library.fetchAssetCollections(type, PHAssetCollectionSubtypeAny);
    all.insert(all.end(), albums->begin(), albums->end());
  }
  return all;
}

}  // namespace

DecodersPort& directDecoders() {
  static Decoding decoding(std::filesystem::temp_directory_path());
  return decoding.decoders;
}

LibraryFolder::LibraryFolder() : top_(std::filesystem::canonical(folder_.path())) {
  std::filesystem::create_directory(pictures());
  std::filesystem::remove_all(trashFolder());
}

std::filesystem::path LibraryFolder::trashFolder() {
  // Where data lie is asked of the environment once in a process.
  static const TemporaryFolder data;
  ::setenv("XDG_DATA_HOME", data.path().c_str(), 1);
  return data.path() / "Trash";
}

void LibraryFolder::put(const std::string& path, const std::vector<std::uint8_t>& bytes, double modified) const {
  const std::filesystem::path full = pictures() / path;
  std::filesystem::create_directories(full.parent_path());
  writeFile(full, bytes);
  const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(modified), 0}};
  if (modified != 0 && ::utimensat(AT_FDCWD, full.c_str(), times, 0) != 0)
    throw std::runtime_error("cannot set the time of " + full.string());
}

void LibraryFolder::trash(const std::string& path) const {
  const std::filesystem::path bin = trashFolder(), from = (pictures() / path).lexically_normal();
  std::filesystem::create_directories(bin / "files");
  std::filesystem::create_directories(bin / "info");
  std::string escaped;
  for (const char c : from.string()) escaped += c == ' ' ? std::string("%20") : std::string(1, c);
  std::ofstream(bin / "info" / (from.filename().string() + ".trashinfo"))
      << "[Trash Info]\nPath=" << escaped << "\nDeletionDate=2024-05-01T10:00:00\n";
  std::filesystem::rename(from, bin / "files" / from.filename());
}

PhotoLibrary::Options LibraryFolder::options() const {
  PhotoLibrary::Options options;
  options.roots = {pictures().string()};
  options.host = "a test";
  options.preauthorised = true;
  options.cacheFolder = (top_ / "cache").string();
  options.configFolder = (top_ / "config").string();
  return options;
}

Onlooker::Onlooker(PhotoLibrary& library) : library_(library) {
  library_.setChangeHandler([this](std::shared_ptr<const PHChange> change) {
    std::lock_guard lock(mutex_);
    newest_ = std::move(change);
    ++count_;
    changed_.notify_all();
  });
}

bool Onlooker::comesTo(const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  std::unique_lock lock(mutex_);
  while (true) {
    const int seen = count_;
    lock.unlock();
    const bool met = done();
    lock.lock();
    if (met) return true;
    if (!changed_.wait_until(lock, deadline, [&] { return count_ != seen; })) return false;
  }
}

int Onlooker::count() {
  std::lock_guard lock(mutex_);
  return count_;
}

std::shared_ptr<const PHChange> Onlooker::newest() {
  std::lock_guard lock(mutex_);
  return newest_;
}

void look(PhotoLibrary& library) {
  library.rescan();
  library.waitUntilScanned();
}

std::vector<std::string> namesIn(PhotoLibrary& library, const std::string& album) {
  std::vector<std::string> names;
  for (const auto& collection : albumsIn(library)) {
    if (collection->localizedTitle != album) continue;
    const auto assets = library.fetchAssets(*collection, {});
    for (const auto& asset : *assets)
      names.push_back(library.details(asset->localIdentifier).value_or(PhotoLibrary::Details{}).name);
  }
  return names;
}

std::vector<std::string> titles(PhotoLibrary& library) {
  std::vector<std::string> all;
  for (const auto& collection : albumsIn(library)) {
    if (collection->assetCollectionType == PHAssetCollectionTypeAlbum) all.push_back(collection->localizedTitle);
  }
  return all;
}

std::map<std::string, std::vector<std::string>> everythingIn(PhotoLibrary& library) {
  std::map<std::string, std::vector<std::string>> all;
  for (const auto& collection : albumsIn(library)) {
    auto& items = all[collection->localizedTitle + " " + collection->localIdentifier.string()];
    const auto assets = library.fetchAssets(*collection, {});
    for (const auto& asset : *assets) {
      const auto details = library.details(asset->localIdentifier);
      items.push_back((details ? details->path : "?") + " " + asset->localIdentifier.string());
    }
  }
  return all;
}

std::string identifierOf(PhotoLibrary& library, const std::string& name) {
  for (const auto& collection : albumsIn(library)) {
    const auto assets = library.fetchAssets(*collection, {});
    for (const auto& asset : *assets) {
      if (library.details(asset->localIdentifier).value_or(PhotoLibrary::Details{}).name == name)
        return asset->localIdentifier.string();
    }
  }
  return {};
}

}  // namespace tlx::photolibrary::test
