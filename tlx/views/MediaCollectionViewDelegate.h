#pragma once

#include <memory>

#include "tlx/platform/foundation/Identifier.h"

namespace tlx {

class MediaModel;

/// What the grid tells the picker. Main thread.
class MediaCollectionViewDelegate {
 public:
  virtual ~MediaCollectionViewDelegate() = default;

  /// The person tapped an item. Its mark has been flipped already: marked means that it is to be picked. The answer may
  /// flip it back.
  virtual void pickedModel(const std::shared_ptr<MediaModel>& model) = 0;
  /// Whether an item with that identifier is among the picked ones. The grid itself does not ask.
  virtual bool isMediaAlreadyPicked(const Identifier& identifier) = 0;
  /// The camera button above the items was pressed.
  virtual void btnCameraPressed() = 0;
};

}  // namespace tlx
