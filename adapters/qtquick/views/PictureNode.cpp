#include "adapters/qtquick/views/PictureNode.h"

#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QtEndian>
#include <algorithm>
#include <functional>
#include <map>
#include <tuple>
#include <utility>

#include "tlx/platform/uikit/UIImage.h"

#include "adapters/qtquick/views/CellPixels.h"

namespace tlx::qtquick {
namespace {

/// The part of a picture that is shown, and where it goes.
struct Placement {
  QRectF source, target;
};

Placement place(const CGImage& bitmap, const QSizeF& view, UIViewContentMode mode) {
  const QSizeF picture(static_cast<double>(bitmap.width()), static_cast<double>(bitmap.height()));
  Placement placement{QRectF(QPointF(), picture), QRectF(QPointF(), view)};
  const double across = view.width() / picture.width(), down = view.height() / picture.height();
  if (mode == UIViewContentModeScaleAspectFill) {
    const QSizeF part = view / std::max(across, down);
    placement.source =
        QRectF(QPointF((picture.width() - part.width()) / 2, (picture.height() - part.height()) / 2), part);
  } else if (mode == UIViewContentModeScaleAspectFit) {
    const QSizeF part = picture * std::min(across, down);
    placement.target = QRectF(QPointF((view.width() - part.width()) / 2, (view.height() - part.height()) / 2), part);
  }
  return placement;
}

/// Of a picture as it is in memory.
bool isOpaque(const QImage& picture) {
  const auto mask = qFromBigEndian<quint32>(0xff);
  const int width = picture.width();
  quint32 all = mask;
  for (int y = 0; y < picture.height() && (all & mask) == mask; ++y) {
    const auto* row = reinterpret_cast<const quint32*>(picture.constScanLine(y));
    for (int x = 0; x < width; ++x) all &= row[x];
  }
  return (all & mask) == mask;
}

QImage wholePicture(const std::shared_ptr<const CGImage>& bitmap) {
  QImage whole = toQImage(bitmap);
  if (isOpaque(whole)) whole.reinterpretAsFormat(QImage::Format_RGBX8888);
  return whole;
}

/// What the plain renderer draws: it would resample the picture again in every frame, and blend it where there is
/// nothing to blend, so it is given the very pixels of the screen.
QImage screenPixels(const std::shared_ptr<const CGImage>& bitmap, const Placement& placement, double pixelsPerPoint) {
  QImage part = toQImage(bitmap);
  const QRect source = placement.source.toAlignedRect() & part.rect();
  const QSize size = (placement.target.size() * pixelsPerPoint).toSize().expandedTo({1, 1});
  if (source != part.rect()) part = part.copy(source);
  return screenImage(part, size);
}

/// One texture for each picture that a window shows. Of the render thread's: a window has one, and windows that share a
/// thread are told apart by the key. `size` is nothing for textures that hold the whole picture as it is.
std::shared_ptr<QSGTexture> sharedTexture(QQuickWindow& window, const CGImage* bitmap, const QSize& size,
                                          const std::function<QImage()>& pixels) {
  using Key = std::tuple<const QQuickWindow*, const CGImage*, int, int>;
  thread_local std::map<Key, std::weak_ptr<QSGTexture>> textures;
  thread_local std::size_t live = 0;
  auto& kept = textures[{&window, bitmap, size.width(), size.height()}];
  auto texture = kept.lock();
  if (!texture) {
    const QImage made = pixels();
    texture.reset(window.createTextureFromImage(
        made, made.hasAlphaChannel() ? QQuickWindow::TextureHasAlphaChannel : QQuickWindow::TextureIsOpaque));
    kept = texture;
    if (textures.size() > 2 * live + 64) {
      std::erase_if(textures, [](const auto& entry) { return entry.second.expired(); });
      live = textures.size();
    }
  }
  return texture;
}

}  // namespace

QImage toQImage(const std::shared_ptr<const CGImage>& bitmap) {
  if (!bitmap) return {};
  auto* keep = new std::shared_ptr<const CGImage>(bitmap);
  return QImage(
      bitmap->pixels(), static_cast<int>(bitmap->width()), static_cast<int>(bitmap->height()),
      static_cast<qsizetype>(bitmap->bytesPerRow()), QImage::Format_RGBA8888_Premultiplied,
      [](void* kept) { delete static_cast<std::shared_ptr<const CGImage>*>(kept); }, keep);
}

PictureNode::PictureNode(QQuickWindow& window) : quad_(window.createImageNode()) {
  quad_->setFlag(OwnedByParent, false);
  quad_->setFiltering(QSGTexture::Linear);
  quad_->setOwnsTexture(false);
  appendChildNode(quad_.get());
}

PictureNode::~PictureNode() {
  removeAllChildNodes();
}

bool PictureNode::isOpaque() const {
  return texture_ && !texture_->hasAlphaChannel();
}

void PictureNode::show(QQuickWindow& window, const std::shared_ptr<const CGImage>& bitmap, const QSizeF& size,
                       UIViewContentMode mode) {
  Placement placement = place(*bitmap, size, mode);
  const bool plain = window.rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
  const double pixelsPerPoint = window.effectiveDevicePixelRatio();
  const QSize screen = plain ? (placement.target.size() * pixelsPerPoint).toSize() : QSize();
  if (bitmap_ != bitmap || screen_ != screen || !texture_) {
    auto texture = sharedTexture(window, bitmap.get(), screen, [&] {
      return plain ? screenPixels(bitmap, placement, pixelsPerPoint) : wholePicture(bitmap);
    });
    quad_->setTexture(texture.get());
    texture_ = std::move(texture);
    bitmap_ = bitmap;
    screen_ = screen;
  }
  if (plain) placement.source = QRectF(QPointF(), QSizeF(texture_->textureSize()));
  quad_->setRect(placement.target);
  quad_->setSourceRect(placement.source);
}

}  // namespace tlx::qtquick
