#include <random>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "adapters/photolibrary/images/headers/PhotoFacts.h"
#include "adapters/photolibrary/source/MediaProbe.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary {
namespace {

using namespace test;

std::variant<MediaInfo, NSError> probe(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  auto result = probeMedia(fd, path);
  ::close(fd);
  return result;
}

TEST(FormatSniffing, GoesByTheFirstBytes) {
  using namespace std::string_literals;
  struct Row {
    std::string bytes;
    MediaFormat format;
    const char* reason;
  };
  const std::string packet = "\x47"s + std::string(187, 'x');
  const std::string timed = "time\x47"s + std::string(187, 'x');
  const Row rows[] = {
      {"\xff\xd8\xff\xe0", MediaFormat::Jpeg, "start of image and a marker"},
      {"\xff\xd8", MediaFormat::Unknown, "two bytes are too few to tell"},
      {"\x89PNG\r\n\x1a\n\0\0\0\rIHDR"s, MediaFormat::Png, ""},
      {"GIF89a.............", MediaFormat::Gif, ""},
      {"RIFF....WEBPVP8 ....", MediaFormat::WebP, ""},
      {"RIFF....AVI LIST....", MediaFormat::Avi, ""},
      {"RIFF....WAVEfmt ....", MediaFormat::Unknown, "sound"},
      {"II*\0\x08\0\0\0............"s, MediaFormat::Tiff, "little-endian"},
      {"MM\0*\0\0\0\x08............"s, MediaFormat::Tiff, "big-endian"},
      {"II+\0\x08\0\0\0............"s, MediaFormat::Tiff, "of more than 4 GiB"},
      {"II*\0\x10\0\0\0CR\x02\0...."s, MediaFormat::Unknown, "raw sensor data"},
      {"\0\0\0\x18"s
       "ftypheic\0\0\0\0mif1heic"s,
       MediaFormat::Heic, ""},
      {"\0\0\0\x18"s
       "ftypmif1\0\0\0\0mif1avif"s,
       MediaFormat::Avif, "the major brand says only that it is a picture"},
      {"\0\0\0\x18"s
       "ftypmif1\0\0\0\0mif1heic"s,
       MediaFormat::Heic, "likewise"},
      {"\0\0\0\x14"s
       "ftypisom\0\0\0\0isom"s,
       MediaFormat::Mp4, ""},
      {"\0\0\0\x14"s
       "ftypXYZW\0\0\0\0mp42"s,
       MediaFormat::Mp4, "an unknown major brand, a known compatible one"},
      {"\0\0\0\x14"s
       "ftypqt  \0\0\0\0qt  "s,
       MediaFormat::Mov, ""},
      {"\0\0\0\x14"s
       "ftyp3gp5\0\0\0\0isom"s,
       MediaFormat::ThreeGp, ""},
      {"\0\0\0\x14"s
       "ftypM4A \0\0\0\0isom"s,
       MediaFormat::Unknown, "sound in the same container"},
      {"\0\0\0\x08wide\0\0\x10\0mdat"s, MediaFormat::Mov, "from before brands"},
      {"\x1a\x45\xdf\xa3\x93\x42\x82\x84webm........."s, MediaFormat::WebM, ""},
      {"\x1a\x45\xdf\xa3\x93\x42\x82\x88matroska....."s, MediaFormat::Matroska, ""},
      {packet + packet + packet + packet, MediaFormat::MpegTs, "packets of 188 bytes"},
      {timed + timed + timed + timed, MediaFormat::MpegTs, "with a time before each"},
      {packet + packet + "no" + packet, MediaFormat::Unknown, "text that happens to hold a few G"},
      {"\xff\x0a\x7f", MediaFormat::JpegXl, "a bare codestream"},
      {"\0\0\0\x0cJXL \r\n\x87\n"s, MediaFormat::JpegXl, "in its container"},
      {"<html><body>hello</body>", MediaFormat::Unknown, ""},
      {"", MediaFormat::Unknown, "nothing at all"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(sniffFormat(reinterpret_cast<const std::uint8_t*>(row.bytes.data()), row.bytes.size()), row.format)
        << ::testing::PrintToString(row.bytes.substr(0, 20)) << " " << row.reason;
  }
}

TEST(CaptureDates, AreReadAsCamerasWriteThem) {
  ::setenv("TZ", "EST5", 1);
  ::tzset();
  struct Row {
    const char *date, *offset, *fraction;
    std::optional<double> seconds;
    const char* reason;
  };
  const Row rows[] = {
      {"2021:02:03 04:05:06", "+02:00", "", 1612317906, "east of Greenwich is earlier in UTC"},
      {"2021:02:03 04:05:06", "-03:30", "", 1612337706, "half hours too"},
      {"2021:02:03 04:05:06", "Z", "25", 1612325106.25, "a fraction's digits"},
      {"2021-02-03T04:05:06", "+0200", "", 1612317906, "as videos write it"},
      {"2021:02:03 04:05:06", "", "", 1612343106, "no offset: this machine's time, here five hours behind"},
      {"2021:02:03 04:05:06", "north", "", 1612343106, "nor one that is none"},
      {"2021:02:03", "Z", "", 1612310400, "a day alone"},
      {"1969:12:31 23:59:59", "Z", "", -1, "before the epoch"},
      {"0000:00:00 00:00:00", "Z", "", std::nullopt, "a clock never set"},
      {"    :  :     :  :  ", "", "", std::nullopt, "blank"},
      {"2021:13:03 04:05:06", "Z", "", std::nullopt, "no such month"},
      {"yesterday", "Z", "", std::nullopt, "no date"},
      {"2021:02", "Z", "", std::nullopt, "half a date"},
  };
  for (const Row& row : rows) {
    const auto seconds = parseCaptureDate(row.date, row.offset, row.fraction);
    ASSERT_EQ(seconds.has_value(), row.seconds.has_value()) << row.date << ": " << row.reason;
    if (!seconds) continue;
    EXPECT_NEAR(*seconds, *row.seconds, 1e-3) << row.date << row.offset << ": " << row.reason;
  }
}

TEST(MetadataPackets, TellRatingsPanoramasAndScreenshots) {
  struct Row {
    const char* packet;
    bool favorite, panorama, screenshot;
  };
  const Row rows[] = {
      {"<x xmp:Rating=\"4\"/>", true, false, false},
      {"<x xmp:Rating = '5'/>", true, false, false},
      {"<xmp:Rating>4</xmp:Rating>", true, false, false},
      {"<xap:Rating>3</xap:Rating>", false, false, false},
      {"<x xmp:Rating=\"-1\"/>", false, false, false},
      {"<x xmp:Rating=", false, false, false},
      {"<x GPano:ProjectionType=\"cylindrical\"/>", false, true, false},
      {"<rdf:li xml:lang=\"x-default\">Screenshot</rdf:li>", false, false, true},
      {"", false, false, false},
  };
  for (const Row& row : rows) {
    PhotoFacts facts;
    readXmp(row.packet, facts);
    EXPECT_EQ(facts.favorite(), row.favorite) << row.packet;
    EXPECT_EQ(facts.panorama, row.panorama) << row.packet;
    EXPECT_EQ(facts.screenshot, row.screenshot) << row.packet;
  }
  PhotoFacts both;
  both.exifRating = 5;
  readXmp("<x xmp:Rating=\"1\"/>", both);
  EXPECT_FALSE(both.favorite()) << "the packet is what programs keep up to date";
}

TEST(ProbingMedia, TellsUprightSizesFromHeadersAlone) {
  const TemporaryFolder folder;
  for (const char* name : {"a.jpg", "p.jpg", "a.png", "a.webp", "a.tif", "a.heic", "a.avif", "a.jxl"}) {
    const std::string path = folder.file(name);
    const std::string extension = std::filesystem::path(name).extension();
    for (int turn = 1; turn <= 8; ++turn) {
      const bool decoderTurns = extension == ".heic" || extension == ".avif" || extension == ".jxl";
      if (extension == ".jxl") {
        writeJpegXl(path, 64, 48, turn);
      } else if (decoderTurns) {
        writeHeif(path, 64, 48, turn, turn);
      } else {
        writePicture(path, {.orientation = turn, .progressive = name[0] == 'p'});
      }
      const auto info = std::get<MediaInfo>(probe(path));
      EXPECT_EQ(info.mediaType, PHAssetMediaTypeImage) << name;
      EXPECT_EQ(info.width, turn >= 5 ? 48 : 64) << name << ", orientation " << turn;
      EXPECT_EQ(info.height, turn >= 5 ? 64 : 48) << name << ", orientation " << turn;
      EXPECT_EQ(info.orientation, decoderTurns ? 1 : turn) << name;
      EXPECT_FALSE(info.captureDate) << name;
    }
  }
}

TEST(ProbingMedia, TellsTracksAndDurationOfVideos) {
  const TemporaryFolder folder;
  for (const char* name : {"a.mp4", "a.mov", "a.mkv", "a.avi", "a.3gp", "a.ts"}) {
    writeClip(folder.file(name), {.width = 96, .height = 64});
    const auto info = std::get<MediaInfo>(probe(folder.file(name)));
    EXPECT_EQ(info.mediaType, PHAssetMediaTypeVideo) << name;
    EXPECT_EQ(info.width, 96) << name;
    EXPECT_EQ(info.height, 64) << name;
    EXPECT_NEAR(info.duration, 2, 0.15) << name;
  }
  writeClip(folder.file("turned.mp4"), {.turn = 90});
  const auto turned = std::get<VideoInfo>(probeVideo(folder.file("turned.mp4")));
  ASSERT_EQ(turned.tracks.size(), 1u);
  EXPECT_EQ(turned.tracks[0].mediaType, AVMediaTypeVideo);
  EXPECT_EQ(turned.tracks[0].codec, "mpeg4");
  EXPECT_EQ(turned.tracks[0].width, 64);
  EXPECT_EQ(turned.tracks[0].height, 96);

  writeClip(folder.file("deaf.mov"), {.video = false, .audio = true});
  EXPECT_EQ(std::get<MediaInfo>(probe(folder.file("deaf.mov"))).mediaType, PHAssetMediaTypeVideo);
  const auto deaf = std::get<VideoInfo>(probeVideo(folder.file("deaf.mov")));
  ASSERT_EQ(deaf.tracks.size(), 1u);
  EXPECT_EQ(deaf.tracks[0].mediaType, AVMediaTypeAudio);

  writePicture(folder.file("a.jpg"));
  writeFile(folder.file("cut.mp4"), std::vector<std::uint8_t>(40));
  for (const char* name : {"a.jpg", "cut.mp4", "none.mp4"}) {
    EXPECT_TRUE(std::holds_alternative<NSError>(probeVideo(folder.file(name)))) << name;
  }
}

TEST(ProbingMedia, AnswersAnErrorForWhatIsNoMedia) {
  const TemporaryFolder folder;
  writeFile(folder.file("empty"), {});
  writeFile(folder.file("text"), std::vector<std::uint8_t>(100, 'a'));
  writeFile(folder.file("stub"), {0xff, 0xd8, 0xff});
  EXPECT_EQ(std::get<NSError>(probe(folder.file("empty"))).code, PhotoLibraryErrorDamaged);
  EXPECT_EQ(std::get<NSError>(probe(folder.file("text"))).code, PhotoLibraryErrorUnsupported);
  EXPECT_EQ(std::get<NSError>(probe(folder.file("stub"))).code, PhotoLibraryErrorDamaged);
  EXPECT_TRUE(std::holds_alternative<NSError>(probe(folder.file("none"))));
}

TEST(ProbingMedia, SurvivesEveryPrefixOfAnExifBlockAndLoopsInIt) {
  const TemporaryFolder folder;
  const std::string path = folder.file("a.jpg");
  writeJpegWithThumbnail(path, 64, 48, 160, 120, 6);
  const std::vector<std::uint8_t> whole = readFile(path);
  std::mt19937 random(7);
  for (std::size_t length = 0; length < 400; ++length) {
    auto cut = whole;
    cut.resize(std::min(length, whole.size()));
    writeFile(path, cut);
    probe(path);
    // Offsets that lead back to where they came from, and counts beyond all measure.
    auto loop = whole;
    for (int i = 0; i < 6; ++i) loop[20 + random() % 60] = static_cast<std::uint8_t>(random() % 3 ? 8 : 255);
    writeFile(path, loop);
    probe(path);
  }
}

}  // namespace
}  // namespace tlx::photolibrary
