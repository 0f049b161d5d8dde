#include "adapters/photolibrary/PhotoLibrary.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include <glib.h>

#include "adapters/photolibrary/base/XdgFolders.h"
#include "adapters/photolibrary/catalogue/LibraryChange.h"
#include "adapters/photolibrary/files/FolderSource.h"

namespace tlx::photolibrary {
namespace {

std::unique_ptr<Source> folderSource(const PhotoLibrary::Options& options, DecodersPort& decoders, SystemLogPort& log) {
  return std::make_unique<FolderSource>(
      options.roots.empty() ? defaultRoots() : options.roots, decoders, log,
      options.followLinksAnywhere ? FolderSource::Links::Anywhere : FolderSource::Links::WithinRoots);
}

PhotoLibrary::Options withDefaults(PhotoLibrary::Options options) {
  if (options.cacheFolder.empty()) options.cacheFolder = xdgCacheHome() + "/tlx-media-picker";
  if (options.configFolder.empty()) options.configFolder = xdgConfigHome() + "/tlx-media-picker";
  return options;
}

/// The address of a file on this machine, or the escaped form of one on a server.
std::string uriOf(const std::string& path) {
  const std::size_t host = path.starts_with('/') ? std::string::npos : path.find("://");
  const std::size_t top = host == std::string::npos ? 0 : std::min(path.find('/', host + 3), path.size());
  // A server's addresses are escaped as those of files are.
  char* const text = top == 0 ? g_filename_to_uri(path.c_str(), nullptr, nullptr)
                              : g_uri_escape_string(path.c_str() + top, "/!$&'()*+,=:@", FALSE);
  std::string uri = path.substr(0, top) + (text ? text : "");
  g_free(text);
  return uri;
}

NSError unknownItem() {
  return {kPhotoLibraryErrorDomain, PhotoLibraryErrorNotFound, "The library does not hold this item."};
}

template <class Object>
const std::shared_ptr<const PHFetchResult<Object>>& nothing() {
  static const auto empty = std::make_shared<const PHFetchResult<Object>>();
  return empty;
}

}  // namespace

/// Passes the first answer on, and an unanswered question's end as no answer. The library cuts the link when it goes.
struct PhotoLibrary::Asking : std::enable_shared_from_this<Asking> {
  std::mutex mutex;
  PhotoLibrary* library;  // unretained: set to nothing by the library's destructor

  explicit Asking(PhotoLibrary* asker) : library(asker) {}
  void answer(std::optional<bool> allowed) {
    std::lock_guard lock(mutex);
    if (PhotoLibrary* const asker = std::exchange(library, nullptr)) {
      asker->thread_.post([asker, asked = shared_from_this(), allowed] { asker->decide(asked, allowed); });
    }
  }
};

PhotoLibrary::PhotoLibrary(const Options& options, DecodersPort& decoders, SystemLogPort& log)
    : PhotoLibrary(options, folderSource(options, decoders, log), log) {}

PhotoLibrary::PhotoLibrary(Options options, std::unique_ptr<Source> source, SystemLogPort& log)
    : options_(withDefaults(std::move(options))),
      log_(log),
      record_(options_.configFolder + "/access", options_.host),
      ledger_(std::make_shared<FetchLedger>()),
      decision_(PHAuthorizationStatusNotDetermined),
      news_(std::make_shared<HeldNews>([this] { thread_.post([this] { deliver(catalogue_->snapshot()); }); })),
      catalogue_(std::make_unique<Catalogue>(std::move(source), options_.cacheFolder, log, ledger_,
                                             [this](const auto& snapshot) { announce(snapshot); })) {
  if (!options_.preauthorised) {
    // Watched first, read afterwards: nothing falls between the two.
    std::error_code failed;
    const auto path = std::filesystem::absolute(record_.path(), failed);
    accessWatch_ = std::make_unique<AccessWatch>(failed ? record_.path() : path.lexically_normal().string(),
                                                 [this] { thread_.post([this] { recordTouched(); }); });
  }
  rereadAccess();
}

PHAuthorizationStatus PhotoLibrary::rereadAccess() {
  std::lock_guard deciding(decidingMutex_);
  const std::optional<bool> allowed = options_.preauthorised ? std::optional(true) : record_.photosAllowed();
  if (allowed && *allowed) catalogue_->start();
  std::lock_guard lock(mutex_);
  return std::exchange(decision_, !allowed   ? PHAuthorizationStatusNotDetermined
                                  : *allowed ? PHAuthorizationStatusAuthorized
                                             : PHAuthorizationStatusDenied);
}

/// Somebody else, another window of this host or an editor, has decided: what is open follows.
void PhotoLibrary::recordTouched() {
  const PHAuthorizationStatus before = rereadAccess();
  std::vector<AuthorizationHandler> handlers;
  PHAuthorizationStatus now;
  {
    std::lock_guard lock(mutex_);
    now = decision_;
    if (now == before) return;
    if (now != PHAuthorizationStatusNotDetermined) handlers.swap(waiting_);
  }
  if (now != PHAuthorizationStatusNotDetermined) withdrawQuestion();
  tellOfAccess(before, handlers);
}

void PhotoLibrary::tellOfAccess(PHAuthorizationStatus before, const std::vector<AuthorizationHandler>& waiting) {
  PHAuthorizationStatus now;
  {
    std::lock_guard lock(mutex_);
    now = decision_;
  }
  if (now == PHAuthorizationStatusAuthorized) catalogue_->waitUntilOpened();
  for (const AuthorizationHandler& handler : waiting) handler(authorizationStatus());
  if (now == before) return;
  if (now == PHAuthorizationStatusAuthorized) {
    const auto snapshot = catalogue_->snapshot();
    tell(std::make_shared<LibraryChange>(snapshot, ledger_), snapshot->generation());
  } else if (before == PHAuthorizationStatusAuthorized) {
    tell(std::make_shared<AccessLost>(ledger_), 0);
  }
}

PhotoLibrary::~PhotoLibrary() {
  stop();
}

void PhotoLibrary::stop() {
  accessWatch_.reset();
  withdrawQuestion();
  news_->close();
  saver_.stop();
  // The catalogue's thread posts to this one, which waits for the catalogue: this one, which calls handlers, ends
  // first, and what the catalogue posts afterwards is dropped.
  thread_.stop();
}

void PhotoLibrary::withdrawQuestion() {
  std::shared_ptr<Asking> open;
  {
    std::lock_guard lock(mutex_);
    open = std::exchange(question_, nullptr);
  }
  if (!open) return;
  std::lock_guard lock(open->mutex);
  open->library = nullptr;
}

bool PhotoLibrary::setPhotosAllowed(bool allowed) {
  withdrawQuestion();
  std::vector<AuthorizationHandler> handlers;
  PHAuthorizationStatus before;
  bool remembered;
  {
    std::lock_guard deciding(decidingMutex_);
    {
      std::lock_guard lock(mutex_);
      handlers.swap(waiting_);
      before = decision_;
      if (!options_.preauthorised) decision_ = allowed ? PHAuthorizationStatusAuthorized : PHAuthorizationStatusDenied;
    }
    remembered = record_.setPhotosAllowed(allowed);
  }
  if (!remembered) log_.log(notRemembered());
  if (allowed) catalogue_->start();
  thread_.post([this, before, handlers = std::move(handlers)] { tellOfAccess(before, handlers); });
  return remembered;
}

std::string PhotoLibrary::notRemembered() const {
  return "the answer about photos could not be remembered in " + record_.path();
}

PHAuthorizationStatus PhotoLibrary::authorizationStatus() const {
  std::lock_guard lock(mutex_);
  if (decision_ == PHAuthorizationStatusAuthorized && !catalogue_->anyRootReadable())
    return PHAuthorizationStatusDenied;
  return decision_;
}

void PhotoLibrary::requestAuthorization(AuthorizationHandler handler) {
  std::shared_ptr<Asking> question;
  {
    std::lock_guard lock(mutex_);
    if (decision_ != PHAuthorizationStatusNotDetermined) {
      thread_.post([this, handler = std::move(handler)] { handler(authorizationStatus()); });
      return;
    }
    waiting_.push_back(std::move(handler));
    if (question_) return;
    question = question_ = std::make_shared<Asking>(this);
  }
  if (!options_.consent) {
    question->answer(false);
  } else {
    // Whoever is asked gets the only copy of this link: when it goes unanswered, the question has ended.
    const std::shared_ptr<Asking> link(question.get(), [question](Asking* ended) { ended->answer(std::nullopt); });
    options_.consent->askForPhotos(options_.host, [link](bool allowed) { link->answer(allowed); });
  }
}

void PhotoLibrary::decide(const std::shared_ptr<Asking>& asked, std::optional<bool> allowed) {
  std::vector<AuthorizationHandler> handlers;
  bool remembered;
  {
    std::lock_guard deciding(decidingMutex_);
    {
      std::lock_guard lock(mutex_);
      if (question_ != asked) return;  // the person has decided elsewhere meanwhile
      question_ = nullptr;
      handlers.swap(waiting_);
      if (allowed) decision_ = *allowed ? PHAuthorizationStatusAuthorized : PHAuthorizationStatusDenied;
    }
    // A refusal for want of anybody to ask is no decision of the person's.
    remembered = !allowed || !options_.consent || record_.setPhotosAllowed(*allowed);
  }
  if (!remembered) log_.log(notRemembered());
  if (allowed && *allowed) {
    catalogue_->start();
    catalogue_->waitUntilOpened();
  }
  for (const AuthorizationHandler& handler : handlers) handler(authorizationStatus());
}

std::shared_ptr<const Snapshot> PhotoLibrary::forFetch() {
  auto snapshot = catalogue_->snapshot();
  std::lock_guard lock(mutex_);
  fetched_ = std::max(fetched_, snapshot->generation());
  return snapshot;
}

std::shared_ptr<const PHFetchResult<PHAssetCollection>> PhotoLibrary::fetchAssetCollections(PHAssetCollectionType type,
                                                                                            PHAssetCollectionSubtype) {
  if (!hasAccess()) return nothing<PHAssetCollection>();
  const auto snapshot = forFetch();
  return type == PHAssetCollectionTypeSmartAlbum ? snapshot->smartAlbums()
         : type == PHAssetCollectionTypeAlbum    ? snapshot->folderAlbums()
                                                 : nothing<PHAssetCollection>();
}

std::shared_ptr<const PHFetchResult<PHAsset>> PhotoLibrary::fetchAssets(const PHAssetCollection& collection,
                                                                        const PHFetchOptions& options) {
  if (!hasAccess()) return nothing<PHAsset>();
  return forFetch()->answer(Question::about(collection.localIdentifier, options));
}

std::vector<std::shared_ptr<const PHAsset>> PhotoLibrary::newest(std::size_t count) const {
  std::vector<std::shared_ptr<const PHAsset>> found;
  if (!hasAccess()) return found;
  const auto snapshot = catalogue_->snapshot();
  for (const auto& asset : *snapshot->live()) {
    if (found.size() == count) break;
    found.push_back(asset);
  }
  return found;
}

std::shared_ptr<const PHFetchResult<PHAsset>> PhotoLibrary::fetchAssetsWithLocalIdentifiers(
    const std::vector<Identifier>& identifiers) {
  if (identifiers.empty() || !hasAccess()) return nothing<PHAsset>();
  Question question;
  question.items = identifiers;
  return forFetch()->answer(question);
}

void PhotoLibrary::setChangeHandler(ChangeHandler handler) {
  auto next = handler ? std::make_shared<const ChangeHandler>(std::move(handler)) : nullptr;
  const auto current = catalogue_->snapshot();
  {
    std::unique_lock lock(mutex_);
    handler_.swap(next);
    // The new handler need not hear of what fetches have seen already. What came after the last fetch nobody was told
    // of: it is told now.
    told_ = fetched_ != 0 ? std::min(fetched_, current->generation()) : current->generation();
    if (!thread_.isCurrent()) handlerReturned_.wait(lock, [this] { return !handlerRunning_; });
  }
  announce(current);
}

void PhotoLibrary::announce(const std::shared_ptr<const Snapshot>& snapshot) {
  thread_.post([this, snapshot] { deliver(snapshot); });
}

void PhotoLibrary::deliver(const std::shared_ptr<const Snapshot>& snapshot) {
  {
    std::lock_guard lock(mutex_);
    if (snapshot->generation() <= told_ || decision_ != PHAuthorizationStatusAuthorized) return;
    if (news_->isHeld()) return;  // the newest state is delivered when the hold ends
  }
  tell(std::make_shared<LibraryChange>(snapshot, ledger_), snapshot->generation());
}

void PhotoLibrary::tell(const std::shared_ptr<const PHChange>& change, std::uint64_t generation) {
  std::shared_ptr<const ChangeHandler> handler;
  {
    std::lock_guard lock(mutex_);
    if (!handler_) return;
    told_ = std::max(told_, generation);
    handler = handler_;
    handlerRunning_ = true;
  }
  (*handler)(change);
  {
    std::lock_guard lock(mutex_);
    handlerRunning_ = false;
  }
  handlerReturned_.notify_all();
}

std::optional<PhotoLibrary::Details> PhotoLibrary::details(const Identifier& identifier) const {
  const auto snapshot = catalogue_->snapshot();
  const std::uint32_t position = snapshot->find(identifier);
  if (position == Snapshot::kNowhere) return std::nullopt;
  const Item& item = snapshot->itemAt(position);
  const Folder& folder = *snapshot->folders()[item.folder];
  return Details{catalogue_->source().originalPath(item, folder),
                 item.name,
                 item.mediaType,
                 item.facts.bytes,
                 item.creationDate,
                 isCaptureDate(item.facts.dateOrigin),
                 item.facts.width,
                 item.facts.height,
                 item.duration,
                 (item.facts.marks & ItemMarkFavorite) != 0,
                 folder.onServer() ? uriOf(itemPath(item, folder)) : std::string()};
}

std::variant<ItemLocation, NSError> PhotoLibrary::locate(const Identifier& identifier) const {
  const auto snapshot = catalogue_->snapshot();
  const std::uint32_t position = snapshot->find(identifier);
  if (position == Snapshot::kNowhere) return unknownItem();
  const Item& item = snapshot->itemAt(position);
  const Folder& folder = *snapshot->folders()[item.folder];
  return ItemLocation{catalogue_->source().originalPath(item, folder),
                      uriOf(itemPath(item, folder)),
                      item.facts.format,
                      item.facts.bytes,
                      item.facts.modified,
                      item.facts.width,
                      item.facts.height,
                      item.facts.orientation};
}

std::variant<Original, NSError> PhotoLibrary::fetchOriginal(const Identifier& identifier, const FetchOptions& options) {
  const auto snapshot = catalogue_->snapshot();
  const std::uint32_t position = snapshot->find(identifier);
  if (position == Snapshot::kNowhere) return unknownItem();
  const Item& item = snapshot->itemAt(position);
  return catalogue_->source().fetchOriginal(item, *snapshot->folders()[item.folder], options);
}

std::variant<Preview, NSError> PhotoLibrary::fetchPreview(const Identifier& identifier, int pixels,
                                                          const std::stop_token& stop) {
  const auto snapshot = catalogue_->snapshot();
  const std::uint32_t position = snapshot->find(identifier);
  if (position == Snapshot::kNowhere) return unknownItem();
  const Item& item = snapshot->itemAt(position);
  auto preview = catalogue_->source().fetchPreview(item, *snapshot->folders()[item.folder], pixels, stop);
  if (!preview) return noPreview();
  return *std::move(preview);
}

}  // namespace tlx::photolibrary
