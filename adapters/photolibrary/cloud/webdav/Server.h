#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

#include "adapters/photolibrary/cloud/CloudAddress.h"
#include "adapters/photolibrary/cloud/CredentialSource.h"
#include "adapters/photolibrary/cloud/HttpThread.h"
#include "adapters/photolibrary/cloud/webdav/Listing.h"

namespace tlx::photolibrary {

/// A server and who we are to it. Any thread.
class Server {
 public:
  /// `credentials` outlives the server, and may be nothing.
  Server(const CloudAddress& address, CredentialSource* credentials, std::chrono::milliseconds patience);

  /// As `HttpThread::exchange`, for an unescaped path. When the server wants other credentials, the source is
  /// asked for some until it has no more; from then on what the server refuses it refuses for good.
  std::optional<NSError> exchange(HttpRequest request, const std::string& path, HttpReceiver& receiver,
                                  const std::stop_token& stop);

  /// Lists a collection: itself and its members, in the server's order.
  std::optional<NSError> list(const std::string& path, const ListingReader::Found& found, const std::stop_token& stop);
  /// The first bytes of a file, up to `count` from `first`; fewer at its end. `head` is told before.
  std::optional<NSError> read(const std::string& path, std::int64_t first, std::int64_t count, std::string& bytes,
                              HttpHead& head, const std::stop_token& stop);

  const CloudAddress& address() const { return address_; }

 private:
  bool renew(std::uint64_t used, const std::stop_token& stop);

  const CloudAddress address_;
  CredentialSource* const source_;  // unretained: outlives the server by contract
  HttpThread http_;

  std::mutex mutex_;  ///< guards what follows
  std::condition_variable_any answered_;
  bool asking_ = false;  ///< the source, for credentials
  Credentials credentials_;
  std::uint64_t generation_ = 0;  ///< of the credentials
  bool exhausted_ = false, told_ = false;
};

}  // namespace tlx::photolibrary
