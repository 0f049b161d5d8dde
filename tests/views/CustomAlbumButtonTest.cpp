#include "tlx/views/CustomAlbumButton.h"

#include "tests/views/ViewsTest.h"

namespace tlx {
namespace {

class TitleButtonTest : public ViewsTest {
 protected:
  TitleButtonTest() {
    button->setImage_forState(tlx_imageWithName("up_arrow_s"), UIControlStateNormal);  // 35 × 19, so 20 × 8 in the end
    button->titleLabel()->setFont(UIFont::fontWithName_size("Any", 10));               // 5 × 12 points a character
  }
  void title(int characters) {
    button->setTitle_forState(std::string(static_cast<std::size_t>(characters), 'm'), UIControlStateNormal);
  }

  std::shared_ptr<CustomAlbumButton> button = std::make_shared<CustomAlbumButton>();
};

TEST_F(TitleButtonTest, PutsTheArrowAfterACentredTitleAndCutsWhatIsTooLong) {
  struct Row {
    int characters;
    double x, left, right;     // of the content, and the image's insets
    double titleX, width;      // in the second pass
    double firstArrow, arrow;  // x in the first pass and the second
    const char* reason;
  };
  const Row rows[] = {
      {20, 0, 0, 0, 100, 100, 210, 200, "title and arrow together are centred once the arrow's width is known"},
      {20, 50, 7, 3, 100, 100, 214, 204, "the insets shift the arrow; the content's origin is left out"},
      {80, 50, 0, 0, 50, 300, 350, 350, "a title that leaves no room for the arrow is cut"},
      {60, 0, 0, 0, 0, 300, 310, 300, "exactly as wide is not too long"},
  };
  for (const Row& row : rows) {
    button->flImageWidth = 0;
    button->setImageEdgeInsets({0, row.left, 0, row.right});
    title(row.characters);
    const CGRect content = CGRectMake(row.x, 0, 320, 44);
    const CGRect base = button->UIButton::imageRectForContentRect(content);
    EXPECT_EQ(button->imageRectForContentRect(content), CGRectMake(row.firstArrow, base.origin.y + 6, 20, 8))
        << row.reason;
    for (int pass = 2; pass <= 3; ++pass) {
      EXPECT_EQ(button->imageRectForContentRect(content).origin.x, row.arrow) << row.reason;
      const double y = button->UIButton::titleRectForContentRect(content).origin.y;
      EXPECT_EQ(button->titleRectForContentRect(content), CGRectMake(row.titleX, y, row.width, 12)) << row.reason;
    }
  }
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
