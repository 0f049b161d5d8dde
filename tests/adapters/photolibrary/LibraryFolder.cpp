#include "tests/adapters/photolibrary/LibraryFolder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tlx::photolibrary::test {
void KeptLog::log(const std::string& line) {
  std::lock_guard lock(mutex_);
  lines_.push_back(line);
}

std::vector<std::string> KeptLog::lines() const {
  std::lock_guard lock(mutex_);
  return lines_;
}

LibraryFolder::LibraryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "tlx-library-XXXXXX").string();
  if (!::mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
  top_ = std::filesystem::canonical(name);
  std::filesystem::create_directory(pictures());
  std::filesystem::remove_all(trashFolder());
}

LibraryFolder::~LibraryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(top_, ignored);
}

std::filesystem::path LibraryFolder::trashFolder() {
  // Where data lie is asked of the environment once in a process.
  static const struct Data {
    Data() { ::setenv("XDG_DATA_HOME", path.c_str(), 1); }
    ~Data() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("tlx-data-" + std::to_string(::getpid()));
  } data;
  return data.path / "Trash";
}

void LibraryFolder::put(const std::string& path, const std::vector<std::uint8_t>& bytes, double modified) const {
  const std::filesystem::path full = pictures() / path;
  std::filesystem::create_directories(full.parent_path());
  std::ofstream(full, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (modified == 0) return;
  timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(modified), 0}};
  if (::utimensat(AT_FDCWD, full.c_str(), times, 0) != 0)
    throw std::runtime_error("cannot set the time of " + full.string());
}

void LibraryFolder::trash(const std::string& path) const {
  const std::filesystem::path bin = trashFolder(), from = pictures() / path;
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

std::vector<std::string> namesIn(PhotoLibrary& library, const std::string& album) {
  std::vector<std::string> names;
  for (const auto type : {PHAssetCollectionTypeSmartAlbum, PHAssetCollectionTypeAlbum}) {
    const auto albums = library.fetchAssetCollections(type, PHAssetCollectionSubtypeAny);
    for (const auto& collection : *albums) {
      if (collection->localizedTitle != album) continue;
      const auto assets = library.fetchAssets(*collection, {});
      for (const auto& asset : *assets)
        names.push_back(library.details(asset->localIdentifier).value_or(PhotoLibrary::Details{}).name);
    }
  }
  return names;
}

std::vector<std::string> titles(PhotoLibrary& library) {
  std::vector<std::string> all;
  const auto albums = library.fetchAssetCollections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny);
  for (const auto& collection : *albums) all.push_back(collection->localizedTitle);
  return all;
}

std::map<std::string, std::vector<std::string>> everythingIn(PhotoLibrary& library) {
  std::map<std::string, std::vector<std::string>> all;
  for (const auto type : {PHAssetCollectionTypeSmartAlbum, PHAssetCollectionTypeAlbum}) {
    const auto albums = library.fetchAssetCollections(type, PHAssetCollectionSubtypeAny);
    for (const auto& collection : *albums) {
      auto& items = all[collection->localizedTitle + " " + collection->localIdentifier.string()];
      const auto assets = library.fetchAssets(*collection, {});
      for (const auto& asset : *assets) {
        const auto details = library.details(asset->localIdentifier);
        items.push_back((details ? details->path : "?") + " " + asset->localIdentifier.string());
      }
    }
  }
  return all;
}

std::string identifierOf(PhotoLibrary& library, const std::string& name) {
  for (const auto& collection :
       *library.fetchAssetCollections(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAny)) {
    const auto assets = library.fetchAssets(*collection, {});
    for (const auto& asset : *assets) {
      if (library.details(asset->localIdentifier).value_or(PhotoLibrary::Details{}).name == name)
        return asset->localIdentifier.string();
    }
  }
  return {};
}

}  // namespace tlx::photolibrary::test
