#pragma once

#include <QColor>
#include <QQuickItem>
#include <QRectF>
#include <vector>

namespace tlx::qtquick {

/// The ground between the cells of a grid, for the plain renderer alone. It would otherwise fill what is seen of the
/// ground beneath in a thousand pieces, with the help of other threads, which it then waits for in every frame.
class GapsItem : public QQuickItem {
 public:
  explicit GapsItem(QQuickItem* parent);
  /// In the parent's coordinates. An invalid colour, or one that lets something through, draws nothing.
  void show(std::vector<QRectF> gaps, const QColor& color);

 protected:
  QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

 private:
  struct Node;
  std::vector<QRectF> gaps_;
  QColor color_;
};

}  // namespace tlx::qtquick
