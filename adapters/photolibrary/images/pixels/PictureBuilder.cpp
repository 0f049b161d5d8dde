#include "adapters/photolibrary/images/pixels/PictureBuilder.h"

#include <utility>

#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {
namespace {

void premultiply(std::uint8_t* rgba, std::size_t pixels) {
  for (const std::uint8_t* end = rgba + pixels * 4; rgba != end; rgba += 4) {
    const unsigned alpha = rgba[3];
    if (alpha == 255) continue;
    for (int c = 0; c < 3; ++c) rgba[c] = static_cast<std::uint8_t>((rgba[c] * alpha + 127) / 255);
  }
}

void unpremultiply(std::uint8_t* rgba, std::size_t pixels) {
  for (const std::uint8_t* end = rgba + pixels * 4; rgba != end; rgba += 4) {
    const unsigned alpha = rgba[3];
    if (alpha == 255 || alpha == 0) continue;
    for (int c = 0; c < 3; ++c) {
      rgba[c] = static_cast<std::uint8_t>(std::min(255u, (rgba[c] * 255u + alpha / 2) / alpha));
    }
  }
}

}  // namespace

std::variant<std::unique_ptr<PictureBuilder>, NSError> PictureBuilder::start(RowSink& sink, const Plan& plan) {
  const PixelSize size = plan.result;
  if (size.width < 1 || size.height < 1 || size.width > plan.rows.width || size.height > plan.rows.height) {
    return libraryError(PhotoLibraryErrorDamaged, "its sizes contradict one another");
  }
  if (auto failed = sink.begin(plan.result, plan.turn)) return *std::move(failed);
  return std::unique_ptr<PictureBuilder>(new PictureBuilder(plan, sink));
}

PictureBuilder::PictureBuilder(const Plan& plan, RowSink& sink)
    : plan_(plan), sink_(sink), resampler_(plan.rows, plan.result, [this](std::uint8_t* rgba) { place(rgba); }) {}

void PictureBuilder::add(std::uint8_t* rgba) {
  if (!plan_.opaque) premultiply(rgba, static_cast<std::size_t>(plan_.rows.width));
  resampler_.add(rgba);
}

void PictureBuilder::place(std::uint8_t* rgba) {
  if (plan_.transform) {
    const auto width = static_cast<std::size_t>(plan_.result.width);
    if (!plan_.opaque) unpremultiply(rgba, width);
    plan_.transform->apply(rgba, width);
    if (!plan_.opaque) premultiply(rgba, width);
  }
  sink_.add(rgba);
}

}  // namespace tlx::photolibrary
