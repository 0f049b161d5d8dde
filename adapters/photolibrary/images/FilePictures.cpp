#include "adapters/photolibrary/images/FilePictures.h"

#include <utility>

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {
namespace {

/// Calls `use` with the open file.
template <class Answer, class Use>
Answer withFile(const std::string& path, Use use) {
  const auto opened = OpenFile::open(path);
  if (const NSError* error = std::get_if<NSError>(&opened)) return *error;
  Answer answer = use(std::get<0>(opened)->fd());
  if (NSError* error = std::get_if<NSError>(&answer)) *error = named(std::move(*error), path);
  return answer;
}

}  // namespace

Picture FilePictures::decode(const std::string& path, const PictureRequest& request) {
  return withFile<Picture>(path, [&](int file) { return decoders_.decode({file, request}); });
}

Picture FilePictures::decodeEmbedded(const std::string& path, const PictureRequest& request, bool atOnce) {
  return withFile<Picture>(path, [&](int file) {
    const DecodersPort::Wanted wanted{file, request, atOnce};
    return std::move(decoders_.decodeEmbedded({&wanted, 1}).front());
  });
}

std::variant<VideoInfo, NSError> FilePictures::tracks(const std::string& path) {
  return withFile<std::variant<VideoInfo, NSError>>(path, [&](int file) { return decoders_.tracks(file); });
}

}  // namespace tlx::photolibrary
