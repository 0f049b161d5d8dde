#include "adapters/photolibrary/cloud/webdav/Server.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace tlx::photolibrary {
namespace {

class ListingReceiver final : public HttpReceiver {
 public:
  explicit ListingReceiver(const ListingReader::Found& found) : reader_(found) {}
  std::optional<NSError> begin(const HttpHead& head) override {
    if (head.status == 207) return std::nullopt;
    return cloudError(CloudErrorServer, "There is no WebDAV at this address.");
  }
  std::optional<NSError> take(const char* bytes, std::size_t count) override {
    if (reader_.feed(bytes, count)) return std::nullopt;
    return broken();
  }
  bool whole() const { return reader_.finished(); }
  static NSError broken() { return cloudError(CloudErrorServer, "The server's listing cannot be read."); }

 private:
  ListingReader reader_;
};

class PieceReceiver final : public HttpReceiver {
 public:
  PieceReceiver(std::int64_t first, std::int64_t count, std::string& bytes, HttpHead& head)
      : first_(first), count_(static_cast<std::size_t>(count)), bytes_(bytes), head_(head) {}
  std::optional<NSError> begin(const HttpHead& head) override {
    head_ = head;
    if (head.status == 206 ? head.first == first_ : first_ == 0) return std::nullopt;
    return cloudError(CloudErrorServer, "The server sent another part than was asked for.");
  }
  std::optional<NSError> take(const char* bytes, std::size_t count) override {
    const std::size_t room = count_ - bytes_.size();
    bytes_.append(bytes, std::min(count, room));
    // A server that knows no parts sends the whole; there is no need to stay for it.
    const bool more = count > room || head_.length.value_or(INT64_MAX) > static_cast<std::int64_t>(count_);
    if (full() && more) return cloudError(CloudErrorCancelled, "The rest is not wanted.");
    return std::nullopt;
  }
  bool full() const { return bytes_.size() == count_; }

 private:
  const std::int64_t first_;
  const std::size_t count_;
  std::string& bytes_;
  HttpHead& head_;
};

}  // namespace

Server::Server(const CloudAddress& address, CredentialSource* credentials, std::chrono::milliseconds patience)
    : address_(address), source_(credentials), http_(patience), credentials_(address.credentials) {}

std::optional<NSError> Server::exchange(HttpRequest request, const std::string& path, HttpReceiver& receiver,
                                        const std::stop_token& stop) {
  request.url = address_.server + escapedPath(path);
  while (true) {
    Credentials credentials;
    std::uint64_t generation = 0;
    {
      const std::lock_guard lock(mutex_);
      credentials = credentials_;
      generation = generation_;
    }
    auto failed = http_.exchange(request, credentials, receiver, stop);
    if (failed && failed->code == CloudErrorWrongCredentials && renew(generation, stop)) continue;
    if (!failed && source_ && generation > 0) {
      bool first = false;
      {
        const std::lock_guard lock(mutex_);
        first = !std::exchange(told_, true);
      }
      if (first) source_->accepted(address_.text(), credentials);
    }
    return failed;
  }
}

bool Server::renew(std::uint64_t used, const std::stop_token& stop) {
  if (!source_ || !address_.credentials.empty()) return false;
  std::unique_lock lock(mutex_);
  if (!answered_.wait(lock, stop, [this] { return !asking_; })) return false;
  if (generation_ != used) return true;
  if (exhausted_) return false;
  asking_ = true;
  lock.unlock();
  auto found = source_->credentialsFor(address_.text(), stop);
  lock.lock();
  asking_ = false;
  exhausted_ = !found && !stop.stop_requested();
  if (found) {
    credentials_ = *std::move(found);
    ++generation_;
  }
  answered_.notify_all();
  return generation_ != used;
}

std::optional<NSError> Server::list(const std::string& path, const ListingReader::Found& found,
                                    const std::stop_token& stop) {
  HttpRequest request;
  request.verb = "PROPFIND";
  request.headers = {{"Depth", "1"}, {"Content-Type", "application/xml; charset=utf-8"}};
  request.body = kListingRequest;
  ListingReceiver receiver(found);
  auto failed = exchange(std::move(request), path + "/", receiver, stop);
  if (!failed && !receiver.whole()) return ListingReceiver::broken();
  return failed;
}

std::optional<NSError> Server::read(const std::string& path, std::int64_t first, std::int64_t count, std::string& bytes,
                                    HttpHead& head, const std::stop_token& stop) {
  HttpRequest request;
  request.headers = {{"Range", "bytes=" + std::to_string(first) + "-" + std::to_string(first + count - 1)},
                     {"Accept-Encoding", "identity"}};
  PieceReceiver receiver(first, count, bytes, head);
  auto failed = exchange(std::move(request), path, receiver, stop);
  if (receiver.full()) return std::nullopt;
  return failed;
}

}  // namespace tlx::photolibrary
