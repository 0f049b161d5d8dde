#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

#include "tlx/platform/coregraphics/CGImage.h"
#include "tlx/platform/foundation/NSError.h"
#include "tlx/platform/photos/PHImageRequest.h"

#include "adapters/photolibrary/images/cache/PngThumbnail.h"
#include "adapters/photolibrary/images/pixels/PictureBuilder.h"
#include "adapters/photolibrary/images/pixels/PixelStore.h"
#include "adapters/photolibrary/source/ItemStore.h"

namespace tlx::photolibrary {

/// The desktop's thumbnails of a person's files, by the freedesktop thumbnail standard: shared with file managers and
/// viewers, PNGs of the whole picture, upright, in folders by their longer side, named by the MD5 of the file's
/// address. Those of other programs are used as they are found; ours are used by them.
///
/// What no longer fits its file, is damaged or has another shape is as good as absent, and is replaced by the next
/// write. A folder that cannot be read or written leaves the rest as it is. Any thread.
///
/// Room: the folders belong to the desktop, which cleans them in its own way. Ours are kept within `limit` for all
/// thumbnails together: beyond it our own oldest go, nobody else's, and where none of ours is left nothing more is
/// written. Our own that are older than `maxAgeDays` go as well. This is looked at before the first write and again
/// after each sixteenth of the limit.
class SharedThumbnails {
 public:
  struct Settings {
    std::string folder = defaultFolder();  ///< empty for no shared thumbnails at all
    std::int64_t limit = std::int64_t{512} << 20;
    int maxAgeDays = 180;
    /// How many times as long as reading a thumbnail making it must have taken for it to be written: small photos are
    /// as quickly decoded again.
    double worth = 2;
  };
  /// The longer sides of the standard's sizes, which are its folders.
  static constexpr std::array<int, 4> sides{128, 256, 512, 1024};

  explicit SharedThumbnails(Settings settings);
  /// `thumbnails` in the cache folder.
  static std::string defaultFolder();

  /// A file as its thumbnails know it.
  struct Subject {
    std::string uri;
    std::int64_t modified = 0, bytes = 0;  ///< as of the item's location, or of the file now if it is on this machine
    PixelSize size;                        ///< upright
    MediaFormat format = MediaFormat::Unknown;

    friend bool operator==(const Subject&, const Subject&) = default;
  };
  /// Nothing for what has no shared thumbnails: an item without an address or a size, one that lies within the
  /// thumbnails' own folder, and a file that is gone.
  std::optional<Subject> subjectOf(const ItemLocation& item) const;

  /// The smallest side whose thumbnail of a picture of `size` has all the pixels that `target` and `mode` ask for; 0
  /// when the largest has not.
  static int sideFor(PixelSize size, CGSize target, PHImageContentMode mode);

  /// The picture for `target` and `mode`, made of a thumbnail that is large enough. Nothing when there is none.
  std::shared_ptr<const CGImage> find(const Subject& subject, CGSize target, PHImageContentMode mode,
                                      PixelStore& pixels) const;
  /// Why this library could not show the file, if it has tried and recorded that, and the file is still the same.
  std::optional<NSError> failure(const Subject& subject) const;

  /// What is to be written: a thumbnail of that side, or why there is none.
  struct Record {
    Subject subject;
    int side = 0;
    std::variant<std::shared_ptr<const CGImage>, NSError> content;

    std::int64_t bytes() const;
  };
  /// Whether a picture that took so long to make is worth a thumbnail of `size`.
  bool isWorth(double seconds, PixelSize size) const { return seconds > settings_.worth * readingSeconds(size); }
  /// Whether that failure will be the same at the next try, and of this file alone.
  static bool isLasting(const NSError& error);
  /// Writes it, unless the file has changed since or may still be changing. Takes milliseconds.
  void write(const Record& record);

 private:
  static double readingSeconds(PixelSize size);
  std::string failureFolder() const;
  std::optional<PngThumbnail> read(const std::string& folder, const Subject& subject, int maxSide) const;
  bool replace(const std::string& folder, const Subject& subject, const std::vector<std::uint8_t>& png);
  /// False when there is no room.
  bool makeRoom();
  bool lookForRoom();

  const Settings settings_;
  /// Looking through a large cache takes a while, in which no other worker is to wait.
  std::atomic<bool> makingRoom_{false};
  std::mutex mutex_;  // guards what follows; one writer at a time
  std::int64_t roomLeft_ = 0;
  std::int64_t nextTry_ = 0;  // after a failure; nanoseconds of the steady clock
};

}  // namespace tlx::photolibrary
