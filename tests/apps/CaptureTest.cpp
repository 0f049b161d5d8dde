// The camera in the program's own window off screen: real pictures from a device that is made up, real files in a
// library of the test's own.

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <chrono>
#include <functional>

#include <gmock/gmock.h>

#include "adapters/camera/CameraOnDemand.h"
#include "adapters/memory/MemoryLogs.h"
#include "adapters/netlink/NetlinkReachability.h"
#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/decoding/ConfinedDecoders.h"
#include "adapters/photolibrary/decoding/DecoderFolder.h"
#include "adapters/photolibrary/files/CaptureFolder.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "apps/tlx-media-picker/PickerWindow.h"
#include "tests/apps/ProgramRun.h"

namespace tlx::program {
namespace {

using testing::IsEmpty;

class Capture : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    static int count = 1;
    static char name[] = "test", *words[] = {name, nullptr};
    // One for the process, however often the tests run in it: windows of a second one are never drawn.
    [[maybe_unused]] static auto* const application = new QGuiApplication(count, words);
  }

  void open() {
    const photolibrary::CaptureFolder earlier(pictures());
    const auto now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    earlier.savePhoto(UIImage(CGImage::create(40, 30, std::vector<std::uint8_t>(40 * 30 * 4, 90))), now - 3600);
    camera::GstCamera::Options cameraOptions;
    cameraOptions.test = true;
    cameraOptions.consent = &access;
    cameraOptions.folder = folder / "recordings";
    cameraOptions.spareBytes = 0;
    camera.emplace(
        cameraOptions, loops.mainQueue, [this](const std::string& line) { told += line; }, module);
    photolibrary::PhotoLibrary::Options options;
    options.roots = {pictures()};
    options.preauthorised = true;
    options.cacheFolder = folder / "cache";
    options.configFolder = folder / "config";
    library.emplace(options, decoders, log);
    images.emplace(*library, decoders, pixels, loops.mainQueue);
    arguments.folders = {pictures()};
    output.emplace(folder / "output");
    window.resize(375, 667);
    platform.emplace(loops, window, *library, *images, reachability, log, &*camera);
    session.emplace(arguments, *library, &*output);
    picker.emplace(PickerWindow::Parts{arguments, *session, *library, consent, access, credentials, *platform}, "test");
    library->waitUntilScanned();
    window.show();
    picker->open();
    ASSERT_TRUE(see([&] { return grid() && grid()->albumModel && grid()->albumModel->getMediaCount() == 1; }));
  }
  void TearDown() override {
    picker.reset();
    if (images) images->stop();
    if (library) library->stop();
    platform.reset();
  }

  std::string pictures() const { return folder / "pictures"; }
  std::shared_ptr<MediaCollectionViewController> grid() { return picker->picker().mediaCollectionViewCotroller; }

  /// Lets the window live until it is so. False when it never is.
  static bool see(const std::function<bool()>& isSo) { return QTest::qWaitFor(isSo, 120'000); }
  /// What a person would call by that name, if they can see it.
  static QQuickItem* find(QQuickItem& in, const QString& name) {
    if (!in.isVisible() || in.opacity() == 0) return nullptr;
    for (QQuickItem* child : in.childItems()) {
      if (QQuickItem* found = find(*child, name)) return found;
    }
    const bool named = in.property("name").toString() == name || in.property("text").toString() == name;
    return named && in.isEnabled() ? &in : nullptr;
  }
  QQuickItem* find(const char* name) { return find(*window.contentItem(), QString::fromUtf8(name)); }
  std::function<bool()> shows(const char* name) {
    return [this, name] { return find(name) != nullptr; };
  }
  /// Clicks it, again while it slides from beneath the mouse, until it has had its effect.
  bool click(const char* name, const std::function<bool()>& isDone) {
    return see([&] {
      QQuickItem* const item = isDone() ? nullptr : find(name);
      if (item)
        QTest::mouseClick(&window, Qt::LeftButton, {}, item->mapToScene(item->boundingRect().center()).toPoint());
      return isDone();
    });
  }
  bool isPickedAndMarked(std::int64_t newest) {
    const auto album = grid()->albumModel;
    if (picker->picker().presentedViewController() || !album || album->getMediaCount() <= newest) return false;
    for (std::int64_t index = 0; index <= newest; ++index) {
      if (album->getMediaModelAtIndex(static_cast<std::uint64_t>(index))->isModelSelected() != (index < newest))
        return false;
    }
    return picker->picker().arrPickedModel()->size() == static_cast<std::size_t>(newest);
  }
  /// The files in a folder with that ending, by name.
  static std::vector<std::string> files(const std::filesystem::path& in, const std::string& ending) {
    std::vector<std::string> found;
    for (const std::string& name : support::fileNamesIn(in)) {
      if (name.ends_with(ending)) found.push_back(in / name);
    }
    return found;
  }

  std::string module, told;
  test::TemporaryFolder folder;
  memory::MemorySystemLog log;
  qtquick::QtPlatform::Loops loops;
  Arguments arguments;
  WindowConsent consent;
  CloudCredentials credentials{"", false};
  CameraAccess access{folder / "access", "test"};
  std::optional<camera::CameraOnDemand> camera;
  photolibrary::PixelStore pixels{photolibrary::PixelStore::defaultFolder()};
  photolibrary::ConfinedDecoders decoders{pixels, {photolibrary::decoderFolder()}};
  std::optional<photolibrary::PhotoLibrary> library;
  std::optional<photolibrary::ImageManager> images;
  netlink::NetlinkReachability reachability;
  std::optional<OutputFolder> output;
  QQuickWindow window;
  std::optional<qtquick::QtPlatform> platform;
  std::optional<Session> session;
  std::optional<PickerWindow> picker;
};

TEST_F(Capture, TakesAPhotoAndAVideoAndDeliversBoth) {
  open();
  picker->picker().btnCameraPressed();
  ASSERT_TRUE(click("Allow", shows("Take photo"))) << "asked once";
  QTest::keyClick(&window, Qt::Key_Space);
  ASSERT_TRUE(click("Retake", shows("Take photo")));
  QTest::keyClick(&window, Qt::Key_Space);
  ASSERT_TRUE(click("Use photo", [&] { return isPickedAndMarked(1); })) << "the newest in the camera roll";

  picker->picker().btnCameraPressed();
  ASSERT_TRUE(click("Video", shows("Start recording")));
  QTest::keyClick(&window, Qt::Key_Space);
  ASSERT_TRUE(see(shows("0:01")));
  QTest::keyClick(&window, Qt::Key_Space);
  ASSERT_TRUE(click("Use video", [&] { return isPickedAndMarked(2); }));

  const auto photos = files(pictures() + "/Camera", ".jpg"), movies = files(pictures() + "/Camera", ".mp4");
  ASSERT_EQ(photos.size(), 2u);
  EXPECT_EQ(test::readPicture(photos[1]).size(), QSize(2048, 1536));
  ASSERT_EQ(movies.size(), 1u);
  EXPECT_EQ(std::get<photolibrary::VideoInfo>(photolibrary::FilePictures(decoders).tracks(movies[0])).tracks.size(), 2u)
      << "with sound";

  ASSERT_TRUE(see([&] { return picker->picker().btnDone.lock()->press(); }));
  ASSERT_TRUE(see([&] { return session->hasEnded(); }));
  EXPECT_EQ(session->status(), Delivered);
  const auto delivered = files(folder / "output", ".jpg");
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_EQ(test::readPicture(delivered[0]).width(), 1600);
  EXPECT_EQ(files(folder / "output", ".mp4").size(), 1u);
  TearDown();
  EXPECT_THAT(files(folder / "recordings", ".mp4"), IsEmpty()) << "nobody refers to it any more";
}

TEST_F(Capture, ARefusalLeadsToTheSettingsPage) {
  open();
  picker->picker().btnCameraPressed();
  ASSERT_TRUE(click("Don\u2019t allow", shows("Settings")));
  ASSERT_TRUE(click("Settings", shows("Take photos, and videos with sound")));
  EXPECT_EQ(camera->authorizationStatus(), AVAuthorizationStatusDenied);
  ASSERT_TRUE(click("Camera", [&] { return camera->authorizationStatus() == AVAuthorizationStatusAuthorized; }));
  EXPECT_EQ(CameraAccess(folder / "access", "test").cameraAllowed(), true) << "remembered";
}

TEST_F(Capture, WithoutItsModuleThereIsNoCamera) {
  module = folder / "none.so";
  open();
  picker->picker().btnCameraPressed();
  EXPECT_TRUE(see(shows("No camera found")));
  EXPECT_THAT(told, testing::HasSubstr(module));
}

}  // namespace
}  // namespace tlx::program
