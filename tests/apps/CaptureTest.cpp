// The camera as a person uses it, in the program's own window off screen: real pictures from a device that is made up,
// real files in a library of the test's own.

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <chrono>
#include <filesystem>
#include <functional>
#include <variant>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "adapters/camera/GstCamera.h"
#include "adapters/netlink/NetlinkReachability.h"
#include "adapters/photolibrary/PhotoLibrary.h"
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
    static int count = 1;
    static char name[] = "test", *words[] = {name, nullptr};
    application_ = new QGuiApplication(count, words);
  }
  static void TearDownTestSuite() { delete application_; }

  void open() {
    const photolibrary::CaptureFolder earlier(pictures());
    ASSERT_TRUE(std::holds_alternative<std::string>(
        earlier.savePhoto(UIImage(CGImage::create(40, 30, std::vector<std::uint8_t>(40 * 30 * 4, 90))), now() - 3600)));
    camera::GstCamera::Options cameraOptions;
    cameraOptions.test = true;
    cameraOptions.consent = &access;
    cameraOptions.folder = folder / "recordings";
    cameraOptions.spareBytes = 0;
    cameraOptions.testPictures = testPictures;
    camera.emplace(cameraOptions, loops.mainQueue);
    photolibrary::PhotoLibrary::Options options;
    options.roots = {pictures()};
    options.preauthorised = true;
    options.cacheFolder = folder / "cache";
    options.configFolder = folder / "config";
    library.emplace(options, log);
    images.emplace(*library, loops.mainQueue);
    arguments.folders = {pictures()};
    output.emplace(folder / "output");
    window.resize(size);
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
  bool see(const std::function<bool()>& isSo) { return QTest::qWaitFor(isSo, 30'000); }
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
  bool click(const QString& name) {
    QQuickItem* item = nullptr;
    EXPECT_TRUE(see([&] { return (item = find(name)) != nullptr; })) << name.toStdString();
    if (!item) return false;
    QTest::qWait(250);  // what slides in comes to rest
    QTest::mouseClick(&window, Qt::LeftButton, {},
                      item->mapToScene(QPointF(item->width(), item->height()) / 2).toPoint());
    return true;
  }
  void press(Qt::Key key) { QTest::keyClick(&window, key); }
  void pressCamera() {
    QTest::qWait(300);
    QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(size.width() / 2, 61 + 32));
  }
  void keepPicture(const char* name) {
    if (const char* folderForPictures = std::getenv("TLX_SCREENSHOTS")) {
      QTest::qWait(300);
      window.grabWindow().save(QString::fromUtf8(folderForPictures) + "/" + name + ".png");
    }
  }
  std::size_t picked() { return picker->picker().arrPickedModel()->size(); }
  bool isGone() { return find("Cancel") == nullptr && picker->picker().presentedViewController() == nullptr; }
  bool isMarked(std::uint64_t index) {
    const auto model = grid()->albumModel ? grid()->albumModel->getMediaModelAtIndex(index) : nullptr;
    return model && model->isModelSelected();
  }
  /// The files in a folder with that ending.
  static std::vector<std::string> files(const std::string& in, const std::string& ending) {
    std::vector<std::string> found;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(in, none)) {
      if (entry.path().extension() == ending) found.push_back(entry.path());
    }
    return found;
  }
  static photolibrary::MediaInfo probe(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY);
    const auto info = photolibrary::probeMedia(file, path);
    ::close(file);
    EXPECT_TRUE(std::holds_alternative<photolibrary::MediaInfo>(info)) << path;
    return std::holds_alternative<photolibrary::MediaInfo>(info) ? std::get<photolibrary::MediaInfo>(info)
                                                                 : photolibrary::MediaInfo();
  }
  static photolibrary::VideoInfo tracks(const std::string& path) {
    const auto info = photolibrary::probeVideo(path);
    EXPECT_TRUE(std::holds_alternative<photolibrary::VideoInfo>(info)) << path;
    return std::holds_alternative<photolibrary::VideoInfo>(info) ? std::get<photolibrary::VideoInfo>(info)
                                                                 : photolibrary::VideoInfo();
  }

  support::TemporaryFolder folder;
  QSize size{375, 667};
  std::string testPictures;
  QuietLog log;
  qtquick::QtPlatform::Loops loops;
  Arguments arguments;
  WindowConsent consent;
  CloudCredentials credentials{"", false};
  CameraAccess access{folder / "access", "test"};
  std::optional<camera::GstCamera> camera;
  std::optional<photolibrary::PhotoLibrary> library;
  std::optional<photolibrary::ImageManager> images;
  netlink::NetlinkReachability reachability;
  std::optional<OutputFolder> output;
  QQuickWindow window;
  std::optional<qtquick::QtPlatform> platform;
  std::optional<Session> session;
  std::optional<PickerWindow> picker;

 private:
  inline static QGuiApplication* application_ = nullptr;
};

TEST_F(Capture, TakesAPhotoAndAVideoAndDeliversBoth) {
  open();
  const double before = now();
  pressCamera();
  ASSERT_TRUE(click("Allow")) << "asked once";
  ASSERT_TRUE(see([&] { return find("Take photo") != nullptr; }));
  keepPicture("camera-photo");
  press(Qt::Key_Space);
  ASSERT_TRUE(see([&] { return find("Use photo") != nullptr; }));
  keepPicture("camera-review");
  ASSERT_TRUE(click("Retake"));
  ASSERT_TRUE(click("Take photo"));
  ASSERT_TRUE(click("Use photo"));
  ASSERT_TRUE(see([&] { return picked() == 1 && isGone(); }));
  ASSERT_TRUE(see([&] { return isMarked(0) && !isMarked(1); })) << "the newest in the camera roll";

  pressCamera();
  ASSERT_TRUE(click("Video"));
  ASSERT_TRUE(see([&] { return find("Start recording") != nullptr; }));
  keepPicture("camera-video");
  press(Qt::Key_Space);
  ASSERT_TRUE(see([&] { return find("0:01") != nullptr; }));
  keepPicture("camera-recording");
  press(Qt::Key_Space);
  ASSERT_TRUE(click("Use video"));
  ASSERT_TRUE(see([&] { return picked() == 2 && isGone(); }));
  ASSERT_TRUE(see([&] { return isMarked(0) && isMarked(1) && !isMarked(2); }));

  const auto photos = files(pictures() + "/Camera", ".jpg");
  const auto movies = files(pictures() + "/Camera", ".mp4");
  ASSERT_EQ(photos.size(), 2u);
  ASSERT_EQ(movies.size(), 1u);
  const auto photo = probe(std::max(photos[0], photos[1]));
  EXPECT_EQ(photo.width, 2048);
  EXPECT_EQ(photo.height, 1536);
  EXPECT_EQ(photo.orientation, 1);
  EXPECT_NEAR(photo.captureDate.value_or(0), before, 60);
  const auto movie = tracks(movies[0]);
  EXPECT_NEAR(movie.duration, 1.3, 0.8);
  ASSERT_EQ(movie.tracks.size(), 2u) << "pictures and sound";
  EXPECT_NEAR(probe(movies[0]).captureDate.value_or(0), before, 60);

  QTest::qWait(300);
  EXPECT_TRUE(picker->picker().btnDone.lock()->press());
  ASSERT_TRUE(see([&] { return session->hasEnded(); }));
  EXPECT_EQ(session->status(), Delivered);
  const auto delivered = files(folder / "output", ".jpg");
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_EQ(probe(delivered[0]).width, 1600);
  EXPECT_EQ(files(folder / "output", ".mp4").size(), 1u);
  TearDown();
  EXPECT_THAT(files(folder / "recordings", ".mp4"), IsEmpty()) << "nobody refers to it any more";
}

TEST_F(Capture, WhatWasRecordedUntilTheCameraWentIsKept) {
  size = {1024, 768};
  testPictures = "videotestsrc is-live=true pattern=ball ! identity error-after=45";
  access.setCameraAllowed(true);
  open();
  pressCamera();
  ASSERT_TRUE(click("Video"));
  ASSERT_TRUE(see([&] { return find("Start recording") != nullptr; }));
  press(Qt::Key_Space);
  ASSERT_TRUE(see([&] { return find("Use video") != nullptr; }));
  EXPECT_TRUE(find("The camera was disconnected. What was recorded until then is kept."));
  keepPicture("camera-cut-short");
  press(Qt::Key_Space);
  ASSERT_TRUE(see([&] { return picked() == 1 && isGone(); }));
  const auto movies = files(pictures() + "/Camera", ".mp4");
  ASSERT_EQ(movies.size(), 1u);
  EXPECT_GT(tracks(movies[0]).duration, 0.3);

  pressCamera();
  ASSERT_TRUE(see([&] { return find("The camera was disconnected") != nullptr; })) << "in the middle of nothing";
  keepPicture("camera-gone");
  EXPECT_TRUE(click("Try again"));
  ASSERT_TRUE(see([&] { return find("Take photo") != nullptr; }));
  press(Qt::Key_Escape);
  ASSERT_TRUE(see([&] { return isGone(); }));
  EXPECT_EQ(picked(), 1u);
}

TEST_F(Capture, ARefusalLeadsToTheSettingsPage) {
  open();
  pressCamera();
  ASSERT_TRUE(click("Don\u2019t allow"));
  ASSERT_TRUE(click("Settings"));
  ASSERT_TRUE(see([&] { return find("Take photos, and videos with sound") != nullptr; }));
  keepPicture("settings");
  EXPECT_EQ(camera->authorizationStatus(), AVAuthorizationStatusDenied);
  ASSERT_TRUE(click("Camera"));
  ASSERT_TRUE(see([&] { return camera->authorizationStatus() == AVAuthorizationStatusAuthorized; }));
  const CameraAccess later(folder / "access", "test");
  EXPECT_EQ(later.cameraAllowed(), true) << "remembered";
}

}  // namespace
}  // namespace tlx::program
