#include "adapters/photolibrary/cloud/webdav/OriginalDownload.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tlx::photolibrary {
namespace {

constexpr double kSmallestStep = 1.0 / 512;
/// How often a transfer is gone on with in one go, however little further each time brings it.
constexpr int kAttempts = 20;

NSError cancelledError() {
  return cloudError(CloudErrorCancelled, "The transfer was cancelled.");
}

NSError changedError() {
  return cloudError(CloudErrorChanged, "It has changed on its server since it was listed.");
}

/// Whether all answers with this tag hold the same bytes, so that a part of one goes on where a part of another ended.
bool isStrong(const std::string& etag) {
  return etag.starts_with('"');
}

/// Takes one answer's body into the draft.
class BodyReceiver final : public HttpReceiver {
 public:
  BodyReceiver(OriginalCache::Draft& draft, const RemoteFile& file, const ItemStore::FetchOptions& options,
               double& reported)
      : draft_(draft), file_(file), options_(options), reported_(reported) {}

  std::optional<NSError> begin(const HttpHead& head) override {
    const std::uint64_t version = versionOf(head.etag, parseHttpDate(head.lastModified));
    const bool told = !head.etag.empty() || !head.lastModified.empty();
    if (head.status == 206 && head.first == draft_.written()) {
      if (head.whole.value_or(file_.bytes) != file_.bytes) return changedError();
      if (isStrong(draft_.tag()) && head.etag != draft_.tag() && !head.etag.empty()) return changedError();
      return std::nullopt;
    }
    if (head.status != 200) return cloudError(CloudErrorServer, "The server sent another part than was asked for.");
    if (head.length.value_or(file_.bytes) != file_.bytes) return changedError();
    if (told && version != file_.version && !sameDate(head)) return changedError();
    return draft_.startOver(isStrong(head.etag) ? head.etag : std::string());
  }

  std::optional<NSError> take(const char* bytes, std::size_t count) override {
    if (draft_.written() + static_cast<std::int64_t>(count) > file_.bytes) return changedError();
    if (auto failed = draft_.append(bytes, count)) return failed;
    const double now = static_cast<double>(draft_.written()) / static_cast<double>(file_.bytes);
    if (options_.progress && (now - reported_ >= kSmallestStep || (now >= 1 && reported_ < 1))) {
      reported_ = now;
      if (!options_.progress(now)) return cancelledError();
    }
    return std::nullopt;
  }

 private:
  /// Listings of some servers know no ETags although their answers carry them.
  bool sameDate(const HttpHead& head) const { return versionOf({}, parseHttpDate(head.lastModified)) == file_.version; }

  OriginalCache::Draft& draft_;
  const RemoteFile& file_;
  const ItemStore::FetchOptions& options_;
  double& reported_;
};

std::variant<Original, NSError> transfer(Server& server, OriginalCache::Draft& draft, const RemoteFile& file,
                                         const ItemStore::FetchOptions& options) {
  double reported = -1;
  for (int attempt = 1;; ++attempt) {
    if (draft.written() == file.bytes && !draft.tag().empty()) return draft.finish();
    const std::int64_t before = draft.written();
    HttpRequest request;
    request.headers = {{"Accept-Encoding", "identity"}};
    const bool goesOn = before > 0 && before < file.bytes && isStrong(draft.tag());
    if (goesOn) {
      request.headers.emplace_back("Range", "bytes=" + std::to_string(before) + "-");
      request.headers.emplace_back("If-Range", draft.tag());
    }
    BodyReceiver receiver(draft, file, options, reported);
    auto failed = server.exchange(std::move(request), file.path, receiver, options.stop);
    if (!failed && draft.written() != file.bytes) {
      failed = cloudError(CloudErrorConnectionLost, "The server ended its answer early.");
    }
    if (!failed) return draft.finish();
    switch (failed->code) {
      case CloudErrorConnectionLost:
        if (draft.written() > before && attempt < kAttempts) continue;
        break;
      case CloudErrorChanged:
      case CloudErrorDiskFull:
        draft.discard();
        break;
      default:
        break;
    }
    return *std::move(failed);
  }
}

}  // namespace

std::uint64_t versionOf(const std::string& etag, std::int64_t modified) {
  std::uint64_t hash = 0xcbf29ce484222325ULL;  // FNV-1a: kept in the index, so it must come out the same in every build
  const auto add = [&](const std::string& text) {
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
  };
  const std::string tag = plainTag(etag);
  add(tag.empty() ? "date:" + std::to_string(modified) : tag);
  return std::max<std::uint64_t>(hash, 2);
}

std::variant<Original, NSError> downloadOriginal(Server& server, const OriginalCache& cache, const RemoteFile& file,
                                                 const ItemStore::FetchOptions& options) {
  while (true) {
    if (auto original = cache.take(file.copy, file.bytes)) return *std::move(original);
    if (!options.networkAccessAllowed) {
      return NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorNetworkNotAllowed,
                     "The original lies on its server, and the network must not be used."};
    }
    if (options.stop.stop_requested()) return cancelledError();
    auto begun = cache.begin(file.copy, file.bytes);
    if (NSError* error = std::get_if<NSError>(&begun)) return std::move(*error);
    if (auto* draft = std::get_if<std::unique_ptr<OriginalCache::Draft>>(&begun)) {
      // Made by somebody else since we looked.
      if (!cache.find(file.copy, file.bytes).empty()) {
        (*draft)->discard();
        continue;
      }
      return transfer(server, **draft, file, options);
    }
    cache.waitForOthers(std::get<OriginalCache::Busy>(begun), options.stop);
  }
}

}  // namespace tlx::photolibrary
