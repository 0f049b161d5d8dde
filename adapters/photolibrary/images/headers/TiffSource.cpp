#include "adapters/photolibrary/images/headers/TiffSource.h"

#include <cstdio>
#include <mutex>

namespace tlx::photolibrary {

TiffSource::TiffSource(FileBytes& file) : file_(file) {
  static std::once_flag quiet;
  std::call_once(quiet, [] {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
  });
  tiff_ = TIFFClientOpen(
      "photo", "rm", this, &TiffSource::read, [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; },
      &TiffSource::seek, [](thandle_t) { return 0; }, &TiffSource::size, nullptr, nullptr);
}

TiffSource::~TiffSource() {
  if (tiff_) TIFFClose(tiff_);
}

tmsize_t TiffSource::read(thandle_t self, void* into, tmsize_t count) {
  auto* source = static_cast<TiffSource*>(self);
  const std::int64_t got = source->file_.copy(source->position_, into, static_cast<std::size_t>(count));
  if (got > 0) source->position_ += static_cast<std::uint64_t>(got);
  return static_cast<tmsize_t>(got);
}

toff_t TiffSource::seek(thandle_t self, toff_t offset, int whence) {
  auto* source = static_cast<TiffSource*>(self);
  switch (whence) {
    case SEEK_CUR:
      source->position_ += offset;
      break;
    case SEEK_END:
      source->position_ = static_cast<std::uint64_t>(source->file_.size()) + offset;
      break;
    default:
      source->position_ = offset;
      break;
  }
  return source->position_;
}

toff_t TiffSource::size(thandle_t self) {
  return static_cast<toff_t>(static_cast<TiffSource*>(self)->file_.size());
}

}  // namespace tlx::photolibrary
