#include "tests/adapters/photolibrary/cloud/Cloud.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include "adapters/photolibrary/files/FolderSource.h"
#include "adapters/photolibrary/source/SourceSet.h"

namespace tlx::photolibrary::test {
namespace {

/// The network's classes want one in the process.
class Application final : public testing::Environment {
 public:
  void SetUp() override { application_ = std::make_unique<QCoreApplication>(count_, words_); }
  void TearDown() override { application_.reset(); }

 private:
  char name_[5] = "test";
  char* words_[2] = {name_, nullptr};
  int count_ = 1;
  std::unique_ptr<QCoreApplication> application_;
};
[[maybe_unused]] const auto* const application = testing::AddGlobalTestEnvironment(new Application);

}  // namespace

Served::Served() {
  std::filesystem::create_directories(root());
  std::filesystem::create_directories(scratch());
}

void Served::put(const std::string& name, const std::vector<std::uint8_t>& bytes, double date) const {
  const auto path = root() / name;
  std::filesystem::create_directories(path.parent_path());
  writeFile(path, bytes);
  const std::chrono::sys_seconds time{std::chrono::seconds(static_cast<std::int64_t>(date))};
  std::filesystem::last_write_time(path, std::chrono::file_clock::from_sys(time));
}

Cloud::Cloud(const std::string& url, WebDavSource::Settings settings, std::vector<std::string> folders)
    : url_(url), settings_(std::move(settings)), folders_(std::move(folders)) {
  if (settings_.cacheFolder.empty()) settings_.cacheFolder = folder_.top() / "cache";
  reopen();
}

WebDavSource::Settings Cloud::patient(std::chrono::milliseconds patience) {
  WebDavSource::Settings settings;
  settings.patience = patience;
  return settings;
}

void Cloud::reopen() {
  library_.reset();
  std::vector<std::unique_ptr<Source>> sources;
  if (!folders_.empty()) sources.push_back(std::make_unique<FolderSource>(folders_, directDecoders(), log_));
  sources.push_back(std::make_unique<WebDavSource>(std::get<CloudAddress>(parseCloudAddress(url_)), directDecoders(),
                                                   settings_, log_));
  library_ = std::make_unique<PhotoLibrary>(folder_.options(), std::make_unique<SourceSet>(std::move(sources)), log_);
  library_->waitUntilScanned();
}

std::variant<Original, NSError> Cloud::fetch(const std::string& name, const ItemStore::FetchOptions& options) {
  return library_->fetchOriginal(identifier(name), options);
}

std::int64_t codeOf(const std::variant<Original, NSError>& fetched) {
  const NSError* const error = std::get_if<NSError>(&fetched);
  if (error && error->domain != kCloudPhotoLibraryErrorDomain) ADD_FAILURE() << "a failure of " << error->domain;
  return error ? error->code : 0;
}

}  // namespace tlx::photolibrary::test
