// In the place of the decoders that come with libvips, in workers that do not load it: they say whose the file is.

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/decoding/WorkerKind.h"
#include "adapters/photolibrary/decoding/worker/DecodingHandler.h"
#include "adapters/photolibrary/images/codecs/ImageDecoder.h"
#include "adapters/photolibrary/images/headers/PhotoHeader.h"

namespace tlx::photolibrary {

void ImageDecoder::leaveThread() {}
void prepareVips() {}

Failure decodeWithVips(FileBytes&, const PhotoHeader&, PixelSize, const DecodeContext&) {
  return NSError{kOtherWorkerDomain, static_cast<std::int64_t>(WorkerKind::Vips), "not this kind of worker's"};
}

// A header without a size is refused.
void readTiffHeader(FileBytes&, PhotoHeader&) {}
void readJpegXlHeader(FileBytes&, PhotoHeader&) {}

}  // namespace tlx::photolibrary
