#include "tlx/platform/foundation/SystemLog.h"

#include "tlx/platform/Platform.h"

namespace tlx {

void NSLog(const std::string& line) { Platform::current().ports().systemLog.log(line); }

}  // namespace tlx
