#include "adapters/photolibrary/images/headers/HeifFile.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "adapters/photolibrary/images/headers/HeifReferences.h"
#include "adapters/photolibrary/images/headers/PhotoHeader.h"

namespace tlx::photolibrary {
namespace {

/// The library refuses longer sides than this; the number of pixels is limited in `ImageDecoder`.
constexpr int maxSide = 65535;

}  // namespace

HeifFile::HeifFile(FileBytes& file) : file_(file), context_(heif_context_alloc()) {
  if (auto wrong = wrongReferences(file)) {
    error_ = std::move(*wrong);
    return;
  }
  reader_.reader_api_version = 1;
  reader_.get_position = &HeifFile::position;
  reader_.read = &HeifFile::read;
  reader_.seek = &HeifFile::seek;
  reader_.wait_for_file_size = &HeifFile::waitForSize;
  heif_context_set_maximum_image_size_limit(context_.get(), maxSide);
  heif_context_set_max_decoding_threads(context_.get(), 0);
  heif_error result = heif_context_read_from_reader(context_.get(), &reader_, this, nullptr);
  heif_image_handle* handle = nullptr;
  if (result.code == heif_error_Ok) result = heif_context_get_primary_image_handle(context_.get(), &handle);
  if (result.code == heif_error_Ok) {
    primary_.reset(handle);
  } else {
    error_ = result.message ? result.message : "unreadable";
  }
}

std::vector<std::uint8_t> HeifFile::metadata(const char* type, const char* contentType) const {
  if (!primary_) return {};
  heif_item_id ids[8];
  const int count = heif_image_handle_get_list_of_metadata_block_IDs(primary_.get(), type, ids, 8);
  for (int i = 0; i < count; ++i) {
    const char* content = heif_image_handle_get_metadata_content_type(primary_.get(), ids[i]);
    if (contentType && (!content || std::strcmp(content, contentType) != 0)) continue;
    const std::size_t size = heif_image_handle_get_metadata_size(primary_.get(), ids[i]);
    if (size == 0 || size > FileBytes::maxPiece) continue;
    std::vector<std::uint8_t> block(size);
    if (heif_image_handle_get_metadata(primary_.get(), ids[i], block.data()).code == heif_error_Ok) return block;
  }
  return {};
}

HeifHandle HeifFile::thumbnail() const {
  HeifHandle best;
  if (!primary_) return best;
  heif_item_id ids[8];
  const int count = heif_image_handle_get_list_of_thumbnail_IDs(primary_.get(), ids, 8);
  for (int i = 0; i < count; ++i) {
    heif_image_handle* handle = nullptr;
    if (heif_image_handle_get_thumbnail(primary_.get(), ids[i], &handle).code != heif_error_Ok) continue;
    HeifHandle candidate(handle);
    if (!best || heif_image_handle_get_width(candidate.get()) > heif_image_handle_get_width(best.get())) {
      best = std::move(candidate);
    }
  }
  return best;
}

std::int64_t HeifFile::position(void* self) {
  return static_cast<HeifFile*>(self)->position_;
}

int HeifFile::read(void* into, std::size_t count, void* self) {
  auto* file = static_cast<HeifFile*>(self);
  const std::int64_t got = file->file_.copy(static_cast<std::uint64_t>(file->position_), into, count);
  if (got != static_cast<std::int64_t>(count)) return 1;
  file->position_ += got;
  return 0;
}

int HeifFile::seek(std::int64_t position, void* self) {
  if (position < 0) return 1;
  static_cast<HeifFile*>(self)->position_ = position;
  return 0;
}

heif_reader_grow_status HeifFile::waitForSize(std::int64_t size, void* self) {
  return size > static_cast<HeifFile*>(self)->file_.size() ? heif_reader_grow_status_size_beyond_eof
                                                           : heif_reader_grow_status_size_reached;
}

void readHeifHeader(FileBytes& file, PhotoHeader& header) {
  const HeifFile heif(file);
  if (!heif.primary()) return;
  header.width = heif_image_handle_get_width(heif.primary());
  header.height = heif_image_handle_get_height(heif.primary());
  const std::vector<std::uint8_t> exif = heif.metadata("Exif");
  if (exif.size() > 4) {
    const std::uint64_t start = std::uint64_t{4} + be32(exif.data());
    if (start < exif.size()) readExif(Bytes(exif).subspan(start), header.facts);
  }
  const std::vector<std::uint8_t> xmp = heif.metadata("mime", "application/rdf+xml");
  readXmp({reinterpret_cast<const char*>(xmp.data()), xmp.size()}, header.facts);
}

}  // namespace tlx::photolibrary
