#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tlx/platform/photos/PhotoLibraryPort.h"

#include "adapters/memory/LibraryContents.h"
#include "adapters/memory/LoopThread.h"

namespace tlx::memory {

/// A photo library that holds what a test puts into it. Access is granted unless the test says otherwise.
///
/// After each change every fetch answers a new object, also where nothing changed, so that nobody comes to rely on
/// identity.
class MemoryPhotoLibrary final : public PhotoLibraryPort {
 public:
  using Edit = std::function<void(LibraryContents&)>;

  explicit MemoryPhotoLibrary(Background& background);
  ~MemoryPhotoLibrary() override;

  PHAuthorizationStatus authorizationStatus() const override { return status_; }
  void requestAuthorization(AuthorizationHandler handler) override;
  std::shared_ptr<const PHFetchResult<PHAssetCollection>> fetchAssetCollections(
      PHAssetCollectionType type, PHAssetCollectionSubtype subtype) override;
  std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssets(const PHAssetCollection& collection,
                                                            const PHFetchOptions& options) override;
  std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssetsWithLocalIdentifiers(
      const std::vector<Identifier>& identifiers) override;
  void setChangeHandler(ChangeHandler handler) override;
  /// What is made comes into the first smart album and into "Camera".
  void performChanges(std::vector<PHAssetCreation> creations, ChangesHandler completion) override;

  // What follows is the test's side. Main thread, except `deliverNextChange`.

  void setStatus(PHAuthorizationStatus status) { status_ = status; }
  /// The person grants access, or takes it away, on a page of the system's: what is open is told.
  void changeAccess(PHAuthorizationStatus status);
  /// What the person will answer when asked; nothing leaves the prompt open until `answerPrompt`. Authorized at first.
  void setPromptAnswer(std::optional<PHAuthorizationStatus> answer) { promptAnswer_ = answer; }
  /// The person answers the open prompt.
  void answerPrompt(PHAuthorizationStatus status);
  int promptCount() const { return promptCount_; }

  /// Why nothing can be saved from now on; nothing when it can.
  void setSaveError(std::optional<NSError> error) { saveError_ = std::move(error); }
  /// Whether word of what was saved follows at once, after the completion, or waits for `deliverNextChange`. At once at
  /// first.
  void setTellsOfSaves(bool tells) { tellsOfSaves_ = tells; }

  /// The image that was saved last.
  std::shared_ptr<const UIImage> lastSaved() const { return lastSaved_; }

  /// Changes the contents without a word to anyone: for setting up.
  void edit(const Edit& edit);
  /// Changes the contents and tells the handler on the adapters' own thread.
  void change(const Edit& edit);
  /// Changes the contents; the handler is told when the test says so.
  void changeQuietly(const Edit& edit);
  /// Tells the handler, on the calling thread, which may be any, of the oldest change that it was not told of. False
  /// when there is none.
  bool deliverNextChange();

  /// Any thread; immutable.
  std::shared_ptr<const LibraryContents> contents() const;
  /// Fetches of albums' items so far.
  int assetFetchCount() const { return assetFetchCount_; }

  /// Lets go of those who wait for the prompt, without answering.
  void clear();

 private:
  struct Origins;
  class Change;
  /// For a fetch: what there is, which counts as seen from now on.
  std::shared_ptr<const LibraryContents> seen();

  Background& background_;
  std::atomic<PHAuthorizationStatus> status_ = PHAuthorizationStatusAuthorized;
  std::optional<PHAuthorizationStatus> promptAnswer_ = PHAuthorizationStatusAuthorized;
  int promptCount_ = 0;
  std::optional<NSError> saveError_;
  bool tellsOfSaves_ = true;
  int saveCount_ = 0;
  std::shared_ptr<const UIImage> lastSaved_;

  mutable std::mutex mutex_;  // guards the prompt, contents_ and the changes
  bool promptIsOpen_ = false;
  std::vector<AuthorizationHandler> waitingForPrompt_;
  std::shared_ptr<const LibraryContents> contents_ = std::make_shared<const LibraryContents>();
  std::deque<std::shared_ptr<const Change>> undelivered_;
  std::shared_ptr<const Change> unheard_;  // the last one that was told while there was no handler
  std::uint64_t changes_ = 0;
  std::optional<std::uint64_t> changesSeen_;  // how many changes the last fetch has seen
  std::shared_ptr<Origins> origins_;
  int assetFetchCount_ = 0;
  std::unordered_map<Identifier, std::vector<std::pair<PHFetchOptions, std::shared_ptr<const PHFetchResult<PHAsset>>>>>
      fetched_;  // since the last change

  std::mutex handlerMutex_;
  std::condition_variable handlerIdle_;
  std::shared_ptr<const ChangeHandler> handler_;
  bool handlerRuns_ = false;
  std::thread::id handlerThread_;
};

}  // namespace tlx::memory
