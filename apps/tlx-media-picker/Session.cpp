#include "apps/tlx-media-picker/Session.h"

#include <cstdio>
#include <optional>
#include <utility>

#include "apps/tlx-media-picker/Complaint.h"
#include "apps/tlx-media-picker/Json.h"

namespace tlx::program {
namespace {

void print(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace

Session::Session(const Arguments& arguments, const photolibrary::PhotoLibrary& library, const OutputFolder* output)
    : arguments_(arguments), library_(library), output_(output) {}

void Session::end(ExitStatus status) {
  if (std::exchange(hasEnded_, true)) return;
  status_ = status;
  if (ended_) ended_();
}

void Session::mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController&, const MediaList& media) {
  bool whole = true;
  for (const auto& item : media) {
    if (item) whole = deliver(*item) && whole;
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    complain("the results could not be written to standard output");
    whole = false;
  }
  end(whole ? Delivered : Failed);
}

bool Session::deliver(const Media& media) {
  const Identifier& identifier = media.getMediaIdentifier();
  const auto details = library_.details(identifier).value_or(photolibrary::PhotoLibrary::Details{});
  const bool video = media.getMediaType() == PHAssetMediaTypeVideo;
  std::optional<std::string> delivered;
  bool whole = true;
  if (output_) {
    const auto& image = media.getMediaImage();
    const auto written = image ? output_->writeImage(*image, details.name, details.created, details.dateIsCaptures)
                               : output_->copyFile(details.path, details.name, details.created);
    if (const auto* file = std::get_if<OutputFolder::Written>(&written)) {
      delivered = file->path;
    } else {
      complain(std::get<std::string>(written));
      whole = false;
    }
  }
  if (arguments_.format != Arguments::Format::Json) {
    // Whoever reads nothing but paths must not take an original for what should have been delivered.
    if (whole) print(delivered.value_or(details.path) + (arguments_.format == Arguments::Format::Paths ? '\n' : '\0'));
    return whole;
  }
  double width = details.width, height = details.height;
  if (const auto& image = media.getMediaImage()) {
    width = image->size().width;
    height = image->size().height;
  } else if (const auto& asset = media.getMediaVideoAsset()) {
    const auto tracks = asset->tracksWithMediaType(AVMediaTypeVideo);
    if (!tracks.empty()) {
      width = tracks.front().width;
      height = tracks.front().height;
    }
  }
  print("{\"identifier\":" + jsonString(identifier.string()) + ",\"type\":" + (video ? "\"video\"" : "\"image\"") +
        ",\"path\":" + jsonString(details.path) +
        (details.address.empty() ? "" : ",\"address\":" + jsonString(details.address)) +
        ",\"name\":" + jsonString(details.name) + ",\"bytes\":" + std::to_string(details.bytes) +
        ",\"created\":" + jsonString(isoDate(details.created)) + ",\"width\":" + std::to_string(details.width) +
        ",\"height\":" + std::to_string(details.height) + ",\"duration\":" + jsonNumber(details.duration) +
        ",\"status\":" + std::to_string(media.fetchCompletionStatus()) +
        ",\"delivered\":" + (delivered ? jsonString(*delivered) : "null") + ",\"deliveredWidth\":" + jsonNumber(width) +
        ",\"deliveredHeight\":" + jsonNumber(height) + "}\n");
  return whole;
}

std::string albumsAsJson(PhotoManager& manager) {
  std::string out = "{\"albums\":[";
  for (std::int64_t i = 0; i < manager.getAlbumCount(); ++i) {
    const auto album = manager.getAlbumModelAtIndex(static_cast<std::uint64_t>(i));
    if (!album) continue;
    if (i > 0) out += ',';
    out += "{\"title\":" + jsonString(album->getAlbumName()) +
           ",\"identifier\":" + jsonString(album->localIdentifier().string()) +
           ",\"count\":" + std::to_string(album->getMediaCount()) + "}";
  }
  return out + "]}\n";
}

}  // namespace tlx::program
