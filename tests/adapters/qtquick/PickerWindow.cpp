#include "tests/adapters/qtquick/PickerWindow.h"

#include <QAccessible>
#include <QAnimationDriver>
#include <QCoreApplication>
#include <QImage>
#include <QKeySequence>
#include <QQuickItem>
#include <QWheelEvent>
#include <algorithm>

#include <QtTest/QTest>

namespace tlx::test {
namespace {

constexpr double kFrame = 1.0 / 30;

/// Qt's animations on the tests' time.
class AnimationTime final : public QAnimationDriver {
 public:
  static AnimationTime& instance() {
    static AnimationTime* time = [] {
      auto* made = new AnimationTime;  // Qt's own timer keeps it to the end
      made->install();
      return made;
    }();
    return *time;
  }
  qint64 elapsed() const override { return static_cast<qint64>((now_ - started_) * 1000); }
  void pass(double seconds) {
    now_ += seconds;
    if (isRunning()) advance();
  }
  ulong milliseconds() const { return static_cast<ulong>(now_ * 1000); }

 protected:
  void start() override {
    started_ = now_;
    QAnimationDriver::start();
  }

 private:
  double now_ = 1, started_ = 1;
};

}  // namespace

PickerWindow::PickerWindow(const Names& items, QSize size) {
  AnimationTime::instance();
  addCameraRoll(library, items);
  for (const auto& item : items) script(item, {});
  window.resize(size);
  window.show();
  window.requestActivate();
  EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
  platform.emplace(qtquick::LoopPorts{loop, loop, loop, runLoops}, window, library, images, reachability, systemLog,
                   &camera);
}

PickerWindow::~PickerWindow() {
  if (picker) {
    EXPECT_THAT(close(), testing::IsEmpty());
  }
  background.end();
  loop.clear();
  images.clear();
  library.clear();
  platform.reset();
}

Names PickerWindow::numbered(int count) {
  Names names;
  for (int i = 0; i < count; ++i) names.push_back("p" + std::to_string(i));
  return names;
}

void PickerWindow::open() {
  picker = TLXMediaPickerController::mediaPickerController_delegate(0, &host);
  platform->window().model()->setRootViewController(picker);
  wait(1);
  // A screen reader comes by.
  QAccessible::setActive(true);
  wait(0.1);
}

Names PickerWindow::close() {
  std::vector<std::pair<std::string, std::weak_ptr<const void>>> watched = {
      {"picker", picker},
      {"view", picker->view()},
      {"grid", picker->mediaCollectionViewCotroller},
      {"album list", picker->albumPickerTableViewController},
      {"panel", panel()},
      {"presented", picker->presentedViewController()}};
  if (picker->mediaCollectionViewCotroller) {
    for (const auto& [index, shown] : grid().visibleCells()) watched.emplace_back("cell", shown);
  }
  platform->window().model()->setRootViewController(nullptr);
  picker.reset();
  wait(3);
  Names left;
  for (const auto& [name, object] : watched) {
    if (!object.expired()) left.push_back(name);
  }
  if (!platform->window().rootItem().childItems().isEmpty()) left.push_back("items");
  return left;
}

void PickerWindow::turn() {
  loop.runUntilIdle();
  // A turn of Qt's loop serves one kind of event, and what it serves may ask for a frame.
  for (int i = 0; i < 4; ++i) QCoreApplication::processEvents();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void PickerWindow::wait(double seconds) {
  turn();
  for (double passed = 0; passed < seconds; passed += kFrame) {
    loop.advance(kFrame);
    AnimationTime::instance().pass(kFrame);
    turn();
  }
}

void PickerWindow::script(const std::string& item, memory::ItemScript script) {
  script.colour = colourOf(item).rgb() & 0xFFFFFF;
  images.setScript(item, std::move(script));
}

void PickerWindow::change(const memory::MemoryPhotoLibrary::Edit& edit) {
  library.change(edit);
  wait(0.1);
}

void PickerWindow::click(const QPointF& point) {
  QTest::mouseClick(&window, Qt::LeftButton, {}, point.toPoint());
  wait(0.05);
}

void PickerWindow::drag(const QPointF& from, const QPointF& to) {
  QTest::mousePress(&window, Qt::LeftButton, {}, from.toPoint());
  for (int step = 1; step <= 10; ++step) {
    QTest::mouseMove(&window, (from + (to - from) * step / 10.0).toPoint());
    wait(kFrame);
  }
  QTest::mouseRelease(&window, Qt::LeftButton, {}, to.toPoint());
  wait(2);
}

void PickerWindow::wheel(const QPointF& point, int degrees) {
  QWheelEvent event(point, window.mapToGlobal(point), {}, {0, degrees * 8}, Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  event.setTimestamp(AnimationTime::instance().milliseconds());
  QCoreApplication::sendEvent(&window, &event);
  wait(1);
}

void PickerWindow::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
  QTest::keyClick(&window, key, modifiers);
  wait(0.05);
}

void PickerWindow::type(const Names& keys) {
  wait(0.5);
  for (const auto& key : keys) {
    const auto stroke = QKeySequence(QString::fromStdString(key))[0];
    press(stroke.key(), stroke.keyboardModifiers());
  }
  wait(0.5);
}

std::vector<QQuickItem*> PickerWindow::alertButtons() {
  std::vector<QQuickItem*> buttons;
  const std::function<void(QQuickItem&)> look = [&](QQuickItem& item) {
    if (item.isVisible() && item.isEnabled() && item.property("modelData").toMap().contains("title"))
      buttons.push_back(&item);
    for (QQuickItem* child : item.childItems()) look(*child);
  };
  look(platform->window().rootItem());
  return buttons;
}

Names PickerWindow::choices() {
  Names names;
  for (QQuickItem* button : alertButtons()) {
    names.push_back(button->property("modelData").toMap()["title"].toString().toStdString());
  }
  return names;
}

std::vector<QRectF> PickerWindow::alertPlaces() {
  std::vector<QRectF> places;
  for (const QQuickItem* button : alertButtons()) {
    places.push_back(button->mapRectToScene({0, 0, button->width(), button->height()}));
  }
  return places;
}

void PickerWindow::choose(const std::string& wanted) {
  const Names names = choices();
  const auto found = std::find(names.begin(), names.end(), wanted);
  ASSERT_NE(found, names.end()) << "no button " << wanted;
  click(alertPlaces()[static_cast<std::size_t>(found - names.begin())].center());
  wait(0.5);
}

bool PickerWindow::sees(const std::shared_ptr<UIView>& view) const {
  QQuickItem* item = view ? qtquick::itemForView(view, nullptr) : nullptr;
  if (!item || !item->window() || !item->isVisible()) return false;
  double opacity = 1;
  for (QQuickItem* above = item; above; above = above->parentItem()) opacity *= above->opacity();
  const QRectF place = item->mapRectToScene({0, 0, item->width(), item->height()});
  return opacity > 0.05 && place.intersects(QRectF({}, QSizeF(window.size())));
}

QPointF PickerWindow::centre(const std::shared_ptr<UIView>& view) const {
  QQuickItem* item = view ? qtquick::itemForView(view, nullptr) : nullptr;
  if (!item) {
    ADD_FAILURE() << "there is nothing to be seen of it";
    return {};
  }
  return item->mapToScene({item->width() / 2, item->height() / 2});
}

QColor PickerWindow::colourAt(const QPointF& point) {
  return window.grabWindow().pixelColor(point.toPoint());
}

QColor PickerWindow::colourOf(const std::string& item) {
  return QColor::fromRgb(static_cast<QRgb>(0xFF000000u | (std::hash<std::string>{}(item)&0xFFFFFF)));
}

std::shared_ptr<UITableView> PickerWindow::table() const {
  const auto list = picker->albumPickerTableViewController;
  return list ? std::dynamic_pointer_cast<UITableView>(list->getView()) : nullptr;
}

std::shared_ptr<TLXDownloadProgress> PickerWindow::panel() const {
  return findBelow<TLXDownloadProgress>(*picker->view());
}

}  // namespace tlx::test
