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
  auto& text = world_->text();
  const auto size = [&](const char* of, double points) {
    return text.sizeOfText(of, points > 0 ? UIFont::fontWithName_size("No such font", points) : nullptr);
  };
  EXPECT_EQ(size("", 16), CGSize()) << "nothing takes no room";
  EXPECT_EQ(size("", 0), CGSize());
  struct Row {
    const char* why;
    CGSize narrow, wide;
  };
  for (const Row& row : {Row{"more characters", size("Alb", 16), size("Albums", 16)},
                         Row{"a larger font", size("Albums", 16), size("Albums", 32)},
                         Row{"no font is the default one", {}, size("Albums", 0)},
                         Row{"a character of several bytes is one", size("ö", 16), size("öö", 16)}}) {
    EXPECT_LT(row.narrow.width, row.wide.width) << row.why;
    EXPECT_GT(row.wide.height, 0) << row.why;
  }
  EXPECT_LT(size("öö", 16).width, size("Albums", 16).width) << "characters are measured, not bytes";
  EXPECT_LT(size("Albums", 16).height, size("Albums", 32).height);
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
