
#include <fcntl.h>
#include <gtest/gtest.h>

#include "../images/Samples.h"
#include "adapters/photolibrary/decoding/ConfinedDecoders.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"

namespace tlx::photolibrary::test {
namespace {

std::string told(const NSError& error) {
  return std::to_string(error.code) + " " + error.localizedDescription;
}

std::string told(const Picture& picture) {
  if (const NSError* error = std::get_if<NSError>(&picture)) return told(*error);
  const CGImage& image = *std::get<0>(picture);
  std::string pixels;
  for (std::size_t y = 0; y < image.height(); ++y) {
    pixels.append(reinterpret_cast<const char*>(image.row(y)), image.width() * CGImage::bytesPerPixel);
  }
  return std::to_string(image.width()) + " x " + std::to_string(image.height()) + " pixels " +
         std::to_string(std::hash<std::string>()(pixels));
}

std::string told(const std::variant<MediaInfo, NSError>& probed) {
  if (const NSError* error = std::get_if<NSError>(&probed)) return told(*error);
  const MediaInfo& info = std::get<MediaInfo>(probed);
  std::ostringstream text;
  text << static_cast<int>(info.format) << ' ' << info.mediaType << ' ' << info.width << " x " << info.height << ' '
       << info.duration << ' ' << info.captureDate.value_or(-1) << ' ' << info.orientation << info.favorite
       << info.panorama << info.screenshot;
  return text.str();
}

std::string told(const std::variant<VideoInfo, NSError>& probed) {
  if (const NSError* error = std::get_if<NSError>(&probed)) return told(*error);
  std::ostringstream text;
  text << std::get<VideoInfo>(probed).duration;
  for (const AVAssetTrack& track : std::get<VideoInfo>(probed).tracks) {
    text << ' ' << track.mediaType << ' ' << track.codec << ' ' << track.width << ' ' << track.height << ' '
         << track.duration;
  }
  return text.str();
}

/// All that decoders answer about a file, a line each.
std::string everythingAbout(const std::string& path, DecodersPort& decoders) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const int fd = file.get();
  std::string text;
  const auto line = [&text](const char* what, const std::string& answer) { text += what + (": " + answer) + "\n"; };
  line("fitted", told(decoders.decode({fd, {{40, 40}}})));
  line("filling", told(decoders.decode({fd, {{40, 30}, PHImageContentModeAspectFill}})));
  line("whole", told(decoders.decode({fd, {}})));
  const DecodersPort::Wanted inside{fd, {{40, 40}}};
  line("embedded", told(decoders.decodeEmbedded({&inside, 1}).front()));
  line("header", told(decoders.probe({&fd, 1}).front()));
  line("tracks", told(decoders.tracks(fd)));
  return text;
}

std::vector<std::string> writeOfEachKind(const TemporaryFolder& folder) {
  std::vector<std::string> paths = writeEachKind(folder, 640, 480);
  const auto path = [&](const char* name) { return paths.emplace_back(folder.file(name)); };
  writePicture(path("grey.jpg"), {.grey = true});
  writePicture(path("large.jpg"), {.width = 3000, .height = 2000, .orientation = 8});
  // And what becomes of each when its end is lost.
  for (const std::string& whole : std::vector<std::string>(paths)) {
    auto bytes = readFile(whole);
    bytes.resize(bytes.size() * 2 / 3);
    writeFile(paths.emplace_back(whole + ".cut"), bytes);
  }
  writeFile(path("empty.jpg"), {});
  writeFile(path("text.jpg"), {'t', 'e', 'x', 't'});
  return paths;
}

TEST(ConfinedAndDirectDecoders, GiveTheSameAnswersAndNeedNoCallThatTheFilterDoesNotKnow) {
  const TemporaryFolder folder;
  PixelStore pixels(folder.file("pixels"));
  DirectDecoders direct(pixels);
  std::vector<std::string> log;
  ConfinedDecoders::Settings settings;
  settings.folder = TLX_WORKERS;
  settings.arguments = {"--strict"};
  settings.log = [&log](const std::string& line) { log.push_back(line); };
  ConfinedDecoders confined(pixels, settings);
  for (const std::string& path : writeOfEachKind(folder)) {
    EXPECT_EQ(everythingAbout(path, confined), everythingAbout(path, direct)) << path;
  }
  EXPECT_TRUE(log.empty()) << log.front();
}

}  // namespace
}  // namespace tlx::photolibrary::test
