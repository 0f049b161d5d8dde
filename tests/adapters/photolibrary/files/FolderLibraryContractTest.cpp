
#include "tests/adapters/memory/OnMemory.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"
#include "tests/contracts/PhotoLibraryContract.h"

namespace tlx::contracts {
namespace {

using photolibrary::test::look;
using photolibrary::test::samplePhoto;
using photolibrary::test::sampleVideo;

/// Answers on a thread of its own, as a window would after a while.
class WillingPerson final : public photolibrary::PhotoConsent {
 public:
  void askForPhotos(const std::string&, Answer answer) override {
    ++asked;
    threads_.emplace_back(
        [allowed = answers == PHAuthorizationStatusAuthorized, answer = std::move(answer)] { answer(allowed); });
  }
  PHAuthorizationStatus answers = PHAuthorizationStatusAuthorized;
  int asked = 0;

 private:
  std::vector<std::jthread> threads_;
};

class FilesLibraryWorld final : public OnMemory<PhotoLibraryWorld> {
 public:
  FilesLibraryWorld() {
    auto options = folder_.options();
    options.preauthorised = false;
    options.consent = &person_;
    record_.setPhotosAllowed(true);
    library_ = std::make_unique<photolibrary::PhotoLibrary>(options, photolibrary::test::directDecoders(), log_);
    library_->waitUntilScanned();
  }

  void settle() override {
    library_->waitUntilScanned();
    platform_.loop.runUntilIdle();
  }

  PhotoLibraryPort& library() override { return *library_; }
  void put(const std::vector<Item>& items) override {
    for (const Item& item : items) {
      const bool video = item.mediaType == PHAssetMediaTypeVideo;
      folder_.put(item.album + "/" + item.name, video ? sampleVideo() : samplePhoto(), item.creationDate);
    }
    look(*library_);  // whoever waits for files must be woken when they have been looked at
  }
  void take(const std::vector<std::string>& names) override {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.pictures())) {
      if (std::find(names.begin(), names.end(), entry.path().filename()) != names.end())
        std::filesystem::remove(entry.path());
    }
    look(*library_);
  }
  AVRecording recording() override {
    folder_.put("../capture", sampleVideo());
    return {(folder_.pictures() / "../capture").string(), {}, 1, nullptr};
  }
  void askForPicture(const Identifier& item) override { library_->beginRequest(item); }
  bool setAccess(PHAuthorizationStatus status) override {
    if (status == PHAuthorizationStatusRestricted) return false;
    if (status == PHAuthorizationStatusNotDetermined) {
      std::filesystem::remove(record_.path());
      library_->rereadAccess();
    } else {
      library_->setPhotosAllowed(status == PHAuthorizationStatusAuthorized);
    }
    return true;
  }
  void setPromptAnswer(PHAuthorizationStatus status) override { person_.answers = status; }
  int promptCount() const override { return person_.asked; }

 private:
  photolibrary::test::LibraryFolder folder_;
  photolibrary::test::KeptLog log_;
  photolibrary::AccessRecord record_{folder_.options().configFolder + "/access", folder_.options().host};
  WillingPerson person_;
  std::unique_ptr<photolibrary::PhotoLibrary> library_;
};

INSTANTIATE_TEST_SUITE_P(Files, PhotoLibraryContract,
                         testing::Values(&makeWorld<PhotoLibraryWorld, FilesLibraryWorld>));

}  // namespace
}  // namespace tlx::contracts
