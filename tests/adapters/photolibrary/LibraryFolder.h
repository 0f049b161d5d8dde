#pragma once

#include <condition_variable>
#include <memory>

#include "adapters/memory/MemoryLogs.h"
#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/source/DecodersPort.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary::test {

using KeptLog = memory::MemorySystemLog;

/// A folder of the test's own with `pictures`, `cache` and `config` in it, gone with it. The trash is the test
/// program's own, empty at first, so that no test looks into the person's.
class LibraryFolder {
 public:
  LibraryFolder();

  std::filesystem::path pictures() const { return top_ / "pictures"; }
  std::filesystem::path top() const { return top_; }
  static std::filesystem::path trashFolder();

  /// `path` below the pictures; folders are made. `modified` in seconds since 1970, 0 to leave it be.
  void put(const std::string& path, const std::vector<std::uint8_t>& bytes, double modified = 0) const;
  void putPhoto(const std::string& path, double modified = 0) const { put(path, samplePhoto(), modified); }
  /// As the desktop does it: with a record of where it came from.
  void trash(const std::string& path) const;

  PhotoLibrary::Options options() const;

 private:
  TemporaryFolder folder_;
  std::filesystem::path top_;
};

/// Decoders within the test program, for whoever reads headers.
DecodersPort& directDecoders();

/// Hears of a library's changes while it lives.
class Onlooker {
 public:
  explicit Onlooker(PhotoLibrary& library);
  ~Onlooker() { library_.setChangeHandler(nullptr); }
  /// Waits for changes until one has made it so.
  bool comesTo(const std::function<bool()>& done);
  int count();
  std::shared_ptr<const PHChange> newest();

 private:
  PhotoLibrary& library_;
  std::mutex mutex_;
  std::condition_variable changed_;
  int count_ = 0;
  std::shared_ptr<const PHChange> newest_;  ///< no older one, so that what it holds can go
};

/// Returns when the library has looked at its files again.
void look(PhotoLibrary& library);
/// What a fetch by album title finds: the names of the files, in order. Smart albums and the person's own alike.
std::vector<std::string> namesIn(PhotoLibrary& library, const std::string& album);
/// "Title" of every album that the person made, in the library's order.
std::vector<std::string> titles(PhotoLibrary& library);
/// Every album with its items, each as its path and identifier: equal for two libraries that show the same.
std::map<std::string, std::vector<std::string>> everythingIn(PhotoLibrary& library);
/// The identifier of the item with that file name; empty when there is none.
std::string identifierOf(PhotoLibrary& library, const std::string& name);

}  // namespace tlx::photolibrary::test
