#pragma once

#include <stdexcept>
#include <string>

namespace tlx {

/// A programming error, such as an image orientation that does not exist or a scene that lacks an outlet. Never crosses
/// a port or a thread.
class NSException : public std::runtime_error {
 public:
  NSException(std::string name, const std::string& reason) : std::runtime_error(reason), name_(std::move(name)) {}

  const std::string& name() const noexcept { return name_; }
  std::string reason() const { return what(); }

 private:
  std::string name_;
};

inline constexpr char NSInternalInconsistencyException[] = "NSInternalInconsistencyException";
inline constexpr char NSInvalidArgumentException[] = "NSInvalidArgumentException";

}  // namespace tlx
