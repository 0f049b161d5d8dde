#include <gtest/gtest.h>
#include <libexif/exif-data.h>
#include <vips/vips.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <array>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

#include "tools/sample-library/LibraryWriter.h"
#include "tools/sample-library/PhotoFile.h"

namespace tlx::samples {
namespace {

namespace fs = std::filesystem;

struct Unref {
  void operator()(VipsImage* image) const { g_object_unref(image); }
  void operator()(ExifData* data) const { exif_data_unref(data); }
};
using Image = std::unique_ptr<VipsImage, Unref>;
using Exif = std::unique_ptr<ExifData, Unref>;

Image decoded(const Bytes& bytes) {
  return Image(vips_image_new_from_buffer(bytes.data(), bytes.size(), "", nullptr));
}

std::array<double, 3> averageOf(VipsImage* image, int left, int top, int width, int height) {
  std::array<double, 3> colour{};
  for (int band = 0; band < 3; ++band) {
    VipsImage *area = nullptr, *one = nullptr;
    vips_extract_area(image, &area, left, top, width, height, nullptr);
    vips_extract_band(area, &one, band, nullptr);
    vips_avg(one, &colour[static_cast<std::size_t>(band)], nullptr);
    g_object_unref(one);
    g_object_unref(area);
  }
  return colour;
}

/// With the tags that libexif has no name for, as the rating's.
Exif exifOf(const fs::path& path) {
  Exif data(exif_data_new());
  exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  exif_data_load_data(data.get(), reinterpret_cast<const unsigned char*>(bytes.data()),
                      static_cast<unsigned>(bytes.size()));
  return data;
}

int shortOf(ExifData* data, int tag) {
  ExifEntry* entry = exif_content_get_entry(data->ifd[EXIF_IFD_0], static_cast<ExifTag>(tag));
  return entry ? exif_get_short(entry->data, exif_data_get_byte_order(data)) : 0;
}

std::set<AVMediaType> tracksOf(const fs::path& path) {
  AVFormatContext* file = nullptr;
  std::set<AVMediaType> kinds;
  if (avformat_open_input(&file, path.c_str(), nullptr, nullptr) != 0) return kinds;
  for (unsigned i = 0; i < file->nb_streams; ++i) kinds.insert(file->streams[i]->codecpar->codec_type);
  avformat_close_input(&file);
  return kinds;
}

class SampleLibrary : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(VIPS_INIT("SampleLibraryTest"), 0);
    av_log_set_level(AV_LOG_ERROR);
  }
  void SetUp() override {
    root_ = fs::temp_directory_path() / ("tlx-sample-library-" + std::to_string(getpid()));
    fs::create_directories(root_);
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }

  fs::path root_;
};

void holdsWhatItPromises(const fs::path& library) {
  std::map<std::string, int> byExtension;
  std::set<std::string> folders;
  std::set<int> years, orientations;
  int dated = 0, thumbnails = 0, favourites = 0;
  for (const auto& entry : fs::recursive_directory_iterator(library)) {
    if (!entry.is_regular_file() || entry.path().filename() == ".sample-library") continue;
    const std::string extension = entry.path().extension();
    ++byExtension[extension];
    folders.insert(entry.path().parent_path().filename());
    if (extension != ".jpg") continue;
    const Exif data = exifOf(entry.path());
    if (entry.path().parent_path().filename() == "Turned")
      orientations.insert(shortOf(data.get(), EXIF_TAG_ORIENTATION));
    constexpr int kRating = 0x4746;
    favourites += shortOf(data.get(), kRating) == 5;
    thumbnails += data->size > 0;
    ExifEntry* taken = exif_content_get_entry(data->ifd[EXIF_IFD_EXIF], EXIF_TAG_DATE_TIME_ORIGINAL);
    if (taken) years.insert(std::atoi(reinterpret_cast<const char*>(taken->data))), ++dated;
  }
  const int photos =
      byExtension[".jpg"] + byExtension[".png"] + byExtension[".webp"] + byExtension[".tif"] + byExtension[".gif"];
  EXPECT_GE(photos, 80);
  EXPECT_GE(byExtension[".png"], 8);
  EXPECT_GE(byExtension[".webp"], 1);
  EXPECT_GE(byExtension[".tif"], 1);
  EXPECT_GE(folders.size(), 10U);
  EXPECT_EQ(orientations, (std::set<int>{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_GE(years.size(), 6U);
  EXPECT_GE(favourites, 8);
  EXPECT_GT(thumbnails, dated * 3 / 4);
  EXPECT_EQ(fs::file_size(library / "Odds and Ends/Empty.jpg"), 0U);
}

void videosHaveTheirTracks(const fs::path& library) {
  int whole = 0, deaf = 0, blind = 0;
  for (const auto& entry : fs::recursive_directory_iterator(library)) {
    const std::string extension = entry.path().extension();
    if (extension != ".mp4" && extension != ".mov" && extension != ".mkv" && extension != ".webm") continue;
    const auto tracks = tracksOf(entry.path());
    const bool picture = tracks.contains(AVMEDIA_TYPE_VIDEO), sound = tracks.contains(AVMEDIA_TYPE_AUDIO);
    whole += picture && sound;
    deaf += picture && !sound;
    blind += sound && !picture;
  }
  EXPECT_GE(whole, 4);
  EXPECT_EQ(deaf, 0);
  EXPECT_EQ(blind, 1);
}

void filesCarryTheTimeOfTheirShot(const fs::path& library) {
  const fs::path photo = library / "Turned/Turned_1.jpg";
  const Exif data = exifOf(photo);
  ExifEntry* taken = exif_content_get_entry(data->ifd[EXIF_IFD_EXIF], EXIF_TAG_DATE_TIME_ORIGINAL);
  ASSERT_TRUE(taken);
  std::tm clock{};
  ASSERT_NE(strptime(reinterpret_cast<const char*>(taken->data), "%Y:%m:%d %H:%M:%S", &clock), nullptr);
  clock.tm_isdst = -1;
  struct stat status {};
  ASSERT_EQ(stat(photo.c_str(), &status), 0);
  EXPECT_EQ(status.st_mtime, std::mktime(&clock));
}

// One test for all that looks at a whole library, since making it is what takes the time.
TEST_F(SampleLibrary, IsMadeWholeAndThenLeftAlone) {
  const fs::path library = root_ / "Pictures";
  const Outcome first = writeSampleLibrary(library, true);
  ASSERT_TRUE(first.made) << first.error;
  holdsWhatItPromises(library);
  videosHaveTheirTracks(library);
  filesCarryTheTimeOfTheirShot(library);
  const auto before = fs::last_write_time(library / ".sample-library");
  const Outcome again = writeSampleLibrary(library, true);
  EXPECT_FALSE(again.made);
  EXPECT_EQ(again.error, "");
  EXPECT_EQ(fs::last_write_time(library / ".sample-library"), before);
  int siblings = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(root_)) ++siblings;
  EXPECT_EQ(siblings, 1) << "something temporary was left beside the library";
}

TEST_F(SampleLibrary, NeverTouchesAFolderOfSomeoneElse) {
  const fs::path own = root_ / "own";
  fs::create_directories(own);
  std::ofstream(own / "diary.txt") << "mine";
  EXPECT_NE(writeSampleLibrary(own, true).error, "");
  EXPECT_NE(writeManyPhotos(own, 3).error, "");
  EXPECT_TRUE(fs::exists(own / "diary.txt"));
}

TEST_F(SampleLibrary, ManyPhotosAreExactlyAsMany) {
  const fs::path many = root_ / "many";
  ASSERT_EQ(writeManyPhotos(many, 450).error, "");
  std::set<fs::path> folders;
  int count = 0;
  for (const auto& entry : fs::recursive_directory_iterator(many))
    if (entry.path().extension() == ".jpg") ++count, folders.insert(entry.path().parent_path());
  EXPECT_EQ(count, 450);
  EXPECT_EQ(folders.size(), 3U);
}

// Four corners in four colours: a viewer that honours the tag sees them where they were painted.
TEST_F(SampleLibrary, EveryOrientationStandsUprightWhenHonoured) {
  Canvas canvas(96, 64);
  canvas.shade(0, 1, [](float x, float y, Colour) {
    return Colour{x < 0.75F ? 0.7F : 0.05F, y < 0.5F ? 0.7F : 0.05F, 0.3F};
  });
  for (int orientation = 1; orientation <= 8; ++orientation) {
    SCOPED_TRACE(orientation);
    std::string why;
    const auto bytes = encodePhoto(canvas, {.quality = 95}, {.orientation = orientation}, why);
    ASSERT_TRUE(bytes) << why;
    const Image stored = decoded(*bytes);
    ASSERT_TRUE(stored);
    EXPECT_EQ(vips_image_get_width(stored.get()), orientation < 5 ? 96 : 64);
    VipsImage* turned = nullptr;
    ASSERT_EQ(vips_autorot(stored.get(), &turned, nullptr), 0);
    const Image upright(turned);
    ASSERT_EQ(vips_image_get_width(upright.get()), 96);
    EXPECT_GT(averageOf(upright.get(), 4, 36, 20, 20)[0], 150) << "bottom left is red";
    EXPECT_LT(averageOf(upright.get(), 4, 36, 20, 20)[1], 110);
    EXPECT_GT(averageOf(upright.get(), 72, 4, 20, 20)[1], 150) << "top right is green";
    EXPECT_LT(averageOf(upright.get(), 72, 4, 20, 20)[0], 110);
  }
}

TEST_F(SampleLibrary, OtherPixelsShowTheSameColours) {
  Canvas canvas(64, 64);
  canvas.shade(0, 1, [](float, float, Colour) { return Colour{0.55F, 0.18F, 0.08F}; });
  struct Row {
    PhotoFormat format;
    const char* reason;
  };
  const Row rows[] = {
      {{PhotoKind::Jpeg, PixelKind::Cmyk, 95}, "inks are neither inverted nor without their profile"},
      {{PhotoKind::Jpeg, PixelKind::Wide, 95}, "a wide gamut profile is named beside its numbers"},
      {{PhotoKind::Png, PixelKind::Deep}, "sixteen bits are scaled to the full range"},
      {{PhotoKind::Tiff, PixelKind::Deep}, "a directory that was moved still points at its pixels"},
      {{PhotoKind::WebP, PixelKind::Colour, 95}, "metadata does not disturb the picture"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    std::string why;
    const auto bytes = encodePhoto(canvas, row.format, {.taken = Moment{}, .make = "Lumenor"}, why);
    ASSERT_TRUE(bytes) << why;
    const Image stored = decoded(*bytes);
    ASSERT_TRUE(stored) << vips_error_buffer();
    VipsImage* shown = nullptr;
    ASSERT_EQ(vips_thumbnail_image(stored.get(), &shown, 64, "export_profile", "srgb", nullptr), 0);
    const Image plain(shown);
    const auto colour = averageOf(plain.get(), 16, 16, 32, 32);
    EXPECT_NEAR(colour[0], 195, 14);
    EXPECT_NEAR(colour[1], 118, 14);
    EXPECT_NEAR(colour[2], 79, row.format.pixels == PixelKind::Wide ? 30 : 14);
  }
}

}  // namespace
}  // namespace tlx::samples
