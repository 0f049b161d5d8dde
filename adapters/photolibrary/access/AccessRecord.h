#pragma once

#include <optional>
#include <string>

namespace tlx::photolibrary {

/// What the person decided for one host program: a small text file per host, which they may read, change or delete.
class AccessRecord {
 public:
  /// `folder` is made when something is written.
  AccessRecord(std::string folder, const std::string& host);

  /// Whether photos are allowed; nothing when the person was not asked, or the file says neither.
  std::optional<bool> photosAllowed() const { return allowed("photos"); }
  /// False when it could not be written.
  bool setPhotosAllowed(bool allowed) const { return setAllowed("photos", allowed); }
  /// The same for the camera.
  std::optional<bool> cameraAllowed() const { return allowed("camera"); }
  bool setCameraAllowed(bool allowed) const { return setAllowed("camera", allowed); }
  const std::string& path() const { return path_; }

 private:
  std::optional<bool> allowed(const std::string& what) const;
  bool setAllowed(const std::string& what, bool allowed) const;

  std::string folder_;
  std::string path_;
};

}  // namespace tlx::photolibrary
