#include "tlx/picker/TLXMediaPickerVersion.h"

namespace tlx {

extern "C" const double TLXMediaPickerVersionNumber = 1.0;
extern "C" const char TLXMediaPickerVersionString[] = TLX_BUILD_VERSION;

}  // namespace tlx
