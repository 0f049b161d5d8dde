#include <fstream>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "adapters/photolibrary/files/UnfinishedFile.h"
#include "apps/tlx-media-picker/OutputFolder.h"
#include "tests/apps/ProgramRun.h"

namespace tlx::program {
namespace {

namespace fs = std::filesystem;
using test::contentOf;
using test::readPicture;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr double kSomeTime = 1710252309;  // 12 March 2024, 14:05:09 in universal time

/// Two colours side by side; the second one's opacity is `alpha`, and its memory holds it multiplied by that. Its rows
/// are longer than their pixels.
UIImage twoColours(std::uint8_t alpha = 255) {
  constexpr std::size_t kWidth = 32, kHeight = 16, kRow = 4 * kWidth + 13;
  const auto shown = [alpha](int value) { return static_cast<std::uint8_t>((value * alpha + 127) / 255); };
  const std::uint8_t left[] = {220, 30, 40, 255}, right[] = {shown(200), shown(100), shown(60), alpha};
  const auto bytes = std::make_shared<std::vector<std::uint8_t>>(kRow * kHeight, 77);
  for (std::size_t i = 0; i < kWidth * kHeight; ++i) {
    const auto& colour = i % kWidth < kWidth / 2 ? left : right;
    std::copy(colour, colour + 4, bytes->data() + i / kWidth * kRow + i % kWidth * 4);
  }
  return UIImage(CGImage::createWithOwner(kWidth, kHeight, kRow, bytes->data(), bytes));
}

class OutputFolderTest : public testing::Test {
 protected:
  std::string written(const std::variant<OutputFolder::Written, std::string>& outcome) {
    const auto* file = std::get_if<OutputFolder::Written>(&outcome);
    if (!file) ADD_FAILURE() << std::get<std::string>(outcome);
    return file ? file->path : "";
  }

  support::TemporaryFolder top_;
  // Characters that image libraries and shells read a meaning into.
  const std::string out_ = top_ / "a new/folder [Q=1] 100%";
};

TEST_F(OutputFolderTest, NeverTouchesWhatIsThere) {
  const OutputFolder folder(out_);
  ASSERT_EQ(folder.error(), "");
  std::ofstream(out_ + "/beach.jpg") << "mine";
  fs::create_symlink("nowhere", out_ + "/beach (2).jpg");
  EXPECT_EQ(written(folder.writeImage(twoColours(), "beach.jpg", kSomeTime)), out_ + "/beach (3).jpg");
  EXPECT_EQ(written(folder.copyFile(out_ + "/beach.jpg", "beach.jpg", kSomeTime)), out_ + "/beach (4).jpg");
  EXPECT_EQ(contentOf(out_ + "/beach.jpg"), "mine");
  EXPECT_EQ(contentOf(out_ + "/beach (4).jpg"), "mine");
  EXPECT_EQ(fs::read_symlink(out_ + "/beach (2).jpg"), "nowhere");
  EXPECT_THAT(support::fileNamesIn(out_),
              UnorderedElementsAre("beach.jpg", "beach (2).jpg", "beach (3).jpg", "beach (4).jpg"))
      << "nothing unfinished is left lying about";

  const photolibrary::UnfinishedFile another(out_);
  const std::string hidden = fs::read_symlink("/proc/self/fd/" + std::to_string(another.get())).filename();
  std::string killed = hidden, linked = hidden, foreign = hidden.substr(1);
  killed[10] = linked[10] = hidden[10] == '0' ? '1' : '0';
  linked[11] = hidden[11] == '0' ? '1' : '0';
  for (const std::string& left : {killed, foreign}) std::ofstream(out_ + "/" + left) << "half";
  fs::create_symlink("beach.jpg", out_ + "/" + linked);
  written(folder.copyFile(out_ + "/beach.jpg", "copy", kSomeTime));
  EXPECT_THAT(support::fileNamesIn(out_), testing::IsSupersetOf({hidden, linked, foreign}))
      << "another program's, and what is not ours";
  EXPECT_THAT(support::fileNamesIn(out_), testing::Not(testing::Contains(killed)))
      << "a program that was killed left it";
  EXPECT_EQ(contentOf(out_ + "/beach.jpg"), "mine");
}

TEST_F(OutputFolderTest, ACopyAllowsWhatTheUmaskAndTheOriginalAllow) {
  const struct {
    mode_t original, umask, copy;
    const char* reason;
  } rows[] = {
      {07755, 022, 0644, "a copy runs nothing, least of all as somebody else"},
      {0444, 022, 0644, "it is the person's own to change"},
      {0600, 022, 0600, "what others may not read they may not read in a copy"},
      {0640, 002, 0660, "the group may"},
  };
  const OutputFolder folder(out_);
  for (const auto& row : rows) {
    const std::string original = top_ / "original";
    std::ofstream(original) << "film";
    chmod(original.c_str(), row.original);
    const mode_t before = umask(row.umask);
    const std::string copy = written(folder.copyFile(original, "copy", kSomeTime));
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(copy.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, row.copy) << row.reason;
  }
}

TEST_F(OutputFolderTest, KeepsNamesWithTheEndingOfWhatIsInside) {
  const struct {
    std::string name;
    std::uint8_t alpha;
    std::string kept, reason;
  } rows[] = {
      {"Mixed.JpEg", 255, "Mixed.JpEg", "whatever its letters"},
      {"IMG_2.heic", 255, "IMG_2.jpg", "another format, another ending"},
      {"sticker.png", 128, "sticker.png", "what is seen through stays so"},
      {"drawing.webp", 0, "drawing.png", "nothing to see at all, yet not black"},
      {"a.b.c.tif", 255, "a.b.c.jpg", "only the last ending goes"},
      {".hidden", 255, ".hidden.jpg", "a name, not an ending"},
      {"caf\xe9.png", 255, "caf\xe9.jpg", "not UTF-8"},
  };
  const OutputFolder folder(out_);
  for (const auto& row : rows) {
    const std::string path = written(folder.writeImage(twoColours(row.alpha), row.name, kSomeTime));
    EXPECT_EQ(path, out_ + "/" + row.kept) << row.reason;
    EXPECT_THAT(contentOf(path), testing::StartsWith(row.alpha == 255 ? "\xff\xd8\xff" : "\x89PNG")) << row.name;
  }
}

TEST_F(OutputFolderTest, ColoursAndDateAreThoseOfTheImage) {
  const OutputFolder folder(out_);
  for (const std::uint8_t alpha : {255, 128, 3}) {
    const std::string path = written(folder.writeImage(twoColours(alpha), "a", kSomeTime));
    EXPECT_THAT(contentOf(path), testing::HasSubstr("2024:03:1")) << "the date of capture";
    const QImage picture = readPicture(path);
    ASSERT_EQ(picture.size(), QSize(32, 16));
    const QColor left = picture.pixelColor(4, 8), right = picture.pixelColor(28, 15);
    EXPECT_NEAR(left.red(), 220, 4);
    EXPECT_NEAR(left.green(), 30, 4);
    EXPECT_EQ(left.alpha(), 255);
    EXPECT_EQ(right.alpha(), alpha);
    // Of a colour behind so little opacity, only a few steps are left.
    const int tolerance = alpha == 3 ? 43 : 4;
    EXPECT_NEAR(right.red(), 200, tolerance);
    EXPECT_NEAR(right.green(), 100, tolerance);
  }
}

TEST_F(OutputFolderTest, SaysWhatCannotBeDone) {
  std::ofstream(top_ / "file") << "no folder";
  EXPECT_THAT(OutputFolder(top_ / "file/below").error(), testing::HasSubstr("file"));
  EXPECT_NE(OutputFolder("/proc/nothing is made here").error(), "");

  const OutputFolder folder(out_);
  const auto missing = folder.copyFile(top_ / "missing.mp4", "missing.mp4", 0);
  EXPECT_THAT(std::get<std::string>(missing), testing::StartsWith("missing.mp4: "));
  mkfifo((top_ / "pipe.mp4").c_str(), 0600);
  EXPECT_TRUE(std::holds_alternative<std::string>(folder.copyFile(top_ / "pipe.mp4", "pipe.mp4", 0)));
  EXPECT_TRUE(std::holds_alternative<std::string>(folder.writeImage(UIImage(nullptr), "none", 0)));
  EXPECT_TRUE(std::holds_alternative<std::string>(folder.writeImage(twoColours(), std::string(300, 'n'), 0)));
  EXPECT_THAT(support::fileNamesIn(out_), ElementsAre());

  fs::remove(out_);
  EXPECT_TRUE(std::holds_alternative<std::string>(folder.writeImage(twoColours(), "late", 0))) << "unplugged meanwhile";
}

}  // namespace
}  // namespace tlx::program
