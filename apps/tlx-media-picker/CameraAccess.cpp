#include "apps/tlx-media-picker/CameraAccess.h"

#include <utility>

#include "apps/tlx-media-picker/Complaint.h"

namespace tlx::program {

bool CameraAccess::setCameraAllowed(bool allowed) {
  decided_ = allowed;
  if (record_.setCameraAllowed(allowed)) return true;
  complain("the answer about the camera could not be remembered in " + record_.path());
  return false;
}

void CameraAccess::askForCamera(Answer answer) {
  if (!asker_) return;
  asker_([this, answer = std::move(answer)](bool allowed) {
    setCameraAllowed(allowed);
    answer(allowed);
  });
}

}  // namespace tlx::program
