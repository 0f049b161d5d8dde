// Scroll frames of the picker's grid beside those of a QML GridView with the same cells, in one run, off screen.
// With a folder as argument, saves screenshots of the window's states there instead.

#include <QColor>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickAsyncImageProvider>
#include <QQuickImageProvider>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>

#include "SyntheticLibrary.h"
#include "adapters/qtquick/QtPlatform.h"
#include "adapters/qtquick/views/ImageItem.h"
#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/views/CollectionViewCell.h"

namespace {

using namespace tlx;
using bench::NoNetwork;
using bench::ReadyImages;
using bench::StderrLog;
using bench::SyntheticLibrary;

constexpr int kPictures = 48;
constexpr int kFrames = 300;

std::vector<std::shared_ptr<const UIImage>> makePictures() {
  std::vector<std::shared_ptr<const UIImage>> pictures;
  for (int i = 0; i < kPictures; ++i) {
    std::vector<std::uint8_t> pixels(130 * 130 * 4);
    const QColor top = QColor::fromHsvF(static_cast<float>(i) / kPictures, 0.55f, 0.9f);
    const QColor bottom = QColor::fromHsvF(std::fmod(static_cast<float>(i) / kPictures + 0.15f, 1.0f), 0.6f, 0.45f);
    for (int y = 0; y < 130; ++y) {
      for (int x = 0; x < 130; ++x) {
        const double t = (y + 10 * std::sin(x * 0.05 + i)) / 130.0;
        const double u = std::clamp(t, 0.0, 1.0);
        std::uint8_t* pixel = &pixels[static_cast<std::size_t>((y * 130 + x) * 4)];
        pixel[0] = static_cast<std::uint8_t>(top.red() + (bottom.red() - top.red()) * u);
        pixel[1] = static_cast<std::uint8_t>(top.green() + (bottom.green() - top.green()) * u);
        pixel[2] = static_cast<std::uint8_t>(top.blue() + (bottom.blue() - top.blue()) * u);
        pixel[3] = 255;
      }
    }
    pictures.push_back(std::make_shared<UIImage>(CGImage::create(130, 130, std::move(pixels))));
  }
  return pictures;
}

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

class Host final : public TLXMediaPickerControllerDelegate {
 public:
  std::int64_t maxSelectedMedia() override { return 3; }
  CGSize selectedImageSize() override { return {1600, 1600}; }
  void mediaPickerCancelPressed() override {}
  void mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController&, const MediaList&) override {}
};

void spin(int milliseconds) {
  QEventLoop loop;
  QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
  loop.exec();
}

void nextFrame(QQuickWindow& window) {
  QEventLoop loop;
  auto connection = QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit, Qt::QueuedConnection);
  window.update();
  loop.exec();
  QObject::disconnect(connection);
}

struct Times {
  double median, p95, p99, worst;
  double blank;  // percent of the visible cells, over all frames
};

Times measure(QQuickWindow& window, double step, bool paced, const std::function<void(double)>& scrollTo,
              const std::function<std::pair<int, int>()>& blanks) {
  std::vector<double> times;
  long blank = 0, visible = 0;
  double offset = 0;
  for (int i = 0; i < 20; ++i) nextFrame(window);
  for (int i = 0; i < kFrames; ++i) {
    QElapsedTimer clock;
    clock.start();
    offset += step;
    scrollTo(offset);
    nextFrame(window);
    times.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    const auto [empty, all] = blanks();
    blank += empty;
    visible += all;
    if (paced && times.back() < 16.6) spin(static_cast<int>(16.6 - times.back()));
  }
  std::sort(times.begin(), times.end());
  const auto at = [&](double part) { return times[static_cast<std::size_t>(part * (kFrames - 1))]; };
  return {at(0.5), at(0.95), at(0.99), times.back(), visible ? 100.0 * static_cast<double>(blank) / static_cast<double>(visible) : 0};
}

long residentKilobytes() {
  long pages = 0, resident = 0;
  if (FILE* file = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(file);
  }
  return resident * 4;
}

void print(const char* name, const Times& t) {
  std::printf("  %-26s median %6.2f ms  p95 %6.2f  p99 %6.2f  worst %6.2f  blank %.2f %%\n", name, t.median, t.p95, t.p99,
              t.worst, t.blank);
}

class Picker {
 public:
  Picker(std::size_t count, const std::vector<std::shared_ptr<const UIImage>>& pictures, QSize size)
      : library_(count), images_(pictures) {
    window_.resize(size);
    window_.show();
    platform_ = std::make_unique<qtquick::QtPlatform>(loops_, window_, library_, images_, network_, log_);
    picker_ = TLXMediaPickerController::mediaPickerController_delegate(0, &host_);
    platform_->window().model()->setRootViewController(picker_);
    spin(900);
  }
  ~Picker() {
    platform_->window().model()->setRootViewController(nullptr);
    picker_.reset();
  }

  QQuickWindow& window() { return window_; }
  TLXMediaPickerController& controller() { return *picker_; }
  UICollectionView& grid() { return *picker_->mediaCollectionViewCotroller->collectionView(); }
  std::pair<int, int> blanks() {
    int empty = 0, all = 0;
    for (const auto& [index, cell] : grid().visibleCells()) {
      auto picture = std::static_pointer_cast<CollectionViewCell>(cell)->imgViewImagIcon.lock();
      ++all;
      if (!picture || !picture->image()) ++empty;
    }
    return {empty, all};
  }
  qtquick::QtPlatform& platform() { return *platform_; }

 private:
  SyntheticLibrary library_;
  ReadyImages images_;
  NoNetwork network_;
  StderrLog log_;
  Host host_;
  qtquick::QtPlatform::Loops loops_;
  QQuickWindow window_;
  std::unique_ptr<qtquick::QtPlatform> platform_;
  std::shared_ptr<TLXMediaPickerController> picker_;
};

int shots(const QString& folder, const std::vector<std::shared_ptr<const UIImage>>& pictures) {
  const auto save = [&](Picker& picker, const char* name) {
    spin(50);
    picker.window().grabWindow().save(folder + QLatin1Char('/') + QLatin1String(name));
  };
  Picker picker(1000, pictures, {375, 667});
  save(picker, "grid.png");
  for (int i : {0, 5}) picker.grid().tappedAt({0, i});
  spin(400);
  save(picker, "picked.png");
  for (int i : {2, 9}) picker.grid().tappedAt({0, i});
  spin(700);
  save(picker, "limit.png");
  auto title = picker.controller().btnAlbumPicker.lock();
  title->press();
  spin(600);
  save(picker, "albums.png");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_UPDATE_IDLE_TIME", "0");
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND")) qputenv("QT_QUICK_BACKEND", "software");
  QGuiApplication application(argc, argv);
  const auto pictures = makePictures();
  if (argc > 1) return shots(QString::fromLocal8Bit(argv[1]), pictures);

  for (const double step : {40.0, 400.0}) {
    for (const bool paced : {false, true}) {
      Times ours{}, peer{};
      {
        Picker picker(100000, pictures, {375, 667});
        ours = measure(
            picker.window(), step, paced, [&](double offset) { picker.grid().setContentOffset({0, offset}); },
            [&] { return picker.blanks(); });
      }
      {
        QQmlEngine engine;
        engine.addImageProvider(QStringLiteral("pictures"), new Provider(pictures));
        QQuickWindow window;
        window.resize(375, 667);
        window.show();
        QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/bench/Peer.qml")));
        std::unique_ptr<QQuickItem> root(qobject_cast<QQuickItem*>(component.create()));
        if (!root) qFatal("%s", qPrintable(component.errorString()));
        root->setParentItem(window.contentItem());
        spin(900);
        auto* grid = root->property("grid").value<QQuickItem*>();
        peer = measure(
            window, step, paced, [&](double offset) { root->setProperty("offset", offset); },
            [&] {
              int empty = 0, all = 0;
              const double top = root->property("offset").toDouble();
              for (QQuickItem* cell : grid->property("contentItem").value<QQuickItem*>()->childItems()) {
                if (!cell->property("ready").isValid() || !cell->isVisible()) continue;
                if (cell->y() + cell->height() < top || cell->y() > top + 667) continue;
                ++all;
                if (!cell->property("ready").toBool()) ++empty;
              }
              return std::pair(empty, all);
            });
      }
      std::printf("%g px a frame, %s\n", step, paced ? "paced" : "unpaced");
      print("picker", ours);
      print("QML GridView", peer);
      std::printf("  ratio: median %.2f, p99 %.2f   (budget 0.60, no blank cell when paced)\n", ours.median / peer.median,
                  ours.p99 / peer.p99);
    }
  }
  std::printf("resident %ld MB at the end\n", residentKilobytes() / 1024);
  return 0;
}
