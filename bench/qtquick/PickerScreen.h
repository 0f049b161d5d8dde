#pragma once

#include <QQuickWindow>
#include <QSize>
#include <memory>

#include "tlx/picker/TLXMediaPickerController.h"

#include "adapters/qtquick/QtPlatform.h"
#include "bench/qtquick/Frames.h"
#include "bench/qtquick/SyntheticLibrary.h"

namespace tlx {
class UICollectionView;
}

namespace tlx::bench {

/// The picker in a window of its own, over any library and pictures. Only one at a time.
class PickerScreen final : public ScrolledScreen {
 public:
  /// All outlive the object; the pictures are stopped first.
  PickerScreen(qtquick::LoopPorts loops, PhotoLibraryPort& library, ImageManagerPort& images, QSize size);
  ~PickerScreen() override;
  /// Shows the window and opens the picker in it.
  void open();

  QQuickWindow& window() override { return window_; }
  void scrollTo(double offset) override;
  double end() const override;
  std::pair<int, int> blanks() const override;
  bool hasCells() const;
  /// Cells are there, and each has its picture.
  bool isFilled() const;
  TLXMediaPickerController& controller() { return *picker_; }
  UICollectionView& grid() const;

 private:
  class Host;
  NoNetwork network_;
  StderrLog log_;
  std::unique_ptr<Host> host_;
  QQuickWindow window_;
  qtquick::QtPlatform platform_;
  std::shared_ptr<TLXMediaPickerController> picker_;
};

}  // namespace tlx::bench
