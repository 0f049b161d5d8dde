#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "adapters/photolibrary/cloud/OriginalCache.h"
#include "adapters/photolibrary/cloud/webdav/Server.h"
#include "adapters/photolibrary/source/ItemStore.h"

namespace tlx::photolibrary {

/// What a listing said of a file.
struct RemoteFile {
  std::string path;  ///< on its server, unescaped
  std::string copy;  ///< the name of its copy: another one for each version
  std::int64_t bytes = 0;
  std::uint64_t version = 0;  ///< as `versionOf`
};

/// A number that stands for what a file held when it was listed or sent: from its ETag, or else from its date. Never 0.
std::uint64_t versionOf(const std::string& etag, std::int64_t modified);

/// Waits until a whole copy of the file as it was listed is here: the one there is, or one that is brought over the
/// network now. A transfer that breaks off is gone on with where it stopped, at once for as long as that brings it
/// further, else when it is next asked for. Any thread, several at once; two that want the same wait for one transfer.
std::variant<Original, NSError> downloadOriginal(Server& server, const OriginalCache& cache, const RemoteFile& file,
                                                 const ItemStore::FetchOptions& options);

}  // namespace tlx::photolibrary
