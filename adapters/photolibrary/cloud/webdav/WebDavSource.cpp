#include "adapters/photolibrary/cloud/webdav/WebDavSource.h"

#include <cstdio>
#include <utility>

#include "adapters/photolibrary/cloud/webdav/CollectionWalk.h"

namespace tlx::photolibrary {
namespace {

/// A name for a copy: the item's, its version's, and an ending that players go by.
std::string copyName(const Item& item) {
  char version[24];
  std::snprintf(version, sizeof version, "-%016llx", static_cast<unsigned long long>(item.facts.key.born));
  std::string name = item.localIdentifier.string() + version;
  const std::string_view file = item.name;
  const auto dot = file.rfind('.');
  if (dot == std::string_view::npos || file.size() - dot > 6) return name;
  for (const char c : file.substr(dot)) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.';
    if (!plain) return name;
  }
  return name.append(file.substr(dot));
}

}  // namespace

WebDavSource::WebDavSource(const CloudAddress& address, DecodersPort& decoders, const Settings& settings,
                           SystemLogPort& log)
    : roots_{address.text()},
      decoders_(decoders),
      log_(log),
      server_(address, settings.credentials, settings.patience),
      originals_(settings.cacheFolder + "/originals", settings.originalBytes),
      previewFiles_(settings.cacheFolder + "/previews", settings.previewBytes),
      previews_(server_, previewFiles_) {}

std::uint64_t WebDavSource::fileSystem() const {
  return versionOf(server_.address().credentials.user + "@" + roots_[0], 0);
}

RemoteFile WebDavSource::remoteFile(const Item& item, const Folder& folder) const {
  return {itemPath(item, folder).substr(server_.address().server.size()), copyName(item), item.facts.bytes,
          static_cast<std::uint64_t>(item.facts.key.born)};
}

WalkOutcome WebDavSource::walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) {
  CollectionWalk walk(server_, fileSystem(), known, decoders_, listener, std::move(stop));
  WalkOutcome outcome = walk.run();
  const auto& problem = walk.problem();
  listedWhole_ = outcome.finished && !problem;
  if (!problem) {
    if (outcome.finished) {
      readable_ = true;
      told_.clear();
    }
    return outcome;
  }
  readable_ = !walk.rootFailed() || (problem->code != CloudErrorWrongCredentials &&
                                     problem->code != CloudErrorForbidden && problem->code != CloudErrorNotFound);
  if (std::exchange(told_, problem->localizedDescription) != problem->localizedDescription) {
    log_.log(roots_[0] + " could not be listed" + (walk.rootFailed() ? "" : " whole") + ": " +
             problem->localizedDescription);
  }
  return outcome;
}

std::string WebDavSource::originalPath(const Item& item, const Folder&) const {
  return originals_.find(copyName(item), item.facts.bytes);
}

std::variant<Original, NSError> WebDavSource::fetchOriginal(const Item& item, const Folder& folder,
                                                            const ItemStore::FetchOptions& options) {
  return downloadOriginal(server_, originals_, remoteFile(item, folder), options);
}

std::optional<Preview> WebDavSource::fetchPreview(const Item& item, const Folder& folder, int pixels,
                                                  const std::stop_token& stop) {
  return previews_.fetch(remoteFile(item, folder), item.facts.format, pixels, stop);
}

}  // namespace tlx::photolibrary
