#include "apps/tlx-media-picker/CloudCredentials.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>
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
}

std::optional<photolibrary::Credentials> CloudCredentials::ask(const std::string& address,
                                                               const std::stop_token& stop) {
  constexpr std::chrono::milliseconds kGlance{20};
  std::unique_lock oneAtATime(asking_, std::defer_lock);
  while (!oneAtATime.try_lock_for(kGlance)) {
    if (stop.stop_requested()) return std::nullopt;
  }
  struct Said {
    std::mutex mutex;
    std::condition_variable changed;
    bool answered = false;
    std::optional<photolibrary::Credentials> credentials;
  };
  const auto said = std::make_shared<Said>();
  const auto put = [&] {
    // Held while asking, so that whoever takes the asker away knows that it is not asked any more.
    const std::lock_guard lock(mutex_);
    if (!asker_) return false;
    asker_(address, [said](std::optional<photolibrary::Credentials> credentials) {
      const std::lock_guard answering(said->mutex);
      said->credentials = std::move(credentials);
      said->answered = true;
      said->changed.notify_all();
    });
    return true;
  };
  for (bool isPut = false; !isPut;) {
    if (!mayAsk_ || stop.stop_requested()) return std::nullopt;
    isPut = put();
    if (!isPut) std::this_thread::sleep_for(kGlance);
  }
  std::unique_lock lock(said->mutex);
  while (!said->changed.wait_for(lock, kGlance, [&] { return said->answered; })) {
    if (stop.stop_requested()) return std::nullopt;
  }
  return said->credentials;
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
