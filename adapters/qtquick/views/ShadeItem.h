#pragma once

#include <QColor>
#include <QQuickItem>
#include <memory>

namespace tlx {
class CGImage;
}

namespace tlx::qtquick {

/// A colour that becomes another from top to bottom, as a picture: a gradient would be computed again in every frame by
/// the plain renderer.
class ShadeItem : public QQuickItem {
  Q_OBJECT
  Q_PROPERTY(QColor from MEMBER from_ NOTIFY colorsChanged)
  Q_PROPERTY(QColor to MEMBER to_ NOTIFY colorsChanged)
  QML_NAMED_ELEMENT(Shade)

 public:
  explicit ShadeItem(QQuickItem* parent = nullptr);

 Q_SIGNALS:
  void colorsChanged();

 protected:
  void geometryChange(const QRectF& now, const QRectF& before) override;
  QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

 private:
  QColor from_{Qt::transparent}, to_{Qt::transparent};
  std::shared_ptr<const CGImage> column_;  // one pixel wide; nothing until it is drawn
};

}  // namespace tlx::qtquick
