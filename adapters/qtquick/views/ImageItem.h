#pragma once

#include <QImage>
#include <memory>

#include "tlx/platform/uikit/UIImage.h"

#include "adapters/qtquick/views/ViewItem.h"

namespace tlx::qtquick {

/// Shows a picture: its pixels go to the scene graph as they are, and one texture serves all views of the same picture.
/// Where the picture does not cover it, its `ground` is seen; it costs nothing where it does.
class ImageItem : public ViewItem {
  Q_OBJECT
  Q_PROPERTY(QString image MEMBER seedImage_)
  Q_PROPERTY(int contentMode MEMBER seedContentMode_)
  Q_PROPERTY(QColor ground READ ground WRITE setGround NOTIFY groundChanged)
  Q_PROPERTY(bool empty READ isEmpty NOTIFY pictureChanged)
  QML_NAMED_ELEMENT(ImageViewBase)

 public:
  explicit ImageItem(QQuickItem* parent = nullptr);
  bool isEmpty() const;
  QColor ground() const { return ground_; }
  void setGround(const QColor& ground);

 Q_SIGNALS:
  void pictureChanged();
  void groundChanged();

 protected:
  std::shared_ptr<UIView> makeView() override;
  void seed(UIView& view) override;
  void apply(UIView& view, UIViewChange change) override;
  void attached() override;
  void geometryChange(const QRectF& now, const QRectF& before) override;
  QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

 private:
  struct Node;
  QString seedImage_;
  int seedContentMode_ = 0;
  QColor ground_{Qt::transparent};
};

/// The picture's pixels, shared, not copied.
QImage toQImage(const UIImage& image);

}  // namespace tlx::qtquick
