#include "adapters/qtquick/views/GapsItem.h"

#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QSGRendererInterface>
#include <utility>

namespace tlx::qtquick {

struct GapsItem::Node : public QSGNode {
  std::vector<QSGRectangleNode*> strips;  // unretained: children are owned by the node
};

GapsItem::GapsItem(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
  setZ(-1);
}

void GapsItem::show(std::vector<QRectF> gaps, const QColor& color) {
  if (gaps == gaps_ && color == color_) return;
  gaps_ = std::move(gaps);
  color_ = color;
  update();
}

QSGNode* GapsItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
  auto* node = static_cast<Node*>(old);
  const bool plain = window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
  // What is added to a node that is drawn already would not be in its place: those left over are empty instead.
  if (!plain || color_.alpha() != 255 || (node && node->strips.size() < gaps_.size())) {
    delete node;
    node = nullptr;
  }
  if (!plain || color_.alpha() != 255) return nullptr;
  if (!node) {
    node = new Node;
    for (std::size_t i = 0; i < gaps_.size() + 2; ++i) {
      node->strips.push_back(window()->createRectangleNode());
      node->appendChildNode(node->strips.back());
    }
  }
  for (std::size_t i = 0; i < node->strips.size(); ++i) {
    const QRectF rect = i < gaps_.size() ? gaps_[i] : QRectF();
    if (node->strips[i]->rect() != rect) node->strips[i]->setRect(rect);
    if (node->strips[i]->color() != color_) node->strips[i]->setColor(color_);
  }
  return node;
}

}  // namespace tlx::qtquick
