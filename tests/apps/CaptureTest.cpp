// The camera as a person uses it, in the program's own window off screen: real pictures from a device that is made up,
// real files in a library of the test's own.

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <variant>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "adapters/camera/GstCamera.h"
#include "adapters/netlink/NetlinkReachability.h"
#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/files/CaptureFolder.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "adapters/photolibrary/source/MediaProbe.h"
#include "apps/tlx-media-picker/PickerWindow.h"
#include "tests/support/TemporaryFolder.h"

namespace tlx::program {
namespace {

using testing::IsEmpty;

struct QuietLog final : SystemLogPort {
  void log(const std::string&) override {}
  void assertionFailed(const std::string&, const std::string&, int, const std::string&) override {}
};

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

class Capture : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("TLX_REDUCED_MOTION", "1");  // what comes is where it stays
    static int count = 1;
    static char name[] = "test", *words[] = {name, nullptr};
    application_ = new QGuiApplication(count, words);
  }
  static void TearDownTestSuite() { delete application_; }

  void SetUp() override {
    const photolibrary::CaptureFolder earlier(pictures);
    ASSERT_TRUE(std::holds_alternative<std::string>(
        earlier.savePhoto(UIImage(CGImage::create(40, 30, std::vector<std::uint8_t>(40 * 30 * 4, 90))), 1e9)));
    arguments.folders = options.roots = {pictures};
    options.preauthorised = true;
    options.cacheFolder = folder / "cache";
    options.configFolder = folder / "config";
    cameraOptions.test = true;
    cameraOptions.consent = &access;
    cameraOptions.folder = folder / "recordings";
    cameraOptions.spareBytes = 0;
    library.emplace(options, log);
    images.emplace(*library, loops.mainQueue);
    camera.emplace(cameraOptions, loops.mainQueue);
    window.resize(375, 667);
    platform.emplace(loops, window, *library, *images, reachability, log, &*camera);
    session.emplace(arguments, *library, &output);
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

  std::shared_ptr<MediaCollectionViewController> grid() { return picker->picker().mediaCollectionViewCotroller; }

  /// Lets the window live until it is so. False when it never is.
  static bool see(const std::function<bool()>& isSo) { return QTest::qWaitFor(isSo, 120'000); }
  /// What a person would call by that name, if they can see it.
  QQuickItem* find(const QString& name) { return find(*window.contentItem(), name); }
  static QQuickItem* find(QQuickItem& in, const QString& name) {
    if (!in.isVisible() || in.opacity() == 0) return nullptr;
    for (QQuickItem* child : in.childItems()) {
      if (QQuickItem* found = find(*child, name)) return found;
    }
    const bool named = in.property("name").toString() == name || in.property("text").toString() == name;
    return named && in.isEnabled() ? &in : nullptr;
  }
  bool sees(const QString& name) {
    return see([&] { return find(name) != nullptr; });
  }
  bool click(const QString& name) {
    if (!sees(name)) return false;
    QQuickItem& item = *find(name);
    QTest::mouseClick(&window, Qt::LeftButton, {}, item.mapToScene(QPointF(item.width(), item.height()) / 2).toPoint());
    return true;
  }
  void press(Qt::Key key) { QTest::keyClick(&window, key); }
  /// Works as soon as nothing covers it.
  bool pressCamera() {
    return see([&] {
      const auto button = std::dynamic_pointer_cast<UIButton>(grid()->view()->viewWithTag(101));
      return button && button->press();
    });
  }
  /// The capture screen has gone, so many are picked, and the newest of the camera roll have their marks.
  bool arePicked(std::size_t count) {
    return see([&] {
      if (find("Cancel") || picker->picker().presentedViewController()) return false;
      for (std::uint64_t i = 0; i <= count; ++i) {
        const auto model = grid()->albumModel->getMediaModelAtIndex(i);
        if (!model || model->isModelSelected() != (i < count)) return false;
      }
      return picker->picker().arrPickedModel()->size() == count;
    });
  }
  /// The files in a folder with that ending, the oldest name first.
  static std::vector<std::string> files(const std::string& in, const std::string& ending) {
    std::vector<std::string> found;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(in, none)) {
      if (entry.path().extension() == ending) found.push_back(entry.path());
    }
    std::sort(found.begin(), found.end());
    return found;
  }
  static photolibrary::MediaInfo probe(const std::string& path) {
    const photolibrary::FileDescriptor file(::open(path.c_str(), O_RDONLY));
    return std::get<photolibrary::MediaInfo>(photolibrary::probeMedia(file.get(), path));
  }

  const support::TemporaryFolder folder;
  const std::string pictures = folder / "pictures";
  QuietLog log;
  qtquick::QtPlatform::Loops loops;
  Arguments arguments;
  WindowConsent consent;
  CloudCredentials credentials{"", false};
  CameraAccess access{folder / "access", "test"};
  const OutputFolder output{folder / "output"};
  netlink::NetlinkReachability reachability;
  photolibrary::PhotoLibrary::Options options;
  camera::GstCamera::Options cameraOptions;
  std::optional<photolibrary::PhotoLibrary> library;
  std::optional<photolibrary::ImageManager> images;
  std::optional<camera::GstCamera> camera;
  QQuickWindow window;
  std::optional<qtquick::QtPlatform> platform;
  std::optional<Session> session;
  std::optional<PickerWindow> picker;

 private:
  inline static QGuiApplication* application_ = nullptr;
};

TEST_F(Capture, OnceAllowedItTakesAPhotoAndAVideoAndDeliversBoth) {
  const double before = std::floor(now());
  ASSERT_TRUE(pressCamera());
  ASSERT_TRUE(click("Don\u2019t allow"));
  ASSERT_TRUE(click("Settings"));
  ASSERT_TRUE(sees("Take photos, and videos with sound"));
  EXPECT_EQ(camera->authorizationStatus(), AVAuthorizationStatusDenied);
  ASSERT_TRUE(click("Camera"));
  ASSERT_TRUE(see([&] { return camera->authorizationStatus() == AVAuthorizationStatusAuthorized; }));
  EXPECT_EQ(CameraAccess(folder / "access", "test").cameraAllowed(), true) << "remembered";
  press(Qt::Key_Escape);

  ASSERT_TRUE(pressCamera());
  ASSERT_TRUE(sees("Take photo"));
  press(Qt::Key_Space);
  ASSERT_TRUE(click("Retake"));
  ASSERT_TRUE(click("Take photo"));
  ASSERT_TRUE(click("Use photo"));
  ASSERT_TRUE(arePicked(1)) << "the newest in the camera roll";

  ASSERT_TRUE(pressCamera());
  ASSERT_TRUE(click("Video"));
  ASSERT_TRUE(sees("Start recording"));
  press(Qt::Key_Space);
  ASSERT_TRUE(sees("0:01"));
  press(Qt::Key_Space);
  ASSERT_TRUE(click("Use video"));
  ASSERT_TRUE(arePicked(2));

  const auto photos = files(pictures + "/Camera", ".jpg"), movies = files(pictures + "/Camera", ".mp4");
  ASSERT_EQ(photos.size(), 2u);
  ASSERT_EQ(movies.size(), 1u);
  EXPECT_EQ(probe(photos[1]).width, 2048);
  EXPECT_EQ(probe(photos[1]).height, 1536);
  for (const std::string& taken : {photos[1], movies[0]}) EXPECT_GE(probe(taken).captureDate.value_or(0), before);
  const auto movie = std::get<photolibrary::VideoInfo>(photolibrary::probeVideo(movies[0]));
  EXPECT_GE(movie.duration, 1);
  EXPECT_EQ(movie.tracks.size(), 2u) << "pictures and sound";

  ASSERT_TRUE(see([&] { return picker->picker().btnDone.lock()->press(); }));
  ASSERT_TRUE(see([&] { return session->hasEnded(); }));
  EXPECT_EQ(session->status(), Delivered);
  const auto delivered = files(folder / "output", ".jpg");
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_EQ(probe(delivered[0]).width, 1600);
  EXPECT_EQ(files(folder / "output", ".mp4").size(), 1u);
  TearDown();
  EXPECT_THAT(files(folder / "recordings", ".mp4"), IsEmpty()) << "nobody refers to it any more";
}

}  // namespace
}  // namespace tlx::program
