#include "tests/adapters/qtquick/PickerWindow.h"
#include "tests/adapters/qtquick/ScreenReader.h"

namespace tlx::test {
namespace {

using testing::IsEmpty;

/// What was picked: items that arrive, images that fail as offline, videos that cannot be used.
struct Row {
  int fetched, offline, unsupported;
  std::string title, message;
  Names choices;
  /// What is delivered after Retry, when nothing fails any more: what failed comes last, in the order it failed.
  Names retried;
};

const std::string kLost = "iCloud downloading was not successful since there is no internet connection.";
const Row kRows[] = {
    {0, 0, 1, "Unsupported File!", "Please choose another file to continue.", {"OK"}, {}},
    {0, 2, 0, "", kLost + " Please connect to a network & try again.", {"Cancel", "Retry"}, {"o1", "o0"}},
    {0,
     1,
     2,
     "Inaccessible Files!",
     "Please choose another file since there are some unsupported files.\n" + kLost +
         " Please connect to a network & try again.",
     {"Cancel", "Retry"},
     {"v1", "v0", "o0"}},
    {1,
     0,
     1,
     "Unsupported File!",
     "There is an unsupported file. You can continue without the unsupported file.",
     {"Continue", "Cancel"},
     {}},
    {3,
     2,
     0,
     "",
     kLost + " You can connect to a network and retry or continue without these iCloud files.",
     {"Continue", "Retry", "Cancel"},
     {"g0", "g1", "g2", "o1", "o0"}},
    {1,
     2,
     1,
     "Inaccessible Files!",
     "There is an unsupported file and iCloud files. You can connect to a network and retry or you can continue "
     "without "
     "these inaccessible files.",
     {"Continue Anyway", "Retry", "Cancel"},
     {"g0", "v0", "o1", "o0"}},
};

/// A person who picked all and pressed Done, and is asked.
class Asked : public PickerWindow {
 public:
  explicit Asked(const Row& row, QSize size = {375, 667}) : PickerWindow(itemsOf(row), size) {
    for (const auto& item : itemsOf(row)) {
      if (item.front() == 'o') script(item, PickerSession::failingInTheCloud());
      if (item.front() == 'v') script(item, PickerSession::failing());
    }
    open();
    for (std::size_t item = 0; item < itemsOf(row).size(); ++item) clickItem(static_cast<std::int64_t>(item));
    wait(1);
    click(button(TLXMediaPickerController::TagDone));
    wait(1);
  }
  static Names itemsOf(const Row& row) {
    Names names;
    for (int i = 0; i < row.fetched; ++i) names.push_back("g" + std::to_string(i));
    for (int i = 0; i < row.offline; ++i) names.push_back("o" + std::to_string(i));
    for (int i = 0; i < row.unsupported; ++i) names.push_back("v" + std::to_string(i));
    return names;
  }
};

const struct Hand {
  const char* what;
  void (*answer)(PickerWindow& session, const Names& choices, std::size_t wanted);
} kHands[] = {
    {"mouse", [](PickerWindow& session, const Names& choices, std::size_t wanted) { session.choose(choices[wanted]); }},
    {"keyboard",
     [](PickerWindow& session, const Names&, std::size_t wanted) {
       for (std::size_t at = 0; at <= wanted; ++at) session.press(Qt::Key_Down);  // from the last round to the first
       session.press(Qt::Key_Return);
     }},
    {"screen reader", [](PickerWindow& session, const Names& choices,
                         std::size_t wanted) { ScreenReader(session).press(choices[wanted]); }},
};

TEST(FailureQuestion, IsAnsweredByEveryHandInEveryCase) {
  for (const Row& row : kRows) {
    for (const Hand& hand : kHands) {
      for (std::size_t wanted = 0; wanted < row.choices.size(); ++wanted) {
        const std::string& choice = row.choices[wanted];
        SCOPED_TRACE(row.message + ": " + choice + " by " + hand.what);
        Asked session(row);
        const std::string question = row.title.empty() ? row.message : row.title + "\n" + row.message;
        Names read = row.choices;
        read.insert(read.begin(), question);
        ASSERT_EQ(ScreenReader(session).names(), read) << "nothing beneath is within reach";
        session.click(QPointF(20, 600));
        ASSERT_EQ(session.choices(), row.choices) << "only a button closes the question";
        for (const auto& item : Asked::itemsOf(row)) session.script(item, {});
        hand.answer(session, row.choices, wanted);
        session.wait(1);

        EXPECT_THAT(session.choices(), IsEmpty());
        EXPECT_THAT(session.picked(), IsEmpty());
        Names expected;
        if (choice.starts_with("Continue")) {
          expected = Asked::itemsOf({row.fetched, 0, 0, {}, {}, {}, {}});
        } else if (choice == "Retry") {
          expected = row.retried;
        }
        ASSERT_EQ(session.host.deliveries.size(), expected.empty() ? 0u : 1u);
        if (!expected.empty()) {
          EXPECT_EQ(namesOf(session.host.deliveries[0]), expected);
          continue;
        }
        session.clickItem(0);
        session.wait(1);
        EXPECT_EQ(session.picked().size(), 1u) << "the picker goes on";
        EXPECT_TRUE(session.sees(session.button(TLXMediaPickerController::TagDone)));
      }
    }
  }
}

TEST(FailureQuestion, FitsTheSmallestWindow) {
  for (const Row& row : kRows) {
    Asked session(row, {320, 480});
    const QRectF words = session.alertWords();
    EXPECT_GE(words.top(), 0) << row.message;
    double above = words.bottom();
    for (const QRectF& button : session.alertPlaces()) {
      EXPECT_TRUE(QRectF(0, 0, 320, 480).contains(button)) << row.message;
      EXPECT_GE(button.top(), words.bottom()) << row.message;
      EXPECT_GE(button.bottom(), above) << row.message;
      above = button.bottom();
    }
  }
}

}  // namespace
}  // namespace tlx::test
