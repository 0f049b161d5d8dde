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

Buffer png(std::uint32_t side, int bits, int colour, const Buffer& texts) {
  const std::size_t row = (std::size_t{side} * static_cast<std::size_t>(bits) * (colour == 2 ? 3 : 1) + 7) / 8 + 1;
  return bytesOf("\x89PNG\r\n\x1a\n") +
         chunk("IHDR", be(side, 4) + be(side, 4) + be(static_cast<unsigned>(bits), 1) +
                           be(static_cast<unsigned>(colour), 1) + be(0, 3)) +
         texts + chunk("IDAT", deflated(row * side)) + chunk("IEND", {});
}

/// A PNG with that many texts of 7 MB.
Buffer wordyPng(int texts) {
  const Buffer text = chunk("zTXt", bytesOf(std::string_view("word\0\0", 6)) + deflated(7'000'000));
  Buffer all;
  for (int i = 0; i < texts; ++i) all.insert(all.end(), text.begin(), text.end());
  return png(16, 8, 2, all);
}

/// A TIFF whose strips of 8 rows are all the same few bytes of the file.
Buffer tiff(std::uint32_t side, std::uint32_t bands, std::uint32_t bits, bool floats) {
  const Buffer strip = deflated(std::size_t{side} * bands * bits);
  const std::uint32_t strips = side / 8, lists = 8 + 2 + 11 * 12 + 4, bitsAt = lists + strips * 8,
                      formatsAt = bitsAt + bands * 2, stripAt = formatsAt + bands * 2;
  Buffer file = bytesOf(std::string_view("MM\0*\0\0\0\10", 8)) + be(11, 2);
  // Lists that do not fit into an entry stand elsewhere.
  const unsigned entries[][4] = {{256, 4, 1, side},
                                 {257, 4, 1, side},
                                 {258, 3, bands, bands == 1 ? bits : bitsAt},
                                 {259, 3, 1, 8},
                                 {262, 3, 1, 1},
                                 {273, 4, strips, lists},
                                 {277, 3, 1, bands},
                                 {278, 4, 1, 8},
                                 {279, 4, strips, lists + strips * 4},
                                 {284, 3, 1, 1},
                                 {339, 3, bands, bands == 1 ? 1 : formatsAt}};
  for (const auto& [tag, type, count, value] : entries) {
    const Buffer inlined = type == 3 && count == 1 ? be(value, 2) + be(0, 2) : be(value, 4);
    file = file + be(tag, 2) + be(type, 2) + be(count, 4) + inlined;
  }
  file = file + be(0, 4);
  const auto repeat = [&](std::uint32_t value, int bytes, std::uint32_t times) {
    const Buffer one = be(value, bytes);
    for (std::uint32_t i = 0; i < times; ++i) file.insert(file.end(), one.begin(), one.end());
  };
  repeat(stripAt, 4, strips);
  repeat(static_cast<std::uint32_t>(strip.size()), 4, strips);
  repeat(bits, 2, bands);
  repeat(floats ? 3 : 1, 2, bands);
  return file + strip;
}

TEST(Bombs, AreEndedWithinBoundsAndTheirNeighboursArrive) {
  const TemporaryFolder folder;
  PixelStore pixels(folder.file("pixels"));
  ConfinedDecoders::Settings settings;
  settings.folder = TLX_WORKERS;
  settings.processorSeconds = 3;  // what goes on for so long here would for minutes
  const struct {
    const char* name;
    Buffer file;
  } rows[] = {{"100 bands.tif", tiff(4096, 100, 32, true)},
              {"many pixels.tif", tiff(32768, 1, 8, false)},
              {"many pixels.png", png(32768, 1, 0, {})},
              {"deep colours.png", png(8192, 16, 2, {})},
              {"many words.png", wordyPng(400)}};
  {
    ConfinedDecoders confined(pixels, settings);
    FilePictures pictures(confined);
    for (const auto& row : rows) {
      const std::string bomb = folder.file(row.name), neighbour = folder.file(std::string("beside ") + row.name);
      writeFile(bomb, row.file);
      writePicture(neighbour, {.width = 300, .height = 200});
      const auto before = std::chrono::steady_clock::now();
      const Picture picture = pictures.decode(bomb, {{130, 130}});
      const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - before;
      const NSError* const error = std::get_if<NSError>(&picture);
      std::printf("%s, %zu bytes: %.1f s, %s\n", row.name, row.file.size(), taken.count(),
                  error ? error->localizedDescription.c_str() : "a picture");
      if (error) {
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
