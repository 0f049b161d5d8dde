#pragma once

#include <string>

namespace tlx {

/// Where the few words go that are for whoever maintains the machine. Any thread.
class SystemLogPort {
 public:
  virtual ~SystemLogPort() = default;
  /// One line; a closing line break is part of the text when it was given.
  virtual void log(const std::string& line) = 0;
  /// A broken precondition: `function` or `file` may be empty. May throw or end the process; when it returns, the
  /// caller goes on.
  virtual void assertionFailed(const std::string& function, const std::string& file, int line,
                               const std::string& description) = 0;
};

void NSLog(const std::string& line);
/// Tells the assertion handler of a broken precondition. A function or file that is nothing or empty is told as
/// "<Unknown Function>" or
/// "<Unknown File>".
void NSAssertionFailed(const char* function, const char* file, int line, const std::string& description);

}  // namespace tlx
