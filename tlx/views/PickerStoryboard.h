#pragma once

#include <memory>

#include "tlx/platform/foundation/Class.h"
#include "tlx/platform/uikit/UIStoryboard.h"
#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

/// Opens the picker's own storyboard, in which every scene is named after its controller's class. Main thread.
class PickerStoryboard : public NSObject {
 public:
  static const Class& classObject();

  /// Opened on first read, then kept.
  const std::shared_ptr<UIStoryboard>& storyboard();
  void setStoryboard(std::shared_ptr<UIStoryboard> storyboard) { storyboard_ = std::move(storyboard); }

  /// A new controller each time. An `NSException` for a class without a scene.
  std::shared_ptr<UIViewController> instantiateViewController(const Class& controllerClass);

 private:
  std::shared_ptr<UIStoryboard> storyboard_;
};

}  // namespace tlx
