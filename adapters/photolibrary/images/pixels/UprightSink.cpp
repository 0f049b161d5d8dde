#include "adapters/photolibrary/images/pixels/UprightSink.h"

namespace tlx::photolibrary {

Failure UprightSink::begin(PixelSize stored, std::int32_t turn) {
  auto room = store_.reserve(static_cast<std::size_t>(stored.pixels()) * CGImage::bytesPerPixel);
  if (NSError* error = std::get_if<NSError>(&room)) return std::move(*error);
  stored_ = stored;
  turn_ = turn;
  rows_ = 0;
  block_ = std::get<0>(std::move(room));
  writer_.emplace(stored, turn, block_->data());
  return std::nullopt;
}

void UprightSink::add(const std::uint8_t* rgba) {
  writer_->add(rgba);
  ++rows_;
}

std::shared_ptr<const CGImage> UprightSink::finish() {
  writer_->flush();
  block_->settle();
  const PixelSize upright = turn_ >= 5 ? stored_.turned() : stored_;
  const auto width = static_cast<std::size_t>(upright.width);
  return CGImage::createWithOwner(width, static_cast<std::size_t>(upright.height), width * CGImage::bytesPerPixel,
                                  block_->data(), block_);
}

}  // namespace tlx::photolibrary
