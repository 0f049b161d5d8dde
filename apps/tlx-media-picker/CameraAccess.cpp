#include "apps/tlx-media-picker/CameraAccess.h"

#include <cstdio>
#include <utility>

namespace tlx::program {

bool CameraAccess::setCameraAllowed(bool allowed) {
  decided_ = allowed;
  if (record_.setCameraAllowed(allowed)) return true;
  std::fprintf(stderr, "the answer about the camera could not be remembered in %s\n", record_.path().c_str());
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
