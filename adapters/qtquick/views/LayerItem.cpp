#include "adapters/qtquick/views/LayerItem.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <utility>
#include <variant>

#include "tlx/platform/quartzcore/CALayer.h"

namespace tlx::qtquick {
namespace {

constexpr double kDegrees = 180.0 / 3.141592653589793;

template <class... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

QColor toQColor(const CGColor& c) {
  return QColor::fromRgbF(static_cast<float>(c.red), static_cast<float>(c.green), static_cast<float>(c.blue),
                          static_cast<float>(c.alpha));
}

QPainterPath toPath(const std::vector<CGContext::PathElement>& elements) {
  QPainterPath path;
  for (const auto& element : elements) {
    std::visit(Overloaded{
                   [&](const CGContext::Ellipse& e) {
                     path.addEllipse(QRectF(e.rect.origin.x, e.rect.origin.y, e.rect.size.width, e.rect.size.height));
                   },
                   [&](const CGContext::LineTo& l) { path.lineTo(l.point.x, l.point.y); },
                   [&](const CGContext::Arc& a) {
                     double sweep = a.endAngle - a.startAngle;
                     const double turn = 2 * 3.141592653589793;
                     if (!a.clockwise && sweep < 0) sweep += std::ceil(-sweep / turn) * turn;
                     if (a.clockwise && sweep > 0) sweep -= std::ceil(sweep / turn) * turn;
                     const QRectF box(a.center.x - a.radius, a.center.y - a.radius, 2 * a.radius, 2 * a.radius);
                     // The painter's angles grow upward, the context's with y, downward.
                     if (path.elementCount() == 0) path.arcMoveTo(box, -a.startAngle * kDegrees);
                     path.arcTo(box, -a.startAngle * kDegrees, -sweep * kDegrees);
                   },
                   [&](const CGContext::Close&) { path.closeSubpath(); },
               },
               element);
  }
  return path;
}

}  // namespace

LayerItem::LayerItem(std::shared_ptr<CALayer> layer, QQuickItem* parent)
    : QQuickPaintedItem(parent), layer_(std::move(layer)) {
  setAntialiasing(true);
  layer_->setDisplayHandler([this] { update(); });
}

LayerItem::~LayerItem() {
  layer_->setDisplayHandler(nullptr);
}

void LayerItem::paint(QPainter* painter) {
  painter->setRenderHint(QPainter::Antialiasing);
  for (const auto& operation : layer_->displayedContents().operations()) {
    std::visit(Overloaded{
                   [&](const CGContext::Stroke& s) {
                     painter->strokePath(toPath(s.path), QPen(toQColor(s.color), s.lineWidth));
                   },
                   [&](const CGContext::Fill& f) { painter->fillPath(toPath(f.path), toQColor(f.color)); },
               },
               operation);
  }
}

}  // namespace tlx::qtquick
