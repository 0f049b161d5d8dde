#pragma once

#include <QImage>
#include <QSGImageNode>
#include <QSGTexture>
#include <QSize>
#include <memory>

#include "tlx/platform/uikit/UIView.h"

class QQuickWindow;

namespace tlx {
class CGImage;
}

namespace tlx::qtquick {

/// Draws a picture in a rectangle. One texture serves all nodes of a window that show the same picture at the same
/// size. Of the render thread, while the main thread stands still.
class PictureNode : public QSGNode {
 public:
  explicit PictureNode(QQuickWindow& window);
  ~PictureNode() override;
  /// Fills (0, 0) to `size`, in points, as `mode` says. `bitmap` is not empty, nor is `size`.
  void show(QQuickWindow& window, const std::shared_ptr<const CGImage>& bitmap, const QSizeF& size,
            UIViewContentMode mode);
  /// Nothing beneath shines through.
  bool isOpaque() const;

 private:
  std::unique_ptr<QSGImageNode> quad_;
  std::shared_ptr<QSGTexture> texture_;
  std::shared_ptr<const CGImage> bitmap_;  // beside the texture made of it, which is found again by its address
  QSize screen_;
};

/// The pixels, shared, not copied.
QImage toQImage(const std::shared_ptr<const CGImage>& bitmap);

}  // namespace tlx::qtquick
