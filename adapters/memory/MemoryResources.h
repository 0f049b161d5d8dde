#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/uikit/ResourcePort.h"

namespace tlx::memory {

/// The picker's scenes and images, without files.
class MemoryResources final : public ResourcePort {
 public:
  std::shared_ptr<UIViewController> instantiateViewController(const NSBundle& bundle, const std::string& storyboard,
                                                              const std::string& identifier) override;
  std::vector<std::shared_ptr<NSObject>> loadNib(const NSBundle& bundle, const std::string& name) override;
  std::shared_ptr<const UIImage> imageNamed(const NSBundle& bundle, const std::string& name) override;
};

}  // namespace tlx::memory
