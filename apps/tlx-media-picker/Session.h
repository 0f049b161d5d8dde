#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tlx/picker/TLXMediaPickerController.h"

#include "adapters/photolibrary/PhotoLibrary.h"
#include "apps/tlx-media-picker/Arguments.h"
#include "apps/tlx-media-picker/OutputFolder.h"

namespace tlx::program {

enum ExitStatus { Delivered = 0, Cancelled = 1, Usage = 2, NoAccess = 3, Failed = 4 };

/// The program as the picker's host: answers its questions, and at the end prints and writes what was picked.
class Session final : public TLXMediaPickerControllerDelegate {
 public:
  /// All outlive the session. `output` may be nothing.
  Session(const Arguments& arguments, const photolibrary::PhotoLibrary& library, const OutputFolder* output);

  /// Called once, when the session has ended.
  void setEndHandler(std::function<void()> handler) { ended_ = std::move(handler); }
  void end(ExitStatus status);
  bool hasEnded() const { return hasEnded_; }
  ExitStatus status() const { return status_; }

  std::int64_t maxSelectedMedia() override { return arguments_.max; }
  CGSize selectedImageSize() override { return CGSizeMake(arguments_.width, arguments_.height); }
  void mediaPickerCancelPressed() override { end(Cancelled); }
  void mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController& picker, const MediaList& media) override;

 private:
  /// False when something could not be written.
  bool deliver(const Media& media);

  const Arguments& arguments_;
  const photolibrary::PhotoLibrary& library_;
  const OutputFolder* output_;
  std::function<void()> ended_;
  bool hasEnded_ = false;
  ExitStatus status_ = Cancelled;
};

/// The albums of the picker, in its order, as one JSON object.
std::string albumsAsJson(PhotoManager& manager);

}  // namespace tlx::program
