#include "tlx/platform/photos/PHAssetChangeRequest.h"

#include <utility>

#include "tlx/platform/NSException.h"

namespace tlx {
namespace {

using Requests = std::vector<std::shared_ptr<PHAssetChangeRequest>>;

/// Those of the block that this thread is in; nothing outside of one.
thread_local Requests* theBlock = nullptr;

/// A block may be left by an exception.
class BlockScope {
 public:
  explicit BlockScope(Requests& requests) : outer_(std::exchange(theBlock, &requests)) {}
  ~BlockScope() { theBlock = outer_; }
  BlockScope(const BlockScope&) = delete;
  BlockScope& operator=(const BlockScope&) = delete;

 private:
  Requests* outer_;
};

}  // namespace

Identifier PHObjectPlaceholder::localIdentifier() const {
  std::lock_guard lock(mutex_);
  return identifier_;
}

void PHObjectPlaceholder::setLocalIdentifier(Identifier identifier) {
  std::lock_guard lock(mutex_);
  identifier_ = std::move(identifier);
}

std::shared_ptr<PHAssetChangeRequest> PHAssetChangeRequest::begin(PHAssetCreation creation) {
  if (!theBlock) throw NSException(NSInternalInconsistencyException, "A change request outside of a change block");
  auto request = std::make_shared<PHAssetChangeRequest>();
  request->creation_ = std::move(creation);
  request->creation_.placeholder = std::make_shared<PHObjectPlaceholder>();
  theBlock->push_back(request);
  return request;
}

std::shared_ptr<PHAssetChangeRequest> PHAssetChangeRequest::creationRequestForAssetFromImage(
    std::shared_ptr<const UIImage> image) {
  PHAssetCreation creation;
  creation.image = std::move(image);
  return begin(std::move(creation));
}

std::shared_ptr<PHAssetChangeRequest> PHAssetChangeRequest::creationRequestForAssetFromVideoAtFileURL(
    std::optional<AVRecording> video) {
  PHAssetCreation creation;
  creation.video = std::move(video);
  return begin(std::move(creation));
}

std::vector<PHAssetCreation> PHAssetChangeRequest::collect(const std::function<void()>& block) {
  Requests requests;
  {
    const BlockScope scope(requests);
    block();
  }
  std::vector<PHAssetCreation> creations;
  creations.reserve(requests.size());
  for (const auto& request : requests) creations.push_back(request->creation_);
  return creations;
}

}  // namespace tlx
