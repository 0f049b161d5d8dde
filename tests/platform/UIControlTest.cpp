#include <functional>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UIButton.h"

#include "adapters/memory/MemoryPlatform.h"
#include "adapters/memory/Pictures.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Target : NSObject {
  void first(const std::shared_ptr<UIControl>& sender) {
    heard.push_back(sender ? "first" : "no sender");
    if (also) also();
  }
  void second(const std::shared_ptr<UIButton>&) { heard.push_back("second"); }
  std::vector<std::string> heard;
  std::function<void()> also;
};

TEST(UIControl, RegistersATargetAndActionOnceHoweverOftenItIsAdded) {
  auto button = std::make_shared<UIButton>();
  const auto target = std::make_shared<Target>();
  std::optional<Target> place(std::in_place);
  std::shared_ptr<Target> other(&*place, [](Target*) {});
  const auto add = [&](const std::shared_ptr<Target>& to, auto action) {
    button->addTarget_action_forControlEvents(to, action, UIControlEventTouchUpInside);
  };
  for (int i = 0; i < 3; ++i) {
    add(target, &Target::second);
    add(target, &Target::first);
    add(other, &Target::first);
  }
  EXPECT_TRUE(button->press());
  EXPECT_THAT(target->heard, ElementsAre("second", "first"));
  EXPECT_THAT(place->heard, ElementsAre("first"));

  other = nullptr;
  EXPECT_TRUE(button->press());
  EXPECT_THAT(place.emplace().heard, IsEmpty()) << "a target is held weakly";
  other = std::shared_ptr<Target>(&*place, [](Target*) {});
  add(other, &Target::first);
  target->also = [&] { add(std::make_shared<Target>(), &Target::first), button.reset(); };
  UIButton& pressed = *button;
  EXPECT_TRUE(pressed.press());
  EXPECT_THAT(place->heard, ElementsAre("first")) << "another target where the former one was";
}

TEST(UIControl, CanBeOperatedOnlyWhereAPersonWouldReachIt) {
  std::shared_ptr<UIView> above;
  std::shared_ptr<UIButton> button;
  const struct {
    const char* why;
    std::function<void()> change;
    bool operated;
  } rows[] = {
      {"disabled", [&] { button->setEnabled(false); }, false},
      {"hidden", [&] { button->setHidden(true); }, false},
      {"refuses touches", [&] { button->setUserInteractionEnabled(false); }, false},
      {"faded out", [&] { button->setAlpha(0.0); }, false},
      {"faint", [&] { button->setAlpha(0.01); }, true},
      {"in something hidden", [&] { above->setHidden(true); }, false},
  };
  for (const auto& row : rows) {
    above = std::make_shared<UIView>();
    button = std::make_shared<UIButton>();
    const auto between = std::make_shared<UIView>();
    const auto target = std::make_shared<Target>();
    above->addSubview(between);
    between->addSubview(button);
    button->addTarget_action_forControlEvents(target, &Target::first, UIControlEventTouchUpInside);
    row.change();
    EXPECT_EQ(button->press(), row.operated) << row.why;
    EXPECT_EQ(target->heard.size(), row.operated ? 1u : 0u) << row.why;
  }
}

TEST(UIButton, StandsImageAndTitleInTheMiddleAsAPair) {
  memory::MemoryPlatform platform;
  const auto button = std::make_shared<UIButton>();
  button->setFrame(CGRectMake(7, 9, 320, 44));
  button->titleLabel()->setFont(UIFont::fontWithName_size("Any", 10));  // a character is 5 wide and 12 high
  button->setTitle_forState(std::string(20, 'x'), UIControlStateNormal);
  button->setImage_forState(memory::solidPicture(70, 42, 0, UIImageOrientationUp, 2), UIControlStateNormal);
  button->layoutIfNeeded();
  EXPECT_EQ(button->imageView()->frame(), CGRectMake(92.5, 11.5, 35, 21));
  EXPECT_EQ(button->titleLabel()->frame(), CGRectMake(127.5, 16, 100, 12));
  button->setImageEdgeInsets({4, 10, 0, 0});
  button->layoutIfNeeded();
  EXPECT_EQ(button->imageView()->frame(), CGRectMake(97.5, 13.5, 35, 21));
  EXPECT_EQ(button->titleLabel()->frame().origin.x, 127.5);
  button->setTitle_forState(std::string(200, 'x'), UIControlStateNormal);
  button->setFrame(CGRectMake(0, 0, 135, 44));
  button->layoutIfNeeded();
  EXPECT_EQ(button->titleLabel()->frame(), CGRectMake(35, 16, 100, 12)) << "too long: cut beside the whole image";
  button->titleLabel()->setFont(UIFont::fontWithName_size("Any", 20));
  button->layoutIfNeeded();
  EXPECT_EQ(button->titleLabel()->frame(), CGRectMake(35, 10, 100, 24));
  button->setImage_forState(memory::solidPicture(10, 10, 0), UIControlStateNormal);
  button->layoutIfNeeded();
  EXPECT_EQ(button->titleLabel()->frame(), CGRectMake(10, 10, 125, 24));
}

}  // namespace
}  // namespace tlx
