#include "tlx/views/PickerStoryboard.h"

#include "tlx/platform/foundation/NSBundle.h"

namespace tlx {

const Class& PickerStoryboard::classObject() {
  static const Class object{"PickerStoryboard", "", kTLXMediaPickerBundle, nullptr, {}, {}};
  return object;
}

const std::shared_ptr<UIStoryboard>& PickerStoryboard::storyboard() {
  if (!storyboard_) {
    storyboard_ = UIStoryboard::storyboardWithName_bundle("PickerStoryboard", NSBundle::bundleForClass(classObject()));
  }
  return storyboard_;
}

std::shared_ptr<UIViewController> PickerStoryboard::instantiateViewController(const Class& controllerClass) {
  return storyboard()->instantiateViewControllerWithIdentifier(NSStringFromClass(controllerClass));
}

}  // namespace tlx
