#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tlx/platform/foundation/SystemLogPort.h"

#include "adapters/photolibrary/cloud/CloudAddress.h"
#include "adapters/photolibrary/cloud/CredentialSource.h"
#include "adapters/photolibrary/cloud/OriginalCache.h"
#include "adapters/photolibrary/cloud/webdav/OriginalDownload.h"
#include "adapters/photolibrary/cloud/webdav/Previews.h"
#include "adapters/photolibrary/cloud/webdav/Server.h"
#include "adapters/photolibrary/source/DecodersPort.h"
#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// A WebDAV collection, with all collections below it, as one root of a library. Needs a QCoreApplication.
///
/// What a file is known by: the number that the server gives it where it gives any, so that it stays itself through a
/// rename there, and else its path. What is known is compared by ETag, or by date and length where there is none. The
/// date of an item is the one in its file, or else the server's. Failures are of `kCloudPhotoLibraryErrorDomain`.
class WebDavSource final : public Source {
 public:
  struct Settings {
    std::string cacheFolder;                             ///< for copies of originals and for previews
    std::int64_t originalBytes = std::int64_t{4} << 30;  ///< of copies that are kept
    std::int64_t previewBytes = std::int64_t{256} << 20;
    /// A server of which nothing is heard for so long has failed.
    std::chrono::milliseconds patience{30'000};
    CredentialSource* credentials = nullptr;  ///< unretained: outlives the source
  };
  /// Asks nothing of the server. `decoders` read the files' headers; they and `log` outlive the source. The log is told
  /// once of each new reason why a listing failed.
  WebDavSource(const CloudAddress& address, DecodersPort& decoders, const Settings& settings, SystemLogPort& log);

  const std::vector<std::string>& roots() const override { return roots_; }
  /// True until the server has refused us or the collection: what is known may be seen without a network.
  bool rootReadable(std::size_t) const override { return readable_; }
  /// Whether the last look missed nothing. Any thread.
  bool listedWhole() const { return listedWhole_; }
  WalkOutcome walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) override;
  std::string originalPath(const Item& item, const Folder& folder) const override;
  std::variant<Original, NSError> fetchOriginal(const Item& item, const Folder& folder,
                                                const ItemStore::FetchOptions& options) override;
  std::optional<Preview> fetchPreview(const Item& item, const Folder& folder, int pixels,
                                      const std::stop_token& stop) override;

 private:
  std::uint64_t fileSystem() const;
  RemoteFile remoteFile(const Item& item, const Folder& folder) const;

  const std::vector<std::string> roots_;
  DecodersPort& decoders_;  // unretained: outlive the source by contract
  SystemLogPort& log_;      // unretained: outlives the source by contract
  Server server_;
  const OriginalCache originals_, previewFiles_;
  Previews previews_;
  std::atomic<bool> readable_{true}, listedWhole_{false};
  std::string told_;  ///< the walk's: the last reason the log knows
};

}  // namespace tlx::photolibrary
