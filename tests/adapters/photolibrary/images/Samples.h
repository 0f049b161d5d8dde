#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tlx/platform/coregraphics/CGImage.h"

#include "adapters/photolibrary/source/ItemStore.h"
#include "tests/support/TemporaryFolder.h"

namespace tlx::photolibrary::test {

using support::TemporaryFolder;

using Colour = std::array<std::uint8_t, 4>;
inline constexpr Colour red{255, 0, 0, 255}, green{0, 255, 0, 255}, blue{0, 0, 255, 255}, white{255, 255, 255, 255};

/// A picture whose quarters are red, green (above), blue and white (below): no two of its turns look alike.
std::vector<std::uint8_t> quarters(int width, int height);

/// The colours in the middle of the four quarters: above left, above right, below left, below right.
std::array<Colour, 4> cornersOf(const CGImage& image);
/// "RG/BW" for the picture as `quarters` makes it: the nearest of the four colours, '?' where none is near.
std::string lettersOf(const CGImage& image);

/// The quarters as the file of that name wants them, by its extension: jpg, png, webp, gif, tif. `orientation` goes
/// into the metadata, and nothing is turned.
struct PictureOptions {
  int width = 64, height = 48, orientation = 1;
  int bits = 8;
  bool progressive = false, grey = false, cmyk = false, palette = false;
  int alpha = 255;           ///< of the whole picture
  std::string profile = {};  ///< a colour profile known to libvips by name ("srgb", "p3", "cmyk"); empty for none
  int quality = 90;
};
void writePicture(const std::string& path, const PictureOptions& options = {});
/// A PNG of one colour, 0xRRGGBB.
void writeFlatPicture(const std::string& path, int width, int height, std::uint32_t colour);
/// HEIC or AVIF by the extension. `irot` is the orientation that the container itself asks for, `exif` the one that
/// its metadata mentions, `thumbnail` the longer side of an embedded one.
void writeHeif(const std::string& path, int width, int height, int irot, int exif = 0, int thumbnail = 0);
void writeJpegXl(const std::string& path, int width, int height, int orientation);
/// A JPEG with an EXIF block that holds a thumbnail: `inner` pixels of grey within black bars up to 160 x 120.
void writeJpegWithThumbnail(const std::string& path, int width, int height, int innerWidth, int innerHeight,
                            int orientation = 1);

/// A clip of flat frames in MPEG-4 (or Matroska, by the extension); `leadingBlack` of its frames, of ten a second, are
/// black, the others show the quarters. `turn` is the clockwise rotation in degrees that its header asks for.
struct ClipOptions {
  int width = 96, height = 64, frames = 20, leadingBlack = 0, turn = 0;
  bool video = true, audio = false;
};
void writeClip(const std::string& path, const ClipOptions& options = {});

/// A photo as a few hundred bytes of JPEG.
struct SamplePhoto {
  std::string captured;  ///< "YYYY:MM:DD hh:mm:ss" for its metadata; empty for none
  std::string offset;    ///< "+hh:mm" beside it
  int rating = 0;        ///< stars
};
std::vector<std::uint8_t> samplePhoto(const SamplePhoto& photo = {});
/// An MP4 header of that many seconds and a video track, and nothing to play.
std::vector<std::uint8_t> sampleVideo(double seconds = 1);

/// As `probeMedia`, of the file at the path.
std::variant<MediaInfo, NSError> probe(const std::string& path);

/// An XMP packet that describes a picture by these attributes and elements.
std::string xmpPacket(const std::string& attributes, const std::string& elements = {});

std::vector<std::uint8_t> readFile(const std::string& path);
void writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes);

/// What the index knows of a file's header.
struct FileFacts {
  MediaFormat format = MediaFormat::Unknown;
  int width = 0, height = 0;
};

/// Items by name, each a file's path, with that file's address.
class FileItems final : public ItemStore {
 public:
  std::shared_ptr<const PHAsset> add(const std::string& name, const std::string& path, FileFacts facts = {});
  /// An item whose file stands for one on a server: it comes in four pieces, each reported, with leave to use the
  /// network. `preview` is what the server answers instead of the original, if anything.
  std::shared_ptr<const PHAsset> addRemote(const std::string& name, const std::string& path, FileFacts facts = {},
                                           std::optional<Preview> preview = std::nullopt);
  /// Later calls report that much another file.
  void touch(const std::string& name);
  void forget(const std::string& name);
  /// Called at the start of each fetch, on the fetching thread.
  void setGate(std::function<void(const std::string& name)> gate);

  std::variant<ItemLocation, NSError> locate(const Identifier& identifier) const override;
  std::variant<Original, NSError> fetchOriginal(const Identifier& identifier, const FetchOptions& options) override;
  std::variant<Preview, NSError> fetchPreview(const Identifier& identifier, int pixels,
                                              const std::stop_token& stop) override;

 private:
  struct Item {
    std::string path;
    FileFacts facts;
    bool remote = false;
    std::optional<Preview> preview = std::nullopt;
    std::int64_t modified = 1;
  };
  std::shared_ptr<const PHAsset> put(const std::string& name, Item item);

  mutable std::mutex mutex_;
  std::map<std::string, Item> items_;
  std::function<void(const std::string&)> gate_;
};

}  // namespace tlx::photolibrary::test
