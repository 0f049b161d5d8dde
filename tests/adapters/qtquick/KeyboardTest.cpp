#include "adapters/qtquick/views/ScrollItem.h"
#include "adapters/qtquick/window/QtQuestion.h"
#include "adapters/qtquick/window/QtSignIn.h"
#include "tests/adapters/qtquick/PickerWindow.h"

namespace tlx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The item or row that the keyboard's mark stands on, as a person sees it; −1 when none is marked.
template <class Cells>
std::int64_t markedAmong(const Cells& cells, UIScrollView& scrolled) {
  auto* item = dynamic_cast<qtquick::ScrollItem*>(scrolled.renderer());
  if (!item || item->focusFrame().isEmpty()) return -1;
  const QRectF mark = item->canvas()->mapRectToScene(item->focusFrame());
  for (const auto& [index, shown] : cells) {
    auto* cell = qtquick::itemForView(shown, nullptr);
    if (cell && cell->mapRectToScene({0, 0, cell->width(), cell->height()}) == mark) return index;
  }
  return -1;
}

TEST(Keyboard, MovesAMarkOverTheGridAndPicks) {
  PickerWindow session(PickerWindow::numbered(398));  // four to a row; the last row holds two
  session.open();
  const auto marked = [&] { return markedAmong(session.grid().visibleCells(), session.grid()); };
  EXPECT_EQ(marked(), -1);
  const struct {
    const char* key;
    std::int64_t item;
    const char* why;
  } rows[] = {
      {"Down", 0, "the first key shows where one is"},
      {"Left", 0, "there is nothing before the first"},
      {"Right", 1, ""},
      {"Down", 5, ""},
      {"PgDown", 29, "six rows fit"},
      {"PgUp", 5, ""},
      {"PgUp", 1, "the same column of the first row"},
      {"End", 397, ""},
      {"Right", 397, "there is nothing after the last"},
      {"Up", 393, ""},
      {"Right", 394, ""},
      {"Down", 397, "the last row is reached where it lacks the column"},
      {"Home", 0, ""},
  };
  for (const auto& row : rows) {
    session.type({row.key});
    EXPECT_EQ(marked(), row.item) << row.key << ' ' << row.why;
    const QPointF centre = session.centre(session.cell(row.item));
    EXPECT_TRUE(centre.y() > 61 && centre.y() < 667) << row.item << " is scrolled into view";
  }
  EXPECT_EQ(session.grid().contentOffset().y, session.grid().minimumOffsetY()) << "the header comes with the first row";

  session.type({"Right", "Space", "Right", "Return"});
  EXPECT_THAT(session.picked(), ElementsAre("p1", "p2"));
  session.press(Qt::Key_Space);
  EXPECT_THAT(session.picked(), ElementsAre("p1"));

  session.window.resize(700, 500);
  session.wait(0.3);
  const std::int64_t row = session.grid().collectionViewLayout()->itemsPerRow();
  EXPECT_GT(session.centre(session.cell(row - 1)).x(), 600) << "the rows fill the new width";
  EXPECT_EQ(marked(), 2) << "the mark follows its cell";
  session.change([](memory::LibraryContents& contents) { contents.add(memory::photo("new", 0), {"Camera Roll"}); });
  EXPECT_EQ(marked(), 3) << "and its photo";
  session.press(Qt::Key_Space);
  EXPECT_THAT(session.picked(), ElementsAre("p1", "p2"));
  session.change([](memory::LibraryContents& contents) {
    for (const auto& name : PickerWindow::numbered(398)) contents.remove({name});
  });
  EXPECT_EQ(marked(), 0) << "what is left";
  session.clickItem(0);
  EXPECT_EQ(marked(), -1) << "a hand on the mouse needs no mark";
}

TEST(Keyboard, TheAlbumListIsOpenedChosenFromAndLeft) {
  PickerWindow session;
  session.library.edit([](memory::LibraryContents& contents) {
    contents.addUserAlbum("Friends", {memory::photo("x", -50)});
    contents.addUserAlbum("Garden", {memory::photo("y", -60)});
  });
  session.open();
  session.press(Qt::Key_Down);
  session.log.take();
  // Backwards from the grid: Done is disabled, so the title button is next.
  session.press(Qt::Key_Backtab, Qt::ShiftModifier);
  session.press(Qt::Key_Space);
  session.wait(0.5);
  ASSERT_TRUE(session.sees(session.table()));
  session.type({"Down", "Down", "Down"});
  EXPECT_EQ(markedAmong(session.table()->visibleCells(), *session.table()), 2);
  session.type({"Escape"});
  EXPECT_FALSE(session.sees(session.table()));
  EXPECT_THAT(session.log.take(), IsEmpty()) << "Escape went no further than the list";

  session.press(Qt::Key_Space);
  session.wait(0.5);
  ASSERT_TRUE(session.sees(session.table())) << "the keyboard is back at the title button";
  session.type({"End", "Return", "Return"});
  EXPECT_EQ(session.title(), "Garden");
  EXPECT_FALSE(session.sees(session.table()));
}

TEST(Keyboard, DoneAndCancelHaveKeysThatReachNothingBeneathWhatIsPresented) {
  PickerWindow session({"va", "b", "c"});
  session.script("va", PickerSession::failing());
  session.open();
  session.log.take();
  session.press(Qt::Key_Return, Qt::ControlModifier);
  EXPECT_THAT(session.log.take(), IsEmpty()) << "nothing is picked, so Done is disabled";
  session.clickItem(0);
  session.clickItem(1);
  session.wait(1);
  session.click(session.picker->btnAlbumPicker.lock());
  session.wait(0.5);
  session.log.take();
  session.press(Qt::Key_Return, Qt::ControlModifier);
  EXPECT_THAT(session.log.take(), IsEmpty()) << "the list is open";
  session.press(Qt::Key_Escape);
  session.wait(0.5);
  session.press(Qt::Key_Enter, Qt::ControlModifier);
  session.wait(1);
  session.press(Qt::Key_Return, Qt::ControlModifier);
  for (int i = 0; i < 3; ++i) session.press(Qt::Key_Tab);
  EXPECT_THAT(session.choices(), ElementsAre("Continue", "Cancel")) << "Tab stays among the question's buttons";
  session.press(Qt::Key_Escape);
  session.wait(1);
  EXPECT_THAT(session.choices(), IsEmpty());
  EXPECT_THAT(session.picked(), IsEmpty()) << "Escape is the question's Cancel";
  session.log.take();
  session.press(Qt::Key_Escape);
  EXPECT_THAT(session.log.take(), ElementsAre("cancelPressed"));
}

TEST(Keyboard, ADownloadIsCancelledByEscapeAndCoversWhatIsBeneath) {
  PickerWindow session;
  session.script("a", PickerSession::downloading({0.5, 1}, 8));
  session.open();
  session.clickItem(0);
  session.wait(1);
  session.press(Qt::Key_Return, Qt::ControlModifier);
  session.wait(3);
  ASSERT_TRUE(session.sees(session.panel()));
  session.log.take();
  session.clickItem(1);
  session.click(session.button(TLXMediaPickerController::TagCancel));
  session.press(Qt::Key_Right);
  session.press(Qt::Key_Space);
  EXPECT_THAT(session.log.take(), IsEmpty()) << "the panel lets nothing through";
  for (const auto key : {Qt::Key_Backtab, Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Tab}) session.press(key);
  EXPECT_TRUE(qtquick::itemForView(session.panel()->btnCancel.lock(), nullptr)->hasActiveFocus());
  EXPECT_THAT(session.picked(), ElementsAre("a"));
  session.press(Qt::Key_Escape);
  session.wait(1);
  EXPECT_FALSE(session.sees(session.panel()));
  EXPECT_THAT(session.picked(), IsEmpty());
  EXPECT_THAT(session.log.take(), IsEmpty()) << "the picker itself stays";
}

TEST(Keyboard, AQuestionOfTheHostsIsNotAnsweredByWhatWasBeingTyped) {
  PickerWindow session;
  session.open();
  const struct {
    Names keys;
    int answer;
    const char* why;
  } rows[] = {{{"Return", "Space", "A", "Ctrl+Return"}, -1, "nothing has the keyboard yet"},
              {{"Tab", "Return"}, 0, "the first"},
              {{"Shift+Backtab", "Return"}, 1, "the last"},
              {{"Escape"}, 0, "what cancels"}};
  for (const auto& row : rows) {
    int answer = -1;
    const qtquick::QtQuestion question(session.platform->window(), session.platform->engine(),
                                       {"May it?", "", {{"No", true}, {"Yes"}}},
                                       [&](std::size_t choice) { answer = static_cast<int>(choice); });
    session.type(row.keys);
    EXPECT_EQ(answer, row.answer) << row.why;
  }
  EXPECT_THAT(session.picked(), IsEmpty());
}

TEST(Keyboard, ANameAndAPasswordAreTypedAndGivenOrNot) {
  PickerWindow session;
  session.open();
  const struct {
    Names keys;
    const char* said;
    const char* why;
  } rows[] = {{{"A", "L", "Return", "S", "E", "Return"}, "al se", "both, with the return key"},
              {{"A", "Tab", "S", "Tab", "Tab", "Space"}, "a s", "both, with the button"},
              {{"Return", "Return"}, "", "a name there must be"},
              {{"A", "Return", "Escape"}, "no", "rather not"}};
  for (const auto& row : rows) {
    std::string said;
    const qtquick::QtSignIn question(session.platform->window(), session.platform->engine(), {"Sign in", "To a cloud"},
                                     [&](const std::optional<qtquick::QtSignIn::Said>& given) {
                                       said = given ? given->user + " " + given->password : "no";
                                     });
    session.type(row.keys);
    EXPECT_EQ(said, row.said) << row.why;
  }
}

}  // namespace
}  // namespace tlx::test
