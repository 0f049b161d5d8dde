#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/foundation/NSBundle.h"

namespace tlx {

class UIViewController;
class UIImage;

/// A file of scenes, by name. Main thread.
class UIStoryboard {
 public:
  static std::shared_ptr<UIStoryboard> storyboardWithName_bundle(std::string name, NSBundle bundle);

  /// A new controller each time; raises an `NSException` for an identifier without a scene.
  std::shared_ptr<UIViewController> instantiateViewControllerWithIdentifier(const std::string& identifier);

 private:
  std::string name_;
  NSBundle bundle_;
};

/// The top-level objects of an interface file, new each time. Raises an `NSException` when there is no such file.
std::vector<std::shared_ptr<NSObject>> loadNibNamed(const NSBundle& bundle, const std::string& name);
/// The named image of that bundle, or nothing.
std::shared_ptr<const UIImage> imageNamed_inBundle(const std::string& name, const NSBundle& bundle);

}  // namespace tlx
