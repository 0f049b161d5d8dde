#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/uikit/UIStoryboard.h"

namespace tlx {

void TLXMediaPickerController::createProgressView() {
  if (viewProgress) return;
  viewProgress = std::make_shared<UIView>(view()->frame());
  viewProgress->setAutoresizingMask(UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight);
  viewProgress->setHidden(true);
  view()->addSubview(viewProgress);
  initDownloadProgress();
}

void TLXMediaPickerController::initDownloadProgress() {
  const auto objects = loadNibNamed(NSBundle::bundleForClass(classObject()), "TLXDownloadProgress");
  downloadProgress = objects.empty() ? nullptr : std::dynamic_pointer_cast<TLXDownloadProgress>(objects.front());
  if (!downloadProgress || !viewProgress) return;
  downloadProgress->setFrame(viewProgress->frame());
  downloadProgress->setCenter(viewProgress->center());
  downloadProgress->setAutoresizingMask(UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight);
  viewProgress->addSubview(downloadProgress);
  downloadProgress->customDelegate = this;
}

}  // namespace tlx
