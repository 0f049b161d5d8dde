#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/avfoundation/AVAsset.h"
#include "tlx/platform/uikit/UIImage.h"
#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

// What a capture screen takes, and has taken.
inline constexpr char kUTTypeImage[] = "public.image";
inline constexpr char kUTTypeMovie[] = "public.movie";

enum UIImagePickerControllerSourceType : std::int64_t { UIImagePickerControllerSourceTypeCamera = 1 };

enum UIImagePickerControllerQualityType : std::int64_t {
  UIImagePickerControllerQualityTypeHigh = 0,
  UIImagePickerControllerQualityTypeMedium = 1,
};

/// What was captured: its type, and the image of a photo or the file of a video.
struct UIImagePickerControllerInfo {
  std::string UIImagePickerControllerMediaType;
  std::shared_ptr<const UIImage> UIImagePickerControllerOriginalImage;
  std::optional<AVRecording> UIImagePickerControllerMediaURL;
};

class UIImagePickerController;

/// Hears what the person did. Main thread.
class UIImagePickerControllerDelegate {
 public:
  virtual ~UIImagePickerControllerDelegate() = default;
  virtual void imagePickerController_didFinishPickingMediaWithInfo(
      const std::shared_ptr<UIImagePickerController>& picker, const UIImagePickerControllerInfo& info) = 0;
  virtual void imagePickerControllerDidCancel(const std::shared_ptr<UIImagePickerController>& picker) = 0;
};

/// The capture screen, on which a person takes a photo or a video, looks at it, and keeps it or tries again. It is
/// shown by whoever presents it, and leaves only when its delegate dismisses it. Main thread.
class UIImagePickerController : public UIViewController {
 public:
  using MediaTypes = std::optional<std::vector<std::string>>;

  ~UIImagePickerController() override;

  void setDelegate(std::weak_ptr<UIImagePickerControllerDelegate> delegate) { delegate_ = std::move(delegate); }
  bool allowsEditing() const { return allowsEditing_; }
  /// Only remembered: the screen offers no editing.
  void setAllowsEditing(bool allows) { allowsEditing_ = allows; }
  std::optional<UIImagePickerControllerSourceType> sourceType() const { return sourceType_; }
  void setSourceType(UIImagePickerControllerSourceType type) { sourceType_ = type; }
  /// Photos alone when nothing is set.
  const MediaTypes& mediaTypes() const { return mediaTypes_; }
  void setMediaTypes(MediaTypes types) { mediaTypes_ = std::move(types); }
  UIImagePickerControllerQualityType videoQuality() const { return videoQuality_; }
  void setVideoQuality(UIImagePickerControllerQualityType quality) { videoQuality_ = quality; }

  bool prefersStatusBarHidden() override { return true; }
  void viewWillAppear(bool animated) override;
  void viewWillDisappear(bool animated) override;

  /// For whoever draws the screen: the person wants to keep what they took, or to leave. Without a delegate nothing
  /// happens.
  void finish(const UIImagePickerControllerInfo& info);
  void cancel();

 private:
  void close();

  std::weak_ptr<UIImagePickerControllerDelegate> delegate_;
  bool allowsEditing_ = false, open_ = false;
  std::optional<UIImagePickerControllerSourceType> sourceType_;
  MediaTypes mediaTypes_;
  UIImagePickerControllerQualityType videoQuality_ = UIImagePickerControllerQualityTypeMedium;
};

}  // namespace tlx
