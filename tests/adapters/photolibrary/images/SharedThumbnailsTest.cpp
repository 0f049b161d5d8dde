#include <atomic>
#include <chrono>

#include <glib.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <vips/vips.h>

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary {
namespace {

using namespace test;
namespace fs = std::filesystem;

using Texts = std::map<std::string, std::string>;
constexpr std::uint32_t theirs = 0xFF0000;  // the colour of other programs' thumbnails
constexpr std::uint32_t photos = 0x00FF00;  // the colour of the photos themselves

class SharingThumbnails : public testing::Test {
 protected:
  SharingThumbnails() {
    settings_.workers = 1;
    settings_.shared.folder = folder_.file("cache/thumbnails");
    settings_.shared.worth = 0;
  }

  std::string photo(const std::string& name, int width = 600, int height = 450) {
    const std::string path = folder_.file(name);
    writeFlatPicture(path, width, height, photos);
    age(path);
    items_.add(name, {path, MediaFormat::Png, width, height});
    return path;
  }
  static void age(const std::string& path, std::chrono::hours by = std::chrono::hours(24)) {
    fs::last_write_time(path, fs::file_time_type::clock::now() - by);
  }
  static std::string uriOf(const std::string& path) {
    gchar* uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
    std::string text = uri;
    g_free(uri);
    return text;
  }
  static std::int64_t timeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mtime : -1;
  }
  std::string thumbnailOf(const std::string& path, const std::string& size = "large") const {
    gchar* md5 = g_compute_checksum_for_string(G_CHECKSUM_MD5, uriOf(path).c_str(), -1);
    std::string name = md5;
    g_free(md5);
    return settings_.shared.folder + "/" + size + "/" + name + ".png";
  }
  static void writeTheirs(const std::string& at, int width, int height, const Texts& texts) {
    fs::create_directories(fs::path(at).parent_path());
    writeFlatPicture(at, width, height, theirs, texts);
  }
  static Texts textsIn(const std::string& png) {
    Texts texts;
    VipsImage* image = vips_image_new_from_file(png.c_str(), nullptr);
    if (!image) return texts;
    gchar** fields = vips_image_get_fields(image);
    for (gchar** field = fields; *field; ++field) {
      const std::string name = *field;
      const char* text = nullptr;
      if (!name.starts_with("png-comment-") || vips_image_get_string(image, *field, &text) != 0) continue;
      texts[name.substr(name.find('-', 12) + 1)] = text;
    }
    texts["size"] = std::to_string(image->Xsize) + "x" + std::to_string(image->Ysize);
    g_strfreev(fields);
    g_object_unref(image);
    return texts;
  }

  struct Seen {
    std::uint32_t colour = 0;
    PixelSize size;
    std::int64_t error = 0;
  };
  /// What a fresh process shows of it in a cell, after which everything is written that is to be.
  Seen show(const std::string& name) {
    ImageManager images(items_, decoding_.decoders, decoding_.pixels, loop_, settings_);
    auto asset = std::make_shared<PHAsset>();
    asset->localIdentifier = name;
    Seen seen;
    images.requestImage(asset, {130, 130}, PHImageContentModeAspectFill, {},
                        [&](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
                          seen.error = info.PHImageErrorKey ? info.PHImageErrorKey->code : 0;
                          if (!image) return;
                          const CGImage& bitmap = *image->bitmap();
                          const std::uint8_t* pixel = bitmap.row(bitmap.height() / 2) + bitmap.width() / 2 * 4;
                          seen.colour = pixel[0] << 16 | pixel[1] << 8 | pixel[2];
                          seen.size = {static_cast<int>(bitmap.width()), static_cast<int>(bitmap.height())};
                        });
    images.waitUntilIdle();
    loop_.runUntilIdle();
    return seen;
  }
  TemporaryFolder folder_;
  memory::Background background_;
  memory::MainLoop loop_{background_};
  FileItems items_;
  Decoding decoding_{folder_.file("pixels")};
  ImageManager::Settings settings_;
};

TEST_F(SharingThumbnails, WritesWhatOtherProgramsUnderstand) {
  const std::string path = photo("a ü#%;,.png");
  EXPECT_EQ(show("a ü#%;,.png").colour, photos);
  const std::string written = thumbnailOf(path);
  Texts texts = textsIn(written);
  texts.erase("Software");
  EXPECT_EQ(texts, (Texts{{"Thumb::URI", uriOf(path)},
                          {"Thumb::MTime", std::to_string(timeOf(path))},
                          {"Thumb::Size", std::to_string(fs::file_size(path))},
                          {"Thumb::Mimetype", "image/png"},
                          {"Thumb::Image::Width", "600"},
                          {"Thumb::Image::Height", "450"},
                          {"size", "256x192"}}))
      << "of the whole picture";
  EXPECT_EQ(fs::status(written).permissions(), fs::perms(0600));
  EXPECT_EQ(fs::status(fs::path(written).parent_path()).permissions(), fs::perms(0700));
  EXPECT_EQ(fs::status(settings_.shared.folder).permissions(), fs::perms(0700));
  const auto files = std::distance(fs::directory_iterator(fs::path(written).parent_path()), fs::directory_iterator());
  EXPECT_EQ(files, 1) << "nothing temporary is left";

  // The short side covers the cell: a wide picture and a dense screen take larger ones.
  const std::string wide = photo("wide.png", 1000, 250);
  show("wide.png");
  EXPECT_EQ(textsIn(thumbnailOf(wide, "xx-large"))["size"], "1000x250");
  settings_.screenScale = 2;
  show("a ü#%;,.png");
  EXPECT_EQ(textsIn(thumbnailOf(path, "x-large"))["size"], "512x384");
}

TEST_F(SharingThumbnails, UsesWhatFitsTheFileAndReplacesWhatDoesNot) {
  const auto nothing = [](Texts&) {};
  const struct {
    const char* reason;
    bool used;
    int width, height;
    std::function<void(Texts&)> change;
    std::function<void(std::vector<std::uint8_t>&)> damage;
    const char* folder = "large";
  } rows[] = {
      {"as written by a file manager", true, 256, 192, [](Texts& texts) { texts.erase("Thumb::Size"); }, {}},
      {"rounded in another way", true, 256, 191, nothing, {}},
      {"a larger one than needed", true, 512, 384, nothing, {}, "x-large"},
      {"too small for the cell", false, 128, 96, nothing, {}, "normal"},
      {"of another file", false, 256, 192, [](Texts& texts) { texts["Thumb::URI"] += "x"; }, {}},
      {"of an older state", false, 256, 192, [](Texts& texts) { texts["Thumb::MTime"] = "1"; }, {}},
      {"of another length", false, 256, 192, [](Texts& texts) { texts["Thumb::Size"] = "1"; }, {}},
      {"without a time", false, 256, 192, [](Texts& texts) { texts.erase("Thumb::MTime"); }, {}},
      {"cut square", false, 256, 256, nothing, {}},
      {"larger than its folder's size", false, 512, 384, nothing, {}},
      {"truncated", false, 256, 192, nothing, [](auto& bytes) { bytes.resize(bytes.size() / 2); }},
      {"no PNG", false, 256, 192, nothing, [](auto& bytes) { bytes.assign(100, 7); }},
      {"empty", false, 256, 192, nothing, [](auto& bytes) { bytes.clear(); }},
      {"a lying header", false, 256, 192, nothing, [](auto& bytes) { bytes[17] = bytes[21] = 0xff; }},
  };
  int number = 0;
  for (const auto& row : rows) {
    const std::string name = std::to_string(++number) + ".png";
    const std::string path = photo(name), kept = thumbnailOf(path, row.folder);
    Texts texts{{"Thumb::URI", uriOf(path)},
                {"Thumb::MTime", std::to_string(timeOf(path))},
                {"Thumb::Size", std::to_string(fs::file_size(path))}};
    row.change(texts);
    writeTheirs(kept, row.width, row.height, texts);
    if (row.damage) {
      auto bytes = readFile(kept);
      row.damage(bytes);
      writeFile(kept, bytes);
    }
    const Seen seen = show(name);
    EXPECT_EQ(seen.colour, row.used ? theirs : photos) << row.reason;
    EXPECT_EQ(seen.size, (PixelSize{173, 130})) << row.reason;
    EXPECT_EQ(textsIn(thumbnailOf(path))["Software"], row.used ? "" : "TLXMediaPicker") << row.reason;
  }
}

TEST_F(SharingThumbnails, RemembersWhatCannotBeShownUntilItChanges) {
  const std::string path = photo("bad.png");
  auto bytes = readFile(path);
  const auto whole = bytes;
  bytes.resize(bytes.size() / 2);
  writeFile(path, bytes);
  std::atomic<int> tries{0};
  items_.setGate([&](const std::string&) { ++tries; });

  EXPECT_EQ(show("bad.png").error, PhotoLibraryErrorDamaged);
  EXPECT_EQ(show("bad.png").error, PhotoLibraryErrorDamaged);
  EXPECT_EQ(tries, 2) << "it has just been written and may still be in the writing";
  age(path);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(show("bad.png").error, PhotoLibraryErrorDamaged);
  EXPECT_EQ(tries, 3);
  writeFile(path, whole);
  age(path);
  EXPECT_EQ(show("bad.png").colour, photos);
  fs::remove(path);
  EXPECT_EQ(show("bad.png").error, PhotoLibraryErrorNotFound) << "gone is no lasting failure";
}

TEST_F(SharingThumbnails, WorksOnWithoutThem) {
  const std::string path = photo("a.png");
  writeFile(folder_.file("cache"), {1});  // where the folders would be made
  EXPECT_EQ(show("a.png").colour, photos);
  settings_.shared.folder.clear();
  EXPECT_EQ(show("a.png").colour, photos);

  settings_.shared.folder = folder_.file("thumbnails");
  fs::create_directories(settings_.shared.folder + "/large");
  const std::string within = settings_.shared.folder + "/large/some.png";
  fs::copy_file(path, within);
  age(within);
  items_.add("within", {within, MediaFormat::Png, 600, 450});
  EXPECT_EQ(show("within").colour, photos);
  EXPECT_FALSE(fs::exists(thumbnailOf(within))) << "no thumbnails of thumbnails";

  settings_.shared.worth = 1e9;
  show("a.png");
  EXPECT_FALSE(fs::exists(thumbnailOf(path))) << "what is as quickly decoded is not written";
  settings_.shared.worth = 0;
  settings_.recordBytes = 100;
  show("a.png");
  EXPECT_FALSE(fs::exists(thumbnailOf(path))) << "nor what would wait in more memory than there is for it";
}

TEST_F(SharingThumbnails, KeepsWithinItsRoomAndDeletesNobodyElses) {
  const std::string stranger = thumbnailOf("/elsewhere"), stale = thumbnailOf("/stale") + ".tlx-abcdef";
  writeTheirs(stranger, 256, 256, {{"Thumb::URI", "file:///elsewhere"}});
  writeFile(stale, {1});
  for (const std::string& old : {stranger, stale}) age(old, std::chrono::hours(24 * 400));
  const std::string first = photo("1.png"), second = photo("2.png"), third = photo("3.png");
  show("1.png");
  EXPECT_FALSE(fs::exists(stale)) << "left by a process that was killed";
  age(thumbnailOf(first), std::chrono::hours(24 * 200));
  show("2.png");
  EXPECT_FALSE(fs::exists(thumbnailOf(first))) << "too old";
  EXPECT_TRUE(fs::exists(stranger)) << "older, but not ours";
  age(thumbnailOf(second));
  settings_.shared.limit = 1;
  show("3.png");
  EXPECT_FALSE(fs::exists(thumbnailOf(second))) << "ours went to make room";
  EXPECT_TRUE(fs::exists(stranger));
  EXPECT_FALSE(fs::exists(thumbnailOf(third))) << "and there was none all the same";
}

}  // namespace
}  // namespace tlx::photolibrary
