#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

#include "adapters/photolibrary/cloud/OriginalCache.h"
#include "adapters/photolibrary/cloud/webdav/OriginalDownload.h"
#include "adapters/photolibrary/cloud/webdav/Server.h"
#include "adapters/photolibrary/source/ItemStore.h"
#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// Small files that stand for originals on a server: pictures made by its own preview service where it has one, else
/// the originals' first bytes, kept in a cache of their own. Any thread.
///
/// The service is the one of servers whose WebDAV lies below "remote.php" and that tell their capabilities; they are
/// asked for those once.
class Previews {
 public:
  /// All outlive the object.
  Previews(Server& server, const OriginalCache& cache) : server_(server), cache_(cache) {}

  std::optional<Preview> fetch(const RemoteFile& file, MediaFormat format, int pixels, const std::stop_token& stop);

 private:
  enum class Service { Unasked, None, Present };

  bool hasService(const std::stop_token& stop);
  std::optional<Original> make(const std::string& name, const std::function<bool(std::string& bytes)>& bring,
                               const std::stop_token& stop) const;

  Server& server_;              // unretained: outlives the object by contract
  const OriginalCache& cache_;  // unretained: outlives the object by contract
  std::mutex mutex_;            ///< guards what follows; held while the server is asked
  Service service_ = Service::Unasked;
};

}  // namespace tlx::photolibrary
