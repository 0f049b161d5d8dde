#include "adapters/qtquick/views/ImageItem.h"

#include <QQuickWindow>
#include <QSGRectangleNode>
#include <utility>

#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UIStoryboard.h"

#include "adapters/qtquick/views/PictureNode.h"

namespace tlx::qtquick {

QImage toQImage(const UIImage& image) {
  return toQImage(image.bitmap());
}

ImageItem::ImageItem(QQuickItem* parent) : ViewItem(parent) {
  setFlag(ItemHasContents);
}

std::shared_ptr<UIView> ImageItem::makeView() {
  return std::make_shared<UIImageView>();
}

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

void ImageItem::setGround(const QColor& ground) {
  if (std::exchange(ground_, ground) == ground) return;
  update();
  Q_EMIT groundChanged();
}

void ImageItem::geometryChange(const QRectF& now, const QRectF& before) {
  ViewItem::geometryChange(now, before);
  if (now.size() != before.size()) update();
}

/// Never given or deprived of a child once it is drawn: the plain renderer loses the place of what is added later.
struct ImageItem::Node : public QSGNode {
  QSGRectangleNode* tile = nullptr;  // unretained: children are owned by the node
  PictureNode* picture = nullptr;    // unretained: the same
};

QSGNode* ImageItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) {
  auto view = viewAs<UIImageView>();
  const auto image = view ? view->image() : nullptr;
  const bool pictured = image && image->bitmap() && width() > 0 && height() > 0;
  auto* node = static_cast<Node*>(old);
  const bool kept = node && pictured == (node->picture != nullptr);
  if (!kept) {
    delete node;
    node = nullptr;
    if (!pictured && ground_.alpha() == 0) return nullptr;
    node = new Node;
    if (pictured) node->picture = new PictureNode(*window());
  }
  if (pictured) node->picture->show(*window(), image->bitmap(), size(), view->contentMode());
  const bool covered = pictured && node->picture->isOpaque() && view->contentMode() != UIViewContentModeScaleAspectFit;
  const bool tiled = ground_.alpha() != 0 && !covered;
  if (kept && tiled != (node->tile != nullptr)) {
    delete node;
    return updatePaintNode(nullptr, data);
  }
  if (tiled && !node->tile) node->tile = window()->createRectangleNode();
  if (node->tile) {
    node->tile->setRect(boundingRect());
    node->tile->setColor(ground_);
  }
  if (!kept && node->tile) node->appendChildNode(node->tile);
  if (!kept && node->picture) node->appendChildNode(node->picture);
  return node;
}

}  // namespace tlx::qtquick
