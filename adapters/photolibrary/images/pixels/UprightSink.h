#pragma once

#include <memory>
#include <optional>

#include "tlx/platform/coregraphics/CGImage.h"

#include "adapters/photolibrary/images/pixels/PixelStore.h"
#include "adapters/photolibrary/images/pixels/RowSink.h"
#include "adapters/photolibrary/images/pixels/UprightWriter.h"

namespace tlx::photolibrary {

/// Keeps a picture in a store of pixels, upright.
class UprightSink final : public RowSink {
 public:
  /// `store` outlives the object.
  explicit UprightSink(PixelStore& store) : store_(store) {}

  Failure begin(PixelSize stored, std::int32_t turn) override;
  void add(const std::uint8_t* rgba) override;
  /// Rows that are still to come.
  std::int32_t missing() const { return stored_.height - rows_; }
  /// The picture, once all rows have come.
  std::shared_ptr<const CGImage> finish();

 private:
  PixelStore& store_;  // unretained: outlives the object by contract
  PixelSize stored_;
  std::int32_t turn_ = 1, rows_ = 0;
  std::shared_ptr<PixelBlock> block_;
  std::optional<UprightWriter> writer_;
};

}  // namespace tlx::photolibrary
