#include "adapters/qtquick/views/ImageItem.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>
#include <algorithm>
#include <map>
#include <utility>

#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UIStoryboard.h"

namespace tlx::qtquick {
namespace {

/// One texture for each picture that a window shows. Of the render thread's: a window has one, and windows that share a
/// thread are told apart by the key.
std::shared_ptr<QSGTexture> sharedTexture(QQuickWindow& window, const UIImage& image) {
  using Key = std::pair<const QQuickWindow*, const CGImage*>;
  thread_local std::map<Key, std::weak_ptr<QSGTexture>> textures;
  thread_local std::size_t live = 0;
  auto& kept = textures[{&window, image.bitmap().get()}];
  auto texture = kept.lock();
  if (!texture) {
    texture.reset(window.createTextureFromImage(toQImage(image), QQuickWindow::TextureHasAlphaChannel));
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
  if (node->bitmap != image->bitmap() || !node->texture) {
    auto texture = sharedTexture(*window(), *image);
    node->quad->setTexture(texture.get());
    node->texture = std::move(texture);
    node->bitmap = image->bitmap();
  }
  const double pictureWidth = static_cast<double>(image->bitmap()->width());
  const double pictureHeight = static_cast<double>(image->bitmap()->height());
  QRectF target(0, 0, width(), height());
  QRectF source(0, 0, pictureWidth, pictureHeight);
  if (view->contentMode() == UIViewContentModeScaleAspectFill) {
    const double scale = std::max(width() / pictureWidth, height() / pictureHeight);
    const QSizeF part(width() / scale, height() / scale);
    source = QRectF(QPointF((pictureWidth - part.width()) / 2, (pictureHeight - part.height()) / 2), part);
  } else if (view->contentMode() == UIViewContentModeScaleAspectFit) {
    const double scale = std::min(width() / pictureWidth, height() / pictureHeight);
    const QSizeF part(pictureWidth * scale, pictureHeight * scale);
    target = QRectF(QPointF((width() - part.width()) / 2, (height() - part.height()) / 2), part);
  }
  node->quad->setRect(target);
  node->quad->setSourceRect(source);
  return node;
}

}  // namespace tlx::qtquick
