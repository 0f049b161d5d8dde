#include "adapters/memory/MemoryResources.h"

#include "tlx/platform/foundation/NSException.h"
#include "tlx/platform/uikit/UIViewController.h"

#include "adapters/memory/Pictures.h"

namespace tlx::memory {

std::shared_ptr<UIViewController> MemoryResources::instantiateViewController(const NSBundle&,
                                                                             const std::string& storyboard,
                                                                             const std::string& identifier) {
  throw NSException(NSInvalidArgumentException, "No scene " + identifier + " in " + storyboard);
}

std::vector<std::shared_ptr<NSObject>> MemoryResources::loadNib(const NSBundle&, const std::string& name) {
  throw NSException(NSInvalidArgumentException, "No interface file " + name);
}

std::shared_ptr<const UIImage> MemoryResources::imageNamed(const NSBundle& bundle, const std::string& name) {
  struct Known {
    const char* name;
    std::size_t width, height;
    std::uint32_t colour;
  };
  static constexpr Known known[] = {
      {"camera", 24, 20, 0x455C66}, {"up_arrow_s", 35, 19, 0x3EC1C7}, {"Overlay_strong", 46, 46, 0x101820}};
  if (bundle.identifier != kTLXMediaPickerBundle) return nullptr;
  for (const Known& image : known) {
    if (name == image.name) return solidPicture(image.width, image.height, image.colour);
  }
  return nullptr;
}

}  // namespace tlx::memory
