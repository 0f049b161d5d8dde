#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/images/headers/PhotoFacts.h"
#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// What the header of a photo says. Width and height are those of the pixels that a decoder hands over, before they are
/// turned by `turn`.
struct PhotoHeader {
  MediaFormat format = MediaFormat::Unknown;
  std::int32_t width = 0, height = 0;
  /// EXIF numbering; how the decoded pixels must be turned to stand upright. 1 where the decoder turns them itself.
  std::int32_t turn = 1;
  /// Whether a decoder can hand the rows over one after the other, without keeping the whole picture.
  bool streams = true;
  /// Of a TIFF, the bytes of its largest piece, which a decoder keeps whole; 0 for the others.
  std::int64_t pieceBytes = 0;
  PhotoFacts facts;

  bool swapsSides() const { return turn >= 5; }
  std::int32_t uprightWidth() const { return swapsSides() ? height : width; }
  std::int32_t uprightHeight() const { return swapsSides() ? width : height; }
};

/// What a header carries besides facts; only decoding needs it.
struct HeaderExtras {
  std::vector<std::uint8_t> thumbnail;  ///< the JPEG embedded in the EXIF block
  std::vector<std::uint8_t> profile;    ///< a JPEG's colour profile
};

/// Reads the header of a photo whose format has been told by its first bytes. An error when the header names no size.
std::variant<PhotoHeader, NSError> readPhotoHeader(FileBytes& file, MediaFormat format, HeaderExtras* extras = nullptr);

/// One reader per format, for `readPhotoHeader`: they fill what they find and leave the size 0 when there is none.
void readJpegHeader(FileBytes& file, PhotoHeader& header, HeaderExtras* extras);
void readPngHeader(FileBytes& file, PhotoHeader& header, HeaderExtras* extras);
void readWebPHeader(FileBytes& file, PhotoHeader& header, HeaderExtras* extras);
void readGifHeader(FileBytes& file, PhotoHeader& header);
void readTiffHeader(FileBytes& file, PhotoHeader& header);
void readHeifHeader(FileBytes& file, PhotoHeader& header);
void readJpegXlHeader(FileBytes& file, PhotoHeader& header);

}  // namespace tlx::photolibrary
