#pragma once

#include <QQuickPaintedItem>
#include <memory>

namespace tlx {
class CALayer;
}

namespace tlx::qtquick {

/// Replays what a layer draws.
class LayerItem final : public QQuickPaintedItem {
  Q_OBJECT

 public:
  LayerItem(std::shared_ptr<CALayer> layer, QQuickItem* parent);
  ~LayerItem() override;
  void paint(QPainter* painter) override;

 private:
  std::shared_ptr<CALayer> layer_;
};

}  // namespace tlx::qtquick
