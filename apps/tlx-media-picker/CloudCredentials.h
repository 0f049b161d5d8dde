#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "adapters/photolibrary/cloud/CredentialSource.h"

namespace tlx::program {

/// Looks for the credentials of a cloud in a file, in the environment, and in the desktop's keyring, and asks the
/// person; each once for an address. What the person said and the server took goes to the keyring.
class CloudCredentials final : public photolibrary::CredentialSource {
 public:
  /// Takes what it needs out of the environment. `file` may be empty. `mayAsk` tells that there is a person, whom
  /// somebody will ask sooner or later.
  CloudCredentials(const std::string& file, bool mayAsk);

  /// What is wrong with the file, in one line; empty when nothing is.
  const std::string& problem() const { return problem_; }

  /// To be called once, on any thread, with what the person says; nothing when they would rather not.
  using Answer = std::function<void(std::optional<photolibrary::Credentials>)>;
  using Asker = std::function<void(const std::string& address, Answer answer)>;
  /// Who asks the person, on a thread of the library's and one question at a time; returns soon. Nothing for nobody:
  /// the one before is not called any more. Until there is somebody, a question waits.
  void setAsker(Asker asker);

  std::optional<photolibrary::Credentials> credentialsFor(const std::string& address,
                                                          const std::stop_token& stop) override;
  void accepted(const std::string& address, const photolibrary::Credentials& credentials) override;

 private:
  enum class Place { File, Environment, Keyring, Person, End };
  std::optional<photolibrary::Credentials> lookIn(Place place, const std::string& address) const;
  std::optional<photolibrary::Credentials> ask(const std::string& address, const std::stop_token& stop);

  struct Entry {
    std::string address;
    photolibrary::Credentials credentials;
  };
  std::vector<Entry> entries_;  ///< the file's
  photolibrary::Credentials environment_;
  std::string problem_;
  const bool mayAsk_;
  std::mutex mutex_;  ///< guards what follows
  std::condition_variable_any changed_;
  Asker asker_;
  bool isAsking_ = false;              ///< the person
  std::map<std::string, Place> next_;  ///< by address
};

}  // namespace tlx::program
