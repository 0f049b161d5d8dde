#pragma once

#include "adapters/photolibrary/cloud/webdav/WebDavSource.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {

/// A folder that a server serves, and one for the server's own files.
class Served {
 public:
  Served();
  std::filesystem::path root() const { return top_.file("served"); }
  std::filesystem::path scratch() const { return top_.file("server"); }
  void put(const std::string& name, const std::vector<std::uint8_t>& bytes, double date = 1'600'000'000) const;

 private:
  TemporaryFolder top_;
};

/// A library on a server's folder, with a cache of its own.
class Cloud {
 public:
  explicit Cloud(const std::string& url, WebDavSource::Settings settings = patient(std::chrono::seconds(30)),
                 std::vector<std::string> folders = {});

  PhotoLibrary& library() { return *library_; }
  KeptLog& log() { return log_; }
  /// Ends this one and opens another on what it left.
  void reopen();
  /// Of the file with that name; fails the test when there is none.
  std::variant<Original, NSError> fetch(const std::string& name, const ItemStore::FetchOptions& how = {true, {}, {}});
  std::string identifier(const std::string& name) { return identifierOf(*library_, name); }
  PhotoLibrary::Details details(const std::string& name) { return library_->details(identifier(name)).value(); }
  /// Names of all items, newest first.
  std::vector<std::string> names() { return namesIn(*library_, "Camera Roll"); }
  static WebDavSource::Settings patient(std::chrono::milliseconds patience);

 private:
  std::string url_;
  WebDavSource::Settings settings_;
  std::vector<std::string> folders_;
  LibraryFolder folder_;
  KeptLog log_;
  std::unique_ptr<PhotoLibrary> library_;
};

/// The code of a failed fetch; 0 when it did not fail.
std::int64_t codeOf(const std::variant<Original, NSError>& fetched);

}  // namespace tlx::photolibrary::test
