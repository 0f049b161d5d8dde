#include <array>
#include <csignal>
#include <cstdlib>
#include <map>
#include <memory>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <vips/vips.h>

#include "tests/support/TemporaryFolder.h"
#include "tools/sample-library/Files.h"

namespace tlx::samples {
namespace {

namespace fs = std::filesystem;

struct Unref {
  void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<VipsImage, Unref>;

std::map<std::string, std::string> filesOf(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string path = fs::relative(entry.path(), folder);
    if (entry.is_regular_file() && !path.starts_with('.')) files[path] = support::contentOf(entry.path());
  }
  return files;
}

class SampleLibrary : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(VIPS_INIT("SampleLibraryTest"), 0); }
  const support::TemporaryFolder folder_;
  const fs::path& root_ = folder_.path();
};

// One test for all that looks at a whole library, since making it is what takes the time.
TEST_F(SampleLibrary, IsCompletedAfterABreakAndThenLeftAlone) {
  const fs::path library = root_ / "Pictures";
  const std::string broken =
      "cd '" + root_.string() +
      "' && mkfifo names && { " TLX_SAMPLE_LIBRARY
      " --small Pictures >names & maker=$!; exec 3<names; for i in 1 2 3 4 5 6 7 8; do read -r name <&3; "
      "done; kill $maker; wait $maker; }";
  EXPECT_EQ(WEXITSTATUS(std::system(broken.c_str())), 128 + SIGTERM);
  const auto half = filesOf(library);
  EXPECT_GE(half.size(), 8U);
  EXPECT_FALSE(fs::exists(library / "Alps 2019/DSC_4100.jpg")) << "the oldest comes last";
  EXPECT_GT(writeSampleLibrary(library, true), 0);
  const auto files = filesOf(library);
  for (const auto& [path, content] : half) EXPECT_TRUE(files.at(path) == content) << path << " was whole, and kept";
  EXPECT_EQ(writeSampleLibrary(library, true), 0);

  const Plan plan = planLibrary(480);
  EXPECT_EQ(files.size(), plan.photos.size() + plan.videos.size() + 2) << "what a machine cannot write is left out";
  for (const Photo& photo : plan.photos) {
    struct stat status {};
    ASSERT_EQ(stat((library / photo.path).c_str(), &status), 0) << photo.path;
    EXPECT_EQ(status.st_mtime, photo.taken.toSecsSinceEpoch()) << photo.path;
    if (photo.seed % 20 != 0) continue;
    EXPECT_TRUE(encoded(photo) == files.at(photo.path)) << photo.path << " comes out the same each time";
  }
  EXPECT_EQ(files.at("Odds and Ends/Empty.jpg"), "");
  EXPECT_FALSE(files.at("Odds and Ends/Cut short.jpg").ends_with("\xff\xd9"));
}

TEST_F(SampleLibrary, NeverTouchesAFolderOfSomeoneElse) {
  std::ofstream(root_ / "diary.txt") << "mine";
  EXPECT_THROW(writeSampleLibrary(root_, true), std::runtime_error);
  EXPECT_THROW(writeManyPhotos(root_, 3), std::runtime_error);
  EXPECT_EQ(filesOf(root_).size(), 1U);
  EXPECT_EQ(writeManyPhotos(root_ / "many", 450), 450);
  EXPECT_EQ(filesOf(root_ / "many").size(), 450U);
  EXPECT_EQ(std::distance(fs::directory_iterator(root_ / "many"), {}), 3 + 1) << "folders of a few hundred";
}

TEST_F(SampleLibrary, ShowsItsColoursUpright) {
  struct Row {
    const char* path;
    Pixels pixels;
    int orientation;
    const char* reason;
  };
  std::vector<Row> rows = {{"a.jpg", Pixels::Cmyk, 1, "inks are neither inverted nor without their profile"},
                           {"a.jpg", Pixels::Wide, 1, "a wide gamut is named beside its numbers"},
                           {"a.png", Pixels::Deep, 1, "sixteen bits are scaled to the full range"},
                           {"a.webp", Pixels::Plain, 1, "metadata does not disturb the picture"}};
  for (int orientation = 1; orientation <= 8; ++orientation)
    rows.push_back({"a.jpg", Pixels::Plain, orientation, "honouring the tag undoes the turn"});
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.reason) + ' ' + std::to_string(row.orientation));
    Photo photo{.path = row.path,
                .seed = 1,
                .width = 96,
                .height = 64,
                .pixels = row.pixels,
                .quality = 95,
                .orientation = row.orientation};
    photo.scene = [](Canvas& c, Random&) {
      c.shade(0, 1, [](double x, double y, Rgb) { return Rgb{x < 0.75 ? 0.8 : 0.35, y < 0.5 ? 0.7 : 0.35, 0.4}; });
    };
    const std::string bytes = encoded(photo);
    VipsImage* shown = nullptr;
    ASSERT_EQ(vips_thumbnail_buffer(const_cast<char*>(bytes.data()), bytes.size(), &shown, 96, "height", 96,
                                    "export_profile", "srgb", nullptr),
              0);
    const Image upright(shown), image(vips_image_copy_memory(shown));
    ASSERT_TRUE(image && image->Xsize == 96) << vips_error_buffer();
    for (const auto& [x, y, red, green] : {std::array{20, 48, 204, 89}, {76, 16, 89, 179}}) {
      double* colour = nullptr;
      int bands = 0;
      ASSERT_EQ(vips_getpoint(image.get(), &colour, &bands, x, y, nullptr), 0);
      EXPECT_NEAR(colour[0], red, 25);
      EXPECT_NEAR(colour[1], green, 25);
      EXPECT_NEAR(colour[2], 102, 25);
      g_free(colour);
    }
  }
}

}  // namespace
}  // namespace tlx::samples
