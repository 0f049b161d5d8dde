#include "adapters/qtquick/capture/CapturePreview.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>
#include <utility>

namespace tlx::qtquick {

CapturePreview::CapturePreview(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
}

void CapturePreview::setMirrored(bool mirrored) {
  if (std::exchange(mirrored_, mirrored) == mirrored) return;
  update();
  Q_EMIT mirroredChanged();
}

QRectF CapturePreview::picture() const {
  if (image_.isNull() || width() <= 0 || height() <= 0) return {};
  const QSizeF fitted = QSizeF(image_.size()).scaled(size(), Qt::KeepAspectRatio);
  return {QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted};
}

void CapturePreview::show(const std::shared_ptr<const CGImage>& picture) {
  if (!picture) return show(QImage());
  auto* keep = new std::shared_ptr<const CGImage>(picture);
  show(QImage(
      picture->pixels(), static_cast<int>(picture->width()), static_cast<int>(picture->height()),
      static_cast<qsizetype>(picture->bytesPerRow()), QImage::Format_RGBX8888,
      [](void* kept) { delete static_cast<std::shared_ptr<const CGImage>*>(kept); }, keep));
}

void CapturePreview::show(QImage picture) {
  const bool resized = picture.size() != image_.size();
  image_ = std::move(picture);
  fresh_ = true;
  update();
  if (resized) Q_EMIT pictureChanged();
}

void CapturePreview::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  if (now.size() == before.size()) return;
  update();
  Q_EMIT pictureChanged();
}

QSGNode* CapturePreview::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
  auto* node = static_cast<QSGImageNode*>(old);
  const QRectF target = picture();
  if (target.isEmpty()) {
    delete node;
    return nullptr;
  }
  if (!node) {
    node = window()->createImageNode();
    node->setOwnsTexture(true);
    node->setFiltering(QSGTexture::Linear);
    fresh_ = true;
  }
  if (std::exchange(fresh_, false)) {
    node->setTexture(window()->createTextureFromImage(image_, QQuickWindow::TextureIsOpaque));
  }
  node->setTextureCoordinatesTransform(mirrored_ ? QSGImageNode::MirrorHorizontally : QSGImageNode::NoTransform);
  node->setRect(target);
  node->setSourceRect(QRectF(QPointF(), QSizeF(node->texture()->textureSize())));
  return node;
}

}  // namespace tlx::qtquick
