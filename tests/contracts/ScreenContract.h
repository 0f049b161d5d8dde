#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tlx/platform/ApplicationPort.h"
#include "tlx/platform/uikit/TextMeasurementPort.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/platform/uikit/UIWindow.h"

namespace tlx::contracts {

/// A program with a window on a phone-sized screen and a settings page. The thread of the test is the main one.
class ScreenWorld {
 public:
  virtual ~ScreenWorld() = default;
  virtual TextMeasurementPort& text() = 0;
  virtual ApplicationPort& application() = 0;
  /// How often the settings page was asked for.
  virtual std::size_t settingsOpened() = 0;
};

using ScreenWorldFactory = std::unique_ptr<ScreenWorld> (*)();

class ScreenContract : public testing::TestWithParam<ScreenWorldFactory> {
 protected:
  std::unique_ptr<ScreenWorld> world_ = GetParam()();
};

TEST_P(ScreenContract, TextIsMeasuredAsALineOfItsFont) {
  const auto size = [&](const char* of, double points) {
    return world_->text().sizeOfText(of, points > 0 ? UIFont::fontWithName_size("No such font", points) : nullptr);
  };
  EXPECT_EQ(size("", 16), CGSize()) << "nothing takes no room";
  EXPECT_LT(size("Alb", 16).width, size("Albums", 16).width);
  EXPECT_LT(size("Albums", 16).width, size("Albums", 32).width);
  EXPECT_LT(size("Albums", 16).height, size("Albums", 32).height);
  EXPECT_GT(size("Albums", 0).width, 0) << "no font is the default one";
  EXPECT_LT(size("ö", 16).width, size("öö", 16).width);
  EXPECT_LT(size("öö", 16).width, size("Albums", 16).width) << "characters are measured, not bytes";
  EXPECT_EQ(size("Albums", 16), size("Albums", 16)) << "buttons lay out until two measures agree";
}

TEST_P(ScreenContract, TheApplicationTellsOfItsWindowAndOpensItsSettingsOnce) {
  auto& application = world_->application();
  ASSERT_TRUE(application.window());
  EXPECT_EQ(application.window(), application.window());
  EXPECT_EQ(application.userInterfaceIdiom().value_or(UIUserInterfaceIdiomPhone), UIUserInterfaceIdiomPhone);
  EXPECT_GE(application.screenScale(), 1);
  EXPECT_TRUE(application.openURL(UIApplicationOpenSettingsURLString));
  EXPECT_EQ(world_->settingsOpened(), 1u);
  application.setStatusBarHidden(true);
  application.setStatusBarHidden(false);
}

}  // namespace tlx::contracts
