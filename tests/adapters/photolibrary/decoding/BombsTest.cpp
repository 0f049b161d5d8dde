#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <zlib.h>

#include "adapters/photolibrary/decoding/ConfinedDecoders.h"
#include "adapters/photolibrary/images/FilePictures.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary::test {
namespace {

Buffer deflated(std::size_t zeros) {
  const Buffer plain(zeros);
  Buffer packed(compressBound(zeros));
  uLongf size = packed.size();
  EXPECT_EQ(compress2(packed.data(), &size, plain.data(), zeros, 9), Z_OK);
  packed.resize(size);
  return packed;
}

Buffer chunk(const char* type, const Buffer& content) {
  const Buffer named = bytesOf(type) + content;
  return be(content.size(), 4) + named + be(crc32(0, named.data(), static_cast<uInt>(named.size())), 4);
}

/// Grey, one bit a pixel.
Buffer png(std::uint32_t side, const Buffer& texts) {
  return bytesOf("\x89PNG\r\n\x1a\n") + chunk("IHDR", be(side, 4) + be(side, 4) + be(1, 1) + be(0, 4)) + texts +
         chunk("IDAT", deflated((side / 8 + 1) * std::size_t{side})) + chunk("IEND", {});
}

/// A TIFF of floats whose strips of 8 rows are all the same few bytes of the file.
Buffer tiff(std::uint32_t side, std::uint32_t bands) {
  const Buffer strip = deflated(std::size_t{side} * bands * 32);
  const std::uint32_t strips = side / 8, lists = 8 + 2 + 11 * 12 + 4, bits = lists + strips * 8,
                      kinds = bits + bands * 2;
  Buffer file = bytesOf(std::string_view("MM\0*\0\0\0\10", 8)) + be(11, 2);
  const unsigned entries[][4] = {{256, 4, 1, side},  {257, 4, 1, side},     {258, 3, bands, bits},
                                 {259, 3, 1, 8},     {262, 3, 1, 1},        {273, 4, strips, lists},
                                 {277, 3, 1, bands}, {278, 4, 1, 8},        {279, 4, strips, lists + strips * 4},
                                 {284, 3, 1, 1},     {339, 3, bands, kinds}};
  for (const auto& [tag, type, count, value] : entries) {
    const Buffer inlined = type == 3 && count == 1 ? be(value, 2) + be(0, 2) : be(value, 4);
    file = file + be(tag, 2) + be(type, 2) + be(count, 4) + inlined;
  }
  file = file + be(0, 4);
  const auto repeat = [&](std::size_t value, int bytes, std::uint32_t times) {
    for (const Buffer one = be(value, bytes); times > 0; --times) file.insert(file.end(), one.begin(), one.end());
  };
  repeat(kinds + bands * 2, 4, strips);
  repeat(strip.size(), 4, strips);
  repeat(32, 2, bands);
  repeat(3, 2, bands);
  return file + strip;
}

TEST(Bombs, AreEndedWithinBoundsAndTheirNeighboursArrive) {
  const TemporaryFolder folder;
  PixelStore pixels(folder.file("pixels"));
  ConfinedDecoders::Settings settings;
  settings.folder = TLX_WORKERS;
  settings.processorSeconds = 3;  // what goes on for so long here would for minutes
  const Buffer text = chunk("zTXt", bytesOf(std::string_view("word\0\0", 6)) + deflated(7'000'000));
  Buffer words;
  for (int i = 0; i < 400; ++i) words.insert(words.end(), text.begin(), text.end());
  const std::pair<const char*, Buffer> rows[] = {{"100 bands.tif", tiff(4096, 100)},
                                                 {"floats.tif", tiff(16384, 3)},
                                                 {"many pixels.png", png(32768, {})},
                                                 {"many words.png", png(16, words)}};
  {
    ConfinedDecoders confined(pixels, settings);
    FilePictures pictures(confined);
    for (const auto& [name, bytes] : rows) {
      const std::string bomb = folder.file(name), neighbour = folder.file("beside.png");
      writeFile(bomb, bytes);
      writePicture(neighbour, {.width = 300, .height = 200});
      const Picture picture = pictures.decode(bomb, {{130, 130}});
      if (const NSError* error = std::get_if<NSError>(&picture)) {
        EXPECT_THAT(error->code, testing::AnyOf(PhotoLibraryErrorTooLarge, PhotoLibraryErrorDamaged))
            << "lasting, so that nobody tries again: " << error->localizedDescription;
      }
      EXPECT_TRUE(std::holds_alternative<std::shared_ptr<const CGImage>>(pictures.decode(neighbour, {{130, 130}})));
    }
  }
  rusage children{};
  ASSERT_EQ(getrusage(RUSAGE_CHILDREN, &children), 0);
  EXPECT_LT(children.ru_maxrss, 900'000) << "kilobytes of the largest worker";
}

}  // namespace
}  // namespace tlx::photolibrary::test
