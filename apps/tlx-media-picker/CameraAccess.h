#pragma once

#include <functional>
#include <string>

#include "adapters/camera/CameraConsent.h"
#include "adapters/photolibrary/access/AccessRecord.h"

namespace tlx::program {

/// What the person said about the camera, kept beside what they said about photos; the question is passed on to a
/// window. Main thread.
class CameraAccess final : public camera::CameraConsent {
 public:
  using Asker = std::function<void(Answer answer)>;

  /// As for the photos: the folder of the access records, and the program on whose behalf access is asked.
  CameraAccess(const std::string& folder, const std::string& host) : record_(folder, host) {}

  /// Who puts the question from now on; nothing for nobody, which leaves it open.
  void setAsker(Asker asker) { asker_ = std::move(asker); }
  /// False when it could not be remembered; it then holds while the program runs.
  bool setCameraAllowed(bool allowed);

  std::optional<bool> cameraAllowed() const override { return decided_ ? decided_ : record_.cameraAllowed(); }
  void askForCamera(Answer answer) override;

 private:
  const photolibrary::AccessRecord record_;
  std::optional<bool> decided_;  ///< in this run
  Asker asker_;
};

}  // namespace tlx::program
