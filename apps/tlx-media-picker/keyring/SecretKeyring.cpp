#include <cstring>
#include <memory>

#include <libsecret/secret.h>

#include "apps/tlx-media-picker/keyring/KeyringModule.h"

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

class SecretKeyring final : public KeyringDoor {
 public:
  std::optional<photolibrary::Credentials> find(const std::string& address) const override {
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

  bool keep(const std::string& address, const photolibrary::Credentials& credentials) const override {
    GError* error = nullptr;
    const bool kept = secret_password_store_sync(&schema(), SECRET_COLLECTION_DEFAULT, ("Photos on " + address).c_str(),
                                                 (credentials.user + "\n" + credentials.password).c_str(), nullptr,
                                                 &error, "address", address.c_str(), nullptr);
    g_clear_error(&error);
    return kept;
  }
};

}  // namespace
}  // namespace tlx::program

const tlx::program::KeyringDoor* tlxOpenKeyring(const char* version) {
  static const tlx::program::SecretKeyring keyring;
  return std::strcmp(version, TLX_BUILD_VERSION) == 0 ? &keyring : nullptr;
}
