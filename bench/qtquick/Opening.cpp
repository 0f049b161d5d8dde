// From a process's start to the first frame in which every visible cell has its picture, over folders of JPEGs that
// nobody has seen and over the same once they are known; against an empty Qt Quick window's first frame. And what an
// idle window weighs without its records, with a hundred times the items.

#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include <malloc.h>

#include "tlx/library/AlbumModel.h"

#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "bench/qtquick/Frames.h"
#include "bench/qtquick/PickerScreen.h"
#include "bench/qtquick/SyntheticLibrary.h"

namespace {

using namespace tlx;
using namespace tlx::bench;

constexpr QSize kScreen{375, 667};
constexpr double kOpening = 2, kGrowth = 1.2;
constexpr int kRounds = 7;

long long now() {
  return std::chrono::steady_clock::now().time_since_epoch().count();
}

/// The child's work: the window as the program opens it. Prints when it was filled.
int open(const QString& folder, const QString& cache) {
  StderrLog log;
  qtquick::QtPlatform::Loops loops;
  photolibrary::PhotoLibrary::Options options;
  options.roots = {folder.toStdString()};
  options.host = "bench";
  options.preauthorised = true;
  options.cacheFolder = cache.toStdString();
  photolibrary::PhotoLibrary library(options, log);
  photolibrary::ImageManager images(library, loops.mainQueue);
  bool filled = false;
  {
    library.waitUntilOpened();
    PickerScreen screen(loops, library, images, kScreen);
    QObject::connect(
        &screen.window(), &QQuickWindow::frameSwapped, &screen.window(),
        [&] {
          if (filled || !screen.isFilled()) return;
          filled = true;
          std::printf("%lld\n", now());
        },
        Qt::QueuedConnection);
    spin(20, [&] { return filled; });
    if (filled) library.waitUntilScanned();
  }
  images.stop();
  library.stop();
  return filled ? 0 : 1;
}

/// The child's work: an idle window over so many items. Prints its resident kilobytes less those of the records.
int idle(int items) {
  const auto records = [&](SyntheticLibrary& library) {
    const PHAssetCollection roll{PHAssetCollectionTypeSmartAlbum, Identifier("roll"), "Camera Roll"};
    return AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount(
        "roll", library.fetchAssets(roll, {}), "Camera Roll", items);
  };
  ::malloc_trim(0);
  const long before = residentKilobytes();
  SyntheticLibrary library(static_cast<std::size_t>(items));
  auto album = records(library);
  ::malloc_trim(0);
  const long weight = residentKilobytes() - before;
  album.reset();
  ReadyImages images(makePictures(64));
  qtquick::QtPlatform::Loops loops;
  PickerScreen screen(loops, library, images, kScreen);
  spin(1);
  ::malloc_trim(0);
  std::printf("%ld\n", residentKilobytes() - weight);
  return 0;
}

/// What the program prints as its first line, or −1.
long long answerOf(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  process.start(program, arguments);
  if (!process.waitForFinished(60'000) || process.exitCode() != 0) return -1;
  return process.readAllStandardOutput().split('\n').first().toLongLong();
}

double millisecondsUntilShown(const QString& program, const QStringList& arguments) {
  const long long start = now();
  const long long shown = answerOf(program, arguments);
  return shown < 0 ? -1 : static_cast<double>(shown - start) / 1e6;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND")) qputenv("QT_QUICK_BACKEND", "software");
  QGuiApplication application(argc, argv);
  const QStringList words = QCoreApplication::arguments();
  if (words.size() == 4 && words[1] == QLatin1String("open")) return open(words[2], words[3]);
  if (words.size() == 3 && words[1] == QLatin1String("idle")) return idle(words[2].toInt());

  const QString self = QCoreApplication::applicationFilePath(), bin = QCoreApplication::applicationDirPath();
  const QString count = words.size() > 1 ? words[1] : QStringLiteral("2000");
  QTemporaryDir folder, known, thumbnails;
  qputenv("XDG_CACHE_HOME", thumbnails.path().toLocal8Bit());
  if (QProcess::execute(bin + QStringLiteral("/tlx-sample-library"),
                        {QStringLiteral("--many"), count, folder.path()}) != 0) {
    return 1;
  }
  answerOf(self, {QStringLiteral("open"), folder.path(), known.path()});
  std::vector<double> empty, fresh, again;
  for (int round = 0; round < kRounds; ++round) {
    empty.push_back(millisecondsUntilShown(bin + QStringLiteral("/tlx-empty-window"), {}));
    again.push_back(millisecondsUntilShown(self, {QStringLiteral("open"), folder.path(), known.path()}));
    QTemporaryDir unseen;
    qputenv("XDG_CACHE_HOME", unseen.path().toLocal8Bit());
    fresh.push_back(millisecondsUntilShown(self, {QStringLiteral("open"), folder.path(), unseen.path()}));
    qputenv("XDG_CACHE_HOME", thumbnails.path().toLocal8Bit());
  }
  const double peer = median(empty);
  bool kept = true;
  const auto print = [&](const char* what, double ours) {
    kept &= ours > 0 && ours <= kOpening * peer;
    std::printf("%-36s %7.1f ms  empty window %7.1f ms  ratio %5.2f  budget %.1f  %s\n", what, ours, peer, ours / peer,
                kOpening, ours > 0 && ours <= kOpening * peer ? "kept" : "MISSED");
  };
  print("first screen of a known library", median(again));
  print("first screen of a never-seen library", median(fresh));

  const auto few = static_cast<double>(answerOf(self, {QStringLiteral("idle"), QStringLiteral("10000")}));
  const auto many = static_cast<double>(answerOf(self, {QStringLiteral("idle"), QStringLiteral("1000000")}));
  kept &= many <= kGrowth * few;
  std::printf("%-36s %7.1f MB  with 10,000 %7.1f MB  ratio %5.2f  budget %.1f  %s\n", "idle window of 1,000,000 items",
              many / 1024, few / 1024, many / few, kGrowth, many <= kGrowth * few ? "kept" : "MISSED");
  return kept ? 0 : 1;
}
