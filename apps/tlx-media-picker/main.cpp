// A program that hosts the picker: in a window for a person, or without one for a script.

#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/foundation/SystemLogPort.h"
#include "tlx/views/MediaCollectionViewController.h"

#include "adapters/camera/CameraOnDemand.h"
#include "adapters/netlink/NetlinkReachability.h"
#include "adapters/photolibrary/FirstScreen.h"
#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/base/XdgFolders.h"
#include "adapters/photolibrary/cloud/webdav/WebDavSource.h"
#include "adapters/photolibrary/decoding/ConfinedDecoders.h"
#include "adapters/photolibrary/decoding/DecoderFolder.h"
#include "adapters/photolibrary/files/FolderSource.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "adapters/photolibrary/source/SourceSet.h"
#include "adapters/qtquick/QtPlatform.h"
#include "adapters/qtquick/window/FontsAhead.h"
#include "apps/tlx-media-picker/Arguments.h"
#include "apps/tlx-media-picker/CameraAccess.h"
#include "apps/tlx-media-picker/CloudCredentials.h"
#include "apps/tlx-media-picker/Complaint.h"
#include "apps/tlx-media-picker/HeadlessRun.h"
#include "apps/tlx-media-picker/OutputFolder.h"
#include "apps/tlx-media-picker/PickerWindow.h"
#include "apps/tlx-media-picker/Session.h"
#include "apps/tlx-media-picker/SettledWindow.h"
#include "apps/tlx-media-picker/TellingImages.h"
#include "apps/tlx-media-picker/WindowConsent.h"

namespace {

using namespace tlx;
using namespace tlx::program;

/// What the grid asks of a thumbnail, in points.
constexpr double kThumbnailSide = 130;

class StandardErrorLog final : public SystemLogPort {
 public:
  void log(const std::string& line) override {
    const bool ended = !line.empty() && line.back() == '\n';
    std::fprintf(stderr, "%s\n", shown(ended ? line.substr(0, line.size() - 1) : line).c_str());
  }
  void assertionFailed(const std::string& function, const std::string& file, int line,
                       const std::string& description) override {
    log((function.empty() ? "<Unknown Function>" : function) + " (" + (file.empty() ? "<Unknown File>" : file) + ":" +
        std::to_string(line) + "): " + description);
    std::abort();
  }
};

void list(TLXMediaPickerController& picker, Session& session, bool whole) {
  if (!picker.albumPickerTableViewController) return session.end(NoAccess);
  const std::string albums = albumsAsJson(*picker.photoManager);
  std::fwrite(albums.data(), 1, albums.size(), stdout);
  session.end(std::fflush(stdout) == 0 && whole ? Delivered : Failed);
}

/// The folders and clouds that were named, or else the person's own folders of pictures and videos. `clouds` receives
/// the clouds among them, which the answer owns.
std::unique_ptr<photolibrary::Source> sourceOf(const Arguments& arguments, photolibrary::DecodersPort& decoders,
                                               CloudCredentials& credentials, SystemLogPort& log,
                                               std::vector<const photolibrary::WebDavSource*>& clouds) {
  using namespace photolibrary;
  const bool own = arguments.folders.empty() && arguments.clouds.empty();
  std::vector<std::unique_ptr<Source>> sources;
  if (own || !arguments.folders.empty()) {
    const auto links = arguments.followLinks ? FolderSource::Links::Anywhere : FolderSource::Links::WithinRoots;
    sources.push_back(std::make_unique<FolderSource>(own ? defaultRoots() : arguments.folders, decoders, log, links));
  }
  WebDavSource::Settings settings;
  settings.cacheFolder = xdgCacheHome() + "/tlx-media-picker";
  settings.credentials = &credentials;
  for (const CloudAddress& cloud : arguments.clouds) {
    auto source = std::make_unique<WebDavSource>(cloud, decoders, settings, log);
    clouds.push_back(source.get());
    sources.push_back(std::move(source));
  }
  return std::make_unique<SourceSet>(std::move(sources));
}

int run(int argc, char** argv, const Arguments& arguments) {
  if (arguments.headless) qputenv("QT_QPA_PLATFORM", "offscreen");
  // Without a screen to draw on, the plain renderer costs least.
  if (qgetenv("QT_QPA_PLATFORM") == "offscreen" && !qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) {
    qputenv("QT_QUICK_BACKEND", "software");
  }
  QGuiApplication application(argc, argv);
  // Not before: both look at the environment, and the application changes it.
  const qtquick::FontsAhead fonts;
  application.setApplicationName(QString::fromLatin1(kProgram));

  std::unique_ptr<OutputFolder> output;
  if (!arguments.output.empty()) {
    output = std::make_unique<OutputFolder>(arguments.output);
    if (!output->error().empty()) {
      complain(output->error());
      return Usage;
    }
  }

  StandardErrorLog log;
  qtquick::QtPlatform::Loops loops;
  WindowConsent consent;
  photolibrary::PhotoLibrary::Options options;
  options.host = kProgram;
  options.preauthorised = !arguments.folders.empty() || !arguments.clouds.empty();
  if (!arguments.headless) options.consent = &consent;
  // Where nobody sits, nobody would ever answer.
  CloudCredentials credentials(arguments.cloudCredentials, !arguments.headless && arguments.screenshot.empty());
  if (!credentials.problem().empty()) {
    complain(credentials.problem());
    return Usage;
  }
  photolibrary::PixelStore pixels(photolibrary::PixelStore::defaultFolder());
  photolibrary::ConfinedDecoders::Settings decoding;
  decoding.folder = photolibrary::decoderFolder();
  decoding.log = [&log](const std::string& line) { log.log(line); };
  photolibrary::ConfinedDecoders decoders(pixels, decoding);
  std::vector<const photolibrary::WebDavSource*> clouds;
  photolibrary::PhotoLibrary library(options, sourceOf(arguments, decoders, credentials, log, clouds), log);
  photolibrary::ImageManager images(library, decoders, pixels, loops.mainQueue);
  TellingImages telling(images, [&library](const PHAsset& asset, bool video, const NSError& cause) {
    const auto details = library.details(asset.localIdentifier);
    const std::string place = !details                   ? asset.localIdentifier.string()
                              : details->address.empty() ? details->path
                                                         : details->address;
    complain(fetchFailure(place, video, cause));
  });
  netlink::NetlinkReachability reachability;

  const std::string kept = photolibrary::xdgConfigHome() + "/tlx-media-picker";
  CameraAccess cameraAccess(kept + "/access", kProgram);
  camera::GstCamera::Options cameraOptions;
  cameraOptions.test = arguments.camera == Arguments::Camera::Test;
  cameraOptions.consent = &cameraAccess;
  cameraOptions.folder = photolibrary::xdgCacheHome() + "/tlx-media-picker/recordings";
  camera::CameraOnDemand camera(cameraOptions, loops.mainQueue, [&log](const std::string& line) { log.log(line); });

  QQuickWindow window;
  window.setTitle(QStringLiteral("Photos"));
  window.setMinimumSize({320, 480});
  window.resize(static_cast<int>(arguments.windowWidth), static_cast<int>(arguments.windowHeight));

  // The grid asks for the same small pictures whatever its cells' size. Each frame tells anew, so that they stay sharp
  // when the window comes to another screen.
  const auto tellScale = [&] {
    const double enlarged = std::max(1.0, sizeCollectionViewCell.width / kThumbnailSide);
    images.setScreenScale(window.effectiveDevicePixelRatio() * enlarged);
  };
  QObject::connect(&window, &QQuickWindow::afterAnimating, &window, tellScale);

  qtquick::QtPlatform platform(loops, window, library, telling, reachability, log,
                               arguments.camera == Arguments::Camera::None ? nullptr : &camera);
  Session session(arguments, library, output.get());
  session.setEndHandler([&] { QTimer::singleShot(0, &application, &QCoreApplication::quit); });

  auto picker = std::make_unique<PickerWindow>(
      PickerWindow::Parts{arguments, session, library, consent, cameraAccess, credentials, platform}, kProgram);
  SettledWindow settled(window, library, images);

  // A script wants all there is; a person would rather see what is known at once, and the rest as it is found.
  if (arguments.headless) {
    library.waitUntilScanned();
  } else {
    library.waitUntilOpened();
  }
  if (!arguments.headless || !arguments.screenshot.empty()) window.show();
  picker->open();
  // Between the first frame and the first album nothing else is to be done.
  const auto preheat = [&] {
    tellScale();
    photolibrary::preheatNewest(
        library, telling, {kThumbnailSide, kThumbnailSide},
        photolibrary::cellsIn({1.0 * window.width(), 1.0 * window.height()}, sizeCollectionViewCell));
  };
  if (!arguments.headless) {
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, preheat,
                     static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
  }

  const bool whole = std::all_of(clouds.begin(), clouds.end(), [](const auto* cloud) { return cloud->listedWhole(); });
  std::unique_ptr<HeadlessRun> headless;
  if (arguments.list) {
    list(picker->picker(), session, whole);
  } else if (arguments.headless) {
    headless = std::make_unique<HeadlessRun>(arguments, picker->picker(), *platform.window().model(), session, settled);
    headless->start();
  } else {
    QObject::connect(&window, &QWindow::visibleChanged, &application, [&](bool visible) {
      if (!visible) session.end(Cancelled);
    });
    if (!arguments.screenshot.empty()) {
      settled.save(arguments.screenshot, [&](const std::string& error) {
        if (!error.empty()) complain(error);
        session.end(error.empty() ? Delivered : Failed);
      });
    }
  }
  if (!session.hasEnded()) application.exec();
  if (session.status() == NoAccess) complain("there is no access to photos");

  // An album that does not exist may be on a cloud that could not be listed: a failure, not a mistake in the words.
  const bool missed = arguments.headless && !whole && session.status() == Usage;

  headless.reset();
  picker.reset();
  // No thread may tell anything once the platform is gone.
  images.stop();
  library.stop();
  return missed ? Failed : session.status();
}

}  // namespace

int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape): what nobody foresaw ends the program
  const std::vector<std::string> words(argv + 1, argv + argc);
  eraseSecrets(argc, argv);
  const auto parsed = parseArguments(words);
  if (const auto* wrong = std::get_if<std::string>(&parsed)) {
    complain(*wrong + " (--help lists the options)");
    return Usage;
  }
  const auto& arguments = std::get<Arguments>(parsed);
  if (arguments.help) return std::fputs(usage().c_str(), stdout) < 0 ? Failed : Delivered;
  if (arguments.version) return std::printf("%s %s\n", kProgram, TLXMediaPickerVersionString) < 0 ? Failed : Delivered;
  return run(argc, argv, arguments);
}
