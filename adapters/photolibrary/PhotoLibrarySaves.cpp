#include <chrono>
#include <utility>

#include <unistd.h>

#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/files/CaptureFolder.h"

namespace tlx::photolibrary {
namespace {

/// How long word of a saved photo waits for a request for its picture from somebody who never makes one. A main thread
/// that is busy for longer than this has worse troubles.
constexpr std::chrono::seconds kAskedForBy{10};

/// Where nobody can tell whether a file is still being written, the library waits for a while before it shows it.
constexpr std::chrono::seconds kShownBy{5};

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::variant<std::string, NSError> save(const CaptureFolder& folder, const PHAssetCreation& creation) {
  const double created = creation.creationDate.value_or(now());
  if (creation.image) return folder.savePhoto(*creation.image, created);
  if (creation.video) return folder.saveVideo(creation.video->path, created);
  return libraryError(PhotoLibraryErrorUnsupported, "There is nothing to save.");
}

}  // namespace

void PhotoLibrary::performChanges(std::vector<PHAssetCreation> creations, ChangesHandler completion) {
  if (!hasAccess()) {
    thread_.post([completion = std::move(completion)] {
      completion(false, libraryError(PhotoLibraryErrorUnreadable, "There is no access to photos."));
    });
    return;
  }
  saver_.post([this, creations = std::move(creations), completion = std::move(completion)] {
    news_->beginSave();
    auto error = saveAll(creations);
    if (!error) expectRequests(creations);
    // A program that is ending gets no answer; what was saved stays.
    thread_.post([this, completion, error = std::move(error)] {
      completion(!error, error);
      news_->endSave();
    });
  });
}

std::optional<NSError> PhotoLibrary::saveAll(const std::vector<PHAssetCreation>& creations) {
  const Source& source = catalogue_->source();
  std::size_t root = 0;
  while (root < source.roots().size() && !(source.takesFiles(root) && source.rootReadable(root))) ++root;
  if (root == source.roots().size()) return libraryError(PhotoLibraryErrorUnsupported, "No folder takes captures.");
  const CaptureFolder folder(source.roots()[root]);

  std::vector<std::string> paths;
  for (const PHAssetCreation& creation : creations) {
    auto saved = save(folder, creation);
    if (const auto* error = std::get_if<NSError>(&saved)) {
      for (const std::string& path : paths) ::unlink(path.c_str());
      return *error;
    }
    paths.push_back(std::get<std::string>(std::move(saved)));
  }
  WalkScope saved;
  for (const std::string& path : paths) saved.add(path);
  catalogue_->look(saved);
  catalogue_->waitUntilScanned(saver_.stopToken());
  const auto until = SerialThread::Clock::now() + kShownBy;
  auto snapshot = catalogue_->snapshot();
  std::vector<Identifier> identifiers;
  for (const std::string& path : paths) {
    std::uint32_t position;
    while ((position = snapshot->findFile(folder.path(), path.substr(folder.path().size() + 1))) ==
           Snapshot::kNowhere) {
      if (!catalogue_->waitForNewer(snapshot, saver_.stopToken(), until)) {
        return libraryError(PhotoLibraryErrorNotFound, path + " was saved where the library does not look.");
      }
      snapshot = catalogue_->snapshot();
    }
    identifiers.push_back(snapshot->assetAt(position)->localIdentifier);
  }
  for (std::size_t i = 0; i < creations.size(); ++i) creations[i].placeholder->setLocalIdentifier(identifiers[i]);
  return std::nullopt;
}

/// Before the completion is called: it may ask at once. A video is in the saver's hand when the completion has
/// returned.
void PhotoLibrary::expectRequests(const std::vector<PHAssetCreation>& creations) {
  std::vector<Identifier> photos;
  for (const PHAssetCreation& creation : creations) {
    if (creation.image) photos.push_back(creation.placeholder->localIdentifier());
  }
  news_->expectRequests(photos);
  thread_.postAt(SerialThread::Clock::now() + kAskedForBy,
                 [news = news_, photos = std::move(photos)] { news->stopExpecting(photos); });
}

}  // namespace tlx::photolibrary
