#pragma once

#include <optional>
#include <string>

#include "adapters/photolibrary/cloud/CloudAddress.h"

/// The desktop's keyring as a module that is opened when a cloud's password is first looked for.
namespace tlx::program {

/// Both wait, and may ask the person to unlock the keyring. Any thread.
class KeyringDoor {
 public:
  virtual ~KeyringDoor() = default;
  virtual std::optional<photolibrary::Credentials> find(const std::string& address) const = 0;
  /// False when there is nobody to keep it.
  virtual bool keep(const std::string& address, const photolibrary::Credentials& credentials) const = 0;
};

inline constexpr char kKeyringModule[] = "tlx-media-keyring";
inline constexpr char kKeyringModuleFunction[] = "tlxOpenKeyring";
/// The module's only function: the keyring, which lives for good, or nothing where `version` is not the one that the
/// module was built for.
using OpenKeyring = const KeyringDoor*(const char* version);

}  // namespace tlx::program

extern "C" tlx::program::OpenKeyring tlxOpenKeyring;
