#pragma once

#include <QColor>
#include <QPointF>
#include <QQuickWindow>
#include <QSize>
#include <cstdint>

#include "tlx/platform/uikit/UITableView.h"
#include "tlx/views/CollectionViewCell.h"
#include "tlx/views/TableViewCell.h"

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/memory/MemoryCamera.h"
#include "adapters/qtquick/QtPlatform.h"
#include "adapters/qtquick/views/ViewItem.h"
#include "tests/support/PickerSession.h"

namespace tlx::test {

/// A picker in a real window over a library in memory, and the person before it. Time is the tests' own, also for what
/// Qt animates; each photo has one colour, so that what a person sees can be told from a picture of the window.
class PickerWindow {
 public:
  /// A camera roll of photos, the first one newest; names that begin with "v" are videos.
  explicit PickerWindow(const Names& items = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"},
                        QSize size = {375, 667});
  ~PickerWindow();
  static Names numbered(int count);

  memory::MessageLog log;
  memory::Background background;
  memory::MainLoop loop{background};
  memory::RunLoops runLoops{loop};
  memory::MemorySystemLog systemLog;
  memory::MemoryPhotoLibrary library{background};
  memory::MemoryImageManager images{library, loop, background};
  memory::MemoryReachability reachability;
  memory::MemoryCamera camera{background, loop};
  QQuickWindow window;
  std::optional<qtquick::QtPlatform> platform;
  PickerHost host{log};
  std::shared_ptr<TLXMediaPickerController> picker;

  /// Shows a picker and lets it come to rest on the first album.
  void open();
  /// Lets the host go of the picker, and answers what of it is still there: nothing, if all is well.
  Names close();
  void wait(double seconds);
  void script(const std::string& item, memory::ItemScript script);
  void change(const memory::MemoryPhotoLibrary::Edit& edit);

  // The person's hands.

  void click(const QPointF& point);
  void click(const std::shared_ptr<UIView>& view) { click(centre(view)); }
  void clickItem(std::int64_t index) { click(centre(cell(index))); }
  void drag(const QPointF& from, const QPointF& to);
  void wheel(const QPointF& point, int degrees);
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
  /// Presses keys by their names ("Shift+Tab") when what is shown has come to rest, and lets it come to rest again.
  void type(const Names& keys);
  /// Presses an alert's button; fails the test where there is none.
  void choose(const std::string& title);

  // The person's eyes.

  bool sees(const std::shared_ptr<UIView>& view) const;
  QPointF centre(const std::shared_ptr<UIView>& view) const;
  QColor colourAt(const QPointF& point);
  static QColor colourOf(const std::string& item);
  /// The names on the alert's buttons, in order; none without an alert.
  Names choices();
  /// Where an alert's buttons are, in order.
  std::vector<QRectF> alertPlaces();
  std::string title() const { return picker->btnAlbumPicker.lock()->titleForState(UIControlStateNormal); }

  UICollectionView& grid() { return *picker->mediaCollectionViewCotroller->collectionView(); }
  std::shared_ptr<UIView> cell(std::int64_t index) { return grid().cellForItemAtIndexPath({0, index}); }
  std::shared_ptr<UITableView> table() const;
  std::shared_ptr<UIButton> button(std::int64_t tag) const {
    return std::dynamic_pointer_cast<UIButton>(picker->view()->viewWithTag(tag));
  }
  Names picked() { return namesOf(*picker->arrPickedModel()); }
  std::shared_ptr<TLXDownloadProgress> panel() const;

 private:
  void turn();
  std::vector<QQuickItem*> alertButtons();
};

}  // namespace tlx::test
