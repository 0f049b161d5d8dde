#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/photos/PhotoLibraryPort.h"

#include "adapters/photolibrary/access/AccessRecord.h"
#include "adapters/photolibrary/access/AccessWatch.h"
#include "adapters/photolibrary/access/PhotoConsent.h"
#include "adapters/photolibrary/base/SerialThread.h"
#include "adapters/photolibrary/catalogue/Catalogue.h"
#include "adapters/photolibrary/catalogue/HeldNews.h"
#include "adapters/photolibrary/source/DecodersPort.h"
#include "adapters/photolibrary/source/ItemStore.h"

namespace tlx::photolibrary {

/// The person's photo library on their own files.
///
/// What it holds. "Camera Roll" (everything), "Favorites", "Videos", "Panoramas", "Screenshots" and "Recently Deleted"
/// (what the desktop's trash holds from under the roots), in this order; and one album for each folder that directly
/// holds items.
///
/// Identity. An item's identifier comes from what its file system knows it by (see `FileKey`), an album's from its
/// folder in the same way. It stays through restarts, renames and moves within a file system, and the loss of the
/// index, and is never another file's: one that takes the place of a file under its name is a new item, and so is a
/// copy.
///
/// Opening. The constructor asks the disk only whether the roots are there. With access, a thread reads the index and
/// then looks at the files; until the index is read fetches answer what there is, which is nothing, so a program that
/// does not want to start with an empty window calls `waitUntilOpened` once it has done what else it must: a hundred
/// thousand items take less than a window's making.
///
/// Following. While it is open the library keeps up with its sources: what happens to files within a tenth of a second
/// or so becomes one change. A file that somebody is writing shows when it is whole. Roots that go take their items
/// with them, and bring them back without another look into each.
class PhotoLibrary final : public PhotoLibraryPort, public ItemStore {
 public:
  struct Options {
    std::vector<std::string> roots;    ///< folders; empty for the XDG pictures and videos folders
    bool followLinksAnywhere = false;  ///< symbolic links, also where they lead out of the roots
    std::string host;                  ///< the program on whose behalf access is asked and remembered
    bool preauthorised = false;        ///< the person named the folders: nobody need be asked, nothing is remembered
    PhotoConsent* consent = nullptr;   ///< unretained: outlives the library; without one, asking is refused
    std::string cacheFolder;           ///< for the index; empty for tlx-media-picker in the XDG cache folder
    std::string configFolder;  ///< for the access records; empty for tlx-media-picker in the XDG configuration folder
  };
  /// `decoders` read the headers of the folders' files; they and `log` outlive the library.
  PhotoLibrary(const Options& options, DecodersPort& decoders, SystemLogPort& log);
  /// With another source than a folder tree.
  PhotoLibrary(Options options, std::unique_ptr<Source> source, SystemLogPort& log);
  /// Main thread. As `stop`.
  ~PhotoLibrary() override;

  /// Takes back what is being asked; no handler is called once it has returned, and requests for access stay
  /// unanswered. Main thread, before the platform goes; fetches go on answering.
  void stop();

  /// Any thread but the library's own. They return at once without access.
  void waitUntilOpened() const { catalogue_->waitUntilOpened(); }
  /// Until the newest look at the files asked for is done and fetches see its outcome.
  void waitUntilScanned() const { catalogue_->waitUntilScanned(); }
  /// Looks at the files again. Any thread; returns at once. What is found to have changed is announced as a change.
  void rescan() { catalogue_->rescan(); }

  /// Looks up again what the person decided for this host; asks the disk. Any thread. A program whose photos were
  /// allowed from the start has nothing to look up. Answers what was in force before. The library does the same by
  /// itself when somebody else writes or removes what is remembered, and then announces a change: without access, every
  /// result is empty.
  PHAuthorizationStatus rereadAccess();

  /// What the person decided now, on a page of the host's: remembered, in force for every fetch from now on, and the
  /// answer to a question that is still open. Returns false when it could not be remembered, and so ends with the
  /// library. With access the library opens as it does in the constructor. What this changes is announced as in
  /// `rereadAccess`. Main thread. What a program named itself stays readable.
  bool setPhotosAllowed(bool allowed);
  /// What is remembered; asks the disk.
  std::optional<bool> photosAllowed() const { return record_.photosAllowed(); }

  /// What a program shows or tells of an item.
  struct Details {
    std::string path;  ///< on this machine; empty while the original lies on its server only
    std::string name;  ///< of the file; not necessarily UTF-8
    PHAssetMediaType mediaType = PHAssetMediaTypeUnknown;
    std::int64_t bytes = 0;
    double created = 0;                  ///< seconds since 1970 UTC
    bool dateIsCaptures = false;         ///< it is when the picture was taken, rather than its name's or file's date
    std::int32_t width = 0, height = 0;  ///< upright; 0 when the header did not say
    double duration = 0;                 ///< seconds
    bool favorite = false;
    std::string address;  ///< of an item on a server; empty for the others
  };
  /// Any thread; asks no disk. Nothing for an item that the library does not hold.
  std::optional<Details> details(const Identifier& identifier) const;

  /// The newest items, so many at most. Any thread; asks no disk. None without access.
  std::vector<std::shared_ptr<const PHAsset>> newest(std::size_t count) const;

  // PhotoLibraryPort. A root that is missing or unreadable holds nothing; when all are, that is no access.
  PHAuthorizationStatus authorizationStatus() const override;
  void requestAuthorization(AuthorizationHandler handler) override;
  std::shared_ptr<const PHFetchResult<PHAssetCollection>> fetchAssetCollections(
      PHAssetCollectionType type, PHAssetCollectionSubtype subtype) override;
  std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssets(const PHAssetCollection& collection,
                                                            const PHFetchOptions& options) override;
  std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssetsWithLocalIdentifiers(
      const std::vector<Identifier>& identifiers) override;
  void setChangeHandler(ChangeHandler handler) override;
  /// What is made goes into the folder "Camera" below the first root that takes files. Whoever saves a photo and does
  /// not ask for its picture within ten seconds hears of the change then.
  void performChanges(std::vector<PHAssetCreation> creations, ChangesHandler completion) override;

  // ItemStore.
  std::variant<ItemLocation, NSError> locate(const Identifier& identifier) const override;
  std::variant<Original, NSError> fetchOriginal(const Identifier& identifier, const FetchOptions& options) override;
  std::variant<Preview, NSError> fetchPreview(const Identifier& identifier, int pixels,
                                              const std::stop_token& stop) override;
  std::shared_ptr<const void> beginRequest(const Identifier& identifier) override {
    return news_->beginRequest(identifier);
  }

 private:
  struct Asking;

  bool hasAccess() const { return authorizationStatus() == PHAuthorizationStatusAuthorized; }
  std::shared_ptr<const Snapshot> forFetch();
  void decide(const std::shared_ptr<Asking>& asked, std::optional<bool> allowed);
  void withdrawQuestion();
  std::string notRemembered() const;
  void announce(const std::shared_ptr<const Snapshot>& snapshot);
  void deliver(const std::shared_ptr<const Snapshot>& snapshot);
  void tell(const std::shared_ptr<const PHChange>& change, std::uint64_t generation);
  void recordTouched();
  void tellOfAccess(PHAuthorizationStatus before, const std::vector<AuthorizationHandler>& waiting);
  std::optional<NSError> saveAll(const std::vector<PHAssetCreation>& creations);
  void expectRequests(const std::vector<PHAssetCreation>& creations);

  const Options options_;
  SystemLogPort& log_;
  const AccessRecord record_;
  const std::shared_ptr<FetchLedger> ledger_;

  std::mutex decidingMutex_;  ///< held while a decision and its record are brought into line; before the other
  mutable std::mutex mutex_;  ///< guards what follows
  std::condition_variable handlerReturned_;
  PHAuthorizationStatus decision_;
  std::shared_ptr<Asking> question_;  ///< put to the person, not yet answered
  std::vector<AuthorizationHandler> waiting_;
  std::shared_ptr<const ChangeHandler> handler_;
  bool handlerRunning_ = false;
  std::uint64_t fetched_ = 0;  ///< the generation of the newest snapshot that a fetch was answered from
  std::uint64_t told_ = 0;     ///< the generation that the handler knows of

  const std::shared_ptr<HeldNews> news_;
  SerialThread thread_;
  SerialThread saver_;  ///< writes files, waits for them to be known
  std::unique_ptr<Catalogue> catalogue_;
  std::unique_ptr<AccessWatch> accessWatch_;  ///< last, as the catalogue before it: its thread ends first
};

}  // namespace tlx::photolibrary
