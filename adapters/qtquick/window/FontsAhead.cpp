#include "adapters/qtquick/window/FontsAhead.h"

#include <fontconfig/fontconfig.h>

namespace tlx::qtquick {

FontsAhead::FontsAhead() : reading_([] { FcInit(); }) {}

FontsAhead::~FontsAhead() {
  reading_.join();
}

}  // namespace tlx::qtquick
