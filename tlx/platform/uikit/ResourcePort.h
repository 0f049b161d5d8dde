#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/foundation/Class.h"
#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx {

class UIViewController;

/// Loads scenes, interface files and images out of a bundle. Main thread; everything answers before it returns.
///
/// Objects are made in two phases: constructed, `initWithCoder`, properties and outlets set, then `awakeFromNib`,
/// children before their owner. A scene that lacks an outlet its class declares, or gives it a view of another class,
/// raises an `NSException` that names the scene and the outlet.
class ResourcePort {
 public:
  virtual ~ResourcePort() = default;

  /// A new controller of the scene with that identifier in the named storyboard. Its view is loaded when it is first
  /// read: the outlets are connected and `viewDidLoad` runs then. An `NSException` when there is no such scene.
  virtual std::shared_ptr<UIViewController> instantiateViewController(const NSBundle& bundle,
                                                                      const std::string& storyboard,
                                                                      const std::string& identifier) = 0;
  /// The top-level objects of an interface file, new each time. An `NSException` when there is no such file.
  virtual std::vector<std::shared_ptr<NSObject>> loadNib(const NSBundle& bundle, const std::string& name) = 0;
  /// Nothing when the bundle has no such image. May answer the same image each time.
  virtual std::shared_ptr<const UIImage> imageNamed(const NSBundle& bundle, const std::string& name) = 0;
};

}  // namespace tlx
