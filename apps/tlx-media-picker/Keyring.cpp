#include "apps/tlx-media-picker/Keyring.h"

#include <cstdlib>

#include <unistd.h>

#include "adapters/modules/Module.h"
#include "apps/tlx-media-picker/Complaint.h"
#include "apps/tlx-media-picker/keyring/KeyringModule.h"

namespace tlx::program {
namespace {

/// Without a session's bus the library would try to start one.
bool hasSessionBus() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return true;
  const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
  return runtime && ::access((std::string(runtime) + "/bus").c_str(), F_OK) == 0;
}

/// Opened once; nothing where there is none.
const KeyringDoor* keyring() {
  static const KeyringDoor* const opened = []() -> const KeyringDoor* {
    if (!hasSessionBus()) return nullptr;
    std::string error;
    void* const found = modules::openModule(modules::moduleFile(kKeyringModule), kKeyringModuleFunction, error);
    const KeyringDoor* const door = found ? reinterpret_cast<OpenKeyring*>(found)(TLX_BUILD_VERSION) : nullptr;
    if (!door) complain("the keyring cannot be asked: " + (found ? "its module is of another version" : error));
    return door;
  }();
  return opened;
}

}  // namespace

std::optional<photolibrary::Credentials> keyringCredentials(const std::string& address) {
  return keyring() ? keyring()->find(address) : std::nullopt;
}

bool keepInKeyring(const std::string& address, const photolibrary::Credentials& credentials) {
  return keyring() && keyring()->keep(address, credentials);
}

}  // namespace tlx::program
