#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "adapters/photolibrary/webdav/CredentialSource.h"

namespace tlx::program {

/// Looks for the credentials of a cloud in a file, in the environment, and in the desktop's keyring; each is tried once
/// for an address.
class CloudCredentials : public photolibrary::CredentialSource {
 public:
  /// Takes what it needs out of the environment. `file` may be empty.
  explicit CloudCredentials(std::string file);

  /// What is wrong with the file, in one line; empty when nothing is.
  const std::string& problem() const { return problem_; }

  std::optional<photolibrary::Credentials> credentialsFor(const std::string& address, std::stop_token stop) override;

 private:
  enum class Place { File, Environment, Keyring, End };
  std::optional<photolibrary::Credentials> lookIn(Place place, const std::string& address) const;

  struct Entry {
    std::string address;
    photolibrary::Credentials credentials;
  };
  std::vector<Entry> entries_;  ///< the file's
  photolibrary::Credentials environment_;
  std::string problem_;
  std::mutex mutex_;
  std::map<std::string, Place> next_;  ///< by address
};

}  // namespace tlx::program
