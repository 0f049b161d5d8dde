// From a process's start to the picker's first frame, and to the first frame in which every visible cell has its
// picture, over folders of JPEGs that nobody has seen and over the same once they are known; against the first frame of
// a window whose QML shows one word, and of an empty one. Where the time goes. What an idle window and its decoders
// weigh, and what it weighs without its records with a hundred times the items.

#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <malloc.h>

#include "tlx/library/AlbumModel.h"
#include "tlx/views/MediaCollectionViewController.h"

#include "adapters/photolibrary/FirstScreen.h"
#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/decoding/ConfinedDecoders.h"
#include "adapters/photolibrary/decoding/DecoderFolder.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "adapters/qtquick/window/FontsAhead.h"
#include "bench/qtquick/Frames.h"
#include "bench/qtquick/PickerScreen.h"
#include "bench/qtquick/SyntheticLibrary.h"

namespace {

using namespace tlx;
using namespace tlx::bench;

constexpr QSize kScreen{375, 667};
constexpr double kFirstFrame = 2, kGrowth = 1.2;
/// What the album list waits before it reports its first album, and a frame.
constexpr double kGivenPause = 100 + 1000.0 / 60;
constexpr int kRounds = 9;

long long now() {
  return std::chrono::steady_clock::now().time_since_epoch().count();
}

/// The child's moments, in their order.
enum Moment { Main, Library, Screen, FirstFrame, Cells, Filled, kMoments };
constexpr const char* kNames[] = {"main",      "the library is open", "the screen is made", "its first frame",
                                  "its cells", "all their pictures"};

/// Proportional kilobytes of a process.
long weight(const std::string& process) {
  std::ifstream lines("/proc/" + process + "/smaps_rollup");
  for (std::string word; lines >> word;) {
    long kilobytes = 0;
    if (word == "Pss:" && lines >> kilobytes) return kilobytes;
  }
  return 0;
}

/// The same of the processes that this one has started and that still run.
long weightOfChildren() {
  long all = 0;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream children(thread.path() / "children");
    for (std::string child; children >> child;) all += weight(child);
  }
  return all;
}

/// The child's work: the window as the program opens it. Prints its moments, then what it and its decoders weigh.
int open(const QString& folder, const QString& cache, long long started) {
  long long moments[kMoments] = {started};
  StderrLog log;
  qtquick::QtPlatform::Loops loops;
  photolibrary::PhotoLibrary::Options options;
  options.roots = {folder.toStdString()};
  options.host = "bench";
  options.preauthorised = true;
  options.cacheFolder = cache.toStdString();
  photolibrary::PixelStore pixels(photolibrary::PixelStore::defaultFolder());
  photolibrary::ConfinedDecoders decoders(pixels, {photolibrary::decoderFolder()});
  photolibrary::PhotoLibrary library(options, decoders, log);
  photolibrary::ImageManager images(library, decoders, pixels, loops.mainQueue);
  bool filled = false;
  {
    PickerScreen screen(loops, library, images, kScreen);
    library.waitUntilOpened();
    moments[Library] = now();
    screen.open();
    moments[Screen] = now();
    QObject::connect(
        &screen.window(), &QQuickWindow::frameSwapped, &screen.window(),
        [&] {
          if (filled) return;
          const long long at = now();
          if (moments[FirstFrame] == 0) {
            moments[FirstFrame] = at;
            photolibrary::preheatNewest(library, images, {130, 130},
                                        photolibrary::cellsIn({375, 667}, sizeCollectionViewCell));
          }
          if (moments[Cells] == 0 && screen.hasCells()) moments[Cells] = at;
          if (!screen.isFilled()) return;
          filled = true;
          moments[Filled] = at;
        },
        Qt::QueuedConnection);
    spin(20, [&] { return filled; });
    if (filled) library.waitUntilScanned();
    spin(1);
    for (const long long moment : moments) std::printf("%lld ", moment);
    std::printf("%ld %ld\n", weight("self"), weightOfChildren());
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
  screen.open();
  spin(1);
  ::malloc_trim(0);
  std::printf("%ld\n", residentKilobytes() - weight);
  return 0;
}

/// What the program prints as its first line, as numbers; none when it failed.
std::vector<double> answerOf(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  process.start(program, arguments);
  if (!process.waitForFinished(60'000) || process.exitCode() != 0) return {};
  std::vector<double> numbers;
  for (const QByteArray& word : process.readAllStandardOutput().simplified().split(' ')) {
    numbers.push_back(word.toDouble());
  }
  return numbers;
}

/// The medians of several runs, number by number; moments become milliseconds since the process was started.
class Runs {
 public:
  Runs(QString program, std::size_t moments) : program_(std::move(program)), moments_(moments) {}
  void add(const QStringList& arguments) {
    const auto start = static_cast<double>(now());
    auto numbers = answerOf(program_, arguments);
    if (numbers.size() < moments_) std::exit(1);
    for (std::size_t i = 0; i < moments_; ++i) numbers[i] = (numbers[i] - start) / 1e6;
    all_.push_back(std::move(numbers));
  }
  double median(std::size_t which) const {
    std::vector<double> values;
    for (const auto& run : all_) values.push_back(run[which]);
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
  }

 private:
  const QString program_;
  const std::size_t moments_;
  std::vector<std::vector<double>> all_;
};

}  // namespace

int main(int argc, char** argv) {
  const long long started = now();
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND")) qputenv("QT_QUICK_BACKEND", "software");
  const qtquick::FontsAhead fonts;
  QGuiApplication application(argc, argv);
  const QStringList words = QCoreApplication::arguments();
  if (words.size() == 4 && words[1] == QLatin1String("open")) return open(words[2], words[3], started);
  if (words.size() == 3 && words[1] == QLatin1String("idle")) return idle(words[2].toInt());

  const QString self = QCoreApplication::applicationFilePath(), bin = QCoreApplication::applicationDirPath();
  const QString count = words.size() > 1 ? words[1] : QStringLiteral("2000");
  QTemporaryDir folder, known, thumbnails;
  qputenv("XDG_CACHE_HOME", thumbnails.path().toLocal8Bit());
  qputenv("XDG_RUNTIME_DIR", thumbnails.path().toLocal8Bit());
  if (QProcess::execute(bin + QStringLiteral("/tlx-sample-library"),
                        {QStringLiteral("--many"), count, folder.path()}) != 0) {
    return 1;
  }
  answerOf(self, {QStringLiteral("open"), folder.path(), known.path()});
  Runs empty(bin + QStringLiteral("/tlx-empty-window"), 1), word(bin + QStringLiteral("/tlx-word-window"), 1);
  Runs again(self, kMoments), fresh(self, kMoments);
  for (int round = 0; round < kRounds; ++round) {
    empty.add({});
    word.add({});
    again.add({QStringLiteral("open"), folder.path(), known.path()});
    QTemporaryDir unseen;
    qputenv("XDG_CACHE_HOME", unseen.path().toLocal8Bit());
    fresh.add({QStringLiteral("open"), folder.path(), unseen.path()});
    qputenv("XDG_CACHE_HOME", thumbnails.path().toLocal8Bit());
  }
  const double peer = word.median(0);
  bool kept = true;
  const auto print = [&](const char* what, double ours, double budget) {
    kept &= ours <= budget;
    std::printf("%-40s %7.1f ms  ratio to the word %5.2f  budget %6.1f ms  %s\n", what, ours, ours / peer, budget,
                ours <= budget ? "kept" : "MISSED");
  };
  std::printf("%-40s %7.1f ms\n%-40s %7.1f ms\n", "empty window", empty.median(0), "QML window of one word", peer);
  print("first frame, known library", again.median(FirstFrame), kFirstFrame * peer);
  print("first frame, never-seen library", fresh.median(FirstFrame), kFirstFrame * peer);
  print("first full screen, known library", again.median(Filled), again.median(FirstFrame) + kGivenPause);
  print("first full screen, never-seen library", fresh.median(Filled), fresh.median(FirstFrame) + kGivenPause);
  std::printf("%-40s %10s %10s\n", "until (ms)", "known", "never seen");
  for (std::size_t i = 0; i < kMoments; ++i) {
    std::printf("  %-38s %10.1f %10.1f\n", kNames[i], again.median(i), fresh.median(i));
  }
  std::printf("%-40s %7.1f MB and its decoders %.1f MB, by their shares of memory\n", "idle window",
              again.median(kMoments) / 1024, again.median(kMoments + 1) / 1024);

  const auto grown = [&](const char* items) {
    const auto answer = answerOf(self, {QStringLiteral("idle"), QLatin1String(items)});
    return answer.empty() ? 0 : answer[0];
  };
  const double few = grown("10000"), many = grown("1000000");
  const bool small = few > 0 && many > 0 && many <= kGrowth * few;
  std::printf("%-40s %7.1f MB  with 10,000 %7.1f MB  ratio %5.2f  budget %.1f  %s\n", "idle window of 1,000,000 items",
              many / 1024, few / 1024, many / few, kGrowth, small ? "kept" : "MISSED");
  return kept && small ? 0 : 1;
}
