#include "tlx/views/CustomAlbumButton.h"

#include "tests/views/ViewsTest.h"

namespace tlx {
namespace {

class TitleButtonTest : public ViewsTest {
 protected:
  TitleButtonTest() {
    button->setImage_forState(tlx_imageWithName("up_arrow_s"), UIControlStateNormal);
    button->titleLabel()->setFont(UIFont::fontWithName_size("Any", 10));  // 5 points a character
  }
  /// `characters` × 5 points wide.
  void title(int characters) {
    button->setTitle_forState(std::string(static_cast<std::size_t>(characters), 'm'), UIControlStateNormal);
  }

  std::shared_ptr<CustomAlbumButton> button = std::make_shared<CustomAlbumButton>();
};

TEST_F(TitleButtonTest, CentresTheTitleAndPutsTheArrowAfterItInTheSecondPass) {
  const CGRect content = CGRectMake(0, 0, 320, 44);
  const CGRect base = button->UIButton::imageRectForContentRect(content);
  ASSERT_EQ(base.size, (CGSize{35, 19})) << "the worked numbers below are for this arrow";
  title(20);
  EXPECT_EQ(button->imageRectForContentRect(content), CGRectMake(210, base.origin.y + 6, 20, 8));
  EXPECT_EQ(button->titleRectForContentRect(content).origin.x, 110);
  EXPECT_EQ(button->imageRectForContentRect(content).origin.x, 200);
  const CGRect settled = button->titleRectForContentRect(content);
  EXPECT_EQ(settled.origin.x, 100);
  EXPECT_EQ(settled.size, (CGSize{100, 12}));
  EXPECT_EQ(settled.origin.y, button->UIButton::titleRectForContentRect(content).origin.y);
  EXPECT_EQ(button->imageRectForContentRect(content).origin.x, 200) << "a further pass changes nothing";
}

TEST_F(TitleButtonTest, ShiftsTheArrowByItsInsetsAndLeavesTheContentsOriginOut) {
  button->setImageEdgeInsets({0, 7, 0, 3});
  title(20);
  const CGRect content = CGRectMake(50, 0, 320, 44);
  button->imageRectForContentRect(content);
  EXPECT_EQ(button->imageRectForContentRect(content).origin.x, 200 - 3 + 7);
  EXPECT_EQ(button->titleRectForContentRect(content).origin.x, 100);
}

TEST_F(TitleButtonTest, CutsATitleThatLeavesNoRoomForTheArrow) {
  const CGRect content = CGRectMake(50, 0, 320, 44);
  title(80);
  for (int pass = 1; pass <= 2; ++pass) {
    const CGRect arrow = button->imageRectForContentRect(content);
    const CGRect cut = button->titleRectForContentRect(content);
    EXPECT_EQ(arrow.origin.x, 350) << pass;
    EXPECT_EQ(arrow.size.width, 20) << pass;
    EXPECT_EQ(cut.origin.x, 50) << pass;
    EXPECT_EQ(cut.size, (CGSize{300, 12})) << pass;
  }
  title(60);
  EXPECT_EQ(button->imageRectForContentRect(content).origin.x, 160 - 160 + 300) << "exactly as wide is not too long";
}

TEST_F(TitleButtonTest, SettlesWithinOneLayoutOfTheButton) {
  button->setFrame(CGRectMake(0, 0, 320, 44));
  title(20);
  platform.application.host()->view()->addSubview(button);
  platform.runUntilIdle();
  EXPECT_EQ(button->titleLabel()->frame().origin.x, 100);
  EXPECT_EQ(button->imageView()->frame().origin.x, 200);
}

}  // namespace
}  // namespace tlx
