#include "tlx/platform/foundation/SystemLog.h"

#include "tlx/platform/Platform.h"
#include "tlx/platform/foundation/SystemLogPort.h"

namespace tlx {

void NSLog(const std::string& line) {
  Platform::current().ports().systemLog.log(line);
}

void NSAssertionFailed(const char* function, const char* file, int line, const std::string& description) {
  const bool hasFunction = function && *function;
  const bool hasFile = file && *file;
  Platform::current().ports().systemLog.assertionFailed(hasFunction ? function : "<Unknown Function>",
                                                        hasFile ? file : "<Unknown File>", line, description);
}

}  // namespace tlx
