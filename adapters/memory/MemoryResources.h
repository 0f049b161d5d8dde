#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/uikit/ResourcePort.h"

#include "adapters/memory/SceneTable.h"

namespace tlx::memory {

/// The picker's scenes, interface file and images, without files. Main thread.
class MemoryResources final : public ResourcePort {
 public:
  MemoryResources();

  std::shared_ptr<UIViewController> instantiateViewController(const NSBundle& bundle, const std::string& storyboard,
                                                              const std::string& identifier) override;
  std::vector<std::shared_ptr<NSObject>> loadNib(const NSBundle& bundle, const std::string& name) override;
  std::shared_ptr<const UIImage> imageNamed(const NSBundle& bundle, const std::string& name) override;

  /// An image of the bundle, or nothing to take it away.
  void setImage(const NSBundle& bundle, const std::string& name, std::shared_ptr<const UIImage> image);

 private:
  std::map<std::string, Scene> scenes_, interfaceFiles_;
  std::map<std::pair<std::string, std::string>, std::shared_ptr<const UIImage>> images_;
};

}  // namespace tlx::memory
