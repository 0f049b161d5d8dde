#pragma once

#include <string>

namespace tlx {

/// The system's log, which is read by whoever maintains the machine. Any thread.
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

}  // namespace tlx
