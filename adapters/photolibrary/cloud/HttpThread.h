#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "adapters/photolibrary/cloud/CloudAddress.h"
#include "adapters/photolibrary/cloud/CloudError.h"

namespace tlx::photolibrary {

struct HttpRequest {
  std::string verb = "GET";
  std::string url;    ///< escaped
  std::string query;  ///< to follow it, with its question mark
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
};

/// What an answer says before its body.
struct HttpHead {
  int status = 0;
  std::string etag, lastModified;
  std::optional<std::int64_t> length;  ///< of the body that follows
  std::int64_t first = 0;              ///< position of its first byte, when it is a part
  std::optional<std::int64_t> whole;   ///< bytes of all that it is a part of
};

/// Takes one answer, on the thread that waits for it.
class HttpReceiver {
 public:
  virtual ~HttpReceiver() = default;
  /// Once, for an answer of the 200s. An error ends the exchange.
  virtual std::optional<NSError> begin(const HttpHead& head) {
    (void)head;
    return std::nullopt;
  }
  /// A piece of the body. An error ends the exchange.
  virtual std::optional<NSError> take(const char* bytes, std::size_t count) = 0;
};

/// Requests to servers, made by a thread of its own and waited for by others, several at once. Bodies are handed on as
/// they come and are never held whole: a receiver that is slow slows the server down. Redirections are not followed,
/// for they would take the credentials along. Needs a QCoreApplication.
class HttpThread {
 public:
  /// An answer of which nothing came for `patience` has failed.
  explicit HttpThread(std::chrono::milliseconds patience);
  /// Nobody may be waiting.
  ~HttpThread();

  /// Returns when the answer has been taken whole, or why it was not. `stop` ends it at once. Any thread.
  std::optional<NSError> exchange(const HttpRequest& request, const Credentials& credentials, HttpReceiver& receiver,
                                  const std::stop_token& stop);

 private:
  struct Thread;
  const std::chrono::milliseconds patience_;
  const std::unique_ptr<Thread> thread_;
};

}  // namespace tlx::photolibrary
