#include "adapters/photolibrary/images/codecs/DirectDecoders.h"

#include <new>
#include <utility>

#include "adapters/photolibrary/base/AvailableMemory.h"
#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/headers/MediaProbe.h"
#include "adapters/photolibrary/images/pixels/UprightSink.h"

namespace tlx::photolibrary {
namespace {

/// Damaged files reach deep into other people's code; what that throws is an answer like any other.
template <class Make>
Failure guarded(Make make) {
  try {
    return make();
  } catch (const std::bad_alloc&) {
    return libraryError(PhotoLibraryErrorNoSpace, "no memory for a picture");
  } catch (const std::exception& error) {
    return libraryError(PhotoLibraryErrorDamaged, error.what());
  }
}

}  // namespace

DirectDecoders::DirectDecoders(PixelStore& pixels)
    : pixels_(pixels), decoder_([this](std::int64_t bytes) -> std::variant<std::shared_ptr<void>, NSError> {
        auto alone = std::make_shared<std::unique_lock<std::mutex>>(large_);
        if (bytes > availableMemory() / 4 * 3) {
          return libraryError(PhotoLibraryErrorNoSpace, "there is not enough memory for its pixels");
        }
        return alone;
      }) {}

Picture DirectDecoders::decode(const Wanted& wanted) {
  UprightSink sink(pixels_);
  if (auto failed = guarded([&] { return decoder_.decode(wanted.file, wanted.request, sink); })) {
    return *std::move(failed);
  }
  return sink.finish();
}

std::vector<Picture> DirectDecoders::decodeEmbedded(std::span<const Wanted> wanted) {
  std::vector<Picture> pictures;
  for (const Wanted& each : wanted) {
    UprightSink sink(pixels_);
    auto failed = guarded([&] { return decoder_.decodeEmbedded(each.file, each.request, sink); });
    pictures.push_back(failed ? Picture(*std::move(failed)) : Picture(sink.finish()));
  }
  return pictures;
}

std::vector<std::variant<MediaInfo, NSError>> DirectDecoders::probe(std::span<const int> files) {
  std::vector<std::variant<MediaInfo, NSError>> infos;
  for (const int file : files) infos.push_back(probeMedia(file));
  return infos;
}

std::vector<std::optional<double>> DirectDecoders::probeSidecars(std::span<const int> files) {
  std::vector<std::optional<double>> dates;
  for (const int file : files) dates.push_back(probeSidecar(file));
  return dates;
}

std::variant<VideoInfo, NSError> DirectDecoders::tracks(int file) {
  return probeVideo(file);
}

}  // namespace tlx::photolibrary
