#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "tlx/platform/coregraphics/CGImage.h"

#include "adapters/photolibrary/images/codecs/DirectDecoders.h"
#include "adapters/photolibrary/source/ItemStore.h"
#include "tests/support/TemporaryFolder.h"

namespace tlx::photolibrary::test {

using support::TemporaryFolder;

using Colour = std::array<std::uint8_t, 4>;
inline constexpr Colour red{255, 0, 0, 255}, green{0, 255, 0, 255}, blue{0, 0, 255, 255}, white{255, 255, 255, 255};

/// The colours in the middle of the four quarters: above left, above right, below left, below right.
std::array<Colour, 4> cornersOf(const CGImage& image);
/// "RG/BW" for the picture as `quarters` makes it: the nearest of the four colours, '?' where none is near.
std::string lettersOf(const CGImage& image);

using Buffer = std::vector<std::uint8_t>;

Buffer bytesOf(std::string_view text);
/// The number in that many bytes, the highest first.
Buffer be(std::uint64_t value, int bytes);
Buffer operator+(Buffer left, const Buffer& right);
/// As MP4 and HEIF are made of: a length, a name of four letters, the content.
Buffer box(const char* type, const Buffer& content);
/// An entry of an EXIF or TIFF directory, highest bytes first: type 3 is a number of two bytes, 4 one of four.
Buffer exifEntry(unsigned tag, unsigned type, unsigned count, unsigned value);
/// The file with that EXIF block before all that a JPEG says.
Buffer withExif(Buffer jpeg, const Buffer& block);

/// A picture whose quarters are red, green (above), blue and white (below), so that no two of its turns look alike, in
/// the format of the path's extension: jpg, png, webp, gif, tif, heic, avif, jxl. `orientation` goes into what the file
/// says of itself, and nothing is turned. What follows it is for all but the last three.
struct PictureOptions {
  int width = 64, height = 48, orientation = 1;
  int bits = 8;
  bool progressive = false, grey = false, cmyk = false, palette = false;
  int alpha = 255;           ///< of the whole picture
  std::string profile = {};  ///< a colour profile known to libvips by name ("srgb", "p3", "cmyk"); empty for none
  int mentioned = 0;         ///< of a HEIF: what its metadata say of the orientation, if not the same as the container
  int thumbnail = 0;         ///< of a HEIF: the longer side of an embedded picture
};
void writePicture(const std::string& path, const PictureOptions& options = {});
/// A PNG of one colour, 0xRRGGBB, with those texts in it.
void writeFlatPicture(const std::string& path, int width, int height, std::uint32_t colour,
                      const std::map<std::string, std::string>& texts = {});
/// A JPEG with an EXIF block that holds a thumbnail: the quarters, so large, within black bars up to 160 x 120.
void writeJpegWithThumbnail(const std::string& path, int width, int height, int innerWidth, int innerHeight,
                            int orientation = 1);

/// A clip of flat frames in MPEG-4 (or Matroska, by the extension); `leadingBlack` of its frames, of ten a second, are
/// black, the others show the quarters. `turn` is the clockwise rotation in degrees that its header asks for.
struct ClipOptions {
  int frames = 20, leadingBlack = 0, turn = 0;
  const char* codec = "mpeg4";
};
inline constexpr int clipWidth = 96, clipHeight = 64;
void writeClip(const std::string& path, const ClipOptions& options = {});

/// A sound file of each kind that a decoder of its own, or a path of its own through one, reads.
std::vector<std::string> writeEachKind(const TemporaryFolder& folder, int width, int height);

/// A photo as a few hundred bytes of JPEG.
struct SamplePhoto {
  std::string captured;  ///< "YYYY:MM:DD hh:mm:ss" for its metadata; empty for none
  std::string offset;    ///< "+hh:mm" beside it
  int rating = 0;        ///< stars
};
Buffer samplePhoto(const SamplePhoto& photo = {});
/// An MP4 header of that many seconds and one track, "vide" or "soun", and nothing to play.
Buffer sampleVideo(double seconds = 1, const char* track = "vide");

/// Decoders within the test program, with room for their pictures.
struct Decoding {
  explicit Decoding(const std::string& folder) : pixels(folder) {}
  PixelStore pixels;
  DirectDecoders decoders{pixels};
};

/// As `probeMedia` and `probeVideo`, of the file at the path.
std::variant<MediaInfo, NSError> probe(const std::string& path);
std::variant<VideoInfo, NSError> tracks(const std::string& path);

/// An XMP packet that describes a picture by these attributes and elements.
std::string xmpPacket(const std::string& attributes, const std::string& elements = {});

Buffer readFile(const std::string& path);
void writeFile(const std::string& path, const Buffer& bytes);

struct FileItem {
  std::string path;
  MediaFormat format = MediaFormat::Unknown;  ///< this and the sides are what the index knows of the file's header
  int width = 0, height = 0;
  /// It stands for one on a server: it comes in four pieces, each reported, with leave to use the network.
  bool remote = false;
  std::optional<Preview> preview = std::nullopt;  ///< what the server answers instead of the original, if anything
  std::int64_t modified = 1;
};

/// Items by name, each a file.
class FileItems final : public ItemStore {
 public:
  /// A name that is known already becomes that item from now on.
  std::shared_ptr<const PHAsset> add(const std::string& name, FileItem item);
  void forget(const std::string& name);
  /// Called at the start of each fetch, on the fetching thread.
  void setGate(std::function<void(const std::string& name)> gate);

  std::variant<ItemLocation, NSError> locate(const Identifier& identifier) const override;
  std::variant<Original, NSError> fetchOriginal(const Identifier& identifier, const FetchOptions& options) override;
  std::variant<Preview, NSError> fetchPreview(const Identifier& identifier, int pixels,
                                              const std::stop_token& stop) override;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, FileItem> items_;
  std::function<void(const std::string&)> gate_;
};

}  // namespace tlx::photolibrary::test
