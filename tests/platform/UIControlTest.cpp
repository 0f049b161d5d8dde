#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/PlatformClasses.h"
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
  auto target = std::make_shared<Target>(), other = std::make_shared<Target>();
  for (int i = 0; i < 3; ++i) {
    button->addTarget_action_forControlEvents(target, &Target::second, UIControlEventTouchUpInside);
    button->addTarget_action_forControlEvents(target, &Target::first, UIControlEventTouchUpInside);
    button->addTarget_action_forControlEvents(other, &Target::first, UIControlEventTouchUpInside);
    for (const char* name : {"scene", "scene too"}) {
      button->addSceneAction(
          target,
          {name, [name](NSObject& owner,
                        const std::shared_ptr<NSObject>&) { dynamic_cast<Target&>(owner).heard.push_back(name); }},
          UIControlEventTouchUpInside);
    }
  }
  EXPECT_TRUE(button->press());
  EXPECT_THAT(target->heard, ElementsAre("second", "first", "scene", "scene too"));
  EXPECT_THAT(other->heard, ElementsAre("first"));
  std::weak_ptr<Target> gone = target;
  target.reset();
  EXPECT_TRUE(gone.expired()) << "a target is held weakly";
  EXPECT_TRUE(button->press());
  EXPECT_EQ(other->heard.size(), 2u);
}

TEST(UIControl, AnActionMayRegisterAnotherAndLetGoOfTheButton) {
  auto button = std::make_shared<UIButton>();
  auto target = std::make_shared<Target>();
  button->addSceneAction(target,
                         {"scene",
                          [&](NSObject&, const std::shared_ptr<NSObject>&) {
                            button->addTarget_action_forControlEvents(target, &Target::first,
                                                                      UIControlEventTouchUpInside);
                            button.reset();
                          }},
                         UIControlEventTouchUpInside);
  UIButton& pressed = *button;
  EXPECT_TRUE(pressed.press());
  EXPECT_THAT(target->heard, IsEmpty()) << "registered too late for this press";
}

TEST(UIControl, CanBeOperatedOnlyWhereAPersonWouldReachIt) {
  struct Row {
    const char* why;
    std::function<void(UIControl& control, UIView& above)> change;
    bool operated;
  };
  for (const Row& row : {
           Row{"as it is", [](UIControl&, UIView&) {}, true},
           Row{"disabled", [](UIControl&control, UIView&) { control.setEnabled(false); }, false},
           Row{"hidden", [](UIControl&control, UIView&) { control.setHidden(true); }, false},
           Row{"refuses touches", [](UIControl&control, UIView&) { control.setUserInteractionEnabled(false); }, false},
           Row{"faded out", [](UIControl&control, UIView&) { control.setAlpha(0.0); }, false},
           Row{"faint", [](UIControl&control, UIView&) { control.setAlpha(0.01); }, true},
           Row{"in something hidden", [](UIControl&, UIView&above) { above.setHidden(true); }, false},
           Row{"in something faded out", [](UIControl&, UIView&above) { above.setAlpha(0.009); }, false},
           Row{"in something that refuses", [](UIControl&, UIView&above) { above.setUserInteractionEnabled(false); },
               false},
       }) {
    auto root = std::make_shared<UIView>(), between = std::make_shared<UIView>();
    auto button = std::make_shared<UIButton>();
    auto target = std::make_shared<Target>();
    root->addSubview(between);
    between->addSubview(button);
    button->addTarget_action_forControlEvents(target, &Target::first, UIControlEventTouchUpInside);
    row.change(*button, *root);
    EXPECT_EQ(button->press(), row.operated) << row.why;
    EXPECT_EQ(target->heard.size(), row.operated ? 1u : 0u) << row.why;
  }
}

/// A button whose title makes room for an arrow that the image pass has narrowed: what it answers depends on the pass
/// before.
class ArrowButton : public UIButton {
 public:
  CGRect imageRectForContentRect(const CGRect& content) override {
    passes.push_back(imageWidth);
    CGRect image = UIButton::imageRectForContentRect(content);
    const double title = sizeWithAttributes(titleForState(state()), titleLabel()->font()).width;
    titleX = content.size.width / 2 - (title + imageWidth) / 2;
    imageWidth = image.size.width - 15;
    return CGRectMake(titleX + title, image.origin.y, imageWidth, image.size.height);
  }
  CGRect titleRectForContentRect(const CGRect& content) override {
    CGRect title = UIButton::titleRectForContentRect(content);
    title.origin.x = titleX;
    return title;
  }
  double imageWidth = 0, titleX = 0;
  std::vector<double> passes;
};

class ButtonTest : public testing::Test {
 protected:
  /// 20 characters at 10 points are 100 wide and 12 high; the image is 35 × 21 points.
  template <class Button>
  std::shared_ptr<Button> make() {
    auto button = std::make_shared<Button>();
    button->setFrame(CGRectMake(7, 9, 320, 44));
    button->titleLabel()->setFont(UIFont::fontWithName_size("Any", 10));
    button->setTitle_forState(std::string(20, 'x'), UIControlStateNormal);
    button->setImage_forState(memory::solidPicture(70, 42, 0, UIImageOrientationUp, 2), UIControlStateNormal);
    return button;
  }
  memory::MemoryPlatform platform;
};

TEST_F(ButtonTest, StandsImageAndTitleInTheMiddleAsAPair) {
  auto button = make<UIButton>();
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
}

TEST_F(ButtonTest, LaysOutAfterEachChangeThatMattersAndNotOtherwise) {
  struct Row {
    const char* why;
    std::function<void(UIButton&)> change;
    bool lays;
  };
  auto picture = memory::solidPicture(10, 10, 0);
  auto button = make<ArrowButton>();
  for (const Row& row : {
           Row{"title", [](UIButton& it) { it.setTitle_forState("short", UIControlStateNormal); }, true},
           Row{"the same title", [](UIButton& it) { it.setTitle_forState("short", UIControlStateNormal); }, false},
           Row{"font", [](UIButton& it) { it.titleLabel()->setFont(UIFont::fontWithName_size("Any", 30)); }, true},
           Row{"the platform's font", [](UIButton& it) { it.titleLabel()->setFont(nullptr); }, true},
           Row{"image", [&](UIButton& it) { it.setImage_forState(picture, UIControlStateNormal); }, true},
           Row{"the same image", [&](UIButton& it) { it.setImage_forState(picture, UIControlStateNormal); }, false},
           Row{"size", [](UIButton& it) { it.setFrame(CGRectMake(0, 0, 100, 44)); }, true},
           Row{"place", [](UIButton& it) { it.setFrame(CGRectMake(50, 0, 100, 44)); }, false},
           Row{"insets",
               [](UIButton& it) {
                 it.setImageEdgeInsets({0, 0, 0, 9});
               },
               true},
           Row{"tag", [](UIButton& it) { it.setTag(102); }, false},
       }) {
    button->layoutIfNeeded();
    button->passes.clear();
    row.change(*button);
    EXPECT_THAT(button->passes, IsEmpty()) << row.why << ": only in the pass";
    button->layoutIfNeeded();
    EXPECT_EQ(!button->passes.empty(), row.lays) << row.why;
  }
}

TEST_F(ButtonTest, SettlesInThePassInWhichNothingMoves) {
  auto button = make<ArrowButton>();
  button->layoutIfNeeded();
  EXPECT_THAT(button->passes, ElementsAre(0, 20, 20)) << "the second moves it, the third repeats";
  EXPECT_EQ(button->titleLabel()->frame().origin.x, 100);
  EXPECT_EQ(button->imageView()->frame().origin.x, 200);
  EXPECT_EQ(button->imageView()->frame().size.width, 20);
  button->passes.clear();
  button->setNeedsLayout();
  button->layoutIfNeeded();
  EXPECT_THAT(button->passes, ElementsAre(20, 20));

  class Restless : public UIButton {
   public:
    CGRect imageRectForContentRect(const CGRect&) override { return CGRectMake(++asked, 0, 1, 1); }
    int asked = 0;
  };
  auto restless = make<Restless>();
  restless->layoutIfNeeded();
  EXPECT_EQ(restless->asked, 3) << "what never repeats is left as it stands";
  EXPECT_EQ(restless->imageView()->frame().origin.x, 3);
}

TEST(PlatformClasses, AreKnownByNameWithTheirAncestors) {
  registerPlatformClasses();
  registerPlatformClasses();
  struct Row {
    const char* name;
    const char* ancestor;
  };
  for (const Row& row :
       {Row{"UIButton", "UIControl"}, Row{"UICollectionView", "UIScrollView"}, Row{"UITableView", "UIView"},
        Row{"UICollectionViewCell", "UICollectionReusableView"}, Row{"UITableViewCell", "UIView"},
        Row{"UILabel", "UIView"}, Row{"UIImageView", "UIView"}, Row{"UITableViewController", "UIViewController"},
        Row{"UICollectionViewController", "UIViewController"},
        Row{"UICollectionViewFlowLayout", "UICollectionViewFlowLayout"}}) {
    EXPECT_TRUE(isKindOfClass(row.name, row.ancestor)) << row.name;
    const Class* known = NSClassFromString(row.name);
    ASSERT_NE(known, nullptr) << row.name;
    EXPECT_NE(known->alloc(), nullptr) << row.name;
  }
}

}  // namespace
}  // namespace tlx
