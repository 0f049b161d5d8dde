
#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "tests/adapters/photolibrary/images/Samples.h"
#include "tests/contracts/ImageManagerContract.h"

namespace tlx::contracts {
namespace {

using namespace photolibrary;

class FilesImageWorld final : public ImageManagerWorld {
 public:
  MainQueuePort& mainQueue() override { return loop_; }
  bool runUntil(const std::function<bool()>& done) override { return loop_.runUntil(done); }
  void settle() override {
    images_.waitUntilIdle();
    loop_.runUntilIdle();
  }
  ImageManagerPort& images() override { return images_; }

  Asset photo(int width, int height, std::uint32_t colour) override {
    const std::string path = nextFile(".png");
    test::writeFlatPicture(path, width, height, colour);
    return items_.add(path, {path});
  }
  Asset damagedPhoto() override {
    const std::string path = nextFile(".jpg");
    test::writeFile(path, {0xff, 0xd8, 0xff, 0xe0});
    return items_.add(path, {path});
  }
  Asset video(double seconds) override {
    const std::string path = nextFile(".mp4");
    test::writeClip(path, {.frames = static_cast<int>(seconds * 10)});
    return items_.add(path, {path});
  }
  Asset videoWithoutVideoTrack() override {
    const std::string path = nextFile(".mov");
    test::writeFile(path, test::sampleVideo(1, "soun"));
    return items_.add(path, {path});
  }
  Asset cloudPhoto() override {
    const std::string path = nextFile(".jpg");
    test::writePicture(path, {.width = 320, .height = 240});
    return items_.add(path, {.path = path, .remote = true});
  }
  Asset cloudVideo() override {
    const std::string path = nextFile(".mp4");
    test::writeClip(path);
    return items_.add(path, {.path = path, .format = MediaFormat::Mp4, .remote = true});
  }
  Asset deletedPhoto() override { return items_.add("deleted", {folder_.file("deleted.jpg")}); }

 private:
  std::string nextFile(const char* extension) { return folder_.file(std::to_string(++files_) + extension); }
  ImageManager::Settings settings() const {
    ImageManager::Settings settings;
    settings.shared.folder = folder_.file("thumbnails");
    return settings;
  }

  test::TemporaryFolder folder_;
  memory::Background background_;
  memory::MainLoop loop_{background_};
  test::FileItems items_;
  test::Decoding decoding_{folder_.file("pixels")};
  ImageManager images_{items_, decoding_.decoders, decoding_.pixels, loop_, settings()};
  int files_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Files, ImageManagerContract, testing::Values(&makeWorld<ImageManagerWorld, FilesImageWorld>));

}  // namespace
}  // namespace tlx::contracts
