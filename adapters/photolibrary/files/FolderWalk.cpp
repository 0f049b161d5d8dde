#include "adapters/photolibrary/files/FolderWalk.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <map>
#include <system_error>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

#include "adapters/photolibrary/files/Trash.h"
#include "adapters/photolibrary/source/NameDate.h"

namespace tlx::photolibrary {
namespace {

/// Few enough that the workers share even one big folder and results come early, many enough that handing over costs
/// nothing.
constexpr std::size_t kFilesAtOnce = DecodersPort::headersAtOnce;
/// Open at the same time, of all workers together: a process may usually have 1,024.
constexpr std::size_t kMostOpen = 512;
/// A file that somebody keeps open for writing counts as whole when nothing was written for so long, one that nobody
/// can tell of sooner.
constexpr std::chrono::seconds kWriterRests{10};
constexpr std::chrono::seconds kUnknownWriterRests{2};

bool mayPass(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case EACCES:
    case EPERM:
    case ENAMETOOLONG:
      return false;
    default:
      return true;
  }
}

bool startsWithScreenshot(std::string_view name) {
  return name.size() >= 10 && strncasecmp(name.data(), "Screenshot", 10) == 0;
}

/// Programs that take screenshots name them so, or keep them in a folder named so, and rarely say it inside.
bool lookedLikeScreenshot(const std::string& folder, const std::string& name) {
  const std::string place = folder.substr(folder.rfind('/') + 1);
  return startsWithScreenshot(name) || strcasecmp(place.c_str(), "Screenshots") == 0;
}

bool sameFile(const KnownFiles::File& known, const FileStatus& status) {
  return known.key == status.key && known.bytes == status.bytes && known.modified == status.modified;
}

bool isSidecar(const std::string& name) {
  return name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".xmp") == 0;
}

std::string realPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
  return real ? std::string(real.get()) : path;
}

bool liesIn(const std::string& path, const std::string& folder) {
  return path == folder || (path.starts_with(folder) && (folder == "/" || path[folder.size()] == '/'));
}

/// Whether a walk of `upper` meets `path` anyway.
bool isWalkedFrom(const std::string& upper, const std::string& path) {
  const std::string prefix = upper == "/" ? upper : upper + "/";
  return path == upper || (path.starts_with(prefix) && path.find("/.", prefix.size() - 1) == std::string::npos);
}

}  // namespace

FolderWalk::Place FolderWalk::Place::below(const std::string& name) const {
  Place place = *this;
  place.path += (path == "/" ? "" : "/") + name;
  place.relative += (relative.empty() ? "" : "/") + name;
  place.followLink = false;
  return place;
}

FolderWalk::FolderWalk(const std::vector<std::string>& roots, const KnownFiles& known, DecodersPort& decoders,
                       WalkListener& listener, const WalkScope& scope, Links links, FolderWatch* watch,
                       std::stop_token stop)
    : roots_(roots),
      known_(known),
      decoders_(decoders),
      listener_(listener),
      scope_(scope),
      followed_(links),
      watch_(watch),
      stop_(std::move(stop)),
      workers_(std::max(1u, std::thread::hardware_concurrency())),
      filesAtOnce_(std::clamp<std::size_t>(kMostOpen / workers_, 1, kFilesAtOnce)),
      crew_(workers_) {
  for (const std::string& root : roots_) realRoots_.push_back(realPath(root));
}

WalkOutcome FolderWalk::run() {
  addParts();
  crew_.run();
  while (!links_.empty() && !stop_.stop_requested()) {
    followLinks();
    crew_.run();
  }
  outcome_.finished = !stop_.stop_requested();
  return std::move(outcome_);
}

/// The roots that no other root's walk meets, the first last: the crew takes the newest job first.
std::vector<std::size_t> FolderWalk::ownRoots() const {
  const std::vector<std::string>& real = realRoots_;
  std::vector<std::size_t> own;
  for (std::size_t i = roots_.size(); i-- > 0;) {
    bool covered = false;
    for (std::size_t j = 0; j < roots_.size(); ++j) {
      covered |= j != i && isWalkedFrom(real[j], real[i]) && (real[j] != real[i] || j < i);
    }
    if (!covered) own.push_back(i);
  }
  return own;
}

void FolderWalk::addParts() {
  const auto trash = trashFolders(roots_);
  if (std::any_of(trash.begin(), trash.end(),
                  [&](const TrashFolder& one) { return scope_.holds(one.path + "/files"); }))
    addTrash();
  const std::vector<std::size_t> roots = ownRoots();
  for (const std::size_t root : roots) {
    if (scope_.holds(roots_[root])) {
      crew_.add([this, place = Place{roots_[root], root, "", false, true}] { enter(place); });
    }
  }
  for (const auto& [folder, names] : scope_.folders()) {
    if (scope_.holds(folder)) continue;
    if (const auto place = placeOf(folder, roots)) {
      crew_.add([this, place = *place, &names = names] { enterPart(place, names); });
    }
  }
}

/// The folder as a walk from its root would come to it; nothing when none would.
std::optional<FolderWalk::Place> FolderWalk::placeOf(const std::string& folder,
                                                     const std::vector<std::size_t>& roots) const {
  std::optional<Place> place;
  for (const std::size_t root : roots) {
    const std::string& path = roots_[root];
    if (place && place->path.size() >= path.size()) continue;
    if (folder == path || folder.starts_with(path == "/" ? path : path + "/"))
      place = Place{path, root, "", false, true};
  }
  if (!place) return std::nullopt;
  while (place->path != folder) {
    const std::size_t start = place->path == "/" ? 1 : place->path.size() + 1;
    const std::string name = folder.substr(start, folder.find('/', start) - start);
    *place = place->below(name);
    const bool excluded = statuses_.read(AT_FDCWD, pathIn(place->path, ".nomedia"), false).has_value();
    if (name.empty() || name.starts_with('.') || excluded) return std::nullopt;
  }
  if (followed_ == Links::WithinRoots && !leadsBelowARoot(realPath(folder))) return std::nullopt;
  place->followLink = true;
  return place;
}

void FolderWalk::enterPart(const Place& place, const WalkScope::Names& names) {
  const auto folder = open(place, &names);
  if (!folder) return;
  if (watch_) watch_->watchFolder(folder->descriptor.get(), folder->device, place.path);
  addFiles(folder, {names.begin(), names.end()});
}

void FolderWalk::addTrash() {
  struct Bin {
    std::size_t root;
    std::vector<std::string> names;
  };
  if (watch_) {
    for (const TrashFolder& trash : trashFolders(roots_)) {
      for (const char* const part : {"/files", "/info"}) watch_->watchTrash(trash.path + part, trash.path + "/files");
    }
  }
  std::map<std::string, Bin> bins;
  for (const TrashedFile& trashed : listTrash(roots_)) {
    const auto status = statuses_.read(AT_FDCWD, trashed.folder + "/" + trashed.name, false);
    if (!status) continue;
    if (status->kind == FileStatus::Kind::Folder) {
      const Place bin{trashed.folder, trashed.root, "", true, false};
      crew_.add([this, place = bin.below(trashed.name)] { enter(place); });
    } else {
      // One folder to the library, though its files may come from several roots: the first stands for it.
      Bin& bin = bins.emplace(trashed.folder, Bin{trashed.root, {}}).first->second;
      bin.root = std::min(bin.root, trashed.root);
      bin.names.push_back(trashed.name);
    }
  }
  for (auto& [folder, bin] : bins) {
    crew_.add([this, place = Place{folder, bin.root, "", true, true}, names = std::move(bin.names)] {
      if (const auto opened = open(place)) addFiles(opened, names);
    });
  }
}

void FolderWalk::rememberUnreachable(const Place& place, int error) {
  std::lock_guard lock(mutex_);
  // A missing root is usually a disk that is not plugged in: what is known of it stays.
  if (mayPass(error) || place.isRoot()) outcome_.unreachable.push_back(place.path);
  const bool isGone = error == ENOENT || error == ENOTDIR || error == ELOOP;
  if (!isGone) outcome_.skipped.emplace_back(place.path, std::generic_category().message(error));
}

std::shared_ptr<FolderWalk::OpenFolder> FolderWalk::open(const Place& place, const WalkScope::Names* names) {
  if (stop_.stop_requested()) return nullptr;
  auto folder = std::make_shared<OpenFolder>();
  const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK | (place.followLink ? 0 : O_NOFOLLOW);
  folder->descriptor = FileDescriptor(::open(place.path.c_str(), flags));
  const auto status = folder->descriptor ? statuses_.read(folder->descriptor.get(), "", false) : std::nullopt;
  if (!status) {
    rememberUnreachable(place, errno);
    return nullptr;
  }
  if (status->pseudo) {
    std::lock_guard lock(mutex_);
    if (place.isRoot()) outcome_.skipped.emplace_back(place.path, "the system keeps no files there");
    return nullptr;
  }
  folder->place = place;
  folder->device = status->device;
  folder->known = known_.inFolder(place.path, names);
  folder->folder = {place.path, place.root, place.relative, place.trashed, status->key, {}};
  folder->folder.identifier = identifyFolder(status->key);
  return folder;
}

bool FolderWalk::entersAnew(const OpenFolder& folder) {
  std::lock_guard lock(mutex_);
  const bool anew = visited_.emplace(folder.device, folder.folder.key.number).second;
  if (!anew) outcome_.secondWays = true;
  return anew;
}

void FolderWalk::enter(const Place& place) {
  const auto folder = open(place);
  if (!folder || (!place.trashed && !entersAnew(*folder))) return;
  if (watch_ && !place.trashed) watch_->watchFolder(folder->descriptor.get(), folder->device, place.path);
  Listing listing = list(folder->descriptor.get());
  if (listing.broken) {
    rememberUnreachable(place, EIO);
    return;
  }
  if (listing.excluded && !place.isRoot()) return;
  for (const std::string& name : listing.folders) crew_.add([this, next = place.below(name)] { enter(next); });
  if (!listing.links.empty() && !place.trashed) {
    std::lock_guard lock(mutex_);
    for (std::string& name : listing.links) links_.push_back({place, std::move(name)});
  }
  folder->sidecars.emplace();
  std::copy_if(listing.files.begin(), listing.files.end(), std::back_inserter(*folder->sidecars), isSidecar);
  std::sort(folder->sidecars->begin(), folder->sidecars->end());
  addFiles(folder, std::move(listing.files));
}

FolderWalk::Listing FolderWalk::list(int folder) {
  Listing listing;
  const int own = ::fcntl(folder, F_DUPFD_CLOEXEC, 0);
  DIR* const stream = own < 0 ? nullptr : ::fdopendir(own);
  if (!stream) {
    if (own >= 0) ::close(own);
    listing.broken = true;
    return listing;
  }
  errno = 0;
  for (const dirent* entry; (entry = ::readdir(stream)); errno = 0) {
    const std::string name = entry->d_name;
    if (name == ".nomedia") listing.excluded = true;
    if (name.starts_with('.')) continue;
    switch (entry->d_type) {
      case DT_REG:
      case DT_UNKNOWN:
        listing.files.push_back(name);
        break;
      case DT_DIR:
        listing.folders.push_back(name);
        break;
      case DT_LNK:
        listing.links.push_back(name);
        break;
      default:
        break;
    }
  }
  listing.broken = errno != 0;
  ::closedir(stream);
  return listing;
}

void FolderWalk::addFiles(const std::shared_ptr<OpenFolder>& folder, std::vector<std::string> names) {
  // The last part goes first: where a camera numbered the files, the newest are known before the rest.
  std::sort(names.begin(), names.end());
  for (std::size_t start = 0; start < names.size(); start += filesAtOnce_) {
    const auto first = names.begin() + static_cast<std::ptrdiff_t>(start);
    const auto last = names.begin() + static_cast<std::ptrdiff_t>(std::min(start + filesAtOnce_, names.size()));
    crew_.add(
        [this, folder, part = std::vector<std::string>(std::make_move_iterator(first), std::make_move_iterator(last))] {
          lookAt(*folder, part);
        });
  }
}

void FolderWalk::lookAt(const OpenFolder& folder, const std::vector<std::string>& names) {
  Look look{folder};
  for (const std::string& name : names) {
    if (stop_.stop_requested()) return;
    this->look(look, name, false);
  }
  tell(look, false);
}

void FolderWalk::tell(Look& look, bool linked) {
  readHeaders(look);
  look.findings.folder = look.folder.folder;
  look.findings.linked = linked;
  listener_.found(std::move(look.findings));
}

void FolderWalk::look(Look& look, const std::string& name, bool followLink) {
  const OpenFolder& folder = look.folder;
  FolderFindings& findings = look.findings;
  if (folder.place.path.size() + 1 + name.size() >= PATH_MAX) {
    std::lock_guard lock(mutex_);
    outcome_.skipped.emplace_back(folder.place.path, std::generic_category().message(ENAMETOOLONG));
    return;
  }
  const auto status = statuses_.read(folder.descriptor.get(), name, followLink);
  const auto by = [](const KnownFiles::File& file, const std::string& other) { return file.name < other; };
  const auto known = std::lower_bound(folder.known.begin(), folder.known.end(), name, by);
  const bool isKnown = known != folder.known.end() && known->name == name;
  if (!status) {
    // Gone since it was listed, or the disk stumbled: only the first takes it out.
    if (!mayPass(errno)) return;
    if (isKnown && known->position != Snapshot::kNowhere) {
      findings.unchanged.push_back(known->position);
    } else {
      std::lock_guard lock(mutex_);
      outcome_.unreachable.push_back(pathIn(folder.place.path, name));
    }
    return;
  }
  if (status->kind == FileStatus::Kind::Folder && !followLink) {
    crew_.add([this, next = folder.place.below(name)] { enter(next); });
  } else if (status->kind == FileStatus::Kind::Link && !folder.place.trashed) {
    std::lock_guard lock(mutex_);
    links_.push_back({folder.place, name});
  } else if (status->kind == FileStatus::Kind::Regular && status->bytes > 0 && !status->pseudo) {
    const auto sidecar = sidecarOf(folder, name);
    const bool isItem = isKnown && known->position != Snapshot::kNowhere;
    const bool asItWas =
        isKnown && sameFile(*known, *status) && (!isItem || known->sidecar == (sidecar ? sidecar->status.modified : 0));
    if (!asItWas) {
      examine(look, name, *status, sidecar, followLink);
    } else if (known->position != Snapshot::kNowhere) {
      findings.unchanged.push_back(known->position);
    } else {
      findings.rejected.push_back({name, known->key, known->bytes, known->modified});
    }
  }
}

std::string FolderWalk::identifyFolder(const FileKey& key) {
  if (key.born != 0) return deriveIdentifier(key);
  if (const Folder* known = known_.folderWithoutBirth(key)) return known->identifier;
  std::lock_guard lock(mutex_);
  std::string& minted = mintedFolders_[{key.fileSystem, key.number}];
  if (minted.empty()) minted = mintIdentifier();
  return minted;
}

std::string FolderWalk::identify(const OpenFolder& folder, const std::string& name, const FileStatus& status) const {
  // A disk that came back under another file system id, as some do after a restart: everything else is as it was.
  const auto by = [](const KnownFiles::File& file, const std::string& other) { return file.name < other; };
  const auto known = std::lower_bound(folder.known.begin(), folder.known.end(), name, by);
  if (known != folder.known.end() && known->name == name && known->position != Snapshot::kNowhere &&
      known->key.number == status.key.number && known->key.born == status.key.born && known->bytes == status.bytes &&
      known->modified == status.modified) {
    return known_.snapshot().itemAt(known->position).localIdentifier.string();
  }
  if (status.key.born != 0) return deriveIdentifier(status.key);
  // Without a birth time the inode number alone may be another file's by now: the same place, or the same content as
  // far as size and time tell, must speak for it.
  if (const Item* item = known_.itemWithoutBirth(status.key)) {
    const bool samePlace = name == item->name && known_.snapshot().folders()[item->folder]->path == folder.place.path;
    const bool sameContent = item->facts.bytes == status.bytes && item->facts.modified == status.modified;
    if (samePlace || sameContent) return item->localIdentifier.string();
  }
  return mintIdentifier();
}

/// The XMP file that programs keep beside a photo, named after the whole file or after its name without the ending.
std::optional<FolderWalk::Sidecar> FolderWalk::sidecarOf(const OpenFolder& folder, const std::string& name) const {
  if (folder.sidecars && folder.sidecars->empty()) return std::nullopt;
  const std::string stem = name.substr(0, name.rfind('.'));
  for (const std::string& each : {name + ".xmp", stem + ".xmp", name + ".XMP", stem + ".XMP"}) {
    if (folder.sidecars && !std::binary_search(folder.sidecars->begin(), folder.sidecars->end(), each)) continue;
    const auto status = statuses_.read(folder.descriptor.get(), each, false);
    if (status && status->kind == FileStatus::Kind::Regular && each != name) return Sidecar{each, *status};
  }
  return std::nullopt;
}

void FolderWalk::examine(Look& look, const std::string& name, const FileStatus& status,
                         const std::optional<Sidecar>& sidecar, bool linked) {
  const OpenFolder& folder = look.folder;
  Unread unread;
  FoundItem& found = unread.found;
  found.identifier = identify(folder, name, status);
  found.name = name;
  found.linked = linked;
  const std::int64_t sidecarWritten = sidecar ? sidecar->status.modified : 0;
  const Item* known = known_.item(found.identifier);
  const bool asItWas = known && known->facts.bytes == status.bytes && known->facts.modified == status.modified &&
                       known->facts.sidecar == sidecarWritten;
  if (asItWas) {
    found.mediaType = known->mediaType;
    found.created = known->creationDate;
    found.duration = known->duration;
    found.facts = known->facts;
    found.facts.marks &= static_cast<std::uint8_t>(~ItemMarkScreenshotPlace);
  } else {
    unread.file = openRegularFile(folder.descriptor.get(), name, status, linked);
    if (!unread.file) return leave(look, found.identifier, name, errno);
    if (mustWait(folder, name, status, unread.file.get())) {
      if (known) look.findings.unchanged.push_back(known_.snapshot().find(known->localIdentifier));
      return;
    }
    unread.sidecar = sidecar;
  }
  found.facts.key = status.key;
  found.facts.bytes = status.bytes;
  found.facts.modified = status.modified;
  found.facts.sidecar = sidecarWritten;
  if (asItWas) {
    look.findings.fresh.push_back(complete(folder, std::move(found)));
  } else {
    look.unread.push_back(std::move(unread));
  }
}

/// A file that cannot be read now, for a reason that may pass: it stays what it was, and is looked at again.
void FolderWalk::leave(Look& look, const std::string& identifier, const std::string& name, int error) {
  if (!mayPass(error)) return;
  if (known_.item(identifier)) {
    look.findings.unchanged.push_back(known_.snapshot().find(Identifier(identifier)));
  } else {
    std::lock_guard lock(mutex_);
    outcome_.unreachable.push_back(pathIn(look.folder.place.path, name));
  }
}

/// With what its place and its name tell.
FoundItem FolderWalk::complete(const OpenFolder& folder, FoundItem found) {
  if (found.mediaType == PHAssetMediaTypeImage && lookedLikeScreenshot(folder.place.path, found.name)) {
    found.facts.marks |= ItemMarkScreenshotPlace;
  }
  if (!isCaptureDate(found.facts.dateOrigin)) {
    const ItemDate date = dateWithoutMetadata(found.name, found.facts.modified);
    found.created = date.created;
    found.facts.dateOrigin = date.origin;
  }
  return found;
}

/// All at once: the decoders may be in a process of their own, and the way there costs more than a header.
void FolderWalk::readHeaders(Look& look) {
  std::vector<int> files, sidecars;
  std::vector<FileDescriptor> opened;
  for (const Unread& each : look.unread) files.push_back(each.file.get());
  auto probed = decoders_.probe(files);
  std::vector<FoundItem*> undated;
  std::vector<FoundItem> read;
  read.reserve(look.unread.size());
  for (std::size_t i = 0; i < look.unread.size(); ++i) {
    Unread& each = look.unread[i];
    if (const NSError* error = std::get_if<NSError>(&probed[i])) {
      const ItemFacts& facts = each.found.facts;
      const bool settled = error->code == PhotoLibraryErrorUnsupported || error->code == PhotoLibraryErrorDamaged ||
                           error->code == PhotoLibraryErrorTooLarge;
      if (settled) {
        look.findings.rejected.push_back({each.found.name, facts.key, facts.bytes, facts.modified});
      } else {
        leave(look, each.found.identifier, each.found.name, EIO);
      }
      continue;
    }
    each.found.setHeader(std::get<MediaInfo>(probed[i]));
    read.push_back(std::move(each.found));
    if (isCaptureDate(read.back().facts.dateOrigin) || !each.sidecar) continue;
    const Sidecar& sidecar = *each.sidecar;
    opened.push_back(openRegularFile(look.folder.descriptor.get(), sidecar.name, sidecar.status, false));
    if (!opened.back()) continue;
    undated.push_back(&read.back());
    sidecars.push_back(opened.back().get());
  }
  const auto dates = sidecars.empty() ? std::vector<std::optional<double>>() : decoders_.probeSidecars(sidecars);
  for (std::size_t i = 0; i < dates.size(); ++i) {
    if (!dates[i]) continue;
    undated[i]->created = *dates[i];
    undated[i]->facts.dateOrigin = DateOrigin::Sidecar;
  }
  for (FoundItem& found : read) look.findings.fresh.push_back(complete(look.folder, std::move(found)));
  look.unread.clear();
}

/// Whether the file is still being written, as far as anybody can tell. It is looked at again when its writer closes
/// it, of which the watch hears, or when nothing was written for a while.
bool FolderWalk::mustWait(const OpenFolder& folder, const std::string& name, const FileStatus& status, int file) const {
  if (!watch_) return false;
  const auto age = std::chrono::system_clock::now().time_since_epoch() - std::chrono::nanoseconds(status.modified);
  if (age < std::chrono::nanoseconds(0) || age >= kWriterRests) return false;
  const Writers writers = writersOf(file);
  // Where nobody can tell, what was there when the library opened is shown as it is.
  const bool inDoubt = writers == Writers::Unknown && !scope_.isEverything() && age < kUnknownWriterRests;
  if (writers != Writers::Some && !inDoubt) return false;
  const auto rest = writers == Writers::Some ? kWriterRests : kUnknownWriterRests;
  watch_->lookLater(pathIn(folder.place.path, name),
                    std::chrono::duration_cast<FolderWatch::Duration>(rest - age) + std::chrono::milliseconds(10));
  return true;
}

/// In a look at a part: whether the folder is known by another way, which is not part of the look.
bool FolderWalk::isMetElsewhere(const FileStatus& folder, const std::string& path) const {
  if (scope_.isEverything()) return false;
  const Folder* const known = known_.folderWith(folder.key);
  return known && known->path != path && !scope_.holds(known->path);
}

bool FolderWalk::leadsAboveARoot(const std::string& path) const {
  return std::any_of(realRoots_.begin(), realRoots_.end(), [&](const std::string& root) { return liesIn(root, path); });
}

bool FolderWalk::leadsBelowARoot(const std::string& path) const {
  return std::any_of(realRoots_.begin(), realRoots_.end(), [&](const std::string& root) { return liesIn(path, root); });
}

/// `target` is the real path that the link leads to.
bool FolderWalk::mayFollow(const Link& link, const std::string& target, bool toFolder) {
  if (toFolder && leadsAboveARoot(target)) return false;
  if (followed_ == Links::Anywhere || leadsBelowARoot(target)) return true;
  // A word for each folder, and for each folder that holds such files: there may be thousands.
  std::lock_guard lock(mutex_);
  if (toFolder) {
    outcome_.skipped.emplace_back(pathIn(link.place.path, link.name), "the link leads out of the library's folders");
  } else if (outcome_.skipped.empty() || outcome_.skipped.back().first != link.place.path) {
    outcome_.skipped.emplace_back(link.place.path, "some are links that lead out of the library's folders");
  }
  return false;
}

void FolderWalk::followLinks() {
  std::vector<Link> links = std::move(links_);
  links_.clear();
  std::sort(links.begin(), links.end(), [](const Link& a, const Link& b) {
    return std::tie(a.place.path, a.name) < std::tie(b.place.path, b.name);
  });
  for (auto link = links.begin(); link != links.end() && !stop_.stop_requested();) {
    const Place place = link->place;
    const auto next =
        std::find_if(link, links.end(), [&](const Link& other) { return other.place.path != place.path; });
    OpenFolder folder;
    folder.place = place;
    folder.descriptor = FileDescriptor(::open(place.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto own = folder.descriptor ? statuses_.read(folder.descriptor.get(), "", false) : std::nullopt;
    if (own) {
      folder.folder = {place.path, place.root, place.relative, place.trashed, own->key, identifyFolder(own->key)};
      folder.known = known_.inFolder(place.path);
      Look look{folder};
      for (; link != next; ++link) {
        const Place target = place.below(link->name);
        const auto status = statuses_.read(folder.descriptor.get(), link->name, true);
        const bool toFile = status && status->kind == FileStatus::Kind::Regular;
        const bool toFolder = status && status->kind == FileStatus::Kind::Folder;
        if ((!toFile && !toFolder) || status->pseudo || !mayFollow(*link, realPath(target.path), toFolder)) continue;
        if (toFile) {
          this->look(look, link->name, true);
        } else {
          if (isMetElsewhere(*status, target.path)) {
            outcome_.secondWays = true;
            continue;
          }
          // One after the other: of two links to one folder the first by name is the one that is entered.
          Place through = target;
          through.followLink = true;
          enter(through);
        }
      }
      tell(look, true);
    }
    link = next;
  }
}

}  // namespace tlx::photolibrary
