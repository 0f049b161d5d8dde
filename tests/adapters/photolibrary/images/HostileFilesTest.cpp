#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "adapters/photolibrary/images/FilePictures.h"
#include "adapters/photolibrary/images/cache/PngThumbnail.h"
#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary {
namespace {

using namespace test;

class HostileFiles : public testing::Test {
 protected:
  static std::int64_t codeOf(const Picture& picture) {
    const NSError* error = std::get_if<NSError>(&picture);
    if (!error) return 0;
    EXPECT_EQ(error->domain, kPhotoLibraryErrorDomain);
    EXPECT_FALSE(error->localizedDescription.empty());
    return error->code;
  }
  /// Everything that the library ever does with a file.
  void useInEveryWay(const std::string& path) {
    codeOf(decoder_.decode(path, {{40, 40}}));
    codeOf(decoder_.decode(path, {{}}));
    codeOf(decoder_.decodeEmbedded(path, {{40, 40}}));
    probe(path);
    decoder_.tracks(path);
    const Buffer bytes = readFile(path);
    PngThumbnail::read(bytes, 1024, [](const PngTexts&) { return true; });
  }
  static std::size_t place(const Buffer& bytes, const char* mark) {
    const Buffer wanted = bytesOf(mark);
    const auto found = std::search(bytes.begin(), bytes.end(), wanted.begin(), wanted.end());
    EXPECT_TRUE(found != bytes.end()) << mark;
    return static_cast<std::size_t>(found - bytes.begin());
  }

  TemporaryFolder folder_;
  PixelStore store_{folder_.file("pixels")};
  DirectDecoders direct_{store_};
  FilePictures decoder_{direct_};
};

Buffer mutated(Buffer bytes, const Buffer& other, std::mt19937& random) {
  static constexpr std::uint32_t extremes[] = {0,          1,          0x7f,       0xff,      0xffff,
                                               0x7fffffff, 0x80000000, 0xffffffff, 0xfffffff0};
  const auto below = [&](std::size_t end) { return end > 0 ? random() % end : 0; };
  for (std::size_t changes = 1 + below(4); changes > 0 && bytes.size() > 8; --changes) {
    // Headers are where the sizes are.
    const std::size_t reach = below(2) ? bytes.size() : std::min<std::size_t>(bytes.size(), 400);
    const std::size_t at = below(reach - 4);
    const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    const std::size_t length = std::min(1 + below(64), bytes.size() - at);
    const auto to = from + static_cast<std::ptrdiff_t>(length);
    const auto kind = below(7);
    if (kind == 0) *from ^= static_cast<std::uint8_t>(1u << below(8));
    if (kind == 1) {
      const std::uint32_t value = extremes[below(std::size(extremes))];
      for (int i = 0; i < 4; ++i) from[i] = static_cast<std::uint8_t>(value >> (below(2) ? 24 - 8 * i : 8 * i));
    }
    if (kind == 2) bytes.erase(from, to);
    if (kind == 3) {
      const Buffer piece(from, to);
      bytes.insert(from, piece.begin(), piece.end());
    }
    if (kind == 4) std::generate(from, to, [&] { return static_cast<std::uint8_t>(random()); });
    if (kind == 5) std::generate(from, to, [&] { return other[below(other.size())]; });
    if (kind == 6 && below(3) == 0) bytes.resize(below(bytes.size()));
  }
  return bytes;
}

std::size_t numberFrom(const char* variable, std::size_t otherwise) {
  const char* text = std::getenv(variable);
  return text ? std::strtoull(text, nullptr, 10) : otherwise;
}

TEST_F(HostileFiles, MutatedByTheThousandGoThroughEveryDecoder) {
  const std::size_t seed = numberFrom("TLX_MUTATION_SEED", 20240229), count = numberFrom("TLX_MUTATIONS", 2000);
  const std::vector<std::string> samples = writeEachKind(folder_, 64, 48);
  std::cout << count << " mutations from seed " << seed << std::endl;
  std::vector<Buffer> whole;
  for (const std::string& sample : samples) {
    EXPECT_EQ(codeOf(decoder_.decode(sample, {{40, 40}})), 0) << sample;
    whole.push_back(readFile(sample));
  }
  for (std::size_t i = 0; i < count && !HasFailure(); ++i) {
    const std::size_t which = i % samples.size();
    SCOPED_TRACE(samples[which] + ", mutation " + std::to_string(i));
    std::mt19937 random(static_cast<std::uint32_t>(seed + i));
    // Of that name, so that what brings the process down can be looked at.
    const std::string path = folder_.file("mutation-" + std::filesystem::path(samples[which]).filename().string());
    writeFile(path, mutated(whole[which], whole[random() % whole.size()], random));
    useInEveryWay(path);
  }
}

/// A HEIF whose pictures are all of one derived kind, each made of the ones listed.
Buffer derivedHeif(const char* kind, const std::vector<std::vector<int>>& partsOf) {
  const std::size_t count = partsOf.size();
  Buffer infes, references, properties, places;
  const Buffer data(16, 0);
  for (std::size_t i = 0; i < count; ++i) {
    const Buffer id = be(i + 1, 2);
    infes = infes + box("infe", be(0x02000000, 4) + id + be(0, 2) + bytesOf(kind) + be(0, 1));
    Buffer parts = id + be(partsOf[i].size(), 2);
    for (const int part : partsOf[i]) parts = parts + be(static_cast<unsigned>(part), 2);
    references = references + box("dimg", parts);
    properties = properties + id + Buffer{1, 0x81};
    places = places + id + be(1, 2) + be(0, 2) + be(1, 2) + be(0, 4) + be(data.size(), 4);
  }
  const Buffer version = be(0, 4);
  return box("ftyp", bytesOf(std::string_view("mif1\0\0\0\0mif1heic", 16))) +
         box("meta", version + box("hdlr", version + be(0, 4) + bytesOf("pict") + Buffer(13, 0)) +
                         box("pitm", version + be(1, 2)) +
                         box("iloc", be(0x01000000, 4) + Buffer{0x44, 0} + be(count, 2) + places) +
                         box("iinf", version + be(count, 2) + infes) + box("iref", version + references) +
                         box("iprp", box("ipco", box("ispe", version + be(64, 4) + be(64, 4))) +
                                         box("ipma", version + be(count, 4) + properties)) +
                         box("idat", data));
}

/// A TIFF of one strip that says what it likes; `next` is the directory after this one.
Buffer tiff(std::uint32_t width, std::uint32_t height, std::uint32_t bits, std::uint32_t next) {
  Buffer file = bytesOf(std::string_view("MM\0*\0\0\0\10", 8)) + be(8, 2);
  const unsigned entries[][3] = {{256, 4, width}, {257, 4, height}, {258, 3, bits}, {259, 3, 32773},
                                 {262, 3, 1},     {273, 4, 200},    {277, 3, 1},    {278, 4, height}};
  for (const auto& [tag, type, value] : entries) file = file + exifEntry(tag, type, 1, value);
  file = file + be(next, 4);
  file.resize(200 + 16);
  return file;
}

/// A bare JPEG XL codestream's first bytes, saying sides of that many pixels.
Buffer jpegXl(std::uint32_t side) {
  Buffer file{0xff, 0x0a};
  int at = 0;
  const std::pair<std::uint32_t, int> fields[] = {{0, 1}, {3, 2},         {side - 1, 30}, {0, 3},
                                                  {3, 2}, {side - 1, 30}, {1, 1}};
  for (const auto& [value, bits] : fields) {
    for (int i = 0; i < bits; ++i, ++at) {
      if (at % 8 == 0) file.push_back(0);
      file.back() |= static_cast<std::uint8_t>((value >> i & 1) << (at % 8));
    }
  }
  return file + Buffer(64, 0);
}

std::int64_t peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

TEST_F(HostileFiles, AreRefusedByNameAndCostLittle) {
  constexpr std::int64_t shown = 0, any = -1, tooLarge = PhotoLibraryErrorTooLarge, damaged = PhotoLibraryErrorDamaged,
                         unsupported = PhotoLibraryErrorUnsupported;
  writeEachKind(folder_, 64, 48);
  const auto put = [](Buffer& bytes, std::size_t at, const Buffer& value) {
    std::copy(value.begin(), value.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
  };
  /// A sample with other bytes at a place after a mark.
  const auto changed = [&](const char* sample, const char* mark, std::size_t after, const Buffer& value) {
    Buffer bytes = readFile(folder_.file(sample));
    put(bytes, place(bytes, mark) + after, value);
    return bytes;
  };
  const auto sides = [&](const char* sample, std::uint8_t high) {
    Buffer bytes = changed(sample, "\xff\xc2", 5, {high});
    return put(bytes, place(bytes, "\xff\xc2") + 7, {high}), bytes;
  };
  const auto largeHeif = [&](const char* sample) {
    Buffer bytes = readFile(folder_.file(sample));
    const Buffer mark = bytesOf("ispe");
    for (auto at = bytes.begin(); (at = std::search(at, bytes.end(), mark.begin(), mark.end())) != bytes.end(); ++at) {
      put(bytes, static_cast<std::size_t>(at - bytes.begin()) + 8, be(60000, 4) + be(60000, 4));
    }
    return bytes;
  };
  // An EXIF block whose directories all lead to the first, and whose thumbnail lies beyond its end.
  const Buffer exif = bytesOf(std::string_view("MM\0*\0\0\0\10", 8)) + be(3, 2) + exifEntry(0x8769, 4, 1, 8) +
                      exifEntry(0x201, 4, 1, 60000) + exifEntry(0x202, 4, 1, 0xfffffff0) + be(8, 4);
  const Buffer loops = withExif(readFile(folder_.file("progressive.jpg")), exif);
  Buffer scans = readFile(folder_.file("progressive.jpg"));
  const Buffer once(scans.begin() + static_cast<std::ptrdiff_t>(place(scans, "\xff\xda")), scans.end() - 2);
  for (int i = 0; i < 200; ++i) scans.insert(scans.end() - 2, once.begin(), once.end());
  const std::string secret = folder_.file("secret");
  writeFile(secret, bytesOf("nobody's business"));
  const Buffer svg = bytesOf("<?xml version=\"1.0\"?><!DOCTYPE svg [<!ENTITY x SYSTEM \"file://" + secret +
                             "\">]><svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"><text>&x;</text>"
                             "<image href=\"" +
                             folder_.file("a.png") + "\"/></svg>");
  Buffer cut = readFile(folder_.file("a.mp4")), still = changed("a.mp4", "mvhd", 20, be(0, 4));
  cut.resize(place(cut, "moov") - 4);
  Buffer atom = readFile(folder_.file("a.mp4"));
  put(atom, place(atom, "moov") - 4, be(0xffffffff, 4));
  put(still, place(still, "mdhd") + 20, be(0, 4));
  const auto of = [](int part) { return std::vector<int>(100, part); };
  const struct {
    const char* name;
    Buffer bytes;
    std::int64_t code;
    const char* reason;
  } rows[] = {
      {"side.png", changed("a.png", "IHDR", 4, Buffer{0x7f, 0xff, 0xff, 0xff, 0x7f, 0xff, 0xff, 0xff}), tooLarge,
       "sides without end"},
      {"row.png", changed("a.png", "IHDR", 4, be(9'000'000, 4) + be(2, 4)), tooLarge, "few pixels, but all in a row"},
      {"a.gif", bytesOf("GIF89a\xff\xff\xff\xff") + Buffer(32, 0), tooLarge, "4 gigapixels"},
      {"a.webp",
       bytesOf(std::string_view("RIFF\x20\0\0\0WEBPVP8X\x0a\0\0\0\0\0\0\0", 24)) + Buffer(6, 0xff) + Buffer(16, 0),
       tooLarge, "a canvas of 2^48 pixels"},
      {"a.jxl", jpegXl(1u << 30), tooLarge, "2^60 pixels"},
      {"small.jxl", jpegXl(15'000), tooLarge, "225 megapixels in 70 bytes"},
      {"large.tif", tiff(200'000, 200'000, 8, 0), tooLarge, "40 gigapixels"},
      {"piece.tif", tiff(100'000, 10'000, 64, 0), tooLarge, "one strip of 8 GB"},
      {"loop.tif", tiff(4, 4, 8, 8), any, "a directory that is its own successor"},
      {"large.heic", largeHeif("a.heic"), tooLarge, "3.6 gigapixels"},
      {"large.avif", largeHeif("a.avif"), tooLarge, "the same by another codec"},
      {"self.heic", derivedHeif("iden", {{1}}), damaged, "a picture that is its own copy"},
      {"pair.heic", derivedHeif("iovl", {{2}, {1}}), damaged, "two that are laid over one another"},
      {"tower.heic", derivedHeif("iovl", {of(2), of(3), of(4), of(5), {}}), damaged, "a hundred times a hundred times"},
      {"exif.jpg", loops, shown, "metadata that lead back to themselves are none"},
      {"icc.jpg", changed("wide.jpg", "RGB XYZ ", 112, Buffer(300, 0xff)), shown, "a senseless profile is none"},
      {"scans.jpg", scans, damaged, "thousands of scans"},
      {"a.svg", svg, unsupported, "a drawing that names files"},
      {"drawing.png", svg, unsupported, "the same by another name"},
      {"a.bmp", bytesOf("BM") + Buffer(60, 0xff), unsupported, "no format of the library's"},
      {"cut.mp4", cut, damaged, "cut"},
      {"empty.jpg", {}, damaged, "nothing"},
      {"stub.jpg", {0xff, 0xd8, 0xff}, damaged, "a beginning alone"},
      {"text.jpg", Buffer(100, 'a'), unsupported, "text"},
      {"deaf.mov", sampleVideo(1, "soun"), unsupported, "sound alone"},
      {"65,000.jpg", sides("progressive.jpg", 0xfd), tooLarge, "4 gigapixels"},
      {"16,384.jpg", sides("progressive.jpg", 0x40), tooLarge, "268 megapixels of a progressive one"},
      {"atom.mp4", atom, any, "an atom of 4 GB"},
      {"entries.mp4", changed("a.mp4", "stsz", 12, be(0xfffffff0, 4)), any, "billions of samples"},
      {"still.mp4", still, shown, "no duration"},
  };
  std::ofstream("/proc/self/clear_refs") << 5;
  const std::int64_t before = peakMegabytes();
  for (const auto& row : rows) {
    const std::string path = folder_.file(row.name);
    writeFile(path, row.bytes);
    for (const CGSize target : {CGSize{40, 40}, CGSize{}}) {
      const std::int64_t code = codeOf(decoder_.decode(path, {target}));
      EXPECT_TRUE(code == row.code || row.code == any) << row.name << ": " << row.reason << ": " << code;
    }
    if (row.code == unsupported || row.bytes.size() < 4) {
      const auto probed = probe(path);
      ASSERT_TRUE(std::holds_alternative<NSError>(probed)) << row.name;
      EXPECT_EQ(std::get<NSError>(probed).code, row.code) << row.name;
    }
    useInEveryWay(path);
  }
  EXPECT_LT(peakMegabytes() - before, 300) << "megabytes";
}

}  // namespace
}  // namespace tlx::photolibrary
