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

class Target : public NSObject {
 public:
  void first(const std::shared_ptr<UIControl>& sender) { heard.push_back(sender ? "first" : "no sender"); }
  void second(const std::shared_ptr<UIButton>&) { heard.push_back("second"); }
  std::vector<std::string> heard;
};

TEST(UIControl, RegistersATargetAndActionOnceHoweverOftenItIsAdded) {
  auto button = std::make_shared<UIButton>();
  auto target = std::make_shared<Target>();
  std::optional<Target> place(std::in_place);
  std::shared_ptr<Target> other(&*place, [](Target*) {});
  const auto sceneAction = [&](
                               const std::string& name, const std::function<void()>& also = [] {}) {
    button->addSceneAction(target,
                           {name,
                            [name, also](NSObject& owner, const std::shared_ptr<NSObject>&) {
                              dynamic_cast<Target&>(owner).heard.push_back(name);
                              also();
                            }},
                           UIControlEventTouchUpInside);
  };
  const auto add = [&](const std::shared_ptr<Target>& to) {
    button->addTarget_action_forControlEvents(to, &Target::first, UIControlEventTouchUpInside);
  };
  for (int i = 0; i < 3; ++i) {
    button->addTarget_action_forControlEvents(target, &Target::second, UIControlEventTouchUpInside);
    add(target);
    add(other);
    for (const char* name : {"scene", "scene too"}) sceneAction(name);
  }
  EXPECT_TRUE(button->press());
  EXPECT_THAT(target->heard, ElementsAre("second", "first", "scene", "scene too"));
  EXPECT_THAT(place->heard, ElementsAre("first"));

  other = nullptr;
  EXPECT_TRUE(button->press());
  EXPECT_THAT(place.emplace().heard, IsEmpty()) << "a target is held weakly";
  other = std::shared_ptr<Target>(&*place, [](Target*) {});
  add(other);
  EXPECT_TRUE(button->press());
  EXPECT_THAT(place->heard, ElementsAre("first")) << "another target where the former one was";

  target->heard.clear();
  sceneAction("last", [&] { add(std::make_shared<Target>()), add(target), button.reset(); });
  UIButton& pressed = *button;
  EXPECT_TRUE(pressed.press());
  EXPECT_EQ(target->heard.size(), 5u) << "what an action registers is too late for this press";
}

TEST(UIControl, CanBeOperatedOnlyWhereAPersonWouldReachIt) {
  std::shared_ptr<UIView> above;
  std::shared_ptr<UIButton> button;
  const struct {
    const char* why;
    std::function<void()> change;
    bool operated;
  } rows[] = {
      {"as it is", [] {}, true},
      {"disabled", [&] { button->setEnabled(false); }, false},
      {"hidden", [&] { button->setHidden(true); }, false},
      {"refuses touches", [&] { button->setUserInteractionEnabled(false); }, false},
      {"faded out", [&] { button->setAlpha(0.0); }, false},
      {"faint", [&] { button->setAlpha(0.01); }, true},
      {"in something hidden", [&] { above->setHidden(true); }, false},
      {"in something faded out", [&] { above->setAlpha(0.009); }, false},
      {"in something that refuses", [&] { above->setUserInteractionEnabled(false); }, false},
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

class ButtonTest : public testing::Test {
 protected:
  /// 20 characters at 10 points are 100 wide and 12 high; the image is 35 × 21 points.
  ButtonTest() {
    button->setFrame(CGRectMake(7, 9, 320, 44));
    button->titleLabel()->setFont(UIFont::fontWithName_size("Any", 10));
    button->setTitle_forState(std::string(20, 'x'), UIControlStateNormal);
    button->setImage_forState(memory::solidPicture(70, 42, 0, UIImageOrientationUp, 2), UIControlStateNormal);
    button->layoutIfNeeded();
  }
  memory::MemoryPlatform platform;
  std::shared_ptr<UIButton> button = std::make_shared<UIButton>();
};

TEST_F(ButtonTest, StandsImageAndTitleInTheMiddleAsAPair) {
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
}

TEST_F(ButtonTest, WantsALayoutAfterEachChangeThatMattersAndNotOtherwise) {
  const auto picture = memory::solidPicture(10, 10, 0);
  const struct {
    const char* why;
    std::function<void()> change;
    bool lays;
  } rows[] = {
      {"title", [&] { button->setTitle_forState("short", UIControlStateNormal); }, true},
      {"the same title", [&] { button->setTitle_forState("short", UIControlStateNormal); }, false},
      {"font", [&] { button->titleLabel()->setFont(UIFont::fontWithName_size("Any", 30)); }, true},
      {"image", [&] { button->setImage_forState(picture, UIControlStateNormal); }, true},
      {"the same image", [&] { button->setImage_forState(picture, UIControlStateNormal); }, false},
      {"size", [&] { button->setFrame(CGRectMake(0, 0, 100, 44)); }, true},
      {"place", [&] { button->setFrame(CGRectMake(50, 0, 100, 44)); }, false},
      {"insets",
       [&] {
         button->setImageEdgeInsets({0, 0, 0, 9});
       },
       true},
      {"tag", [&] { button->setTag(102); }, false},
  };
  for (const auto& row : rows) {
    button->layoutIfNeeded();
    row.change();
    EXPECT_EQ(button->needsLayout(), row.lays) << row.why;
  }
}

TEST_F(ButtonTest, IsLaidOutUntilAPassRepeatsTheOneBeforeButNoMoreThanThrice) {
  class Restless : public UIButton {
   public:
    CGRect imageRectForContentRect(const CGRect&) override { return CGRectMake(std::min(++asked, last), 0, 1, 1); }
    int asked = 0, last = 0;
  };
  for (const auto& [last, asked] : {std::pair(1, 2), {2, 3}, {100, 3}}) {
    const auto restless = std::make_shared<Restless>();
    restless->last = last;
    restless->setImage_forState(memory::solidPicture(1, 1, 0), UIControlStateNormal);
    restless->layoutIfNeeded();
    EXPECT_EQ(restless->asked, asked);
    EXPECT_EQ(restless->imageView()->frame().origin.x, std::min(last, 3));
  }
}

}  // namespace
}  // namespace tlx
