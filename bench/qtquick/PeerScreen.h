#pragma once

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSize>
#include <QStringList>
#include <memory>
#include <vector>

#include "tlx/platform/uikit/UIImage.h"

#include "bench/qtquick/Frames.h"

namespace tlx::bench {

/// What a program would write instead: a QML `GridView` with the same cells and asynchronous images.
class PeerScreen final : public ScrolledScreen {
 public:
  /// Pictures that are there at once, from an image provider.
  PeerScreen(int items, const std::vector<std::shared_ptr<const UIImage>>& pictures, QSize size);
  /// Pictures on disk, one for each item.
  PeerScreen(const QStringList& files, QSize size);
  ~PeerScreen() override;

  QQuickWindow& window() override { return window_; }
  void scrollTo(double offset) override;
  double end() const override;
  std::pair<int, int> blanks() const override;
  bool isFilled() const;

 private:
  void show(int items, const QStringList& files, QSize size);

  QQmlEngine engine_;
  QQuickWindow window_;
  std::unique_ptr<QQuickItem> root_;
};

}  // namespace tlx::bench
