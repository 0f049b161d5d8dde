#include "adapters/photolibrary/cloud/webdav/CollectionWalk.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "adapters/photolibrary/cloud/webdav/OriginalDownload.h"
#include "adapters/photolibrary/cloud/webdav/RemoteHead.h"
#include "adapters/photolibrary/source/NameDate.h"

namespace tlx::photolibrary {
namespace {

constexpr std::size_t kRequestsAtOnce = 6;
constexpr std::size_t kFilesAtOnce = 16;
/// A server may show a collection inside itself.
constexpr int kDeepest = 64;
constexpr std::size_t kMostCollections = 200'000;

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
  return text;
}

/// Whether it is worth looking inside: servers tell a type by the name, and many tell none.
bool mayBeMedia(const std::string& name, const std::string& contentType) {
  const std::string type = lowered(contentType);
  return formatNamedBy(name) != MediaFormat::Unknown || type.empty() || type.starts_with("image/") ||
         type.starts_with("video/") || type.starts_with("application/octet-stream");
}

std::uint64_t hashOf(const std::string& text) {
  return versionOf(text, 0);
}

bool isSettled(const NSError& error) {
  return error.domain != kCloudPhotoLibraryErrorDomain;
}

/// Whether the failure is about this one file or collection, so that the server may be asked for others.
bool isAboutOne(const NSError& error) {
  return error.code == CloudErrorNotFound || error.code == CloudErrorForbidden || error.code == CloudErrorServer;
}

}  // namespace

CollectionWalk::CollectionWalk(Server& server, std::uint64_t fileSystem, const KnownFiles& known,
                               DecodersPort& decoders, WalkListener& listener, std::stop_token stop)
    : server_(server),
      decoders_(decoders),
      fileSystem_(fileSystem),
      known_(known),
      listener_(listener),
      stop_(std::move(stop)),
      crew_(kRequestsAtOnce) {
  const std::string root = server_.address().text();
  const Folders& folders = known_.snapshot().folders();
  for (std::uint32_t f = 0; f < folders.size(); ++f) {
    const std::string& path = folders[f]->path;
    if (path == root || path.starts_with(root + "/")) knownFolders_.emplace(path, f);
  }
}

WalkOutcome CollectionWalk::run() {
  auto root = std::make_unique<Collection>();
  root->path = server_.address().path;
  root->folder.path = server_.address().text();
  Collection* const first = root.get();
  collections_.push_back(std::move(root));
  crew_.add([this, first] { enter(first); });
  crew_.run();
  if (!stop_.stop_requested()) confirm();
  return {!stop_.stop_requested(), std::move(unreachable_), std::move(skipped_)};
}

void CollectionWalk::fail(Collection& collection, const NSError& error) {
  for (Collection* each = &collection; each; each = each->parent) each->whole = false;
  if (stop_.stop_requested()) return;
  if (!isAboutOne(error)) lose(error);
  const std::lock_guard lock(mutex_);
  // A collection may go after its parent was listed. A missing root is usually a mistake of the server's: what is known
  // of it stays.
  if (error.code == CloudErrorNotFound && collection.parent) return;
  unreachable_.push_back(collection.folder.path);
  if (!problem_) problem_ = error;
  rootFailed_ = rootFailed_ || !collection.parent;
}

void CollectionWalk::lose(const NSError& error) {
  const std::lock_guard lock(mutex_);
  if (!problem_) problem_ = error;
  lost_ = true;
}

NSError CollectionWalk::whyLost() {
  const std::lock_guard lock(mutex_);
  return *problem_;
}

void CollectionWalk::enter(Collection* collection) {
  if (stop_.stop_requested()) return;
  if (lost_) return fail(*collection, whyLost());
  std::vector<File> files;
  std::vector<std::pair<std::string, ListedMember>> below;
  bool excluded = false;
  const auto failed = server_.list(
      collection->path,
      [&](ListedMember&& member) {
        std::string name = memberName(member.href, server_.address().server, collection->path);
        if (name.empty()) {
          // The only other one that belongs here is the collection itself.
          if (member.collection && !collection->parent && collection->etag.empty()) {
            collection->etag = member.etag;
            collection->fileId = member.fileId;
          }
          return;
        }
        if (name == ".nomedia") excluded = true;
        if (name.starts_with('.')) return;
        if (member.collection) {
          below.emplace_back(std::move(name), std::move(member));
        } else if (member.bytes.value_or(0) > 0 && mayBeMedia(name, member.contentType)) {
          files.push_back({std::move(name), std::move(member)});
        }
      },
      stop_);
  if (failed) return fail(*collection, *failed);
  if (excluded && collection->parent) return;

  Folder& folder = collection->folder;
  folder.relative = collection->relative;
  const std::string& id = collection->fileId.empty() ? collection->relative : collection->fileId;
  folder.key = {fileSystem_, hashOf("collection " + id), 1};
  folder.identifier = deriveIdentifier(folder.key);
  for (auto& [name, member] : below) enterBelow(collection, name, std::move(member));
  compare(collection, std::move(files));
}

void CollectionWalk::enterBelow(Collection* parent, const std::string& name, ListedMember&& member) {
  auto made = std::make_unique<Collection>();
  made->parent = parent;
  made->depth = parent->depth + 1;
  made->path = parent->path + "/" + name;
  made->relative = parent->relative + (parent->relative.empty() ? "" : "/") + name;
  made->etag = std::move(member.etag);
  made->fileId = std::move(member.fileId);
  made->folder.path = addressOf(*made);
  Collection* const collection = made.get();
  {
    const std::lock_guard lock(mutex_);
    if (collection->depth > kDeepest || collections_.size() >= kMostCollections) {
      if (skipped_.empty())
        skipped_.emplace_back(made->folder.path, "the server has more folders, or deeper ones, than are listed");
      return;
    }
    if (!collection->fileId.empty() && !visited_.insert(collection->fileId).second) return;
    collections_.push_back(std::move(made));
  }
  if (!keepUnchanged(*collection)) crew_.add([this, collection] { enter(collection); });
}

bool CollectionWalk::keepUnchanged(Collection& collection) {
  const auto found = knownFolders_.find(collection.folder.path);
  if (found == knownFolders_.end() || collection.fileId.empty() || collection.etag.empty()) return false;
  const Folders& folders = known_.snapshot().folders();
  if (static_cast<std::uint64_t>(folders[found->second]->key.born) != hashOf(collection.etag)) return false;
  const auto keep = [&](const std::string& path, std::uint32_t position) {
    FolderFindings findings;
    findings.folder = *folders[position];
    findings.folder.root = 0;
    for (const KnownFiles::File& file : known_.inFolder(path)) {
      if (file.position != Snapshot::kNowhere) {
        findings.unchanged.push_back(file.position);
      } else {
        findings.rejected.push_back({std::string(file.name), file.key, file.bytes, file.modified});
      }
    }
    listener_.found(std::move(findings));
  };
  keep(found->first, found->second);
  const std::string below = collection.folder.path + "/";
  for (auto each = knownFolders_.lower_bound(below); each != knownFolders_.end() && each->first.starts_with(below);
       ++each) {
    keep(each->first, each->second);
  }
  return true;
}

FileKey CollectionWalk::keyOf(const Collection& collection, const File& file) const {
  const std::string& id = file.member.fileId;
  const std::string place = collection.relative + "/" + file.name;
  return {fileSystem_, hashOf(id.empty() ? "file " + place : "id " + id),
          static_cast<std::int64_t>(versionOf(file.member.etag, file.member.modified))};
}

void CollectionWalk::compare(Collection* collection, std::vector<File> files) {
  const auto known = known_.inFolder(collection->folder.path);
  FolderFindings findings;
  findings.folder = collection->folder;
  std::vector<File> others;
  for (File& file : files) {
    const auto by = [](const KnownFiles::File& each, const std::string& name) { return each.name < name; };
    const auto same = std::lower_bound(known.begin(), known.end(), file.name, by);
    const bool asItWas = same != known.end() && same->name == file.name && same->key == keyOf(*collection, file) &&
                         same->bytes == *file.member.bytes;
    if (asItWas && same->position == Snapshot::kNowhere) {
      findings.rejected.push_back({file.name, same->key, same->bytes, same->modified});
    } else if (asItWas && known_.snapshot().itemAt(same->position).facts.format != MediaFormat::Unknown) {
      findings.unchanged.push_back(same->position);
    } else {
      others.push_back(std::move(file));  // also where only the header could not be read until now
    }
  }
  collection->inhabited = !findings.unchanged.empty();
  if (!findings.unchanged.empty() || !findings.rejected.empty()) listener_.found(std::move(findings));

  // The newest are wanted first, and what is added last is done first.
  std::sort(others.begin(), others.end(),
            [](const File& a, const File& b) { return a.member.modified < b.member.modified; });
  for (std::size_t start = 0; start < others.size(); start += kFilesAtOnce) {
    const auto first = others.begin() + static_cast<std::ptrdiff_t>(start);
    const auto last = others.begin() + static_cast<std::ptrdiff_t>(std::min(start + kFilesAtOnce, others.size()));
    crew_.add(
        [this, collection, part = std::vector<File>(std::make_move_iterator(first), std::make_move_iterator(last))] {
          examine(collection, part);
        });
  }
}

void CollectionWalk::examine(Collection* collection, const std::vector<File>& files) {
  FolderFindings findings;
  findings.folder = collection->folder;
  for (const File& file : files) {
    bool rejected = false;
    FoundItem found = examined(*collection, file, rejected);
    if (stop_.stop_requested()) return;
    if (rejected) {
      findings.rejected.push_back({file.name, found.facts.key, found.facts.bytes, found.facts.modified});
    } else {
      if (found.facts.format == MediaFormat::Unknown) {
        for (Collection* each = collection; each; each = each->parent) each->whole = false;
      }
      findings.fresh.push_back(std::move(found));
    }
  }
  if (!findings.fresh.empty()) collection->inhabited = true;
  listener_.found(std::move(findings));
}

FoundItem CollectionWalk::examined(const Collection& collection, const File& file, bool& rejected) {
  FoundItem found;
  const FileKey key = keyOf(collection, file);
  found.identifier = deriveIdentifier({key.fileSystem, key.number, 1});
  found.name = file.name;
  found.mediaType =
      lowered(file.member.contentType).starts_with("video/") ? PHAssetMediaTypeVideo : PHAssetMediaTypeImage;
  const Item* known = known_.item(found.identifier);
  if (known && known->facts.key == key && known->facts.bytes == *file.member.bytes &&
      known->facts.format != MediaFormat::Unknown) {
    found.mediaType = known->mediaType;
    found.created = known->creationDate;
    found.duration = known->duration;
    found.facts = known->facts;
  } else if (!lost_) {
    const auto probed = probeRemote(server_, decoders_, collection.path + "/" + file.name, *file.member.bytes, stop_);
    if (const auto* info = std::get_if<MediaInfo>(&probed)) {
      found.setHeader(*info);
    } else {
      rejected = isSettled(std::get<NSError>(probed));
      if (!rejected && !isAboutOne(std::get<NSError>(probed)) && !stop_.stop_requested())
        lose(std::get<NSError>(probed));
    }
  }
  if (!isCaptureDate(found.facts.dateOrigin)) {
    const ItemDate date = dateWithoutMetadata(file.name, file.member.modified);
    found.created = date.created;
    found.facts.dateOrigin = date.origin;
  }
  found.facts.key = key;
  found.facts.bytes = *file.member.bytes;
  found.facts.modified = file.member.modified;
  return found;
}

void CollectionWalk::confirm() {
  // Only now is it known that nothing below was missed, and that the ETag may stand for it.
  for (const auto& collection : collections_) {
    if (!collection->whole || !collection->inhabited || collection->fileId.empty() || collection->etag.empty())
      continue;
    FolderFindings findings;
    findings.folder = collection->folder;
    findings.folder.key.born = static_cast<std::int64_t>(hashOf(collection->etag));
    listener_.found(std::move(findings));
  }
}

}  // namespace tlx::photolibrary
