#include <utility>

#include <gmock/gmock.h>

#include "tests/adapters/qtquick/PickerWindow.h"
#include "tests/adapters/qtquick/ScreenReader.h"

namespace tlx::test {
namespace {

using namespace testing;

class CaptureScreen : public testing::Test {
 protected:
  void open() {
    camera.bench.showsAtOnce = false;
    session.open();
    session.picker->btnCameraPressed();
    session.wait(1);
  }
  Names heard() {
    session.wait(0.1);
    return std::exchange(camera.bench.asked, {});
  }
  void fail(CameraErrorCode code) {
    look().lose(error(code));
    session.wait(0.1);
  }
  void show() {
    look().show();
    session.wait(0.1);
  }
  bool isOpen() { return camera.bench.session != nullptr; }
  memory::MemoryCaptureSession& look() { return *camera.bench.session; }
  static NSError error(CameraErrorCode code) { return {kCameraErrorDomain, code, "a cause"}; }

  PickerWindow session;
  memory::MemoryCamera& camera = session.camera;
  ScreenReader reader{session};
};

TEST_F(CaptureScreen, KeysAndReadersReachEverything) {
  open();
  EXPECT_THAT(heard(), ElementsAre("open photo "));
  session.press(Qt::Key_Space);
  EXPECT_THAT(heard(), IsEmpty()) << "there is nothing to take yet";
  show();
  EXPECT_THAT(reader.names(QAccessible::Button), ElementsAre("Cancel", "Take photo", "Switch camera"));
  EXPECT_THAT(reader.names(QAccessible::RadioButton), ElementsAre("Video", "Photo"));
  reader.press("Switch camera");
  EXPECT_THAT(heard(), ElementsAre("open photo front"));
  reader.press("Video");
  EXPECT_THAT(heard(), ElementsAre("open movie front"));
  show();
  session.press(Qt::Key_Space);
  EXPECT_THAT(heard(), ElementsAre("start"));
  look().record(67.5);
  session.wait(0.1);
  EXPECT_THAT(reader.names(), Contains("Recording, 1:07"));
  EXPECT_THAT(reader.names(QAccessible::Button), ElementsAre("Cancel", "Stop recording"));
  session.press(Qt::Key_Space);
  EXPECT_THAT(heard(), ElementsAre("stop"));
  EXPECT_THAT(reader.names(QAccessible::Button), ElementsAre("Cancel", "Retake", "Use video"));
  reader.press("Retake");
  EXPECT_THAT(heard(), IsEmpty()) << "the camera has been open all the time";
  session.press(Qt::Key_Escape);
  session.wait(1);
  EXPECT_FALSE(isOpen());
  EXPECT_THAT(session.picked(), IsEmpty());
  EXPECT_THAT(reader.names(), Contains("Photos")) << "what was beneath can be reached again";
  session.picker->btnCameraPressed();
  session.wait(1);
  EXPECT_THAT(session.close(), IsEmpty()) << "a host may go in the middle of it";
  EXPECT_FALSE(isOpen());
}

TEST_F(CaptureScreen, SaysWhatIsWrongAndTriesAgain) {
  open();
  const std::pair<CameraErrorCode, const char*> rows[] = {
      {CameraErrorBusy, "The camera is in use\nClose the program that is using it, then try again."},
      {CameraErrorNotAllowed, "The camera cannot be opened\nThis program has no right to use it on this computer."},
      {CameraErrorDisconnected, "The camera was disconnected\nPlug it in again, then try again."},
      {CameraErrorFailed, "The camera does not work\nTry again, or use another one."},
      {CameraErrorNoDevice, "No camera found\nPlug one in, and it shows here."},
  };
  for (const auto& [code, words] : rows) {
    fail(code);
    EXPECT_THAT(reader.names(), Contains(words));
    EXPECT_THAT(reader.names(QAccessible::Button), Not(Contains("Take photo")));
    heard();
    reader.press("Try again");
    EXPECT_THAT(heard(), ElementsAre("open photo back"));
    EXPECT_THAT(reader.names(), Not(Contains(words)));
  }
  fail(CameraErrorNoDevice);
  heard();
  camera.plugIn({"third", "Another camera"});
  EXPECT_THAT(heard(), ElementsAre("open photo ")) << "one was plugged in";
}

}  // namespace
}  // namespace tlx::test
