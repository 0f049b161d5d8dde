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

/// Which question comes and what a choice does is the picker's: here each way of choosing, from each place.
TEST(FailureQuestion, IsAnsweredByEveryHand) {
  const struct {
    const char* hand;
    std::function<void(Asked&)> answer;
    Names delivered;
  } rows[] = {
      {"mouse", [](Asked& asked) { asked.choose("Continue Anyway"); }, {"g"}},
      {"keyboard, round from the last",
       [](Asked& asked) {
         for (const auto key : {Qt::Key_Down, Qt::Key_Down, Qt::Key_Return}) asked.press(key);
       },
       {"g", "v", "p", "o"}},
      {"keyboard, Escape", [](Asked& asked) { asked.press(Qt::Key_Escape); }, {}},
      {"screen reader", [](Asked& asked) { ScreenReader(asked).press("Retry"); }, {"g", "v", "p", "o"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.hand);
    Asked asked;
    ASSERT_THAT(ScreenReader(asked).names(), ElementsAre(kAsk, "Continue Anyway", "Retry", "Cancel"))
        << "nothing beneath is within reach";
    asked.click(QPointF(20, 600));
    ASSERT_EQ(asked.choices().size(), 3u) << "only a button closes the question";
    row.answer(asked);
    asked.wait(1);
    EXPECT_THAT(asked.choices(), IsEmpty());
    ASSERT_EQ(asked.host.deliveries.size(), row.delivered.empty() ? 0u : 1u);
    if (!row.delivered.empty()) {
      EXPECT_EQ(namesOf(asked.host.deliveries[0]), row.delivered);
      continue;
    }
    EXPECT_THAT(asked.picked(), IsEmpty());
    asked.clickItem(0);
    asked.wait(1);
    EXPECT_TRUE(asked.sees(asked.button(TLXMediaPickerController::TagDone))) << "the picker goes on";
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
  const QRectF words = asked.alertWords();
  EXPECT_GE(words.top(), 0);
  double above = words.bottom();
  for (const QRectF& button : asked.alertPlaces()) {
    EXPECT_TRUE(QRectF(0, 0, 320, 480).contains(button));
    EXPECT_GE(button.top(), words.bottom());
    EXPECT_GE(button.bottom(), above);
    above = button.bottom();
  }
}

}  // namespace
}  // namespace tlx::test
