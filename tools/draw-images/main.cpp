// Draws the library's own pictures, at three pixels to a point, into the folder given.

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <functional>

namespace {

constexpr double kScale = 3;
const QColor kAccent(62, 193, 199);
const QColor kAccentInk(30, 150, 157);
const QColor kQuiet(137, 153, 160);

void draw(const QDir& folder, const char* name, QSizeF points, const std::function<void(QPainter&)>& paint) {
  QImage image((points * kScale).toSize(), QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(kScale, kScale);
  paint(painter);
  painter.end();
  if (!image.save(folder.filePath(QLatin1String(name)))) qFatal("%s cannot be written", name);
}

QPen roundPen(const QColor& color, double width) {
  return QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

void camera(QPainter& painter) {
  QPainterPath body;
  body.addRoundedRect(QRectF(1.5, 5.5, 25, 17.5), 4.5, 4.5);
  QPainterPath hump;
  hump.moveTo(8.2, 6.2);
  hump.lineTo(10.2, 2.9);
  hump.quadTo(10.8, 2, 11.9, 2);
  hump.lineTo(16.1, 2);
  hump.quadTo(17.2, 2, 17.8, 2.9);
  hump.lineTo(19.8, 6.2);
  hump.closeSubpath();
  QPainterPath lens;
  lens.addEllipse(QPointF(14, 14), 5.6, 5.6);
  QPainterPath glass;
  glass.addEllipse(QPointF(14, 14), 3.6, 3.6);
  painter.fillPath(body.united(hump).subtracted(lens).united(glass), kAccentInk);
}

void arrow(QPainter& painter) {
  painter.setPen(roundPen(kAccentInk, 4.4));
  painter.drawPolyline(QPolygonF({{4.5, 14.5}, {13.5, 5}, {22.5, 14.5}}));
}

void overlay(QPainter& painter) {
  painter.fillRect(QRectF(0, 0, 130, 130), QColor(10, 70, 74, 92));
  painter.setPen(QPen(kAccent, 5));
  painter.drawRect(QRectF(2.5, 2.5, 125, 125));
  const QPointF centre(106, 106);
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::white);
  painter.drawEllipse(centre, 16, 16);
  painter.setBrush(kAccentInk);
  painter.drawEllipse(centre, 13.6, 13.6);
  painter.setPen(roundPen(Qt::white, 3.4));
  painter.drawPolyline(
      QPolygonF({centre + QPointF(-6, 0.4), centre + QPointF(-1.8, 4.8), centre + QPointF(6.4, -4.4)}));
}

void empty(QPainter& painter) {
  painter.setPen(roundPen(kQuiet, 3));
  painter.drawRoundedRect(QRectF(14, 22, 68, 54), 10, 10);
  QPainterPath hills;
  hills.moveTo(16, 68);
  hills.lineTo(35, 46);
  hills.lineTo(49, 60);
  hills.lineTo(59, 50);
  hills.lineTo(80, 69);
  painter.drawPath(hills);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kAccent);
  painter.drawEllipse(QPointF(62, 37), 5.5, 5.5);
}

void locked(QPainter& painter) {
  painter.setPen(roundPen(kQuiet, 3));
  painter.drawRoundedRect(QRectF(22, 42, 52, 38), 9, 9);
  QPainterPath shackle;
  shackle.moveTo(33, 42);
  shackle.lineTo(33, 31);
  shackle.arcTo(QRectF(33, 16, 30, 30), 180, -180);
  shackle.lineTo(63, 42);
  painter.drawPath(shackle);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kAccent);
  painter.drawEllipse(QPointF(48, 58), 5, 5);
  painter.drawRoundedRect(QRectF(46.2, 58, 3.6, 12), 1.8, 1.8);
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(argc, argv);
  if (argc != 2) qFatal("usage: tlx-draw-images FOLDER");
  const QDir folder(QString::fromLocal8Bit(argv[1]));
  draw(folder, "camera.png", {28, 26}, camera);
  draw(folder, "up_arrow_s.png", {27, 19}, arrow);
  draw(folder, "Overlay_strong.png", {130, 130}, overlay);
  draw(folder, "empty.png", {96, 96}, empty);
  draw(folder, "locked.png", {96, 96}, locked);
}
