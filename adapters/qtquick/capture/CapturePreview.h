#pragma once

#include <QImage>
#include <QQuickItem>
#include <memory>

#include <QtQml/qqmlregistration.h>

#include "tlx/platform/coregraphics/CGImage.h"

namespace tlx::qtquick {

/// Draws one picture after another, as large as fits, in the middle. Keeps the last one.
class CapturePreview : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  /// Left and right exchanged, as in a mirror: how people expect to see themselves.
  Q_PROPERTY(bool mirrored READ isMirrored WRITE setMirrored NOTIFY mirroredChanged)
  /// The rectangle of the item that the picture fills.
  Q_PROPERTY(QRectF picture READ picture NOTIFY pictureChanged)

 public:
  explicit CapturePreview(QQuickItem* parent = nullptr);

  bool isMirrored() const { return mirrored_; }
  void setMirrored(bool mirrored);
  QRectF picture() const;

  /// Takes opaque pictures only; an absent one leaves the preview empty.
  void show(const std::shared_ptr<const CGImage>& picture);
  void show(QImage picture);

 Q_SIGNALS:
  void mirroredChanged();
  void pictureChanged();

 protected:
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;

 private:
  QImage image_;
  bool mirrored_ = false, fresh_ = false;
};

}  // namespace tlx::qtquick
