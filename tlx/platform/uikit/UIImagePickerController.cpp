#include "tlx/platform/uikit/UIImagePickerController.h"

#include <utility>

#include "tlx/platform/Platform.h"
#include "tlx/platform/uikit/CaptureScreenPort.h"

namespace tlx {

UIImagePickerController::~UIImagePickerController() {
  close();
}

void UIImagePickerController::viewWillAppear(bool animated) {
  UIViewController::viewWillAppear(animated);
  if (std::exchange(open_, true)) return;
  Platform::current().ports().captureScreen.open(sharedAs(this));
}

void UIImagePickerController::viewWillDisappear(bool animated) {
  UIViewController::viewWillDisappear(animated);
  close();
}

void UIImagePickerController::close() {
  if (!std::exchange(open_, false)) return;
  if (Platform* platform = Platform::installed()) platform->ports().captureScreen.close(*this);
}

void UIImagePickerController::finish(const UIImagePickerControllerInfo& info) {
  const auto self = sharedAs(this);
  if (auto delegate = delegate_.lock()) delegate->imagePickerController_didFinishPickingMediaWithInfo(self, info);
}

void UIImagePickerController::cancel() {
  const auto self = sharedAs(this);
  if (auto delegate = delegate_.lock()) delegate->imagePickerControllerDidCancel(self);
}

}  // namespace tlx
