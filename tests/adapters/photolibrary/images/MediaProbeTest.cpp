#include <gtest/gtest.h>

#include "adapters/photolibrary/images/FilePictures.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "adapters/photolibrary/images/headers/PhotoFacts.h"
#include "adapters/photolibrary/source/NameDate.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary {
namespace {

using namespace test;

TEST(FormatSniffing, GoesByTheFirstBytes) {
  using namespace std::string_literals;
  const std::string packet = "\x47"s + std::string(187, 'x');
  const std::string timed = "time\x47"s + std::string(187, 'x');
  const struct {
    std::string bytes;
    MediaFormat format;
    const char* reason;
  } rows[] = {
      {"\xff\xd8\xff\xe0", MediaFormat::Jpeg, "start of image and a marker"},
      {"RIFF....WAVEfmt ....", MediaFormat::Unknown, "sound"},
      {"II+\0\x08\0\0\0............"s, MediaFormat::Tiff, "of more than 4 GiB"},
      {"II*\0\x10\0\0\0CR\x02\0...."s, MediaFormat::Unknown, "raw sensor data"},
      {"\0\0\0\30ftypmif1\0\0\0\0mif1avif"s, MediaFormat::Avif, "the major brand says only that it is a picture"},
      {"\0\0\0\24ftypXYZW\0\0\0\0mp42"s, MediaFormat::Mp4, "an unknown major brand, a known compatible one"},
      {"\0\0\0\24ftypM4A \0\0\0\0isom"s, MediaFormat::Unknown, "sound in the same container"},
      {"\0\0\0\x08wide\0\0\x10\0mdat"s, MediaFormat::Mov, "from before brands"},
      {timed + timed + timed + timed, MediaFormat::MpegTs, "with a time before each"},
      {"\x1a\x45\xdf\xa3\x93\x42\x82\x84webm........."s, MediaFormat::WebM, ""},
      {packet + packet + "no" + packet, MediaFormat::Unknown, "text that happens to hold a few G"},
      {"\xff\x0a\x7f", MediaFormat::JpegXl, "a bare codestream"},
      {"\0\0\0\x0cJXL \r\n\x87\n"s, MediaFormat::JpegXl, "in its container"},
      {"", MediaFormat::Unknown, "nothing at all"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(sniffFormat(reinterpret_cast<const std::uint8_t*>(row.bytes.data()), row.bytes.size()), row.format)
        << ::testing::PrintToString(row.bytes.substr(0, 20)) << " " << row.reason;
  }
}

TEST(CaptureDates, AreReadAsCamerasWriteThem) {
  ::setenv("TZ", "EST5", 1);
  ::tzset();
  const struct {
    const char *date, *offset, *fraction;
    std::optional<double> seconds;
    const char* reason;
  } rows[] = {
      {"2021:02:03 04:05:06", "+02:00", "", 1612317906, "east of Greenwich is earlier in UTC"},
      {"2021:02:03 04:05:06", "-03:30", "", 1612337706, "half hours too"},
      {"2021:02:03 04:05:06", "Z", "25", 1612325106.25, "a fraction's digits"},
      {"2021-02-03T04:05:06", "+0200", "", 1612317906, "as videos write it"},
      {"2021:02:03 04:05:06", "", "", 1612343106, "no offset: this machine's time, here five hours behind"},
      {"2021:02:03 04:05:06", "north", "", 1612343106, "nor one that is none"},
      {"2021:02:03", "Z", "", 1612310400, "a day alone"},
      {"1969:12:31 23:59:59", "Z", "", -1, "before the epoch"},
      {"0000:00:00 00:00:00", "Z", "", std::nullopt, "a clock never set"},
      {"2021:13:03 04:05:06", "Z", "", std::nullopt, "no such month"},
      {"yesterday", "Z", "", std::nullopt, "no date"},
  };
  for (const auto& row : rows) {
    const auto seconds = parseCaptureDate(row.date, row.offset, row.fraction);
    ASSERT_EQ(seconds.has_value(), row.seconds.has_value()) << row.date << ": " << row.reason;
    if (!seconds) continue;
    EXPECT_NEAR(*seconds, *row.seconds, 1e-3) << row.date << row.offset << ": " << row.reason;
  }
}

TEST(MetadataPackets, TellRatingsDatesPanoramasAndScreenshotsOfThePictureItself) {
  struct Told {
    bool favorite = false, panorama = false, screenshot = false;
    std::optional<double> date = {};
  };
  const std::string plain = xmpPacket("xmp:Rating='5'");
  std::string declared = plain;
  const std::string renamed = R"(<RDF xmlns="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><Description )"
                              R"(xmlns:r="http://ns.adobe.com/xap/1.0/" r:Rating="5"/></RDF>)";
  declared.insert(declared.find("<x:xmpmeta"), "<!DOCTYPE x [<!ENTITY a 'aaaa'><!ENTITY b '&a;&a;&a;'>]>");
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "<xmp:a>";
  const std::string other =
      "<xmp:Pantry><rdf:Bag><rdf:li><rdf:Description xmp:Rating=\"5\" xmp:CreateDate=\"2001-01-01\"/>"
      "</rdf:li></rdf:Bag></xmp:Pantry>";
  const struct {
    std::string packet;
    Told told;
    const char* reason;
  } rows[] = {
      {xmpPacket("xmp:Rating=\"4\""), {.favorite = true}, "as an attribute"},
      {xmpPacket("", "<xmp:Rating> 4 </xmp:Rating>"), {.favorite = true}, "as an element"},
      {xmpPacket("", "<xmp:Rating>3</xmp:Rating>"), {}, "too few stars"},
      {xmpPacket("xmp:Rating='-1'"), {}, "rejected"},
      {renamed, {.favorite = true}, "by another prefix"},
      {plain.substr(0, plain.size() - 30), {.favorite = true}, "cut short, but after what counts"},
      {"XML:com.adobe.xmp" + std::string(5, '\0') + plain + std::string(9, '\0'), {.favorite = true}, "as in a PNG"},
      {declared, {}, "whoever declares entities is not read"},
      {xmpPacket("", deep + "<xmp:Rating>5</xmp:Rating>"), {}, "nested without end"},
      {xmpPacket("GPano:ProjectionType=\"cylindrical\""), {.panorama = true}, ""},
      {xmpPacket("",
                 "<exif:UserComment><rdf:Alt><rdf:li xml:lang=\"x-default\">Screenshot</rdf:li></rdf:Alt>"
                 "</exif:UserComment>"),
       {.screenshot = true},
       "inside a list"},
      {xmpPacket("exif:DateTimeOriginal=\"2021-02-03T04:05:06.25+02:00\" xmp:CreateDate=\"2020-01-01T00:00:00Z\""),
       {.date = 1612317906.25},
       "the worthiest date"},
      {xmpPacket("xmp:CreateDate=\"2020-01-01T00:00:00Z\"",
                 "<photoshop:DateCreated>2021-02-03T04:05Z</photoshop:DateCreated>"),
       {.date = 1612325100},
       "likewise, without seconds"},
      {xmpPacket("exif:DateTimeOriginal=\"soon\" xmp:CreateDate=\"2021-02-03T02:05:06Z\""),
       {.date = 1612317906},
       "what is no date is passed over"},
      {xmpPacket("", other), {}, "of a picture that went into this one"},
      {"", {}, "nothing"},
  };
  for (const auto& row : rows) {
    PhotoFacts facts;
    readXmp(row.packet, facts);
    EXPECT_EQ(facts.favorite(), row.told.favorite) << row.reason << row.packet;
    EXPECT_EQ(facts.panorama, row.told.panorama) << row.reason << row.packet;
    EXPECT_EQ(facts.screenshot, row.told.screenshot) << row.reason << row.packet;
    EXPECT_EQ(facts.packetDate, row.told.date) << row.reason << row.packet;
  }
  PhotoFacts both;
  both.exifRating = 5;
  readXmp(xmpPacket("xmp:Rating='1'"), both);
  EXPECT_FALSE(both.favorite()) << "the packet is what programs keep up to date";
}

TEST(NameDates, AreReadAsCamerasPhonesAndMessengersWriteThem) {
  ::setenv("TZ", "EST5", 1);
  ::tzset();
  constexpr double moment = 1612343106, noon = 1612371600;
  const struct {
    const char* name;
    std::optional<double> date;
    const char* reason;
  } rows[] = {
      {"IMG_20210203_040506.jpg", moment, "cameras that number by date"},
      {"PHO_20210203_040506250.MP.jpg", moment + 0.25, "with milliseconds"},
      {"Screenshot_20210203-040506.png", moment, "screenshots"},
      {"Shot-20210203-040506.png", moment, "with its time, not the day alone"},
      {"Screenshot 2021-02-03 at 04.05.06.png", moment, ""},
      {"Screenshot 2021-02-03 at 04.05.06 PM.png", noon, "of which half of the day does not say the digits"},
      {"WIN_20210203_04_05_06_Pro.jpg", moment, ""},
      {"20210203040506.jpg", moment, "nothing between"},
      {"2021-02-03 04.05.06.jpg", moment, "this library's captures"},
      {"photo_2021-02-03_04-05-06.jpg", moment, "messengers"},
      {"IMG-20210203-WA0007.jpg", noon, "messengers that tell the day"},
      {"2021-02-03 Beach.jpg", noon, "a person"},
      {"DSC20210203.jpg", std::nullopt, "may be a serial number"},
      {"IMG_20210203.jpg", std::nullopt, "likewise"},
      {"03-02-2021.jpg", std::nullopt, "a day or a month first"},
      {"IMG_20210229_040506.jpg", std::nullopt, "no such day"},
      {"IMG_20210203_246060.jpg", std::nullopt, "no such time"},
      {"IMG_20210203_04050699.jpg", std::nullopt, "part of a longer number"},
      {"1612325106000.jpg", std::nullopt, "any number of thirteen digits"},
      {"2021-02-03 copy of 2020-01-01.jpg", std::nullopt, "two days"},
      {"2021-02-03 IMG_20210203_040506.jpg", moment, "one day, told twice"},
  };
  for (const auto& row : rows) EXPECT_EQ(dateInName(row.name), row.date) << row.name << " " << row.reason;
}

TEST(ProbingMedia, PassesOverWhateverStandsBetweenTheSegmentsOfAJpeg) {
  using namespace std::string_literals;
  const TemporaryFolder folder;
  const std::string path = folder.file("a.jpg");
  writeJpegWithThumbnail(path, 64, 48, 160, 120, 6);
  const std::vector<std::uint8_t> whole = readFile(path);
  const std::string full = "\xff\xef\xff\xff"s + std::string(65533, '\xff');
  const std::pair<std::string, const char*> gaps[] = {
      {std::string(40, '\0'), "zeros"},           {std::string(40, '\xff'), "filling"},
      {"stray\xff\0bytes"s, "what is no marker"}, {"\xff\xd0\xff\x01", "markers without content"},
      {full, "a segment of full length"},         {std::string(70'000, 'x'), "more than is read at once"}};
  PixelStore store(folder.file("pixels"));
  DirectDecoders direct(store);
  FilePictures decoder(direct);
  for (const auto& [gap, reason] : gaps) {
    auto padded = whole;
    // After the EXIF segment, and before each of the others.
    std::size_t at = 2;
    while (padded[at + 1] != 0xda) {
      at += 2 + be16(&padded[at + 2]);
      padded.insert(padded.begin() + static_cast<std::ptrdiff_t>(at), gap.begin(), gap.end());
      at += gap.size();
      if (gap.size() > 1000) break;
    }
    writeFile(path, padded);
    const auto probed = probe(path);
    ASSERT_TRUE(std::holds_alternative<MediaInfo>(probed)) << reason;
    EXPECT_EQ(std::get<MediaInfo>(probed).width, 48) << reason << ": turned as its metadata say";
    EXPECT_EQ(decoder.decode(path, {}).index(), 0u) << reason;
    EXPECT_EQ(decoder.decodeEmbedded(path, {}).index(), 0u) << reason;
  }
}

TEST(ProbingMedia, TellsTracksAndDurationOfVideos) {
  const TemporaryFolder folder;
  for (const char* name : {"a.mp4", "a.mov", "a.mkv", "a.avi", "a.3gp", "a.ts"}) {
    writeClip(folder.file(name));
    const auto info = std::get<MediaInfo>(probe(folder.file(name)));
    EXPECT_EQ(info.mediaType, PHAssetMediaTypeVideo) << name;
    EXPECT_EQ(std::pair(info.width, info.height), std::pair(clipWidth, clipHeight)) << name;
    EXPECT_NEAR(info.duration, 2, 0.15) << name;
  }
  writeClip(folder.file("turned.mp4"), {.turn = 90});
  const auto turned = std::get<VideoInfo>(tracks(folder.file("turned.mp4")));
  ASSERT_EQ(turned.tracks.size(), 1u);
  EXPECT_EQ(turned.tracks[0].mediaType, AVMediaTypeVideo);
  EXPECT_EQ(turned.tracks[0].codec, "mpeg4");
  EXPECT_EQ(std::pair(turned.tracks[0].width, turned.tracks[0].height), std::pair(clipHeight, clipWidth));

  // What has nothing to show is no item.
  writeFile(folder.file("deaf.mov"), sampleVideo(1, "soun"));
  for (const auto& [name, mark] : {std::pair("cut.mp4", "moov"), std::pair("cut.avi", "movi")}) {
    writeClip(folder.file(name));
    Buffer bytes = readFile(folder.file(name));
    const Buffer wanted = bytesOf(mark);
    bytes.erase(std::search(bytes.begin(), bytes.end(), wanted.begin(), wanted.end()), bytes.end());
    if (bytes[0] == 'R') std::fill_n(bytes.begin() + 48, 4, std::uint8_t{0});  // the number of frames comes last
    writeFile(folder.file(name), bytes);
    EXPECT_EQ(std::get<NSError>(probe(folder.file(name))).code, PhotoLibraryErrorDamaged) << name;
  }
  EXPECT_EQ(std::get<NSError>(probe(folder.file("deaf.mov"))).code, PhotoLibraryErrorUnsupported);

  writePicture(folder.file("a.jpg"));
  for (const char* name : {"a.jpg", "cut.mp4", "none.mp4"}) {
    EXPECT_TRUE(std::holds_alternative<NSError>(tracks(folder.file(name)))) << name;
  }
}

}  // namespace
}  // namespace tlx::photolibrary
