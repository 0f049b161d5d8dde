#include "Paint.h"

#include <array>
#include <numeric>

namespace tlx::samples {
namespace {

struct Lattice {
  std::array<std::size_t, 512> order{};
  std::array<QPointF, 256> slopes;
  Lattice() {
    Random random(2019);
    std::iota(order.begin(), order.begin() + 256, 0);
    for (std::size_t i = 256; i-- > 0;) {
      const double angle = random.in(0, 6.2831853);
      slopes[i] = {std::cos(angle) * 1.5, std::sin(angle) * 1.5};
      std::swap(order[i], order[static_cast<std::size_t>(random.below(static_cast<int>(i) + 1))]);
    }
    std::copy_n(order.begin(), 256, order.begin() + 256);
  }
};
const Lattice kLattice;

}  // namespace

QColor Rgb::color(double alpha) const {
  return QColor::fromRgbF(static_cast<float>(clamp01(r)), static_cast<float>(clamp01(g)),
                          static_cast<float>(clamp01(b)), static_cast<float>(clamp01(alpha)));
}

Rgb Gradient::at(double t) const {
  const double place = clamp01(t) * static_cast<double>(stops_.size() - 1);
  const auto i = std::min(stops_.size() - 2, static_cast<std::size_t>(place));
  return mix(stops_[i], stops_[i + 1], place - static_cast<double>(i));
}

std::uint32_t Random::bits() {
  state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
  const auto shifted = static_cast<std::uint32_t>(((state_ >> 18U) ^ state_) >> 27U);
  const auto turn = static_cast<std::uint32_t>(state_ >> 59U);
  return (shifted >> turn) | (shifted << ((32U - turn) & 31U));
}

double noise(double x, double y) {
  // Counted from far below zero, so that cutting off rounds down: a call of floor() would take longer than all the
  // rest.
  constexpr int kFar = 1 << 20;
  const int left = static_cast<int>(x + kFar) - kFar, top = static_cast<int>(y + kFar) - kFar;
  const double fx = x - left, fy = y - top;
  const auto xi = static_cast<std::size_t>(left & 255), yi = static_cast<std::size_t>(top & 255);
  const auto& order = kLattice.order;
  const auto pull = [&](unsigned i, unsigned j) {
    const QPointF& slope = kLattice.slopes[order[order[xi + i] + yi + j] & 255];
    return slope.x() * (fx - i) + slope.y() * (fy - j);
  };
  const double u = fx * fx * fx * (fx * (fx * 6 - 15) + 10), v = fy * fy * fy * (fy * (fy * 6 - 15) + 10);
  return std::lerp(std::lerp(pull(0, 0), pull(1, 0), u), std::lerp(pull(0, 1), pull(1, 1), u), v);
}

double fbm(double x, double y, int octaves) {
  double sum = 0;
  for (double weight = 0.5; octaves > 0; --octaves, weight *= 0.5) {
    sum += weight * noise(x, y);
    const double turned = 1.6 * x - 1.2 * y + 5.3;
    y = 1.2 * x + 1.6 * y + 1.7, x = turned;
  }
  return sum;
}

double ridged(double x, double y, int octaves) {
  double sum = 0, carry = 1;
  for (double weight = 0.5; octaves > 0; --octaves, weight *= 0.5) {
    const double crest = 1 - std::fabs(noise(x, y)), sharp = crest * crest;
    sum += weight * sharp * carry;
    carry = clamp01(sharp * 1.4);
    const double turned = 1.6 * x - 1.2 * y + 9.1;
    y = 1.2 * x + 1.6 * y + 3.7, x = turned;
  }
  return sum;
}

Rgb Canvas::sample(double x, double y) const {
  const int column = std::clamp(static_cast<int>(x * image.height()), 0, image.width() - 1);
  const int row = std::clamp(static_cast<int>(y * image.height()), 0, image.height() - 1);
  return unpacked(reinterpret_cast<const QRgb*>(image.constScanLine(row))[column]);
}

void Canvas::veil(double top, double bottom, const std::function<std::pair<Rgb, double>(double, double)>& paint) {
  constexpr int kStep = 3;
  const int height = image.height();
  const int from = std::max(0, static_cast<int>(top * height)),
            to = std::min(height, static_cast<int>(bottom * height));
  QImage soft(image.width() / kStep + 1, std::max(1, (to - from) / kStep), QImage::Format_ARGB32_Premultiplied);
  const double down = static_cast<double>(to - from) / soft.height(),
               across = static_cast<double>(image.width()) / soft.width();
  for (int y = 0; y < soft.height(); ++y)
    for (int x = 0; x < soft.width(); ++x) {
      const auto [colour, alpha] = paint((x + 0.5) * across * pixel(), (from + (y + 0.5) * down) * pixel());
      reinterpret_cast<QRgb*>(soft.scanLine(y))[x] = qPremultiply(colour.color(alpha).rgba());
    }
  QPainter painter(&image);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(QRectF(0, from, image.width(), to - from), soft);
}

std::vector<double> Canvas::heights(const std::function<double(double)>& line) const {
  std::vector<double> all(static_cast<std::size_t>(image.width()));
  for (std::size_t x = 0; x < all.size(); ++x) all[x] = line((static_cast<double>(x) + 0.5) * pixel());
  return all;
}

void Canvas::draw(const std::function<void(QPainter&)>& each) {
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.scale(image.height(), image.height());
  each(painter);
}

void Canvas::fill(const QPainterPath& path, const QBrush& brush) {
  draw([&](QPainter& painter) { painter.fillPath(path, brush); });
}

void Canvas::disc(double x, double y, double radius, Rgb colour, double alpha) {
  fill(ellipse(x, y, radius, radius), colour.color(alpha));
}

void Canvas::glow(double x, double y, double radius, Rgb light, double strength) {
  draw([&](QPainter& painter) {
    painter.setCompositionMode(QPainter::CompositionMode_Screen);
    QRadialGradient fade({x, y}, radius);
    for (int i = 0; i <= 8; ++i) fade.setColorAt(i / 8.0, light.color(strength * std::pow(1 - i / 8.0, 2.4)));
    painter.fillRect(QRectF(x - radius, y - radius, 2 * radius, 2 * radius), fade);
  });
}

void Canvas::shadow(const QPainterPath& path, double away, double softness, double strength) {
  constexpr int kRings = 6;
  draw([&](QPainter& painter) {
    painter.translate(away, away * 1.3);
    painter.setBrush(QColor::fromRgbF(0, 0, 0, static_cast<float>(strength / kRings)));
    for (int i = 0; i < kRings; ++i) {
      painter.setPen(QPen(painter.brush(), softness * 2 * i / kRings, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
      painter.drawPath(path);
    }
  });
}

void Canvas::blur(double radius) {
  const double shrink = std::max(1.0, radius * image.height() / 1.5);
  const QSize small(std::max(2, static_cast<int>(image.width() / shrink)),
                    std::max(2, static_cast<int>(image.height() / shrink)));
  const auto scaled = [](const QImage& from, QSize size) {
    return from.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).convertToFormat(QImage::Format_RGB32);
  };
  image = scaled(scaled(scaled(image, small), (small + image.size()) / 2), image.size());
}

void Canvas::finish(double bloom, double vignette) {
  Canvas soft = *this;
  soft.blur(0.05);
  QPainter painter(&image);
  painter.setCompositionMode(QPainter::CompositionMode_SoftLight);
  painter.setOpacity(bloom);
  painter.drawImage(0, 0, soft.image);
  painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  painter.setOpacity(1);
  const double reach = std::hypot(image.width(), image.height()) / 2;
  QRadialGradient dark(QPointF(image.width(), image.height()) / 2, reach);
  dark.setColorAt(0.45, Qt::transparent);
  dark.setColorAt(1, QColor::fromRgbF(0, 0, 0, static_cast<float>(vignette)));
  painter.fillRect(image.rect(), dark);
}

QPainterPath ellipse(double x, double y, double rx, double ry) {
  QPainterPath path;
  path.addEllipse(QPointF(x, y), rx, ry);
  return path;
}

QPainterPath petal(double x, double y, double angle, double length, double width) {
  QPainterPath path({0, 0});
  path.cubicTo(length * 0.25, -width * 0.35, length * 0.6, -width * 0.75, length, 0);
  path.cubicTo(length * 0.6, width * 0.75, length * 0.25, width * 0.35, 0, 0);
  return QTransform().translate(x, y).rotateRadians(angle).map(path);
}

QBrush round(double x, double y, double radius, Rgb colour) {
  QRadialGradient light(QPointF(x, y), radius, QPointF(x - radius * 0.35, y - radius * 0.42));
  light.setColorAt(0, mix(colour, {1, 1, 1}, 0.75).color());
  light.setColorAt(0.14, mix(colour, {1, 1, 1}, 0.25).color());
  light.setColorAt(0.55, colour.color());
  light.setColorAt(0.93, (colour * 0.42).color());
  light.setColorAt(1, (colour * 0.62).color());
  return light;
}

}  // namespace tlx::samples
