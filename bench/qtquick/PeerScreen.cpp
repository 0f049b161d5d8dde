#include "bench/qtquick/PeerScreen.h"

#include <QQmlComponent>
#include <QQuickImageProvider>
#include <functional>
#include <string>

#include "adapters/qtquick/views/ImageItem.h"

namespace tlx::bench {
namespace {

class Provider final : public QQuickImageProvider {
 public:
  explicit Provider(const std::vector<std::shared_ptr<const UIImage>>& pictures)
      : QQuickImageProvider(QQuickImageProvider::Image) {
    for (const auto& picture : pictures) images_.push_back(qtquick::toQImage(*picture));
  }
  QImage requestImage(const QString& id, QSize* size, const QSize&) override {
    const QImage& image = images_[std::hash<std::string>{}(id.toStdString()) % images_.size()];
    if (size) *size = image.size();
    return image;
  }

 private:
  std::vector<QImage> images_;
};

}  // namespace

PeerScreen::PeerScreen(int items, const std::vector<std::shared_ptr<const UIImage>>& pictures, QSize size) {
  engine_.addImageProvider(QStringLiteral("pictures"), new Provider(pictures));
  show(items, {}, size);
}

PeerScreen::PeerScreen(const QStringList& files, QSize size) {
  show(static_cast<int>(files.size()), files, size);
}

PeerScreen::~PeerScreen() = default;

void PeerScreen::show(int items, const QStringList& files, QSize size) {
  window_.resize(size);
  window_.show();
  QQmlComponent component(&engine_, QUrl(QStringLiteral("qrc:/bench/Peer.qml")));
  root_.reset(qobject_cast<QQuickItem*>(
      component.createWithInitialProperties({{QStringLiteral("files"), files}, {QStringLiteral("itemCount"), items}})));
  if (!root_) qFatal("%s", qPrintable(component.errorString()));
  root_->setParentItem(window_.contentItem());
  root_->setSize(size);
}

void PeerScreen::scrollTo(double offset) {
  root_->setProperty("offset", offset);
}

double PeerScreen::end() const {
  return root_->property("end").toDouble();
}

std::pair<int, int> PeerScreen::blanks() const {
  int empty = 0, all = 0;
  const double top = root_->property("offset").toDouble();
  const auto* grid = root_->property("grid").value<QQuickItem*>();
  for (const QQuickItem* cell : grid->property("contentItem").value<QQuickItem*>()->childItems()) {
    if (!cell->property("ready").isValid() || !cell->isVisible()) continue;
    if (cell->y() + cell->height() < top || cell->y() > top + grid->height()) continue;
    ++all;
    if (!cell->property("ready").toBool()) ++empty;
  }
  return {empty, all};
}

bool PeerScreen::isFilled() const {
  const auto [empty, all] = blanks();
  return all > 0 && empty == 0;
}

}  // namespace tlx::bench
