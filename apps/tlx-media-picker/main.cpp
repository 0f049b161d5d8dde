// A program that hosts the picker: in a window for a person, or without one for a script.

#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/foundation/SystemLog.h"

#include "adapters/netlink/NetlinkReachability.h"
#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "adapters/qtquick/QtPlatform.h"
#include "apps/tlx-media-picker/Arguments.h"
#include "apps/tlx-media-picker/HeadlessRun.h"
#include "apps/tlx-media-picker/OutputFolder.h"
#include "apps/tlx-media-picker/PickerWindow.h"
#include "apps/tlx-media-picker/Session.h"
#include "apps/tlx-media-picker/SettledWindow.h"
#include "apps/tlx-media-picker/WindowConsent.h"

namespace {

using namespace tlx;
using namespace tlx::program;

constexpr char kHost[] = "tlx-media-picker";

class StandardErrorLog final : public SystemLogPort {
 public:
  void log(const std::string& line) override {
    std::fprintf(stderr, "%s%s", line.c_str(), !line.empty() && line.back() == '\n' ? "" : "\n");
  }
  void assertionFailed(const std::string& function, const std::string& file, int line,
                       const std::string& description) override {
    std::fprintf(stderr, "%s (%s:%d): %s\n", function.empty() ? "<Unknown Function>" : function.c_str(),
                 file.empty() ? "<Unknown File>" : file.c_str(), line, description.c_str());
    std::abort();
  }
};

void list(TLXMediaPickerController& picker, Session& session) {
  if (!picker.albumPickerTableViewController) return session.end(NoAccess);
  const std::string albums = albumsAsJson(*picker.photoManager);
  std::fwrite(albums.data(), 1, albums.size(), stdout);
  session.end(std::fflush(stdout) == 0 ? Delivered : Failed);
}

int run(int argc, char** argv, const Arguments& arguments) {
  if (arguments.headless) qputenv("QT_QPA_PLATFORM", "offscreen");
  // Without a screen to draw on, the plain renderer costs least.
  if (qgetenv("QT_QPA_PLATFORM") == "offscreen" && !qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) {
    qputenv("QT_QUICK_BACKEND", "software");
  }
  QGuiApplication application(argc, argv);
  application.setApplicationName(QString::fromLatin1(kHost));

  std::unique_ptr<OutputFolder> output;
  if (!arguments.output.empty()) {
    output = std::make_unique<OutputFolder>(arguments.output);
    if (!output->error().empty()) {
      std::fprintf(stderr, "%s: %s\n", kHost, output->error().c_str());
      return Usage;
    }
  }

  StandardErrorLog log;
  qtquick::QtPlatform::Loops loops;
  WindowConsent consent;
  photolibrary::PhotoLibrary::Options options;
  options.roots = arguments.folders;
  options.host = kHost;
  options.preauthorised = !arguments.folders.empty();
  if (!arguments.headless) options.consent = &consent;
  photolibrary::PhotoLibrary library(options, log);
  photolibrary::ImageManager images(library, loops.mainQueue);
  netlink::NetlinkReachability reachability;

  QQuickWindow window;
  window.setTitle(QStringLiteral("Photos"));
  window.setMinimumSize({320, 480});
  window.resize(static_cast<int>(arguments.windowWidth), static_cast<int>(arguments.windowHeight));

  qtquick::QtPlatform platform(loops, window, library, images, reachability, log);
  Session session(arguments, library, output.get());
  session.setEndHandler([&] { QTimer::singleShot(0, &application, &QCoreApplication::quit); });

  auto picker =
      std::make_unique<PickerWindow>(PickerWindow::Parts{arguments, session, library, consent, platform}, kHost);
  SettledWindow settled(window, library, images);

  // A script wants all there is; a person would rather see what is known at once, and the rest as it is found.
  if (arguments.headless) {
    library.waitUntilScanned();
  } else {
    library.waitUntilOpened();
  }
  if (!arguments.headless || !arguments.screenshot.empty()) window.show();
  picker->open();

  std::unique_ptr<HeadlessRun> headless;
  if (arguments.list) {
    list(picker->picker(), session);
  } else if (arguments.headless) {
    headless = std::make_unique<HeadlessRun>(arguments, picker->picker(), *platform.window().model(), session, library,
                                             settled);
    headless->start();
  } else {
    QObject::connect(&window, &QWindow::visibleChanged, &application, [&](bool visible) {
      if (!visible) session.end(Cancelled);
    });
    if (!arguments.screenshot.empty()) {
      settled.save(arguments.screenshot, [&](const std::string& error) {
        if (!error.empty()) std::fprintf(stderr, "%s: %s\n", kHost, error.c_str());
        session.end(error.empty() ? Delivered : Failed);
      });
    }
  }
  if (!session.hasEnded()) application.exec();
  if (session.status() == NoAccess) std::fprintf(stderr, "%s: there is no access to photos\n", kHost);

  headless.reset();
  picker.reset();
  // No thread may tell anything once the platform is gone.
  images.stop();
  library.stop();
  return session.status();
}

}  // namespace

int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape): what nobody foresaw ends the program
  const auto parsed = parseArguments(std::vector<std::string>(argv + 1, argv + argc));
  if (const auto* wrong = std::get_if<std::string>(&parsed)) {
    std::fprintf(stderr, "%s: %s\n%s", kHost, wrong->c_str(), kUsage);
    return Usage;
  }
  const auto& arguments = std::get<Arguments>(parsed);
  if (arguments.help) return std::fputs(kUsage, stdout) < 0 ? Failed : Delivered;
  if (arguments.version) return std::printf("%s %s\n", kHost, TLXMediaPickerVersionString) < 0 ? Failed : Delivered;
  return run(argc, argv, arguments);
}
