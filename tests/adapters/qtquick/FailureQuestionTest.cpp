#include "tests/adapters/qtquick/PickerWindow.h"
#include "tests/adapters/qtquick/ScreenReader.h"

namespace tlx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kAsk =
    "Inaccessible Files!\nThere is an unsupported file and iCloud files. You can connect to a network and retry or you "
    "can continue without these inaccessible files.";

/// A person who picked "g", which arrives, and what fails as offline ("o", "p") or for good ("v"), pressed Done, and is
/// asked; by now nothing would fail any more.
class Asked : public PickerWindow {
 public:
  explicit Asked(QSize size = {375, 667}) : PickerWindow({"g", "o", "p", "v"}, size) {
    for (const char* item : {"o", "p"}) script(item, PickerSession::failingInTheCloud());
    script("v", PickerSession::failing());
    open();
    for (const std::int64_t item : {0, 1, 2, 3}) clickItem(item);
    wait(1);
    click(button(TLXMediaPickerController::TagDone));
    wait(1);
    for (const char* item : {"o", "p", "v"}) script(item, {});
  }
};

/// Which question comes and what a choice does is the picker's: here that each hand meets it. Keys follow below.
TEST(FailureQuestion, IsAnsweredByMouseAndScreenReader) {
  for (const bool isMouse : {true, false}) {
    Asked asked;
    ASSERT_THAT(ScreenReader(asked).names(), ElementsAre(kAsk, "Continue Anyway", "Retry", "Cancel"))
        << "nothing beneath is within reach";
    asked.click(QPointF(20, 600));
    ASSERT_EQ(asked.choices().size(), 3u) << "only a button closes the question";
    isMouse ? asked.choose("Continue Anyway") : ScreenReader(asked).press("Retry");
    asked.wait(1);
    EXPECT_THAT(asked.choices(), IsEmpty());
    ASSERT_EQ(asked.host.deliveries.size(), 1u);
    EXPECT_EQ(namesOf(asked.host.deliveries[0]), isMouse ? Names({"g"}) : Names({"g", "v", "p", "o"}));
  }
}

// The question takes a moment to go, and its effect comes after it: until then nothing is unpicked or picked.
TEST(FailureQuestion, NothingElseTakesInputUntilTheChoiceHasRun) {
  Asked asked;
  for (const auto key : {Qt::Key_Down, Qt::Key_Return, Qt::Key_Space}) asked.press(key);
  asked.clickItem(0);
  ASSERT_TRUE(asked.host.deliveries.empty()) << "the effect is still to come";
  EXPECT_THAT(ScreenReader(asked).names(QAccessible::ListItem), IsEmpty());
  asked.wait(1);
  EXPECT_EQ(namesOf(asked.host.deliveries.at(0)), Names({"g"}));
}

TEST(FailureQuestion, FitsTheSmallestWindow) {
  Asked asked({320, 480});
  double above = 0;
  for (const QRectF& button : asked.alertPlaces()) {
    EXPECT_TRUE(QRectF(0, 0, 320, 480).contains(button)) << "the words have as much room above as the buttons below";
    EXPECT_GE(button.top(), above);
    above = button.bottom();
  }
}

}  // namespace
}  // namespace tlx::test
