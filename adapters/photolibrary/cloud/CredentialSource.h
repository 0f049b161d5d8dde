#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "adapters/photolibrary/cloud/CloudAddress.h"

namespace tlx::photolibrary {

/// Where the credentials for a server come from when its address holds none: a file, a keyring, the person. Called on
/// threads of the library's, for one address one call at a time.
class CredentialSource {
 public:
  virtual ~CredentialSource() = default;
  /// Asked again when the server refuses what it was given; then others. May wait for a person, until it
  /// is stopped. Nothing when there are no more.
  virtual std::optional<Credentials> credentialsFor(const std::string& address, const std::stop_token& stop) = 0;
  /// The server took them.
  virtual void accepted(const std::string& address, const Credentials& credentials) {
    (void)address, (void)credentials;
  }
};

}  // namespace tlx::photolibrary
