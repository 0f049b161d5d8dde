#include "apps/tlx-media-picker/Keyring.h"

#include <cstdlib>
#include <memory>

#include <libsecret/secret.h>
#include <unistd.h>

namespace tlx::program {
namespace {

const SecretSchema& schema() {
  static const SecretSchema schema = [] {
    SecretSchema made{};
    made.name = "tlx.MediaPicker.Cloud";
    made.attributes[0] = {"address", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return made;
  }();
  return schema;
}

/// Without a session's bus the library would try to start one.
bool hasSessionBus() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return true;
  const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
  return runtime && ::access((std::string(runtime) + "/bus").c_str(), F_OK) == 0;
}

}  // namespace

std::optional<photolibrary::Credentials> keyringCredentials(const std::string& address) {
  if (!hasSessionBus()) return std::nullopt;
  GError* error = nullptr;
  const std::unique_ptr<gchar, void (*)(gchar*)> secret(
      secret_password_lookup_sync(&schema(), nullptr, &error, "address", address.c_str(), nullptr),
      &secret_password_free);
  g_clear_error(&error);
  if (!secret) return std::nullopt;
  // One text, so that both are kept or none: a user's name holds no line's end.
  const std::string both = secret.get();
  const auto end = both.find('\n');
  if (end == std::string::npos) return std::nullopt;
  return photolibrary::Credentials{both.substr(0, end), both.substr(end + 1)};
}

bool keepInKeyring(const std::string& address, const photolibrary::Credentials& credentials) {
  if (!hasSessionBus()) return false;
  GError* error = nullptr;
  const bool kept = secret_password_store_sync(&schema(), SECRET_COLLECTION_DEFAULT, ("Photos on " + address).c_str(),
                                               (credentials.user + "\n" + credentials.password).c_str(), nullptr,
                                               &error, "address", address.c_str(), nullptr);
  g_clear_error(&error);
  return kept;
}

}  // namespace tlx::program
