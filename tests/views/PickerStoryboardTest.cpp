#include <map>

#include <gtest/gtest.h>

#include "tlx/platform/NSException.h"
#include "tlx/views/PickerStoryboard.h"
#include "tlx/views/UIImage+BundleInfo.h"

#include "adapters/memory/MemoryPlatform.h"
#include "adapters/memory/Pictures.h"

namespace tlx {
namespace {

/// Resources of two bundles, the picker's and a host's that uses the same names.
class TwoBundles final : public ResourcePort {
 public:
  std::shared_ptr<UIViewController> instantiateViewController(const NSBundle& bundle, const std::string& storyboard,
                                                              const std::string& identifier) override {
    if (storyboard != "PickerStoryboard" || identifier != "Scene") {
      throw NSException(NSInvalidArgumentException, "No scene " + identifier);
    }
    auto controller = std::make_shared<UIViewController>();
    bundleOf[controller.get()] = bundle.identifier;
    return controller;
  }
  std::vector<std::shared_ptr<NSObject>> loadNib(const NSBundle&, const std::string&) override { return {}; }
  std::shared_ptr<const UIImage> imageNamed(const NSBundle& bundle, const std::string& name) override {
    if (name != "Overlay_strong") return nullptr;
    return bundle.identifier == kTLXMediaPickerBundle ? ours : hosts;
  }

  const std::shared_ptr<const UIImage> ours = memory::solidPicture(1, 1, 1), hosts = memory::solidPicture(1, 1, 2);
  std::map<const UIViewController*, std::string> bundleOf;
};

class ResourcesTest : public ::testing::Test {
 protected:
  memory::Background background_;
  memory::MainLoop loop_{background_};
  memory::RunLoops runLoops_{loop_};
  memory::MemorySystemLog log_;
  memory::MemoryPhotoLibrary library_{background_};
  memory::MemoryImageManager images_{library_, loop_, background_};
  memory::MemoryReachability reachability_;
  memory::MemoryTextMeasurement text_;
  memory::MemoryPresentation presentation_;
  memory::MemoryApplication application_;
  memory::MemoryCamera camera_{background_};
  TwoBundles resources_;
  Platform platform_{{loop_, loop_, loop_, runLoops_, library_, images_, reachability_, resources_, text_,
                      presentation_, application_, log_, camera_, camera_}};
};

TEST_F(ResourcesTest, ImagesComeFromThePickersBundleWhateverTheHostHas) {
  EXPECT_EQ(tlx_imageWithName("Overlay_strong"), resources_.ours);
  EXPECT_EQ(tlx_imageWithName("unknown"), nullptr);
}

TEST_F(ResourcesTest, OneStoryboardGivesANewControllerEachTime) {
  const Class scene{"Scene", "UIViewController", "host.application", nullptr, {}, {}};
  PickerStoryboard loader;
  const auto storyboard = loader.storyboard();
  const auto first = loader.instantiateViewController(scene);
  const auto second = loader.instantiateViewController(scene);
  EXPECT_NE(first, second);
  EXPECT_EQ(loader.storyboard(), storyboard);
  EXPECT_EQ(resources_.bundleOf[first.get()], kTLXMediaPickerBundle) << "whichever bundle the controller's class is in";
  const Class other{"Other", "UIViewController", kTLXMediaPickerBundle, nullptr, {}, {}};
  EXPECT_THROW(loader.instantiateViewController(other), NSException);
}

}  // namespace
}  // namespace tlx
