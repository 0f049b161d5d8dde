#include "adapters/qtquick/views/ImageItem.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>
#include <QSGRendererInterface>
#include <algorithm>
#include <functional>
#include <tuple>
#include <map>
#include <utility>

#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UIStoryboard.h"

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
    placement.source = QRectF(QPointF((picture.width() - part.width()) / 2, (picture.height() - part.height()) / 2), part);
  } else if (mode == UIViewContentModeScaleAspectFit) {
    const QSizeF part = picture * std::min(across, down);
    placement.target = QRectF(QPointF((view.width() - part.width()) / 2, (view.height() - part.height()) / 2), part);
  }
  return placement;
}

bool isOpaque(const CGImage& bitmap) {
  for (std::size_t y = 0; y < bitmap.height(); ++y) {
    const std::uint8_t* row = bitmap.row(y);
    for (std::size_t x = 0; x < bitmap.width(); ++x) {
      if (row[4 * x + 3] != 255) return false;
    }
  }
  return true;
}

/// What the plain renderer draws: it would resample the picture again in every frame, and blend it where there is nothing
/// to blend, so it is given the very pixels of the screen.
QImage screenPixels(const UIImage& image, const Placement& placement, double pixelsPerPoint) {
  QImage part = toQImage(image);
  if (isOpaque(*image.bitmap())) part = part.convertToFormat(QImage::Format_RGB32);
  const QRect source = placement.source.toAlignedRect() & part.rect();
  const QSize size = (placement.target.size() * pixelsPerPoint).toSize().expandedTo({1, 1});
  if (source != part.rect()) part = part.copy(source);
  return part.size() == size ? part : part.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/// One texture for each picture that a window shows. Of the render thread's: a window has one, and windows that share a
/// thread are told apart by the key. `size` is nothing for textures that hold the whole picture as it is.
std::shared_ptr<QSGTexture> sharedTexture(QQuickWindow& window, const UIImage& image, const QSize& size,
                                          const std::function<QImage()>& pixels) {
  using Key = std::tuple<const QQuickWindow*, const CGImage*, int, int>;
  thread_local std::map<Key, std::weak_ptr<QSGTexture>> textures;
  thread_local std::size_t live = 0;
  auto& kept = textures[{&window, image.bitmap().get(), size.width(), size.height()}];
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

/// Keeps the picture beside the texture made of it: the key above is its address.
struct PictureNode : public QSGNode {
  QSGImageNode* quad = nullptr;
  std::shared_ptr<QSGTexture> texture;
  std::shared_ptr<const CGImage> bitmap;
  QSize screen;
};

}  // namespace

QImage toQImage(const UIImage& image) {
  const auto& bitmap = image.bitmap();
  if (!bitmap) return {};
  auto* keep = new std::shared_ptr<const CGImage>(bitmap);
  return QImage(bitmap->pixels(), static_cast<int>(bitmap->width()), static_cast<int>(bitmap->height()),
                static_cast<qsizetype>(bitmap->bytesPerRow()), QImage::Format_RGBA8888_Premultiplied,
                [](void* kept) { delete static_cast<std::shared_ptr<const CGImage>*>(kept); }, keep);
}

ImageItem::ImageItem(QQuickItem* parent) : ViewItem(parent) { setFlag(ItemHasContents); }

std::shared_ptr<UIView> ImageItem::makeView() { return std::make_shared<UIImageView>(); }

void ImageItem::seed(UIView& view) {
  auto* picture = dynamic_cast<UIImageView*>(&view);
  if (!picture) return;
  picture->setContentMode(static_cast<UIViewContentMode>(seedContentMode_));
  if (!seedImage_.isEmpty()) picture->setImage(imageNamed_inBundle(seedImage_.toStdString(), {kTLXMediaPickerBundle}));
}

bool ImageItem::isEmpty() const {
  auto picture = viewAs<UIImageView>();
  return !picture || !picture->image();
}

void ImageItem::attached() {
  update();
  Q_EMIT pictureChanged();
}

void ImageItem::apply(UIView& view, UIViewChange change) {
  if (change == UIViewChange::Image || change == UIViewChange::ContentMode) {
    update();
    Q_EMIT pictureChanged();
  } else {
    ViewItem::apply(view, change);
  }
}

void ImageItem::geometryChange(const QRectF& now, const QRectF& before) {
  ViewItem::geometryChange(now, before);
  if (now.size() != before.size()) update();
}

QSGNode* ImageItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
  auto view = viewAs<UIImageView>();
  auto* node = static_cast<PictureNode*>(old);
  const auto image = view ? view->image() : nullptr;
  if (!image || !image->bitmap() || width() <= 0 || height() <= 0) {
    delete node;
    return nullptr;
  }
  if (!node) {
    node = new PictureNode;
    node->quad = window()->createImageNode();
    node->quad->setFiltering(QSGTexture::Linear);
    node->quad->setOwnsTexture(false);
    node->appendChildNode(node->quad);
  }
  Placement placement = place(*image->bitmap(), size(), view->contentMode());
  const bool plain = window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
  const double pixelsPerPoint = window()->effectiveDevicePixelRatio();
  const QSize screen = plain ? (placement.target.size() * pixelsPerPoint).toSize() : QSize();
  if (node->bitmap != image->bitmap() || node->screen != screen || !node->texture) {
    auto texture = sharedTexture(*window(), *image, screen, [&] {
      return plain ? screenPixels(*image, placement, pixelsPerPoint) : toQImage(*image);
    });
    node->quad->setTexture(texture.get());
    node->texture = std::move(texture);
    node->bitmap = image->bitmap();
    node->screen = screen;
  }
  if (plain) placement.source = QRectF(QPointF(), QSizeF(node->texture->textureSize()));
  node->quad->setRect(placement.target);
  node->quad->setSourceRect(placement.source);
  return node;
}

}  // namespace tlx::qtquick
