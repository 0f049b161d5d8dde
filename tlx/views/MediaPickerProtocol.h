#pragma once

#include <memory>

namespace tlx {

class UIView;

/// A part of the picker that brings its own view to be embedded or presented. Such a class also has the static
/// `initWithStoryBoard_photoManager_delegate`.
class MediaPickerProtocol {
 public:
  virtual ~MediaPickerProtocol() = default;
  virtual std::shared_ptr<UIView> getView() = 0;
};

}  // namespace tlx
