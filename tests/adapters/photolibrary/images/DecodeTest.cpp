
#include <gtest/gtest.h>

#include "adapters/photolibrary/images/FilePictures.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary {
namespace {

using namespace test;

class Decoding : public testing::Test {
 protected:
  Picture decode(const std::string& path, CGSize target = {}, PHImageContentMode mode = PHImageContentModeAspectFit) {
    return decoder_.decode(path, {target, mode});
  }
  static const CGImage& imageOf(const Picture& picture) {
    if (const NSError* error = std::get_if<NSError>(&picture)) throw std::runtime_error(error->localizedDescription);
    return *std::get<0>(picture);
  }
  static PixelSize sizeOf(const CGImage& image) {
    return {static_cast<int>(image.width()), static_cast<int>(image.height())};
  }
  static std::int64_t codeOf(const Picture& picture) {
    const NSError* error = std::get_if<NSError>(&picture);
    return error ? error->code : 0;
  }

  TemporaryFolder folder_;
  PixelStore store_{folder_.file("pixels")};
  DirectDecoders direct_{store_};
  FilePictures decoder_{direct_};
};

/// Where red, green, blue and white of a stored picture stand once it is turned as EXIF's numbers say.
constexpr const char* uprightLetters[] = {"", "RG/BW", "GR/WB", "WB/GR", "BW/RG", "RB/GW", "BR/WG", "WG/BR", "GW/RB"};

TEST_F(Decoding, TurnsUprightExactlyOnceInEveryFormat) {
  const struct {
    const char* file;
    PictureOptions options;
    const char* reason;
  } rows[] = {
      {"a.jpg", {}, "the EXIF block says it"},
      {"p.jpg", {.progressive = true}, "and of a progressive one too"},
      {"k.jpg", {.cmyk = true}, "print colours take another way"},
      {"a.png", {}, "the eXIf chunk says it"},
      {"a.webp", {}, "the EXIF chunk says it, behind the pixels"},
      {"a.tif", {}, "a tag of the first directory says it"},
      {"a.heic", {}, "the container's decoder turns"},
      {"a.avif", {}, "likewise"},
      {"a.jxl", {}, "the codestream's decoder turns"},
  };
  for (const auto& row : rows) {
    for (int turn = 1; turn <= 8; ++turn) {
      const std::string path = folder_.file(row.file);
      PictureOptions options = row.options;
      options.orientation = turn;
      writePicture(path, options);
      const PixelSize whole = turn >= 5 ? PixelSize{48, 64} : PixelSize{64, 48};
      const PixelSize fitted = turn >= 5 ? PixelSize{18, 24} : PixelSize{24, 18};
      const auto info = std::get<MediaInfo>(probe(path));
      EXPECT_EQ((PixelSize{info.width, info.height}), whole) << row.file << " " << turn << ", of the header alone";
      for (const CGSize target : {CGSize{}, CGSize{24, 24}}) {
        const Picture picture = decode(path, target);
        const CGImage& image = imageOf(picture);
        EXPECT_EQ(lettersOf(image), uprightLetters[turn]) << row.file << ", orientation " << turn << ": " << row.reason;
        EXPECT_EQ(sizeOf(image), target.width > 0 ? fitted : whole) << row.file << ", orientation " << turn;
      }
    }
  }
  writePicture(folder_.file("a.heic"), {.mentioned = 6});
  EXPECT_EQ(lettersOf(imageOf(decode(folder_.file("a.heic")))), "RG/BW") << "only its metadata mention a turn";
}

TEST_F(Decoding, BringsEveryKindOfPixelToSrgb) {
  const std::array<Colour, 4> colours{red, green, blue, white};
  const Colour dimRed{54, 54, 54, 255}, dimGreen{182, 182, 182, 255}, dimBlue{18, 18, 18, 255};
  const std::array<Colour, 4> greys{dimRed, dimGreen, dimBlue, white};
  // What inks make of the four by the profile that comes with the picture; an inverted channel would be far off.
  const std::array<Colour, 4> inks{Colour{232, 31, 42, 255}, {192, 208, 12, 255}, {46, 70, 143, 255}, white};
  const std::array<Colour, 4> half{Colour{128, 0, 0, 128}, {0, 128, 0, 128}, {0, 0, 128, 128}, {128, 128, 128, 128}};
  const struct {
    const char* file;
    PictureOptions options;
    std::array<Colour, 4> corners;
    int tolerance;
    const char* reason;
  } rows[] = {
      {"16.png", {.bits = 16}, colours, 2, "16 bits a channel"},
      {"16.tif", {.bits = 16}, colours, 2, "and in TIFF"},
      {"palette.png", {.palette = true}, colours, 4, "a palette"},
      {"palette.gif", {}, colours, 4, "a palette always"},
      {"interlaced.png", {.progressive = true}, colours, 2, "rows out of order"},
      {"grey.jpg", {.grey = true}, greys, 90, "one channel, as bright as the colours were"},
      {"grey.png", {.bits = 16, .grey = true}, greys, 90, "one channel of 16 bits"},
      {"cmyk.jpg", {.cmyk = true}, inks, 12, "print colours"},
      {"cmyk.tif", {.cmyk = true}, inks, 4, "and in TIFF"},
      {"wide.jpg", {.profile = "p3"}, colours, 8, "a wide gamut's numbers are others for the same colours"},
      {"wide.png", {.profile = "p3"}, colours, 4, "and in PNG"},
      {"plain.jpg", {.profile = "srgb"}, colours, 6, "a profile that changes nothing"},
      {"alpha.png", {.alpha = 128}, half, 3, "colour is premultiplied"},
      {"alpha.webp", {.alpha = 128}, half, 3, "and in WebP"},
      {"alpha16.png", {.bits = 16, .alpha = 128}, half, 3, "16 bits and alpha"},
  };
  for (const auto& row : rows) {
    const std::string path = folder_.file(row.file);
    writePicture(path, row.options);
    for (const CGSize target : {CGSize{}, CGSize{30, 30}}) {
      const Picture picture = decode(path, target);
      const auto corners = cornersOf(imageOf(picture));
      for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t c = 0; c < 4; ++c) {
          EXPECT_NEAR(corners[i][c], row.corners[i][c], row.tolerance)
              << row.file << " (" << row.reason << "), corner " << i << ", channel " << c;
        }
      }
    }
  }
}

TEST_F(Decoding, ATruncatedPictureIsAnErrorInEveryFormat) {
  for (const char* name :
       {"a.jpg", "p.jpg", "k.jpg", "a.png", "a.webp", "a.gif", "a.tif", "a.heic", "a.avif", "a.jxl"}) {
    const std::string path = folder_.file(name);
    writePicture(path, {.width = 320, .height = 240, .progressive = name[0] == 'p', .cmyk = name[0] == 'k'});
    const std::vector<std::uint8_t> whole = readFile(path);
    ASSERT_EQ(codeOf(decode(path)), 0) << name;
    for (const double part : {0.3, 0.6, 0.9}) {
      auto cut = whole;
      cut.resize(static_cast<std::size_t>(static_cast<double>(whole.size()) * part));
      writeFile(path, cut);
      const Picture picture = decode(path);
      EXPECT_TRUE(codeOf(picture) == PhotoLibraryErrorDamaged || codeOf(picture) == PhotoLibraryErrorUnsupported)
          << name << " cut at " << part << " of " << whole.size() << " bytes: " << codeOf(picture);
    }
  }
}

TEST_F(Decoding, WhatIsNoFileIsSaidSo) {
  const std::pair<std::string, std::int64_t> rows[] = {{folder_.file("none.jpg"), PhotoLibraryErrorNotFound},
                                                       {folder_.path(), PhotoLibraryErrorUnsupported},
                                                       {"/dev/zero", PhotoLibraryErrorUnsupported}};
  for (const auto& [path, code] : rows) EXPECT_EQ(codeOf(decode(path)), code) << path;
}

TEST_F(Decoding, AnEmbeddedPictureHasThePhotosOwnShape) {
  const struct {
    int width, height, innerWidth, innerHeight, orientation;
    CGSize target;
    PixelSize expected;
    const char* reason;
  } rows[] = {
      {400, 300, 160, 120, 1, {130, 130}, {130, 98}, "no bars, made smaller"},
      {480, 270, 160, 90, 1, {}, {160, 90}, "bars above and below"},
      {200, 300, 80, 120, 1, {}, {80, 120}, "bars at the sides"},
      {480, 270, 160, 90, 6, {}, {90, 160}, "the bars lie along the stored picture"},
      {480, 270, 160, 90, 8, {45, 45}, {25, 45}, "turned and made smaller"},
  };
  for (const auto& row : rows) {
    const std::string path = folder_.file("a.jpg");
    writeJpegWithThumbnail(path, row.width, row.height, row.innerWidth, row.innerHeight, row.orientation);
    const Picture picture = decoder_.decodeEmbedded(path, {row.target});
    const CGImage& image = imageOf(picture);
    EXPECT_NEAR(sizeOf(image).width, row.expected.width, 1) << row.reason;
    EXPECT_NEAR(sizeOf(image).height, row.expected.height, 1) << row.reason;
    EXPECT_EQ(lettersOf(image), uprightLetters[row.orientation]) << row.reason;
    for (const std::size_t y : {std::size_t{1}, image.height() - 2}) {
      const std::uint8_t* pixel = image.row(y) + 8;
      EXPECT_GT(std::max({pixel[0], pixel[1], pixel[2]}), 100) << row.reason << ": a bar is left at row " << y;
    }
  }
  writePicture(folder_.file("a.heic"), {.width = 640, .height = 480, .orientation = 6, .thumbnail = 160});
  const Picture heif = decoder_.decodeEmbedded(folder_.file("a.heic"), {{60, 60}});
  EXPECT_EQ(lettersOf(imageOf(heif)), uprightLetters[6]);
  EXPECT_EQ(imageOf(heif).height(), 60u);
  writePicture(folder_.file("b.jpg"));
  EXPECT_EQ(codeOf(decoder_.decodeEmbedded(folder_.file("b.jpg"), {})), PhotoLibraryErrorNotFound);
}

TEST_F(Decoding, AVideosPosterIsUprightAndNotBlack) {
  const struct {
    ClipOptions options;
    const char* letters;
    const char* reason;
  } rows[] = {
      {{}, "RG/BW", "the first frame"},
      {{.turn = 90}, "BR/WG", "turned as the header asks"},
      {{.turn = 180}, "WB/GR", "upside down"},
      {{.turn = 270}, "GW/RB", "the other way"},
      {{.leadingBlack = 1}, "RG/BW", "a black first frame is passed over"},
      {{.leadingBlack = 20}, "\?\?/\?\?", "a clip that is all black has a black poster"},
  };
  for (const char* name : {"a.mp4", "a.mkv"}) {
    for (const auto& row : rows) {
      if (row.options.turn != 0 && std::string(name) == "a.mkv") continue;  // written by the one muxer only
      writeClip(folder_.file(name), row.options);
      const Picture picture = decode(folder_.file(name), {48, 48});
      const CGImage& image = imageOf(picture);
      EXPECT_EQ(lettersOf(image), row.letters) << name << ": " << row.reason;
      EXPECT_EQ(std::max(image.width(), image.height()), 48u) << name << ": " << row.reason;
    }
  }
  writeClip(folder_.file("rare.mkv"), {.codec = "ffv1"});
  EXPECT_EQ(std::get<NSError>(decode(folder_.file("rare.mkv"), {48, 48})).localizedDescription,
            folder_.file("rare.mkv") + ": video of the kind ffv1 is not decoded");
}

TEST_F(Decoding, GivesUpWhenCancelled) {
  std::stop_source stop;
  stop.request_stop();
  for (const char* name : {"a.jpg", "a.png", "a.heic", "a.mp4"}) {
    const std::string path = folder_.file(name);
    path.ends_with(".mp4") ? writeClip(path) : writePicture(path);
    EXPECT_EQ(codeOf(decoder_.decode(path, {{}, PHImageContentModeAspectFit, stop.get_token()})),
              PhotoLibraryErrorCancelled)
        << name;
  }
}

}  // namespace
}  // namespace tlx::photolibrary
