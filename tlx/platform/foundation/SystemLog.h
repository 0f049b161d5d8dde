#pragma once

#include <string>

namespace tlx {

/// Writes one line to the system's log. Any thread.
void NSLog(const std::string& line);
/// Tells the assertion handler of a broken precondition; the handler may throw or end the process. Any thread. A
/// function or file that is nothing or empty is told as
/// "<Unknown Function>" or "<Unknown File>".
void NSAssertionFailed(const char* function, const char* file, int line, const std::string& description);

}  // namespace tlx
