#include "adapters/qtquick/views/ShadeItem.h"

#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "tlx/platform/uikit/UIImage.h"

#include "adapters/qtquick/views/PictureNode.h"

namespace tlx::qtquick {
namespace {

std::shared_ptr<const CGImage> columnOf(const QColor& top, const QColor& bottom, int pixels) {
  std::vector<std::uint8_t> column;
  for (int y = 0; y < pixels; ++y) {
    const float part = (static_cast<float>(y) + 0.5f) / static_cast<float>(pixels);
    const auto between = [part](float from, float to) { return from + (to - from) * part; };
    const float alpha = between(top.alphaF(), bottom.alphaF());
    for (const float value :
         {between(top.redF(), bottom.redF()) * alpha, between(top.greenF(), bottom.greenF()) * alpha,
          between(top.blueF(), bottom.blueF()) * alpha, alpha}) {
      column.push_back(static_cast<std::uint8_t>(std::lround(value * 255)));
    }
  }
  return CGImage::create(1, static_cast<std::size_t>(pixels), std::move(column));
}

}  // namespace

ShadeItem::ShadeItem(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
  connect(this, &ShadeItem::colorsChanged, this, [this] {
    column_.reset();
    update();
  });
}

void ShadeItem::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  if (now.size() != before.size()) update();
}

QSGNode* ShadeItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
  auto* node = static_cast<PictureNode*>(old);
  if (width() <= 0 || height() <= 0) {
    delete node;
    return nullptr;
  }
  const int pixels = std::max(1, static_cast<int>(std::lround(height() * window()->effectiveDevicePixelRatio())));
  if (!column_ || column_->height() != static_cast<std::size_t>(pixels)) column_ = columnOf(from_, to_, pixels);
  if (!node) node = new PictureNode(*window());
  node->show(*window(), column_, size(), UIViewContentModeScaleToFill);
  return node;
}

}  // namespace tlx::qtquick
