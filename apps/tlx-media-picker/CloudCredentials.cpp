#include "apps/tlx-media-picker/CloudCredentials.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

#include <sys/stat.h>

#include "apps/tlx-media-picker/Keyring.h"

namespace tlx::program {
namespace {

std::string takeVariable(const char* name) {
  const char* const value = std::getenv(name);
  std::string kept = value ? value : "";
  ::unsetenv(name);
  return kept;
}

}  // namespace

CloudCredentials::CloudCredentials(const std::string& file, bool mayAsk) : mayAsk_(mayAsk) {
  environment_.user = takeVariable("TLX_CLOUD_USER");
  environment_.password = takeVariable("TLX_CLOUD_PASSWORD");
  if (file.empty()) return;
  struct stat status {};
  std::ifstream lines(file);
  if (!lines || ::stat(file.c_str(), &status) != 0) {
    problem_ = file + " cannot be read";
    return;
  }
  if (S_ISREG(status.st_mode) && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    problem_ = file + " holds passwords and can be read by others (chmod 600 it)";
    return;
  }
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    std::istringstream words(line);
    std::string url, user, password;
    if (!(words >> url) || url.starts_with('#')) continue;
    words >> user >> std::ws;
    std::getline(words, password);
    const auto address = photolibrary::parseCloudAddress(url);
    if (password.empty() || std::holds_alternative<std::string>(address)) {
      problem_ = file + ", line " + std::to_string(number) + ": not a URL, a USER and a PASSWORD";
      return;
    }
    entries_.push_back({std::get<0>(address).text(), {user, password}});
  }
}

void CloudCredentials::setAsker(Asker asker) {
  const std::lock_guard lock(mutex_);
  asker_ = std::move(asker);
  changed_.notify_all();
}

std::optional<photolibrary::Credentials> CloudCredentials::ask(const std::string& address,
                                                               const std::stop_token& stop) {
  if (!mayAsk_) return std::nullopt;
  struct Said {
    std::mutex mutex;
    std::condition_variable_any changed;
    bool answered = false;
    std::optional<photolibrary::Credentials> credentials;
  };
  const auto said = std::make_shared<Said>();
  std::unique_lock lock(mutex_);
  if (!changed_.wait(lock, stop, [this] { return asker_ && !isAsking_; })) return std::nullopt;
  isAsking_ = true;
  // Under the lock, so that whoever takes the asker away knows that it is not asked any more.
  asker_(address, [said](std::optional<photolibrary::Credentials> credentials) {
    const std::lock_guard answering(said->mutex);
    said->credentials = std::move(credentials);
    said->answered = true;
    said->changed.notify_all();
  });
  lock.unlock();
  std::unique_lock answering(said->mutex);
  const bool answered = said->changed.wait(answering, stop, [&] { return said->answered; });
  auto credentials = answered ? said->credentials : std::nullopt;
  answering.unlock();
  lock.lock();
  isAsking_ = false;
  changed_.notify_all();
  return credentials;
}

void CloudCredentials::accepted(const std::string& address, const photolibrary::Credentials& credentials) {
  {
    const std::lock_guard lock(mutex_);
    const auto next = next_.find(address);
    if (next == next_.end() || next->second != Place::End) return;  // not the person's
  }
  keepInKeyring(address, credentials);
}

std::optional<photolibrary::Credentials> CloudCredentials::credentialsFor(const std::string& address,
                                                                          const std::stop_token& stop) {
  while (true) {
    Place place;
    {
      const std::lock_guard lock(mutex_);
      Place& next = next_[address];
      place = next;
      if (place == Place::End) return std::nullopt;
      next = static_cast<Place>(static_cast<int>(place) + 1);
    }
    if (auto found = place == Place::Person ? ask(address, stop) : lookIn(place, address)) return found;
  }
}

std::optional<photolibrary::Credentials> CloudCredentials::lookIn(Place place, const std::string& address) const {
  if (place == Place::File) {
    for (const Entry& entry : entries_) {
      if (address == entry.address || address.starts_with(entry.address + "/")) return entry.credentials;
    }
  } else if (place == Place::Environment && !environment_.empty()) {
    return environment_;
  } else if (place == Place::Keyring) {
    return keyringCredentials(address);
  }
  return std::nullopt;
}

}  // namespace tlx::program
